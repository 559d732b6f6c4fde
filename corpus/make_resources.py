#!/usr/bin/python3
"""Writes word lists and names for a direction, as inputs of the toolkit's builders.

    corpus/make_resources.py en-zh [--cache DIR] [--out DIR]

Files in the output folder (UTF-8), as far as the languages need them:
    names.SS-TT.tsv    source TAB type TAB target: places, languages, scripts, currencies
    readings.txt       kMandarin lines of Unihan
    words.tsv          Chinese word TAB count TAB tag
    surnames.txt       Chinese surnames, frequent ones first; surnames.tsv has their counts
    given-names.tsv    character TAB single|first|second TAB count
    english-words.txt  English words in their usual case
"""
import argparse
import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, ROOT)

from corpus.packages import Cache, PackageError  # noqa: E402
from corpus.resources import english, names, readings, segmentation  # noqa: E402
from corpus.sets import LANGUAGES  # noqa: E402


def build(left, right, cache_folder, out):
    """Writes the resources of a direction and prints a table of them."""
    cache = Cache(cache_folder)
    modules = [
        m
        for language, m in (("zh", readings), ("zh", segmentation), ("en", english))
        if language in (left, right)
    ]
    cache.fetch(p for m in modules + [names] for p in m.PACKAGES)
    os.makedirs(out, exist_ok=True)
    print(f"{'file':<20} {'lines':>8}  licence")
    for module in modules:
        for file, lines in module.write(cache, out).items():
            print(f"{file:<20} {lines:>8}  {module.LICENCE}")
    for file, lines in names.write(cache, out, left, right).items():
        print(f"{file:<20} {lines:>8}  {names.LICENCE}")


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("direction", help="two languages, as en-zh or zh-en")
    parser.add_argument(
        "--cache",
        default=os.path.join(ROOT, "cache", "packages"),
        help="folder of packages (default: %(default)s)",
    )
    parser.add_argument("--out", help="output folder (default: cache/resources-DIRECTION)")
    arguments = parser.parse_args()
    left, _, right = arguments.direction.partition("-")
    if left == right or left not in LANGUAGES or right not in LANGUAGES:
        parser.error(f'direction: two different ones of {", ".join(LANGUAGES)}, as en-zh')
    out = arguments.out or os.path.join(ROOT, "cache", f"resources-{arguments.direction}")
    try:
        build(left, right, arguments.cache, os.path.abspath(out))
    except (PackageError, OSError, ValueError) as error:
        print(f"error: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
