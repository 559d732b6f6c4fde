"""The figures of docs/scale.md: what translation costs through the command, the Python package and
many processes, in one run.

    python3 bench/scale.py [--write] MODEL TEXT [--threads N] [--rounds N]

TEXT has a sentence a line. The command is KORA_COMMAND and the library KORA_LIBRARY, else those of
build/release. Command and package take turns, and CPU time counts; the text of a batch must come
out as the command writes it. Ends with 1 when a batch reaches less than 0.95 of the command's
speed. --write puts the tables into docs/scale.md.
"""

import argparse
import ctypes
import gzip
import os
import pathlib
import re
import resource
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE = ROOT / "docs" / "scale.md"
ROWS = 2_000_000  # of the input that a late shard is looked up in
os.environ.setdefault("KORA_LIBRARY", str(ROOT / "build/release/lib/libtranslator_jni.so.1"))
os.environ.setdefault("KORA_COMMAND", str(ROOT / "build/release/bin/kora"))
KORA = os.environ["KORA_COMMAND"]
sys.path.insert(0, str(ROOT / "bindings/python"))

import kora  # noqa: E402


def cpu(who):
    used = resource.getrusage(who)
    return used.ru_utime + used.ru_stime


def timed(run, who=resource.RUSAGE_SELF):
    """What a function gives, its seconds by the clock, and its seconds of CPU."""
    before, begin = cpu(who), time.perf_counter()
    result = run()
    return result, time.perf_counter() - begin, cpu(who) - before


def command(*words, data=None):
    """Output, seconds and CPU seconds of a run of kora."""
    return timed(
        lambda: subprocess.run(
            [KORA, *map(str, words)],
            input=b"" if data is None else data,
            stdout=subprocess.PIPE,
            check=True,
        ).stdout,
        resource.RUSAGE_CHILDREN,
    )


def calls(model):
    """Microseconds of CPU for a call with an empty text: of the package, of ctypes written out by
    hand, of the library alone."""
    with kora.Translator(model) as translator:
        library = ctypes.CDLL(os.environ["KORA_LIBRARY"])
        function, free = library.kora_c_translate, library.kora_c_free
        function.argtypes = [
            ctypes.c_void_p,
            ctypes.c_char_p,
            ctypes.c_size_t,
            ctypes.POINTER(ctypes.c_void_p),
            ctypes.POINTER(ctypes.c_size_t),
        ]
        free.argtypes, free.restype = [ctypes.c_void_p], None
        address = translator._handles[0]._address
        out, length = ctypes.c_void_p(), ctypes.c_size_t()
        results = ctypes.byref(out), ctypes.byref(length)

        def by_hand():
            data = "".encode()
            function(address, data, len(data), *results)
            text = ctypes.string_at(out.value, length.value).decode()
            free(out)
            return text

        def alone():
            function(address, b"", 0, *results)
            free(out)

        best = {}
        for _ in range(15):  # in turns, so that other work on the machine meets all of them
            for run in (lambda: translator.translate(""), by_hand, alone):
                _, _, spent = timed(lambda: [run() for _ in range(5000)])
                name = getattr(run, "__name__")
                best[name] = min(best.get(name, spent), spent)
    return [best[name] / 5000 * 1e6 for name in ("<lambda>", "by_hand", "alone")]


def speeds(options, data):
    """CPU seconds and seconds of a pass over the text, of the command and of batches, a round an
    item."""
    lines = data.removesuffix(b"\n").split(b"\n")
    spent = {"command": [], "batch": []}
    with kora.Translator(options.model) as translator:
        list(translator.batch(lines[:100], threads=options.threads))
        for _ in range(options.rounds):
            printed, *costs = command(
                "translate", "-m", options.model, "-t", options.threads, data=data
            )
            spent["command"].append(costs)
            batch, *costs = timed(lambda: list(translator.batch(lines, threads=options.threads)))
            spent["batch"].append(costs)
            if "".join(line + "\n" for line in batch).encode() != printed:
                sys.exit("the batch and the command write different bytes")
    return spent


