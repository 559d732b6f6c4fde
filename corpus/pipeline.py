"""From a source to clean documents. One call of `work` handles one task of one source in its own
process."""
from collections import Counter
from dataclasses import dataclass, field

from corpus.clean import refuse_line, refuse_pair, repeats
from corpus.sentences import split_pair
from corpus.sources import Document
from corpus.sources.registry import BY_NAME
from corpus.spans import refuse_marked
from corpus.text import normalise


@dataclass
class Result:
    """`documents` are (name, clean pairs); `marked` are the same of pairs with placeholders or
    markup; `unpaired` are clean lines (language, text) without a partner; `counts` has the
    paragraph and sentence pairs that came in and the reasons of those that went."""

    documents: list = field(default_factory=list)
    marked: list = field(default_factory=list)
    unpaired: list = field(default_factory=list)
    counts: Counter = field(default_factory=Counter)

    def add(self, other):
        self.documents += other.documents
        self.marked += other.marked
        self.unpaired += other.unpaired
        self.counts.update(other.counts)


def _join_pairs(lefts, rights):
    by_english = {}
    for english, right in rights:
        by_english.setdefault(english, right)
    return [(left, by_english.pop(english)) for english, left in lefts if english in by_english]


def join(lefts, rights):
    """Documents of two languages, each with English, as documents without English: paragraphs that
    translate the same English paragraph of the same document are paired, each English paragraph
    once."""
    right_documents = {document.name: document for document in rights}
    for left in lefts:
        if right := right_documents.get(left.name):
            yield Document(
                left.name,
                _join_pairs(left.segments, right.segments),
                [u for u in left.unpaired if u[0] != "en"],
                _join_pairs(left.marked, right.marked),
            )


def clean_documents(documents, left_language, right_language, strict=False):
    """Splits and cleans documents as a source yields them. `strict` also drops lines that repeat
    themselves, and splits paragraphs whose sentences do not match one to one."""
    result = Result()
    languages = left_language, right_language
    for document in documents:
        kept, marked = [], []
        for segment in document.segments:
            result.counts["paragraphs"] += 1
            left, right = map(normalise, segment, languages)
            for pair in split_pair(left, right, *languages, merge=strict):
                result.counts["sentences"] += 1
                reason = refuse_pair(*pair, *languages)
                if reason is None and strict and any(map(repeats, pair, languages)):
                    reason = "repetition"
                if reason is None:
                    kept.append(pair)
                    continue
                result.counts[reason] += 1
                if reason == "length":  # badly paired, yet each line may be good by itself
                    result.unpaired += zip(languages, pair)
                elif reason in ("placeholder", "markup"):
                    marked.append(pair)
        marked += [tuple(map(normalise, segment, languages)) for segment in document.marked]
        marked = [pair for pair in marked if refuse_marked(*pair, *languages) is None]
        if kept:
            result.documents.append((document.name, kept))
        if marked:
            result.marked.append((document.name, marked))
        for language, line in document.unpaired:
            line = normalise(line, language)
            if language in languages and refuse_line(line, language) is None:
                result.unpaired.append((language, line))
    return result


def work_by_name(name, cache, left_language, right_language, strict, task):
    """Reads, joins and cleans one task of the source of that name (functions do not travel to a
    process)."""
    source = BY_NAME[name]
    documents = source.documents(cache, right_language, task)
    if left_language != "en":
        documents = join(source.documents(cache, left_language, task), documents)
    return clean_documents(documents, left_language, right_language, strict)
