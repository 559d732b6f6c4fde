#!/usr/bin/python3
"""Builds a named set of parallel text: train, dev and test files and a table of where they came
from.

    corpus/make_set.py demo-en-zh [--cache DIR] [--out DIR] [--jobs N]
    corpus/make_set.py --list

Files in the output folder (UTF-8, one sentence a line, the two languages line by line):
    train.LL         to train on
    spans.LL         more of it with placeholders and tags, the same ones on both sides
    dev.LL           1,000 sentences of held-out help pages, to tune on; messages of programs
                     where a language has no help
    dev-mixed.LL     help, a story and, in a large set, messages and daily life: tunes better for
                     general use
    dev-life.LL, test-life.LL            sentences of daily life from the phrase book
    dev-messages.LL, test-messages.LL    messages of programs with placeholders and tags
    dev-interface.LL, test-interface.LL  messages of the same programs without
    test-help.LL     1,000 sentences of other held-out help pages
    test-*.LL        text from elsewhere, never trained on
    mono.LL          lines of one language without a partner, for a language model
    sources.tsv      what came from where, what was dropped and why
    sources.json     the same with licences, packages and versions
"""
import argparse
import hashlib
import json
import os
import shutil
import sys
from collections import Counter
from concurrent.futures import ProcessPoolExecutor
from functools import partial

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, ROOT)

from corpus import pipeline  # noqa: E402
from corpus.licences import licences_of  # noqa: E402
from corpus.packages import Cache, PackageError  # noqa: E402
from corpus.sets import SETS  # noqa: E402
from corpus.sources import descriptions, libreoffice_help, locales, phrasebook  # noqa: E402
from corpus.quality import scores  # noqa: E402
from corpus.split import MIN_WORDS, Held, Train, choose, spread  # noqa: E402
from corpus.text import fingerprint, units  # noqa: E402

SENTENCES = 1000  # of dev and of each test
DEV_HELP, DEV_STORY = 700, 300
MESSAGE_WORDS = 2  # of a message that is measured on
# Pairs below this score, and this share of the worst, are left out of a strict set.
MIN_SCORE, WORST_SHARE = 0.0, 0.01
_OUTCOMES = ("paragraphs", "sentences", "train", "held out", "duplicate")


def packages_of(source, chosen):
    names = []
    if not tasks_of(source, chosen):
        return names
    for language in (chosen.left, chosen.right):
        if language != "en":
            names += source.packages(language)
    return list(dict.fromkeys(names))


def held_out_pages(part):
    with open(os.path.join(ROOT, "corpus", "lists", f"{part}-pages.txt"), encoding="utf-8") as f:
        return set(f.read().split())


def stamp_of(chosen, cache):
    """Changes whenever the scripts, the lists, the phrase book or a package change."""
    digest = hashlib.sha256(chosen.name.encode())
    roots = [os.path.join(ROOT, "corpus")]
    if phrasebook.SOURCE in chosen.train:
        roots.append(phrasebook.FOLDER)
    for folder, _, files in (walked for root in roots for walked in sorted(os.walk(root))):
        for file in sorted(files):
            if file.endswith((".py", ".txt", ".tsv")):
                with open(os.path.join(folder, file), "rb") as f:
                    digest.update(f.read())
    for source in chosen.sources():
        for name in packages_of(source, chosen):
            digest.update(f"{name} {cache.version(name)} {cache.size(name)}\n".encode())
    return digest.hexdigest()


def tasks_of(source, chosen):
    tasks = source.tasks(chosen.right)
    return tasks if chosen.left == "en" else [t for t in source.tasks(chosen.left) if t in tasks]


def is_strict(source, chosen):
    """What is measured on is cleaned alike in every set; help pages are among it."""
    return chosen.strict and source in chosen.train and source != libreoffice_help.SOURCE


def run_sources(chosen, cache, jobs):
    """{source name: Result} with the tasks of each source put together in order."""
    results = {source.name: pipeline.Result() for source in chosen.sources()}
    with ProcessPoolExecutor(max_workers=jobs) as pool:
        running = [
            (
                source,
                pool.submit(
                    pipeline.work_by_name,
                    source.name,
                    cache,
                    chosen.left,
                    chosen.right,
                    is_strict(source, chosen),
                    task,
                ),
            )
            for source in chosen.sources()
            for task in tasks_of(source, chosen)
        ]
        for number, (source, future) in enumerate(running, 1):
            part = future.result()
            results[source.name].add(part)
            if sys.stderr.isatty():
                print(
                    f"\r{number} of {len(running)} parts read",
                    end="\n" if number == len(running) else "",
                    file=sys.stderr,
                )
    return results


