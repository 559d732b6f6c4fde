#!/usr/bin/python3
"""Writes word lists and names for a direction, as inputs of the toolkit's builders.

    corpus/make_resources.py en-zh [--cache DIR] [--out DIR]

Files in the output folder (UTF-8), as far as the languages need them:
    names.SS-TT.tsv    source TAB type TAB target: places, languages, scripts, currencies
    readings.txt       kMandarin lines of Unihan
    dictionary.tsv     source TAB target TAB dictionary TAB part of speech
    everyday.tsv       names of everyday things in both languages, if one is English
    words.tsv          Chinese word TAB count TAB tag
    surnames.txt       Chinese surnames, frequent ones first; surnames.tsv has their counts
    given-names.tsv    character TAB single|first|second TAB count
    english-words.txt  English words in their usual case
"""
import argparse
import itertools
import os
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, ROOT)

from corpus.packages import Cache, PackageError  # noqa: E402
from corpus.resources import dictionary, english, names  # noqa: E402
from corpus.resources import readings, segmentation  # noqa: E402
from corpus.sets import LANGUAGES  # noqa: E402


def build(left, right, cache_folder, out, texts=()):
    """Writes the resources of a direction and prints a table of them. `texts` are files of Chinese
    to cut the word list to, which stays whole without them."""
    cache = Cache(cache_folder)
    modules = [
        m for language, m in (("zh", readings), ("en", english)) if language in (left, right)
    ]
    chinese = "zh" in (left, right)
    packages = [p for m in modules + [names] for p in m.PACKAGES]
    cache.fetch(
        packages + dictionary.packages(left, right) + list(segmentation.PACKAGES if chinese else ())
    )
    cedict = cache.fetch_npm(*dictionary.CEDICT) if {left, right} == {"en", "zh"} else None
    os.makedirs(out, exist_ok=True)
    rows = [
        (file, lines, m.LICENCE) for m in modules for file, lines in m.write(cache, out).items()
    ]
    files, own_names = names.write(cache, out, left, right)
    rows += [(file, lines, names.LICENCE) for file, lines in files.items()]
    files, entries = dictionary.write(cache, out, left, right, cedict)
    licence = ", ".join(dict.fromkeys(dictionary.LICENCES[e[2]] for e in entries))
    licences = {"everyday.tsv": dictionary.LICENCES["cldr"]}
    rows += [(file, lines, licences.get(file, licence)) for file, lines in files.items()]
    if chinese:
        side = 0 if left == "zh" else -1
        known = [pair[side] for pair in own_names] + [e[0 if left == "zh" else 1] for e in entries]
        seen = itertools.chain(known, *map(lines_of, texts)) if texts else None
        files = segmentation.write(cache, out, seen)
        rows += [(file, lines, segmentation.LICENCE) for file, lines in files.items()]
    print(f"{'file':<20} {'lines':>8}  licence")
    for file, lines, licence in rows:
        print(f"{file:<20} {lines:>8}  {licence}")


def lines_of(path):
    with open(path, encoding="utf-8") as f:
        yield from f


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
    parser.add_argument(
        "--text",
        action="append",
        default=[],
        metavar="FILE",
        help="Chinese text to train on: words that stand neither there nor in the dictionary and"
        " the names are left out of words.tsv (may be given several times)",
    )
    parser.add_argument("--out", help="output folder (default: cache/resources-DIRECTION)")
    arguments = parser.parse_args()
    left, _, right = arguments.direction.partition("-")
    if left == right or left not in LANGUAGES or right not in LANGUAGES:
        parser.error(f'direction: two different ones of {", ".join(LANGUAGES)}, as en-zh')
    out = arguments.out or os.path.join(ROOT, "cache", f"resources-{arguments.direction}")
    try:
        build(left, right, arguments.cache, os.path.abspath(out), arguments.text)
    except (PackageError, OSError, ValueError) as error:
        print(f"error: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
