"""Lines that hold placeholders, tags or entities: kept apart for training with protected spans,
when both sides hold the same ones."""
import re

from corpus.clean import refuse_pair

SPAN = re.compile(
    r"</?[A-Za-z][^<>]{0,200}>|&(?:[a-z]{2,8}|#\d{2,6});"  # markup
    r"|%(?:\([A-Za-z_]+\))?[-#0+']*(?:\d+\$)?\d*(?:\.(?:\d+|\*))?"  # printf
    r"(?:hh|h|ll|l|j|z|t|L|q|I64)?[sdiouxXeEfgGcpnm](?![A-Za-z])"
    r"|%%|%[lL]?\d{1,2}|%[A-Z]{2,}|%@"  # Qt, shouted names, Objective C
    r"|\{\{[^{}]{0,40}\}\}|[$#]?\{[^{}]{0,40}\}|\$[A-Za-z_]\w*|\$\d"  # templates and shells
    r"|@[A-Z_]{3,}@|<[A-Z]{3,}>|\\[nt]"
)
_WORD = " X "  # stands for a span while a line is judged: short, of no language


def same_spans(left, right):
    """Whether both sides hold the same spans, at least one, in any order."""
    spans = sorted(SPAN.findall(left))
    return bool(spans) and spans == sorted(SPAN.findall(right))


def refuse_marked(left, right, left_language, right_language):
    """Why a normalised pair with spans is dropped, or None when it is kept."""
    if not same_spans(left, right):
        return "other spans"
    bare = (" ".join(SPAN.sub(_WORD, side).split()) for side in (left, right))
    return refuse_pair(*bare, left_language, right_language)
