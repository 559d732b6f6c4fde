"""Results as plain records. All offsets count code points, as Python's indices of a str do, from 0;
ends are exclusive, so that text[start:end] is the part."""

from __future__ import annotations

from itertools import accumulate
from typing import List, NamedTuple, Sequence


class Link(NamedTuple):
    """A part of the source and the part of the translation that came from it."""

    source_start: int
    source_end: int
    target_start: int
    target_end: int


class Alignment(NamedTuple):
    """A translation and its links, in order of the translation."""

    text: str
    links: List[Link]


class Candidate(NamedTuple):
    """A translation and its score, a log-linear model's total: higher is better."""

    text: str
    score: float


class Phrase(NamedTuple):
    """A part of the source that was translated in one piece, and what else it could have become,
    best first; the first alternative is the one that was taken."""

    source_start: int
    source_end: int
    alternatives: List[Candidate]


class Sentence(NamedTuple):
    """A sentence of a text, its translations, best first, and the phrases of the best one in the
    order of the translation."""

    source_start: int
    source_end: int
    translations: List[Candidate]
    phrases: List[Phrase]


class Offsets:
    """Code points of byte offsets in a text."""

    def __init__(self, data: bytes, text: str) -> None:
        # Entry i is the number of characters that begin in bytes 0 to i.
        self._begun: Sequence[int] | None = None
        self._length = len(text)
        if len(data) != len(text):
            self._begun = list(accumulate((byte & 0xC0) != 0x80 for byte in data))

    def start(self, first_byte: int) -> int:
        """Of the character that holds a byte."""
        if self._begun is None:
            return first_byte
        return self._begun[first_byte] - 1 if first_byte < len(self._begun) else self._length

    def end(self, last_byte: int) -> int:
        """After the character that holds a byte."""
        return last_byte + 1 if self._begun is None else self._begun[last_byte]
