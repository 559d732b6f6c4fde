"""What one program of bench/ prints, as a Markdown table.

Usage: python3 bench/table.py NAME [OPTION...]    builds and runs bench_NAME of preset release; the
                                                  options are those of Google Benchmark
"""

import json
import pathlib
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
# Fields of a benchmark that are no counters.
FIELDS = {
    "name", "run_name", "run_type", "family_index", "per_family_instance_index", "repetitions",
    "repetition_index", "threads", "iterations", "real_time", "cpu_time", "time_unit", "label",
}  # fmt: skip


def number(value):
    if value >= 1000:
        return f"{value:,.0f}"
    return f"{value:.3g}" if value < 100 else f"{value:.0f}"


def main():
    name = sys.argv[1]
    for command in (
        ["cmake", "--preset", "release"],
        ["cmake", "--build", "--preset", "release", "--target", f"bench_{name}"],
    ):
        subprocess.run(command, cwd=ROOT, check=True, stdout=sys.stderr)
    printed = subprocess.run(
        [ROOT / f"build/release/bin/bench_{name}", "--benchmark_format=json", *sys.argv[2:]],
        cwd=ROOT,
        check=True,
        stdout=subprocess.PIPE,
    ).stdout
    rows = json.loads(printed)["benchmarks"]
    counters = list(dict.fromkeys(key for row in rows for key in row if key not in FIELDS))
    names = (key.replace("items_per_second", "items/s").replace("_", " ") for key in counters)
    print("| | time |" + "".join(f" {name} |" for name in names))
    print("|---|---:|" + "---:|" * len(counters))
    for row in rows:
        real = row["name"].endswith("/real_time")
        time = f"{number(row['real_time' if real else 'cpu_time'])} {row['time_unit']}"
        label = (
            row["name"]
            .removeprefix("BM_")
            .replace("/real_time", " (wall)")
            .replace("/iterations:1", "")
        )
        cells = [number(row[key]) if key in row else "" for key in counters]
        print(f"| {label.replace('_', ' ')} | {time} |" + "".join(f" {c} |" for c in cells))


if __name__ == "__main__":
    main()
