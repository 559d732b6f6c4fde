"""Paragraph pairs into sentence pairs, only where both sides agree on the number of sentences."""
import re

from corpus.text import HAN_RANGES, UNSPACED, units

_ENGLISH_END = re.compile('[.!?]+["\u201d\u2019)\\]]*\\s+(?=["\u201c\u2018(\\[]?[A-Z0-9])')
_ABBREVIATION = re.compile(
    r"\b(?:e\.g|i\.e|etc|vs|cf|Mr|Mrs|Ms|Dr|Prof|St|No|Fig|fig|Sec|sec|Ch|Vol|approx|resp|Inc"
    r"|Ltd|Co|Corp"
    r"|[A-Z]|[a-z]\.[a-z])\.$"
)
_LIST_NUMBER = re.compile(r"\(?\d+[.)]")
_CJK_SENTENCE = re.compile(
    f".*?(?:[\u3002\uff01\uff1f!?\u2026]+|(?<=[{HAN_RANGES}])\\.(?=\\s"
    f"|$))[\u201d\u2019\uff09\u300d\u300f\u300b\"')\\]]*\\s*|.+$"
)
_OTHER_END = re.compile(
    "(?<=[.!?\u061f])\\s+"
    '(?=["\u201c\u00ab\u00bf\u00a1(]?[A-Z\u00c0-\u00de\u0410-\u042f\uac00-\ud7af\u0600-\u06ff])'
)
_CLOSERS = '"\u201d\u2019)]'


def _split_english(text):
    sentences, start = [], 0
    for end in _ENGLISH_END.finditer(text):
        head = text[start : end.end()].strip()
        if _ABBREVIATION.search(head.rstrip(_CLOSERS)) or _LIST_NUMBER.fullmatch(head):
            continue
        sentences.append(head)
        start = end.end()
    return sentences + [text[start:].strip()]


def split(text, language):
    """The sentences of a paragraph. Thai has no sign for the end of a sentence and stays whole."""
    if language == "en":
        parts = _split_english(text)
    elif language in ("zh", "ja"):
        parts = (m.strip() for m in _CJK_SENTENCE.findall(text))
    elif language == "th":
        parts = [text]
    else:
        parts = (p.strip() for p in _OTHER_END.split(text))
    return [p for p in parts if p]


def proportional(lefts, rights, left_language, right_language, slack):
    """Whether each right part is about as long as its left part foretells, within slack units."""
    left = [len(units(t, left_language)) for t in lefts]
    right = [len(units(t, right_language)) for t in rights]
    scale = sum(right) / max(1, sum(left))
    return all(abs(b - scale * a) <= slack + 0.6 * max(b, scale * a) for a, b in zip(left, right))


def split_pair(left, right, left_language, right_language, merge=False):
    """Pairs of sentences, or the pair of paragraphs as it is when the two sides do not split alike.
    With `merge`, two sentences of one side may also answer one of the other."""
    lefts, rights = split(left, left_language), split(right, right_language)
    if len(lefts) == len(rights) > 1 and proportional(
        lefts, rights, left_language, right_language, 6
    ):
        return list(zip(lefts, rights))
    if merge and len(lefts) > 1 and len(rights) > 1:
        return _match(lefts, rights, left_language, right_language)
    return [(left, right)]


_STEPS = ((1, 1, 0.0), (1, 2, 0.7), (2, 1, 0.7), (2, 2, 1.6), (1, 3, 1.9), (3, 1, 1.9))
_ANCHOR = re.compile(r"[A-Za-z][\w.+-]+|\d+(?:[.,]\d+)*")


def _match(lefts, rights, left_language, right_language):
    """The cheapest way to pair off runs of one to three sentences, by length and by the words and
    numbers that stand in both sides as they are."""
    left_lengths = [len(units(t, left_language)) for t in lefts]
    right_lengths = [len(units(t, right_language)) for t in rights]
    scale = sum(right_lengths) / max(1, sum(left_lengths))
    left_anchors = [set(_ANCHOR.findall(t)) for t in lefts]
    right_anchors = [set(_ANCHOR.findall(t)) for t in rights]

    def cost(i, j, n, m):
        expected = scale * sum(left_lengths[i : i + n])
        found = sum(right_lengths[j : j + m])
        mine, its = set().union(*left_anchors[i : i + n]), set().union(*right_anchors[j : j + m])
        foreign = len(its - mine) / len(its) if its else 0.0
        return abs(found - expected) / (found + expected + 4) * 4 + foreign

    best = {(0, 0): (0.0, None)}
    for i in range(len(lefts) + 1):
        for j in range(len(rights) + 1):
            for n, m, penalty in _STEPS if (i, j) in best else ():
                if i + n <= len(lefts) and j + m <= len(rights):
                    total = best[i, j][0] + penalty + cost(i, j, n, m)
                    if total < best.get((i + n, j + m), (float("inf"),))[0]:
                        best[i + n, j + m] = (total, (i, j))
    end, pairs = (len(lefts), len(rights)), []
    if end not in best:
        return [(_join(lefts, left_language), _join(rights, right_language))]
    while start := best[end][1]:
        pairs.append(
            (
                _join(lefts[start[0] : end[0]], left_language),
                _join(rights[start[1] : end[1]], right_language),
            )
        )
        end = start
    return pairs[::-1]


def _join(sentences, language):
    return ("" if language in UNSPACED else " ").join(sentences)