def measured(chosen, results, held):
    """{file stem: pairs} of dev and tests; all of them are held from now on."""
    test_pages, dev_pages = held_out_pages("test"), held_out_pages("dev")
    documents = [d for source in chosen.train for d in results[source.name].documents]
    files = {}

    def take(name, source, count, words=MIN_WORDS, part="documents"):
        taken = choose(getattr(results[source.name], part), chosen.left, count, held, words)
        files[name] = taken
        results[source.name].counts[name.partition("-")[0]] += len(taken)

    def take_whole(name, source):
        files[name] = [p for _, pairs in results[source.name].documents for p in pairs]
        held.add(files[name])
        results[source.name].counts[name.partition("-")[0]] += len(files[name])

    files["test-help"] = choose(
        [d for d in documents if d[0] in test_pages], chosen.left, SENTENCES, held
    )
    for name, source in chosen.tests:
        take("test-" + name, source, SENTENCES)
    files["dev"] = choose([d for d in documents if d[0] in dev_pages], chosen.left, SENTENCES, held)
    mixed = [("dev", DEV_HELP)]
    if chosen.dev_story:
        take("dev-story", chosen.dev_story, DEV_STORY)
        mixed.append(("dev-story", DEV_STORY))
    # Last, so that the files above are the same in every set of a language pair.
    if chosen.test_messages:
        take("test-messages", chosen.test_messages, SENTENCES, MESSAGE_WORDS, "marked")
        take("test-interface", chosen.test_messages, SENTENCES, MESSAGE_WORDS)
        take("dev-messages", chosen.dev_messages, SENTENCES, MESSAGE_WORDS, "marked")
        take("dev-interface", chosen.dev_messages, SENTENCES, MESSAGE_WORDS)
        mixed = [("dev", 300), ("dev-story", 250), ("dev-interface", 150)]
        if not files["dev"]:  # no help pages in this language
            files["dev"] = files["dev-interface"]
            mixed = [("dev", DEV_HELP), ("dev-story", DEV_STORY)]
    if chosen.test_life:
        take_whole("test-life", chosen.test_life)
        take_whole("dev-life", chosen.dev_life)
        mixed.append(("dev-life", 300))
    if chosen.dev_story:
        files["dev-mixed"] = [p for name, count in mixed for p in spread(files[name], count)]
        del files["dev-story"]
    return {name: pairs for name, pairs in files.items() if pairs or not chosen.strict}


def divide(chosen, results):
    """{file stem: pairs} of train, dev, tests and spans, and {language: lines} of text without
    partner. The counts of the results are completed."""
    held, train, spans = Held(), Train(), Train()
    files = measured(chosen, results, held)
    pages = held_out_pages("test") | held_out_pages("dev")
    for source in chosen.train:
        result = results[source.name]
        for name, pairs in result.documents:
            if name in pages:
                result.counts["on held-out pages"] += len(pairs)
            else:
                train.add(source.name, pairs, held, result.counts)
        for name, pairs in result.marked:
            if name not in pages:
                spans.add(source.name, pairs, held, Counter())
        result.counts["spans"] = spans.sources.count(source.name)
    if chosen.strict:
        found = scores(train.pairs, chosen.left, chosen.right)
        worst = max(MIN_SCORE, sorted(found)[int(WORST_SHARE * len(found))] if len(found) else 0)
        own = phrasebook.SOURCE.name
        bad = [s < worst and source != own for s, source in zip(found, train.sources)]
        train.drop(bad, "low score", results)
    files["train"], files["spans"] = train.pairs, spans.pairs
    mono = {}
    for side, language in enumerate((chosen.left, chosen.right)):
        lines = dict.fromkeys(
            t for s in chosen.train for lang, t in results[s.name].unpaired if lang == language
        )
        trained = {fingerprint(p[side]) for p in train.pairs}
        mono[language] = [t for t in lines if not held.has(t) and fingerprint(t) not in trained]
    return files, mono


def licences_of_packages(chosen, cache, jobs):
    """{package: names of licences in it} of all packages that a set trains on."""
    packages = list(dict.fromkeys(p for s in chosen.train for p in packages_of(s, chosen)))
    with ProcessPoolExecutor(max_workers=jobs) as pool:
        return dict(zip(packages, pool.map(partial(licences_of, cache.folder), packages)))


def describe(chosen, cache, results, files, stamp, licences):
    """What sources.json holds. `licences` are those of packages as they say themselves."""
    sources = []
    for source in chosen.sources():
        names = packages_of(source, chosen)
        counts = results[source.name].counts
        sources.append(
            {
                "name": source.name,
                "title": source.title,
                "licence": source.licence,
                "packages": {n: cache.version(n) for n in names},
                "bytes": sum(map(cache.size, names)),
                "documents": len(results[source.name].documents),
                "licences": {n: licences[n] for n in names if n in licences},
                "counts": dict(sorted(counts.items())),
            }
        )
    return {
        "set": chosen.name,
        "languages": [chosen.left, chosen.right],
        "sources": sources,
        "stamp": stamp,
        "files": {
            name: {
                "pairs": len(pairs),
                **{
                    language: sum(len(units(p[side], language)) for p in pairs)
                    for side, language in enumerate((chosen.left, chosen.right))
                },
            }
            for name, pairs in files.items()
        },
    }


