"""How training grows: trains on 25, 50 and 100 % of a corpus and prints time and memory by stage.

    python3 training_growth.py SOURCE TARGET --direction en-zh [--threads N] [--parts 25 50 100]
                               [--write]

CPU seconds and the largest resident memory of each stage of `kora train` (KORA_COMMAND, else the
PATH), the disk that its work folder takes, and the exponent of the growth from the first part to
the last: 1 is in proportion. Every part takes lines from all over the corpus. Weights are not
tuned. --write puts the table into docs/scale.md.
"""

import argparse
import math
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import time


def take_part(path, target, percent):
    """Every line of 100 numbers below the percentage; gives how many, and their words."""
    count = words = 0
    with open(path, "rb") as source, open(target, "wb") as out:
        for i, line in enumerate(source):
            if i * 37 % 100 < percent:
                out.write(line)
                count += 1
                words += len(line.split())
    return count, words


def usage(pid):
    """CPU seconds so far and the largest resident memory in MB since the last reset."""
    with open(f"/proc/{pid}/stat", "rb") as file:
        fields = file.read().rsplit(b")", 1)[1].split()
    seconds = (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")
    with open(f"/proc/{pid}/status") as file:
        peak = next((int(row.split()[1]) for row in file if row.startswith("VmHWM")), 0)
    return seconds, peak / 1024


def watch(process, work):
    """(stage, CPU seconds, peak MB) of each stage, as the work folder says that it is done."""
    stages, seen, before, last = [], set(), 0.0, (0.0, 0.0)
    while process.poll() is None:
        try:
            last = usage(process.pid)
        except (OSError, IndexError):
            break
        new = {path.name for path in work.glob("*.done")} - seen
        if new:
            seen |= new
            stages.append((" and ".join(sorted(n[:-5] for n in new)), last[0] - before, last[1]))
            before = last[0]
            with open(f"/proc/{process.pid}/clear_refs", "w") as file:
                file.write("5")  # the largest memory from now on
        time.sleep(0.01)
    return stages


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("source")
    parser.add_argument("target")
    parser.add_argument("--direction", required=True)
    parser.add_argument("--threads", type=int, default=2)
    parser.add_argument("--parts", type=int, nargs="+", default=[25, 50, 100])
    parser.add_argument("--write", action="store_true", help="put the table into docs/scale.md")
    options = parser.parse_args()
    command = os.environ.get("KORA_COMMAND", "kora")

    pairs, words, found, disk = [], [], [], []
    with tempfile.TemporaryDirectory() as name:
        for percent in options.parts:
            folder = pathlib.Path(name, str(percent))
            folder.mkdir()
            count, size = take_part(options.source, folder / "source", percent)
            pairs.append(count)
            words.append(size / 1e6)
            take_part(options.target, folder / "target", percent)
            process = subprocess.Popen(
                [command, "train", "--direction", options.direction, "--source", folder / "source",
                 "--target", folder / "target", "--threads", str(options.threads), "-o",
                 folder / "model"], stdout=subprocess.DEVNULL)  # fmt: skip
            found.append(watch(process, folder / "model.work"))
            if process.wait() != 0:
                return 1
            disk.append(sum(path.stat().st_size for path in (folder / "model.work").iterdir()))

    def growth(values):
        if min(values) <= 0:
            return ""
        return f"{math.log(values[-1] / values[0]) / math.log(pairs[-1] / pairs[0]):.2f}"

    head = " | ".join(f"{count:,} pairs" for count in pairs)
    table = [f"| | {head} | exponent |", f"|---|{'---:|' * (len(pairs) + 1)}"]

    def add(name, values):
        cells = " | ".join(f"{value:.1f}" for value in values)
        table.append(f"| {name} | {cells} | {growth(values)} |")

    add("words of the source, million", words)
    for i, (stage, _, _) in enumerate(found[0]):
        for what, which in (("s of CPU", 1), ("MB", 2)):
            add(f"{stage}, {what}", [stages[i][which] for stages in found])
    add("all stages, s of CPU", [sum(stage[1] for stage in stages) for stages in found])
    add("work folder, MB", [size / 2**20 for size in disk])
    printed = "\n".join(table)
    print(printed)
    if options.write:
        page = pathlib.Path(__file__).resolve().parents[1] / "scale.md"
        new, count = re.subn(
            r"(<!-- docs/scale/training_growth.py --write -->\n).*?(<!-- end -->)",
            lambda mark: f"{mark[1]}{printed}\n{mark[2]}",
            page.read_text("utf-8"),
            flags=re.S,
        )
        if count != 1:
            sys.exit(f"{page} has no place for the table")
        page.write_text(new, "utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
