"""Aligns the blocks of a page in two languages by dynamic programming over lengths, kinds of
block, and the Latin words and numbers that both sides share."""
import re
from math import log

from corpus.text import LATIN_LANGUAGES, UNITS_PER_ENGLISH_TOKEN, units

GAP = -0.55  # a block without partner
NEVER = -9.0  # text against code
GOOD = 0.5  # a pair that needs a good neighbour to be believed
SURE = 1.6  # a pair that stands by itself
_ANCHOR = re.compile(r"[A-Za-z][A-Za-z0-9_.+-]*[A-Za-z0-9]|\d+(?:\.\d+)*")
_FULL_TABLE = 400_000  # cells; larger pages are searched in a band around the diagonal
_BAND = 60


class _Measured:
    __slots__ = ("block", "length", "anchors")

    def __init__(self, block, language, latin):
        self.block = block
        self.length = 0 if block.is_code else len(units(block.text, language))
        self.anchors = set()
        if not block.is_code:
            self.anchors = {w.lower() for w in _ANCHOR.findall(block.text)}
            if latin:  # plain words mean nothing between two Latin languages
                self.anchors = {w for w in self.anchors if w[0].isdigit() or not w.isalpha()}


def _score(left, right, scale, latin):
    if left.block.is_code or right.block.is_code:
        if left.block.is_code != right.block.is_code:
            return NEVER
        return 4.0 if left.block.text == right.block.text else 0.2
    score = 0.9
    if left.block.tag == right.block.tag:
        score += 0.8
    elif left.block.tag[0] == "h" or right.block.tag[0] == "h":
        score -= 0.8
    distance = abs(log((right.length + 1.0) / (scale * left.length + 1.0)))
    score -= 1.6 * distance * min(1.0, (left.length + 4) / 12.0)
    shared = len(left.anchors & right.anchors)
    if latin:
        if either := len(left.anchors | right.anchors):
            score += 2.0 * shared / either - 0.6
    elif len(right.anchors) > 1:
        part = shared / len(right.anchors)
        score += 2.2 * part - 1.2 * (1 - part)
    elif right.anchors:
        score += 1.2 if shared else -0.4
    return score


def align(lefts, rights, language):
    """Pairs of indices (left, right) that are believed, in order. `lefts` are the English blocks,
    `rights` those of `language`. Pages of equal structure are paired off as they stand."""
    if [b.tag for b in lefts] == [b.tag for b in rights]:
        return [(i, i) for i, b in enumerate(lefts) if not b.is_code]
    if not lefts or not rights:
        return []
    latin = language in LATIN_LANGUAGES
    left = [_Measured(b, "en", latin) for b in lefts]
    right = [_Measured(b, language, latin) for b in rights]
    return _believed(_best_path(left, right, UNITS_PER_ENGLISH_TOKEN[language], latin), lefts)


def _best_path(left, right, scale, latin):
    """(left, right, score) of the matches on the best path."""
    n, m = len(left), len(right)
    band = max(n, m) + 1 if n * m <= _FULL_TABLE else abs(n - m) + _BAND
    unreached = -1e9
    total = [[unreached] * (m + 1) for _ in range(n + 1)]
    step = [
        bytearray(m + 1) for _ in range(n + 1)
    ]  # 1 skips a left block, 2 a right one, 3 matches
    total[0][0] = 0.0
    for i in range(n + 1):
        middle = i * m // n
        for j in range(max(0, middle - band), min(m, middle + band) + 1):
            best, how = total[i][j], 0
            if i and total[i - 1][j] + GAP > best:
                best, how = total[i - 1][j] + GAP, 1
            if j and total[i][j - 1] + GAP > best:
                best, how = total[i][j - 1] + GAP, 2
            if i and j and total[i - 1][j - 1] > unreached:
                matched = total[i - 1][j - 1] + _score(left[i - 1], right[j - 1], scale, latin)
                if matched > best:
                    best, how = matched, 3
            total[i][j], step[i][j] = best, how
    path, i, j = [], n, m
    while how := step[i][j]:
        if how == 3:
            path.append((i - 1, j - 1, total[i][j] - total[i - 1][j - 1]))
        i, j = i - (how != 2), j - (how != 1)
    return path[::-1]


def _believed(path, lefts):
    good = {(i, j) for i, j, score in path if score >= GOOD}
    return [
        (i, j)
        for i, j, score in path
        if not lefts[i].is_code
        and (i, j) in good
        and (score >= SURE or (i - 1, j - 1) in good or (i + 1, j + 1) in good)
    ]
