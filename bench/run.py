"""Runs the benchmark programs and puts their figures together; script/bench builds and calls it.

  python3 bench/run.py [--write] FOLDER TEXT [REFERENCE]

Leaves benchmarks.json, benchmarks.md and the plots in build/bench; with --write the page and the
plots go to docs/ too. Every cost is also given in look-ups: how often a look-up in a hash table of
a million entries (bench_baseline) fits into it, measured before and after each program.
"""

import argparse
import json
import os
import pathlib
import platform
import shutil
import subprocess
import sys
import tempfile
import time

from chart import growth_chart

BIN = pathlib.Path("build/release/bin")
LIB = pathlib.Path("build/release/lib")
OUT = pathlib.Path("build/bench")
NANO = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
TRAIN_PAIRS = (2500, 5000, 10000, 20000)


class Group:
    """Benchmarks of one program that make one table. `unit` names an item ("KB" for bytes)."""

    def __init__(
        self,
        title,
        program,
        unit,
        only=None,
        args=(),
        env=None,
        note="",
        columns=(),
        compare=True,
        strip="",
        show_peak=False,
    ):
        self.title, self.program, self.unit, self.only = title, program, unit, only
        self.args, self.env, self.note = list(args), env or {}, note
        self.columns, self.compare, self.strip, self.show_peak = columns, compare, strip, show_peak


def run_program(program, only, args, env, min_time):
    """What Google Benchmark wrote, and the largest resident memory of the process in MB."""
    with tempfile.NamedTemporaryFile(suffix=".json") as out:
        command = [
            str(BIN / f"bench_{program}"),
            f"--benchmark_out={out.name}",
            "--benchmark_out_format=json",
        ]
        command.append(f"--benchmark_min_time={min_time}")
        if only:
            command.append(f"--benchmark_filter={only}")
        process = subprocess.Popen(
            command + args,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.PIPE,
            env={**os.environ, **env},
        )
        errors = process.stderr.read().decode(errors="replace")
        _, status, usage = os.wait4(process.pid, 0)
        if status:
            sys.exit(f"error: {' '.join(command + args)} failed:\n{errors}")
        rows = json.load(open(out.name))["benchmarks"]
    return [row for row in rows if not row.get("error_occurred")], usage.ru_maxrss / 1024


def baseline():
    rows, _ = run_program("baseline", None, [], {}, 0.2)
    return {row["name"]: row["cpu_time"] * NANO[row["time_unit"]] for row in rows}


def nanoseconds(row):
    kind = "real_time" if row["name"].endswith("/real_time") else "cpu_time"
    return row[kind] * NANO[row["time_unit"]]


def measure(group):
    """The group's figures, with a baseline taken on both sides of them."""
    before = baseline()["hash_lookups"]
    begin = time.monotonic()
    rows, peak = run_program(group.program, group.only, group.args, group.env, 0.1)
    seconds = time.monotonic() - begin
    lookup = (before + baseline()["hash_lookups"]) / 2
    figures = []
    for row in rows:
        name = (
            row["name"]
            .removesuffix("/real_time")
            .replace("/iterations:1", "")
            .removeprefix(group.strip)
        )
        figure = {"name": name, "ns": nanoseconds(row)}
        per_second = row.get("items_per_second")
        if row.get("bytes_per_second"):
            figure["bytes_per_second"] = row["bytes_per_second"]
            per_second = row["bytes_per_second"] / 1024
        elif per_second:
            figure["items_per_second"] = per_second
        figure["unit_ns"] = 1e9 / per_second if per_second else figure["ns"]
        figure["lookups"] = figure["unit_ns"] / lookup
        known = {
            "name",
            "run_name",
            "run_type",
            "time_unit",
            "items_per_second",
            "bytes_per_second",
        }
        figure["counters"] = {
            key: value
            for key, value in row.items()
            if key not in known and isinstance(value, float) and not key.endswith("_time")
        }
        figures.append(figure)
    for figure in figures:
        figure["of_first"] = figures[0]["unit_ns"] / figure["unit_ns"]
    print(f"   {group.title}: {len(figures)} figures in {seconds:.0f} s", file=sys.stderr)
    return {
        "title": group.title,
        "program": f"bench_{group.program}",
        "unit": group.unit,
        "lookup_ns": lookup,
        "peak_MB": peak,
        "rows": figures,
    }


