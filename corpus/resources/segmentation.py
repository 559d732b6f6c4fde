"""Chinese words with counts and tags, and what names of persons are made of, for the segmentation
dictionary."""
import functools
import re
from collections import Counter

from corpus.resources import save
from corpus.text import HAN, HAN_RANGES

PACKAGES = ("python3-jieba", "friso-dict")
LICENCE = "MIT (jieba), Apache-2.0 (friso)"
_WORDS = "usr/lib/python3/dist-packages/jieba/dict.txt"
_LISTS = "usr/share/friso/dict/UTF-8/"
_PERSON = "nr"
_RUN = re.compile(f"[{HAN_RANGES}]{{2,}}")


@functools.cache
def read_words(cache):
    """[(word, count, tag)] in the order of the list, each word once."""
    seen = {}
    for line in cache.read("python3-jieba", _WORDS)[_WORDS].decode("utf-8").splitlines():
        parts = line.rsplit(" ", 2)
        if len(parts) == 3 and parts[0] and parts[1].isdigit() and "\t" not in parts[0]:
            seen.setdefault(parts[0], (int(parts[1]), parts[2]))
    return [(word, count, tag) for word, (count, tag) in seen.items()]


def read_list(cache, name):
    """The entries of one of the lists of name characters."""
    path = f"{_LISTS}{name}.lex"
    lines = cache.read("friso-dict", path)[path].decode("utf-8").splitlines()
    return [line.split("/")[0].strip() for line in lines if HAN.match(line)]


def name_statistics(words, surnames, single, first, second):
    """(Counter of surnames, {position: Counter of characters}) over the different names of persons
    in `words`. Every entry of the given lists counts once more, so that what the lists know is
    never unseen. The longest surname wins; a given name has one character ('single') or two
    ('first', 'second')."""
    known = set(surnames)
    counted = Counter(surnames)
    given = {"single": Counter(single), "first": Counter(first), "second": Counter(second)}
    for word, _, tag in words:
        if tag != _PERSON or not all(map(HAN.match, word)):
            continue
        surname = next(
            (word[:n] for n in (2, 1) if word[:n] in known and 1 <= len(word) - n <= 2), None
        )
        if surname is None:
            continue
        counted[surname] += 1
        rest = word[len(surname) :]
        for position, character in zip(
            ("single",) if len(rest) == 1 else ("first", "second"), rest
        ):
            given[position][character] += 1
    return counted, given


def _ranked(counter):
    return sorted(counter.items(), key=lambda item: (-item[1], item[0]))


def seen_words(words, texts):
    """The entries of `words` (word, count, tag) that stand somewhere in the texts, whole and inside
    one run of Chinese, and those of a single character."""
    known = {word for word, _, _ in words}
    longest = max(map(len, known), default=0)
    seen = set()
    for text in texts:
        for run in _RUN.findall(text):
            for start in range(len(run)):
                for end in range(start + 2, min(len(run), start + longest) + 1):
                    if (part := run[start:end]) in known:
                        seen.add(part)
    return [entry for entry in words if len(entry[0]) == 1 or entry[0] in seen]


def write(cache, folder, texts=None):
    """With `texts`, lines of Chinese, the words are cut to those that are seen there."""
    words = read_words(cache)
    surnames, given = name_statistics(
        words,
        *(read_list(cache, n) for n in ("lex-lname", "lex-sname", "lex-dname-1", "lex-dname-2")),
    )
    if texts is not None:
        words = seen_words(words, texts)
    return {
        **save(folder, "words.tsv", (f"{w}\t{c}\t{t}" for w, c, t in words)),
        **save(folder, "surnames.txt", (s for s, _ in _ranked(surnames))),
        **save(folder, "surnames.tsv", (f"{s}\t{n}" for s, n in _ranked(surnames))),
        **save(
            folder,
            "given-names.tsv",
            (
                f"{c}\t{position}\t{n}"
                for position in ("single", "first", "second")
                for c, n in _ranked(given[position])
            ),
        ),
    }
