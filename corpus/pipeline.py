"""From a source to clean documents. One call of `work` handles one task of one source in its own
process."""
from collections import Counter
from dataclasses import dataclass, field

from corpus.clean import refuse_line, refuse_pair
from corpus.sources.registry import BY_NAME
from corpus.sentences import split_pair
from corpus.text import normalise


@dataclass
class Result:
    """`documents` are (name, clean pairs); `unpaired` are clean lines (language, text) without a
    partner; `counts` has the paragraph and sentence pairs that came in and the reasons of those
    that went."""

    documents: list = field(default_factory=list)
    unpaired: list = field(default_factory=list)
    counts: Counter = field(default_factory=Counter)


def join(lefts, rights):
    """Documents of two languages, each with English, as documents without English: paragraphs that
    translate the same English paragraph of the same document are paired, each English paragraph
    once."""
    right_documents = {name: segments for name, segments, _ in rights}
    for name, segments, unpaired in lefts:
        if name in right_documents:
            by_english = {}
            for english, right in right_documents[name]:
                by_english.setdefault(english, right)
            pairs = []
            for english, left in segments:
                if english in by_english:
                    pairs.append((left, by_english.pop(english)))
            yield name, pairs, [u for u in unpaired if u[0] != "en"]


def clean_documents(documents, left_language, right_language):
    """Splits and cleans documents as a source yields them."""
    result = Result()
    for name, segments, unpaired in documents:
        kept = []
        for left, right in segments:
            result.counts["paragraphs"] += 1
            left, right = normalise(left, left_language), normalise(right, right_language)
            for pair in split_pair(left, right, left_language, right_language):
                result.counts["sentences"] += 1
                reason = refuse_pair(*pair, left_language, right_language)
                if reason is None:
                    kept.append(pair)
                else:
                    result.counts[reason] += 1
                    if reason == "length":  # badly paired, yet each line may be good by itself
                        result.unpaired += zip((left_language, right_language), pair)
        if kept:
            result.documents.append((name, kept))
        for language, line in unpaired:
            line = normalise(line, language)
            if language in (left_language, right_language) and refuse_line(line, language) is None:
                result.unpaired.append((language, line))
    return result


def work_by_name(name, cache, left_language, right_language, task):
    """Reads, joins and cleans one task of the source of that name (functions do not travel to a
    process)."""
    source = BY_NAME[name]
    documents = source.documents(cache, right_language, task)
    if left_language != "en":
        documents = join(source.documents(cache, left_language, task), documents)
    return clean_documents(documents, left_language, right_language)
