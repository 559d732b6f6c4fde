"""Two builds of the engine on the same text, in turn; script/bench --against builds and calls it.

  python3 bench/compare.py OLD_KORA NEW_KORA FOLDER TEXT [ROUNDS]

Prints words per second of user time and the ratio of the two, with its spread over the rounds. Runs
that follow each other meet the same load, so the ratio says what the times of a busy machine do
not.
Fails if the outputs differ by a byte.
"""

import os
import statistics
import subprocess
import sys


def run(kora, folder, text):
    """The output, and the user seconds that it took."""
    with open(text, "rb") as source:
        process = subprocess.Popen(
            [kora, "translate", "--model", folder], stdin=source, stdout=subprocess.PIPE
        )
        output = process.stdout.read()
        _, status, usage = os.wait4(process.pid, 0)
    if status:
        sys.exit(f"error: {kora} failed")
    return output, usage.ru_utime


def main(old, new, folder, text, rounds=5):
    with open(text, "rb") as source:
        words = len(source.read().split())
    times = {old: [], new: []}
    outputs = {}
    for _ in range(int(rounds)):
        for kora in (old, new):
            outputs[kora], seconds = run(kora, folder, text)
            times[kora].append(seconds)
        if outputs[old] != outputs[new]:
            sys.exit("error: the two builds translate differently")
    ratios = sorted(before / after for before, after in zip(times[old], times[new]))
    for name, kora in (("before", old), ("now", new)):
        print(f"{name:7}{words / min(times[kora]):9.0f} words/s in the best of {len(ratios)} runs")
    print(
        f"ratio {statistics.median(ratios):.2f} (median; {ratios[0]:.2f} to {ratios[-1]:.2f}), "
        "same bytes"
    )


if __name__ == "__main__":
    if len(sys.argv) not in (5, 6):
        sys.exit(__doc__)
    main(*sys.argv[1:])