def lookup(model, data):
    """Rows a CPU second that a task reads to find that its shards are beyond the end, from a plain
    and from a gzip file."""
    rows = data.splitlines(keepends=True)
    text = b"".join((rows * (ROWS // len(rows) + 1))[:ROWS])
    found = []
    with tempfile.TemporaryDirectory() as name:
        for file, content in (("plain", text), ("gzip", gzip.compress(text, 6))):
            path = pathlib.Path(name, file)
            path.write_bytes(content)
            words = ["translate", "-m", model, "--output-dir", path.with_suffix(".out"), "--shards"]
            found.append(ROWS / min(command(*words, 10**6, path)[2] for _ in range(3)))
    return found


def memory(pid):
    """Private and shared resident memory, and its proportional share, in MB."""
    found = {}
    with open(f"/proc/{pid}/smaps_rollup") as file:
        for row in file:
            fields = row.split()
            if fields[-1] == "kB":
                found[fields[0]] = int(fields[1]) / 1024
    private = found["Private_Clean:"] + found["Private_Dirty:"]
    return private, found["Shared_Clean:"] + found["Shared_Dirty:"], found["Pss:"]


def translated(process, count):
    """Waits until a process of the filter has written so many lines."""
    for _ in range(count):
        if not process.stdout.readline():
            sys.exit("kora translate ended early")


def processes(model, data):
    """Rows of a table: memory of 1, 2 and 4 processes in the middle of the text."""
    lines = data.count(b"\n")
    for count in (1, 2, 4):
        with tempfile.TemporaryFile() as text:
            text.write(data)
            running = []
            for _ in range(count):
                text.seek(0)
                source = os.open(f"/proc/self/fd/{text.fileno()}", os.O_RDONLY)
                running.append(
                    subprocess.Popen([KORA, "translate", "-m", model, "-t", "1"], stdin=source,
                                     stdout=subprocess.PIPE))  # fmt: skip
                os.close(source)
            for process in running:
                translated(process, lines // 3)
            each = [memory(process.pid) for process in running]
            for process in running:
                process.kill()
                process.communicate()
        private, shared = (max(found[i] for found in each) for i in (0, 1))
        yield f"| {count} | {private:.1f} | {shared:.1f} | {sum(found[2] for found in each):.1f} |"


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("model")
    parser.add_argument("text")
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--write", action="store_true", help="put the tables into docs/scale.md")
    options = parser.parse_args()
    data = pathlib.Path(options.text).read_bytes()
    lines, words = data.count(b"\n"), len(data.split())

    package, by_hand, alone = calls(options.model)
    spent = speeds(options, data)
    seconds = statistics.median(cost[1] for cost in spent["command"])
    by_cpu, by_clock = (
        statistics.median(a[i] / b[i] for a, b in zip(spent["command"], spent["batch"]))
        for i in (1, 0)
    )
    starts = [command("translate", "-m", options.model)[1:] for _ in range(10)]
    plain, packed = lookup(options.model, data)
    hours = 1e9 / lines * seconds / 3600
    rows = [
        ("the text: lines, words", f"{lines:,}, {words:,}"),
        (
            "`kora translate`, a second of CPU: lines, words",
            f"{lines / seconds:,.0f}, {words / seconds:,.0f}",
        ),
        ("a billion such lines: core hours", f"{hours:,.0f}"),
        ("hours on 100 cores", f"{hours / 100:.1f}"),
        (
            "speed of `Translator.batch` to that of the command: by CPU time, by the clock",
            f"{by_cpu:.3f}, {by_clock:.3f}",
        ),
        ('`Translator.translate("")`, us of CPU', f"{package:.2f}"),
        (
            "the same by ctypes written out by hand; the library alone",
            f"{by_hand:.2f}; {alone:.2f}",
        ),
        (
            "start and end of a process: ms by the clock, of CPU",
            f"{min(s[0] for s in starts) * 1e3:.0f}, {min(s[1] for s in starts) * 1e3:.0f}",
        ),
        (
            "rows a second of CPU that a task reads before its shards: plain, gzip",
            f"{plain / 1e6:.1f} M, {packed / 1e6:.1f} M",
        ),
    ]
    table = [
        "| | |",
        "|---|---:|",
        *(f"| {name} | {value} |" for name, value in rows),
        "",
        "| processes | private MB each | shared MB each | MB of all |",
        "|---:|---:|---:|---:|",
        *processes(options.model, data),
    ]
    printed = "\n".join(table)
    print(printed)
    if options.write:
        page = PAGE.read_text("utf-8")
        new, count = re.subn(
            r"(<!-- bench/scale.py --write -->\n).*?(<!-- end -->)",
            lambda found: f"{found[1]}{printed}\n{found[2]}",
            page,
            flags=re.S,
        )
        if count != 1:
            sys.exit(f"{PAGE} has no place for the tables")
        PAGE.write_text(new, "utf-8")
    return 0 if max(by_cpu, by_clock) >= 0.95 else 1


if __name__ == "__main__":
    sys.exit(main())
