"""What the Python package costs: a call, and a batch against the kora command, taken in turns.

    python3 bench/python_overhead.py MODEL TEXT [--threads N] [--rounds N]

Wants kora on the PATH (or KORA_COMMAND) and the package, with the library of the same build. Exits
with 1 when a batch is slower than 0.95 of the command, or writes other bytes.
"""

import argparse
import os
import resource
import statistics
import subprocess
import sys
import time

import kora


def per_call(translator, text, rounds):
    """Microseconds of a call."""
    best = []
    for _ in range(5):
        begin = time.perf_counter()
        for _ in range(rounds):
            translator.translate(text)
        best.append((time.perf_counter() - begin) / rounds * 1e6)
    return min(best)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("model")
    parser.add_argument("text")
    parser.add_argument("--threads", type=int, default=1)
    parser.add_argument("--rounds", type=int, default=3)
    options = parser.parse_args()
    command = os.environ.get("KORA_COMMAND", "kora")
    with open(options.text, "rb") as file:
        data = file.read()
    lines = data.removesuffix(b"\n").split(b"\n")
    words = len(data.split())

    with kora.Translator(options.model) as translator:
        print(f"an empty text: {per_call(translator, '', 20000):.1f} us a call")
        print(f"one word: {per_call(translator, 'hello', 2000):.1f} us a call")

        speeds = {"command": [], "batch": []}
        cpu = {"command": [], "batch": []}

        def measure(name, run, who):
            used = resource.getrusage(who)
            begin = time.perf_counter()
            result = run()
            speeds[name].append(words / (time.perf_counter() - begin))
            after = resource.getrusage(who)
            spent = after.ru_utime + after.ru_stime - used.ru_utime - used.ru_stime
            cpu[name].append(words / spent)
            return result

        list(translator.batch(lines[:100], threads=options.threads))
        for _ in range(options.rounds):
            printed = measure(
                "command",
                lambda: subprocess.run(
                    [command, "translate", "-m", options.model, "-t", str(options.threads)],
                    input=data,
                    stdout=subprocess.PIPE,
                    check=True,
                ).stdout,
                resource.RUSAGE_CHILDREN,
            )
            batch = measure(
                "batch",
                lambda: list(translator.batch(lines, threads=options.threads)),
                resource.RUSAGE_SELF,
            )
            if "".join(line + "\n" for line in batch).encode() != printed:
                sys.exit("the batch and the command write different bytes")
    for name in speeds:
        print(
            f"{name}: {statistics.median(speeds[name]):.0f} words/s, "
            f"{statistics.median(cpu[name]):.0f} words a CPU second"
        )
    ratio = statistics.median(b / c for b, c in zip(speeds["batch"], speeds["command"]))
    of_cpu = statistics.median(b / c for b, c in zip(cpu["batch"], cpu["command"]))
    print(f"batch / command: {ratio:.3f} by the clock, {of_cpu:.3f} by CPU time")
    return 0 if max(ratio, of_cpu) >= 0.95 else 1


if __name__ == "__main__":
    sys.exit(main())