def number(value):
    """Three digits that mean something."""
    if value == 0:
        return "0"
    if abs(value) >= 999_500:
        return f"{value / 1e6:,.0f} M" if abs(value) >= 99.95e6 else f"{value / 1e6:.3g} M"
    if abs(value) >= 100:
        return f"{value:,.0f}"
    return f"{value:.3g}"


def duration(ns):
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if ns >= size:
            return f"{number(ns / size)} {unit}"
    return f"{number(ns)} ns"


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---" + "|---:" * (len(header) - 1) + "|"]
    return "\n".join(lines + ["| " + " | ".join(cells) + " |" for cells in rows])


def group_table(group, result):
    header = ["", "measured", f"look-ups a {group.unit}"]
    if group.compare:
        header.append("speed to first")
    header += [title for title, _, _ in group.columns]
    rows = []
    for figure in result["rows"]:
        if "bytes_per_second" in figure:
            measured = f"{number(figure['bytes_per_second'] / 1e6)} MB/s"
        elif "items_per_second" in figure:
            measured = f"{number(figure['items_per_second'])} {group.unit}s/s"
        else:
            measured = duration(figure["ns"])
        cells = [figure["name"], measured, number(figure["lookups"])]
        if group.compare:
            cells.append(f"{figure['of_first']:.2f}")
        for _, counter, form in group.columns:
            value = figure["counters"].get(counter)
            cells.append("" if value is None else form.format(value))
        rows.append(cells)
    return table(header, rows)


def groups_of(folder, text, reference, source):
    translation = [folder, text] + ([reference] if reference else [])
    memory = [("private MB", "private_MB", "{:.1f}"), ("mapped MB", "mapped_MB", "{:.1f}")]
    groups = []
    if source == "en":
        groups.append(
            Group(
                "Start-up and the first sentence",
                "face",
                "call",
                env={"KORA_MODEL": folder},
                compare=False,
                columns=memory,
                note="The folder opened through the C interface; `check_manifest` compares every "
                "file with its "
                "digest first. Files are in the page cache.",
            )
        )
    groups += [
        Group(
            "Translating, by sentence length",
            "translation",
            "word",
            "^words:",
            translation,
            columns=[("sentences", "sentences", "{:.0f}"), ("words", "words", "{:,.0f}")],
            note="Sentences of the text by their number of words, one thread.",
        ),
        Group(
            "Translating, by the limits of the search",
            "translation",
            "word",
            "^limits",
            translation,
            strip="limits/",
            columns=[("sentences that differ", "differ", "{:.1%}"), ("BLEU", "BLEU", "{:.2f}")],
            note="`own` is the folder's setting, the others change what they name. BLEU of few "
            "sentences: compare "
            "the rows with each other only.",
        ),
        Group(
            "Translating, on threads",
            "translation",
            "word",
            "^threads",
            translation,
            columns=[("words a CPU second", "cpu_words", "{:,.0f}")]
            + memory
            + [("peak MB", "peak_MB", "{:.1f}")],
            note="A handle each, wall-clock time, which other work on the machine takes from; the "
            "CPU seconds say "
            "whether threads hold each other up. Mapped pages are counted once for each handle "
            "and exist once.",
        ),
        Group(
            "The search alone, on a synthetic model",
            "search",
            "word",
            "^default|^length",
            columns=[
                ("considered", "considered", "{:,.0f}"),
                ("scored", "scored", "{:,.0f}"),
                ("kept", "kept", "{:,.0f}"),
                ("n-grams", "ngrams", "{:,.0f}"),
                ("search KB", "search_KB", "{:,.0f}"),
            ],
            note="docs/search.md explains the counts; they are exact and do not depend on the "
            "machine.",
        ),
        Group(
            "Vocabulary",
            "vocab",
            "call",
            compare=False,
            note="65,000 words, with standard containers for scale.",
        ),
        Group(
            "Language model",
            "lang_model",
            "call",
            "^(ngram_queries|joint_scores|opening|preparing_a_sentence)$",
            compare=False,
            note="2.3 million n-grams of up to five words. `joint_scores` counts words, `opening` "
            "is one opening.",
        ),
        Group(
            "Phrase table",
            "trans_model",
            "call",
            compare=False,
            note="A million phrase pairs; calls are sentences of 20 words.",
        ),
        Group(
            "Text chains",
            "chains",
            "KB",
            "^(pre|post)/",
            compare=False,
            note="From text to words (`pre`) and from words to text (`post`), with positions or "
            "without.",
        ),
        Group("Numbers by rule", "numbers", "span", compare=False),
    ]
    resources = next(
        (
            r
            for r in ("cache/resources-en-zh", "cache/resources-zh-en")
            if os.path.exists(f"{r}/words.tsv")
        ),
        None,
    )
    stories = "cache/demo-en-zh/test-stories.zh"
    if resources and os.path.exists(stories):
        files = [f"{resources}/words.tsv", f"{resources}/surnames.txt", stories]
        groups.append(
            Group(
                "Segmentation",
                "segment",
                "KB",
                args=files,
                compare=False,
                note="Chinese stories with the word list of script/demo.",
            )
        )
    only = "Align/1/|PhraseTable/threads:1/|LanguageModel/order:5/threads:1/prune:0"
    for pairs in TRAIN_PAIRS:
        groups.append(
            Group(
                f"Training stages, {pairs:,} sentence pairs",
                "train",
                "call",
                only if pairs < TRAIN_PAIRS[-1] else None,
                env={"KORA_BENCH_PAIRS": str(pairs)},
                compare=False,
                strip="BM_",
                show_peak=True,
                note="Generated text; wall-clock time.",
            )
        )
    groups += [
        Group(
            "Model size",
            "growth",
            "call",
            columns=[("files MB", "file_MB", "{:.1f}")],
            compare=False,
            note="Synthetic models from ever more sentence pairs: loading, and 20 sentences of 12 "
            "words.",
        ),
        Group(
            "Text made to be slow",
            "text",
            "KB",
            "hostile/.*/(letters|dots|quotes|urls|chinese)/",
            compare=False,
            strip="hostile/tokenize_eng/",
            note="Lines of one repeated piece through the English tokenizer, 64 KB to 4 MB.",
        ),
    ]
    return groups


