"""Paragraph pairs into sentence pairs, only where both sides agree on the number of sentences."""
import re

from corpus.text import HAN_RANGES, units

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


def split_pair(left, right, left_language, right_language):
    """Pairs of sentences, or the pair of paragraphs as it is when the two sides do not split
    alike."""
    lefts, rights = split(left, left_language), split(right, right_language)
    if len(lefts) == len(rights) > 1 and proportional(
        lefts, rights, left_language, right_language, 6
    ):
        return list(zip(lefts, rights))
    return [(left, right)]