def table(report):
    """The rows of sources.tsv: one a source, a column for each reason."""
    totals = Counter()
    for source in report["sources"]:
        totals.update(source["counts"])
    columns = list(_OUTCOMES) + sorted(set(totals) - set(_OUTCOMES))
    rows = [["source", "licence", "MB", "documents"] + columns]
    for source in report["sources"]:
        rows.append(
            [
                source["name"],
                source["licence"],
                f"{source['bytes'] / 1e6:.1f}",
                str(source["documents"]),
            ]
            + [str(source["counts"].get(c, 0)) for c in columns]
        )
    return rows


def print_report(report, out):
    rows = table(report)
    transposed = list(zip(*rows))  # more reasons than fit side by side
    widths = [max(map(len, row)) for row in rows]
    for line in transposed:
        print(
            "  ".join(
                [line[0].ljust(widths[0])] + [c.rjust(w) for c, w in zip(line[1:], widths[1:])]
            )
        )
    left, right = report["languages"]
    print(f"\n{'file':<20} {'pairs':>8} {left + ' units':>10} {right + ' units':>10}")
    for name, counts in report["files"].items():
        print(f"{name:<20} {counts['pairs']:>8} {counts[left]:>10} {counts[right]:>10}")
    print(
        f"\n{sum(s['bytes'] for s in report['sources']) / 1e6:.1f} MB of packages; the set is "
        f"in {out}"
    )


def write(out, report, files, mono):
    """Writes the folder beside its place and moves it there, so that a half-made set is never
    found."""
    fresh = out + ".new"
    shutil.rmtree(fresh, ignore_errors=True)
    os.makedirs(fresh)

    def save(name, lines):
        with open(os.path.join(fresh, name), "w", encoding="utf-8", newline="\n") as f:
            f.writelines(line + "\n" for line in lines)

    for name, pairs in files.items():
        for side, language in enumerate(report["languages"]):
            save(f"{name}.{language}", (p[side] for p in pairs))
    for language, lines in mono.items():
        save(f"mono.{language}", lines)
    save("sources.tsv", ("\t".join(row) for row in table(report)))
    save("sources.json", [json.dumps(report, indent=1, ensure_ascii=False)])
    shutil.rmtree(out, ignore_errors=True)
    os.replace(fresh, out)


def build(name, cache_folder, out, jobs):
    chosen = SETS[name]
    apt_languages = [lang for language in (chosen.left, chosen.right) for lang in locales(language)]
    cache = Cache(cache_folder, apt_languages)
    if descriptions.SOURCE in chosen.sources() and not cache.has_lists(locales(chosen.right)[:1]):
        cache.update()
    cache.fetch([n for source in chosen.sources() for n in packages_of(source, chosen)])
    stamp = stamp_of(chosen, cache)
    try:
        with open(os.path.join(out, "sources.json"), encoding="utf-8") as f:
            report = json.load(f)
    except (FileNotFoundError, ValueError):
        report = {}
    if report.get("stamp") != stamp:
        results = run_sources(chosen, cache, jobs)
        files, mono = divide(chosen, results)
        licences = licences_of_packages(chosen, cache, jobs) if chosen.strict else {}
        report = describe(chosen, cache, results, files, stamp, licences)
        write(out, report, files, mono)
    print_report(report, out)


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("set", nargs="?", choices=sorted(SETS), metavar="SET")
    parser.add_argument("--list", action="store_true", help="print the names of the sets")
    parser.add_argument(
        "--cache",
        default=os.path.join(ROOT, "cache", "packages"),
        help="folder of packages (default: %(default)s)",
    )
    parser.add_argument("--out", help="output folder (default: cache/SET beside the packages)")
    parser.add_argument(
        "--jobs", type=int, default=os.cpu_count() or 1, help="processes (default: %(default)s)"
    )
    arguments = parser.parse_args()
    if arguments.list:
        print("\n".join(SETS))
        return 0
    if not arguments.set:
        parser.error("which set? --list names them")
    out = arguments.out or os.path.join(ROOT, "cache", arguments.set)
    try:
        build(arguments.set, arguments.cache, os.path.abspath(out), max(1, arguments.jobs))
    except (PackageError, OSError, ValueError) as error:
        print(f"error: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
