"""Train, dev and test by document, without a sentence of dev or test in train.

Documents are (name, [(left, right)]) with clean pairs; the held-out names decide where a document
goes. """
from dataclasses import dataclass, field

from corpus.spans import SPAN
from corpus.text import UNITS_PER_ENGLISH_TOKEN, fingerprint, units

MIN_WORDS = 5  # English words, or as many units as they usually make in another language


def is_sentence(left, language, words=MIN_WORDS):
    """Long enough to be measured on. Placeholders and tags count for nothing."""
    found = [u for u in units(SPAN.sub(" ", left), language) if u[0].isalpha()]
    return len(found) >= words * UNITS_PER_ENGLISH_TOKEN[language]


class Held:
    """The fingerprints of sentences that must not be trained on, either side."""

    def __init__(self):
        self._prints = set()

    def add(self, pairs):
        for pair in pairs:
            self._prints.update(filter(None, map(fingerprint, pair)))

    def has(self, *sides):
        return any(fingerprint(s) in self._prints for s in sides)


def choose(documents, language, count, held, words=MIN_WORDS):
    """At most count different sentences of at least so many words, evenly spread over the
    documents, none of them held already; the chosen ones are held from now on."""
    candidates, seen = [], set()
    for _, pairs in documents:
        for pair in pairs:
            key = tuple(map(fingerprint, pair))
            if (
                is_sentence(pair[0], language, words)
                and not held.has(*pair)
                and seen.isdisjoint(key)
            ):
                seen.update(key)
                candidates.append(pair)
    candidates = spread(candidates, count)
    held.add(candidates)
    return candidates


def spread(pairs, count):
    """At most count of the pairs, at even distances."""
    count = min(count, len(pairs))
    return [pairs[i * len(pairs) // count] for i in range(count)]


@dataclass
class Train:
    """The pairs to train on, each once, with the name of the source of each."""

    pairs: list = field(default_factory=list)
    sources: list = field(default_factory=list)
    _seen: set = field(default_factory=set)

    def add(self, source, pairs, held, counts):
        """Adds the pairs of a document; `counts` gets what happened to them."""
        for pair in pairs:
            if pair in self._seen:
                counts["duplicate"] += 1
            elif held.has(*pair):
                counts["held out"] += 1
            else:
                self._seen.add(pair)
                self.pairs.append(pair)
                self.sources.append(source)
                counts["train"] += 1

    def drop(self, bad, reason, results):
        """Takes the pairs out for which `bad` (one truth a pair) holds, and counts them."""
        for source, gone in zip(self.sources, bad):
            if gone:
                results[source].counts["train"] -= 1
                results[source].counts[reason] += 1
        kept = [i for i, gone in enumerate(bad) if not gone]
        self.pairs = [self.pairs[i] for i in kept]
        self.sources = [self.sources[i] for i in kept]
