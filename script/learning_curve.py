"""Draws scores against sentence pairs: learning_curve.py SCORES.tsv PICTURE.svg

A line of SCORES.tsv is pairs, test, BLEU and chrF2, with tabs between.
"""

import collections
import sys

import matplotlib

matplotlib.use("svg")
matplotlib.rcParams["svg.hashsalt"] = "kora"  # the same bytes each time
from matplotlib import pyplot  # noqa: E402


def main(table, picture):
    curves = collections.defaultdict(list)
    with open(table, encoding="utf-8") as file:
        for line in file:
            pairs, test, bleu, _ = line.split("\t")
            curves[test].append((int(pairs), float(bleu)))
    figure, axes = pyplot.subplots(figsize=(6.4, 4))
    for test, points in curves.items():
        xs, ys = zip(*sorted(points))
        axes.plot(xs, ys, marker="o", label=test)
    axes.set_xscale("log")
    axes.set_xlabel("sentence pairs")
    axes.set_ylabel("BLEU")
    axes.set_ylim(bottom=0)
    axes.grid(True, alpha=0.3)
    axes.legend()
    figure.tight_layout()
    figure.savefig(picture, metadata={"Date": None})


if __name__ == "__main__":
    main(*sys.argv[1:])