def charts(results):
    """File name -> SVG."""
    rows = {}
    for result in results:
        rows.setdefault(result["program"], []).extend(result["rows"])

    def last_number(name):
        return float(name.rstrip("K").replace("/", ":").rsplit(":", 1)[1])

    made = {}
    real = [
        (
            r["counters"]["words"] / r["counters"]["sentences"],
            r["ns"] / r["counters"]["sentences"] / 1e6,
        )
        for r in rows["bench_translation"]
        if r["name"].startswith("words:")
    ]
    synthetic = [
        (last_number(r["name"]), last_number(r["name"]) * r["unit_ns"] / 1e6)
        for r in rows["bench_search"]
        if r["name"].startswith("length:")
    ]
    made["benchmarks-length.svg"] = growth_chart(
        "Time of a sentence by its length",
        "words of the sentence",
        "milliseconds",
        [("model folder, real text", real), ("search, synthetic model", synthetic)],
    )

    stages = {}
    for result in results:
        if result["program"] != "bench_train":
            continue
        for row in result["rows"]:
            stage = row["name"].split("/")[0]
            single = "/1" in row["name"] or "threads:1/" in row["name"]
            if single and "prune:1" not in row["name"]:
                stages.setdefault(stage, []).append((result["pairs"], row["ns"] / 1e9))
    made["benchmarks-training.svg"] = growth_chart(
        "Time of training stages by the size of the text",
        "sentence pairs",
        "seconds, one thread",
        [
            (
                {
                    "Align": "word alignment",
                    "PhraseTable": "phrase table",
                    "LanguageModel": "language model",
                }[s],
                p,
            )
            for s, p in stages.items()
        ],
    )

    def by_size(kind, divisor):
        return [
            (r["counters"]["file_MB"], r["ns"] / divisor)
            for r in rows["bench_growth"]
            if r["name"].startswith(kind)
        ]

    made["benchmarks-model.svg"] = growth_chart(
        "Time by the size of the model",
        "megabytes of model files",
        "milliseconds",
        [
            ("loading", by_size("loading", 1e6)),
            ("a sentence of 12 words", by_size("translating", 20e6)),
        ],
    )

    texts = {}
    for row in rows["bench_text"]:
        texts.setdefault(row["name"].split("/")[0], []).append(
            (last_number(row["name"]), row["ns"] / 1e6)
        )
    made["benchmarks-text.svg"] = growth_chart(
        "Tokenizing a line made to be slow",
        "kilobytes of the line",
        "milliseconds",
        list(texts.items()),
    )
    return made


