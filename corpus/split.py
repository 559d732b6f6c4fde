"""Train, dev and test by document, without a sentence of dev or test in train.

Documents are (name, [(left, right)]) with clean pairs; the held-out names decide where a document
goes. """
from dataclasses import dataclass, field

from corpus.text import UNITS_PER_ENGLISH_TOKEN, fingerprint, units

MIN_WORDS = 5  # English words, or as many units as they usually make in another language


def is_sentence(left, language):
    """Long enough to be measured on."""
    words = [u for u in units(left, language) if u[0].isalpha()]
    return len(words) >= MIN_WORDS * UNITS_PER_ENGLISH_TOKEN[language]


class Held:
    """The fingerprints of sentences that must not be trained on, either side."""

    def __init__(self):
        self._prints = set()

    def add(self, pairs):
        for pair in pairs:
            self._prints.update(filter(None, map(fingerprint, pair)))

    def has(self, *sides):
        return any(fingerprint(s) in self._prints for s in sides)


def choose(documents, language, count, held):
    """At most count different sentences, evenly spread over the documents, none of them held
    already; the chosen ones are held from now on."""
    candidates, seen = [], set()
    for _, pairs in documents:
        for pair in pairs:
            key = tuple(map(fingerprint, pair))
            if is_sentence(pair[0], language) and not held.has(*pair) and seen.isdisjoint(key):
                seen.update(key)
                candidates.append(pair)
    if len(candidates) > count:
        candidates = [candidates[i * len(candidates) // count] for i in range(count)]
    held.add(candidates)
    return candidates


@dataclass
class Train:
    """The pairs to train on, each once, and how many of each source were left out for which
    reason."""

    pairs: list = field(default_factory=list)
    _seen: set = field(default_factory=set)

    def add(self, pairs, held, counts):
        """Adds the pairs of a document; `counts` gets what happened to them."""
        for pair in pairs:
            if pair in self._seen:
                counts["duplicate"] += 1
            elif held.has(*pair):
                counts["held out"] += 1
            else:
                self._seen.add(pair)
                self.pairs.append(pair)
                counts["train"] += 1
