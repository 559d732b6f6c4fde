"""What more processes of one model cost: starts 1, 2 and 4 of `kora translate` on a text, and
prints start-up, and memory that is private and shared in the middle of the work.

    python3 shared_memory.py MODEL TEXT

Wants the command in KORA_COMMAND or on the PATH.
"""

import os
import subprocess
import sys
import time


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


def main():
    model, text = sys.argv[1:]
    command = os.environ.get("KORA_COMMAND", "kora")
    times = []
    for _ in range(20):
        begin = time.perf_counter()
        subprocess.run([command, "translate", "-m", model], stdin=subprocess.DEVNULL, check=True)
        times.append(time.perf_counter() - begin)
    print(f"start and end of a process: {min(times) * 1000:.0f} ms, the best of {len(times)}\n")
    with open(text, "rb") as file:
        data = file.read()
    print("| processes | private MB each | shared MB each | MB of all |\n|---:|---:|---:|---:|")
    for count in (1, 2, 4):
        running = [
            subprocess.Popen(
                [command, "translate", "-m", model],
                stdin=subprocess.PIPE,
                stdout=subprocess.DEVNULL,
            )
            for _ in range(count)
        ]
        for process in running:
            process.stdin.write(data)
            process.stdin.flush()
        time.sleep(2)
        each = [memory(process.pid) for process in running]
        total = sum(pss for _, _, pss in each)
        print(
            f"| {count} | {max(p for p, _, _ in each):.1f} | {max(s for _, s, _ in each):.1f} "
            f"| {total:.1f} |"
        )
        for process in running:
            process.kill()
            process.wait()
            process.stdin.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
