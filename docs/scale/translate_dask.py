"""Translates a text file on a Dask cluster, a partition of lines a task.

    python3 translate_dask.py --scheduler tcp://host:8786 -m models/en-zh INPUT OUTPUT

Workers need the package kora and the model at the same path. Each of their threads keeps a
translator of its own; the mapped files are shared. Partitions of a worker that is lost go to
others. Partitions are written in order, at most a few for each thread are under way, and OUTPUT
appears when it is whole.
"""

import argparse
import collections
import itertools
import os

import distributed
import kora


def translate_partition(model, lines):
    """Runs on a worker: a list of bytes to a list of str."""
    return kora.thread_translator(model).translate(lines)


def partitions(file, size):
    """Lists of at most `size` lines without their line feeds."""
    while lines := [line.rstrip(b"\n") for line in itertools.islice(file, size)]:
        yield lines


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--scheduler", required=True)
    parser.add_argument("-m", "--model", required=True)
    parser.add_argument("--partition-size", type=int, default=1000, metavar="LINES")
    parser.add_argument("input")
    parser.add_argument("output")
    options = parser.parse_args()

    with distributed.Client(options.scheduler) as client:
        ahead = 4 * sum(client.nthreads().values())
        part = options.output + ".part"
        waiting = collections.deque()
        with open(options.input, "rb") as source, open(part, "w", newline="") as target:

            def write_first():
                target.writelines(line + "\n" for line in waiting.popleft().result())
                target.flush()

            for lines in partitions(source, options.partition_size):
                # Equal partitions may share a result: a translation depends on its line alone.
                waiting.append(client.submit(translate_partition, options.model, lines))
                if len(waiting) >= ahead:
                    write_first()
            while waiting:
                write_first()
        os.replace(part, options.output)
        print(f"done, with {len(client.nthreads())} workers at the end")


if __name__ == "__main__":
    main()