def sizes(folder):
    rows = []
    with tempfile.TemporaryDirectory() as work:
        for library in ("libtranslator_jni.so", "liblexicut.so"):
            stripped = os.path.join(work, library)
            subprocess.run(["strip", "-o", stripped, str(LIB / library)], check=True)
            rows.append((library + ", stripped", os.path.getsize(stripped)))
    files = sorted(f for f in pathlib.Path(folder).iterdir() if f.is_file())
    rows += [(f"model: {f.name}", f.stat().st_size) for f in files]
    rows.append(("model: all files", sum(f.stat().st_size for f in files)))
    return rows


def machine():
    name = platform.machine()
    for line in open("/proc/cpuinfo"):
        if line.startswith("model name"):
            name = line.split(":", 1)[1].strip()
            break
    return f"{name}, {os.cpu_count()} cores"


def page(head, results, groups, size_rows, images):
    parts = [head]
    parts += [f"![{name.removesuffix('.svg')}]({name})" for name in images]
    for group, result in zip(groups, results):
        parts.append(f"## {group.title}")
        if group.note:
            parts.append(group.note)
        parts.append(group_table(group, result))
        peak = f" Largest resident memory: {result['peak_MB']:,.0f} MB." if group.show_peak else ""
        parts.append(f"`{result['program']}`; one look-up {number(result['lookup_ns'])} ns.{peak}")
    parts.append("## Sizes")
    parts.append(table(["", "bytes"], [(name, f"{size:,}") for name, size in size_rows]))
    return "\n\n".join(parts) + "\n"


def main():
    options = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    options.add_argument("--write", action="store_true")
    options.add_argument("folder")
    options.add_argument("text")
    options.add_argument("reference", nargs="?")
    args = options.parse_args()
    config = pathlib.Path(args.folder, "engine.conf").read_text().split()
    direction = config[config.index("[direction]") + 1] if "[direction]" in config else "en-zh"
    source, target = direction.split("-")
    reference = args.reference or str(pathlib.Path(args.text).with_suffix("." + target))
    if not os.path.exists(reference) or reference == args.text:
        reference = None

    OUT.mkdir(parents=True, exist_ok=True)
    groups = groups_of(args.folder, args.text, reference, source)
    load = os.getloadavg()[0]
    copy = baseline()["copying"]
    results = []
    for group in groups:
        result = measure(group)
        if "KORA_BENCH_PAIRS" in group.env:
            result["pairs"] = int(group.env["KORA_BENCH_PAIRS"])
        results.append(result)
    size_rows = sizes(args.folder)
    lookups = [r["lookup_ns"] for r in results]
    kilobyte = copy / 32768
    images = charts(results)
    for name, svg in images.items():
        (OUT / name).write_text(svg)

    default = args.folder == "models/en-zh"
    command = "script/bench --write" + ("" if default else f" {args.folder} {args.text}")
    head = f"""# Benchmarks

    {command}

What that command printed on {machine()}.
The load average was {load:.1f} when it began. Model folder: {direction},
{size_rows[-1][1] / 1e6:.0f} MB. Text: {os.path.basename(args.text)}.

Absolute figures hold for that machine in that hour. "look-ups" is the same cost in look-ups of a
hash table with a million entries, each waiting for the one before, measured before and after each
program ({min(lookups):.0f} to {max(lookups):.0f} ns here; copying 1 KB took
{kilobyte:.0f} ns). Times are CPU times unless a table says otherwise. In the plots both axes are
logarithmic: a line as steep as the dashed one means cost in proportion to size."""
    text = page(head, results, groups, size_rows, images)
    (OUT / "benchmarks.md").write_text(text)
    (OUT / "benchmarks.json").write_text(
        json.dumps(
            {
                "machine": machine(),
                "load": load,
                "direction": direction,
                "copying_32MB_ns": copy,
                "groups": results,
                "sizes": dict(size_rows),
            },
            indent=1,
            ensure_ascii=False,
        )
        + "\n"
    )
    if args.write:
        pathlib.Path("docs/benchmarks.md").write_text(text)
        for name in images:
            shutil.copy(OUT / name, pathlib.Path("docs", name))
    print(text)
    print(
        f"== next: {OUT}/benchmarks.json has all figures, {OUT}/*.svg the plots"
        + ("; docs/benchmarks.md is new" if args.write else ""),
        file=sys.stderr,
    )


if __name__ == "__main__":
    main()
