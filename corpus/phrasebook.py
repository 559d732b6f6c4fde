#!/usr/bin/python3
"""Checks the phrase book in data/phrasebook.

    corpus/phrasebook.py check [--folder DIR]

Looks at every table: the columns of each line, empty cells and stray blanks, the script of each
language, dots in place of words in the lexicon, lines that say the same twice, and sentences of
dev.tsv and test.tsv that are among those to train on, or among them but for one word (one letter in
Chinese, Japanese and Korean), in any of the languages. Sentences are compared without case, blanks
and signs. Prints `file:line: fault` for each fault, then how many lines each table has; ends with 1
when there is a fault.
"""
import argparse
import os
import re
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path.insert(0, ROOT)

from corpus.sources.phrasebook import FOLDER, LANGUAGES, read_table, topics  # noqa: E402
from corpus.text import HANGUL, KANA, SCRIPT, fingerprint  # noqa: E402

_CODES = tuple(LANGUAGES.values())
_COLUMNS = {
    "sentences": list(_CODES),
    "measured": ["topic", *_CODES],
    "lexicon": ["en", "part of speech", *_CODES[1:]],
}
_FOREIGN = {"en": (KANA, HANGUL), "zh": (KANA, HANGUL), "ja": (HANGUL,), "ko": (KANA,)}
_ONCE = ("en", "zh")  # languages in which no two sentences to train on may be equal
_GAPS = re.compile("[\u2026\u301c\uff5e~]")  # dots and waves that stand for a word
_NEAR_FROM = {"en": 5, "zh": 8, "ja": 8, "ko": 8}  # units: shorter sentences are often alike


def row_faults(row, kind):
    """What is wrong with a row by itself."""
    for column, text in row.items():
        if not text.strip():
            yield f"{column} is empty"
        elif text != " ".join(text.split()):
            yield f"{column} has stray blanks"
        elif column in _CODES:
            if kind == "lexicon" and _GAPS.search(text):
                yield f"{column} has a sign in place of a word: {text}"
            if kind != "lexicon" and not SCRIPT[column].search(text):
                yield f"{column} is not in its script: {text}"
            elif any(script.search(text) for script in _FOREIGN[column]):
                yield f"{column} holds letters of another language: {text}"


def nearly(text, language):
    """The prints of a sentence and of what is left when one of its words (letters outside English)
    is taken away: two sentences that differ in one word, or in where it stands, share one."""
    parts = text.split() if language == "en" else text
    units = [unit for unit in map(fingerprint, parts) if unit]
    if len(units) < _NEAR_FROM[language]:
        return set()
    return {" ".join(units)} | {" ".join(units[:i] + units[i + 1 :]) for i in range(len(units))}


class Check:
    """Goes through the tables; `faults` are the lines to print, `counts` the rows of each table."""

    def __init__(self, folder):
        self.folder = folder
        self.faults = []
        self.counts = {}

    def table(self, path, kind):
        """[(place, row)] of a table; the faults of single rows are noted."""
        name = os.path.relpath(path, self.folder)
        try:
            rows = read_table(path)
        except (OSError, ValueError) as error:
            self.faults.append(str(error))
            return []
        self.counts[name] = len(rows)
        if rows and list(rows[0]) != _COLUMNS[kind]:
            self.faults.append(f"{name}:1: the columns must be {', '.join(_COLUMNS[kind])}")
            return []
        placed = [(f"{name}:{number}", row) for number, row in enumerate(rows, 2)]
        for place, row in placed:
            self.faults += [f"{place}: {fault}" for fault in row_faults(row, kind)]
        return placed

    def once(self, placed, columns, what):
        """Notes rows that are equal in one of the columns; returns {column: {print: place}}."""
        seen = {column: {} for column in columns}
        for place, row in placed:
            for column in columns:
                key = fingerprint(row[column])
                first = seen[column].setdefault(key, place)
                if key and first != place:
                    self.faults.append(f"{place}: {column} is {what} at {first}: {row[column]}")
        return seen

    def kept_back(self, sentences, measured):
        """Notes sentences to train on that are measured on, or nearly so."""
        held = self.once(measured, _CODES, "also")
        near = {column: {} for column in _CODES}
        for place, row in measured:
            for column in _CODES:
                near[column].update(dict.fromkeys(nearly(row[column], column), place))
        for place, row in sentences:
            for column in _CODES:
                other = held[column].get(fingerprint(row[column]))
                if other:
                    self.faults.append(f"{place}: {column} is measured on at {other}")
                    continue
                others = near[column].keys() & nearly(row[column], column)
                if others:
                    other = near[column][min(others)]
                    self.faults.append(
                        f"{place}: {column} is nearly what is measured on at {other}"
                    )

    def run(self):
        sentences = []
        for path in topics(self.folder).values():
            sentences += self.table(path, "sentences")
        self.once(sentences, _ONCE, "also")
        measured = []
        for part in ("dev", "test"):
            path = os.path.join(self.folder, part + ".tsv")
            if os.path.exists(path):
                measured += self.table(path, "measured")
        self.kept_back(sentences, measured)
        lexicon = os.path.join(self.folder, "lexicon.tsv")
        if os.path.exists(lexicon):
            words = self.table(lexicon, "lexicon")
            seen = {}
            for place, row in words:
                key = row["en"], row["part of speech"]
                if seen.setdefault(key, place) != place:
                    self.faults.append(f"{place}: {' '.join(key)} is also at {seen[key]}")
        return not self.faults


def main():
    parser = argparse.ArgumentParser(
        description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter
    )
    parser.add_argument("command", choices=["check"])
    parser.add_argument("--folder", default=FOLDER, help="the phrase book (default: %(default)s)")
    check = Check(parser.parse_args().folder)
    good = check.run()
    print("\n".join(check.faults), end="\n" if check.faults else "")
    for name, rows in check.counts.items():
        print(f"{rows:>6}  {name}")
    print(f"{len(check.faults)} faults")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
