"""How well the two sides of a pair explain each other: a word translation model (IBM Model 1) both
ways, learnt from the corpus itself, against the chance of the words without the other side."""
import numpy

from corpus.text import units

_MAX_UNITS = 50  # of a side, the rest is not looked at
_LEARN_CELLS = 40_000_000  # word pairs to learn from, shortest sentences first
_SCORE_CELLS = 4_000_000  # word pairs in memory while scoring
_ROUNDS = 4
_FLOOR = 1e-7
_STEM = {"ko": 2, "zh": 99, "ja": 99}  # letters that stand for a word, 5 elsewhere
_THAI_GRAM = 3


def _tokens(text, language):
    if language == "th":
        text = "".join(text.split()).lower()
        found = [text[i : i + _THAI_GRAM] for i in range(max(1, len(text) - _THAI_GRAM + 1))]
    else:
        found = [u.lower()[: _STEM.get(language, 5)] for u in units(text, language)]
        found = [u for u in found if u[0].isalnum()] or found
    return found[:_MAX_UNITS]


def _numbered(lines, language):
    """(numbers of the words of all lines in one array, start of each line, how many words)."""
    known, numbers, starts = {}, [], [0]
    for line in lines:
        numbers += [known.setdefault(t, len(known) + 1) for t in _tokens(line, language)]
        starts.append(len(numbers))
    return numpy.array(numbers, dtype=numpy.int64), numpy.array(starts), len(known) + 1


def _cells(left, right, chosen):
    """Every word of the right side of the chosen pairs beside every word of the left side and the
    empty word 0: (left words, right words, start of each right word's run, pair of each run)."""
    left_words, left_starts, _ = left
    right_words, right_starts, _ = right
    n = left_starts[chosen + 1] - left_starts[chosen] + 1
    m = right_starts[chosen + 1] - right_starts[chosen]
    run_pair = numpy.repeat(chosen, m)
    run_length = numpy.repeat(n, m)
    run_start = numpy.cumsum(run_length) - run_length
    run_first = numpy.cumsum(m) - m
    within = numpy.arange(m.sum()) - numpy.repeat(run_first, m)
    run_word = right_words[numpy.repeat(right_starts[chosen], m) + within]
    inside = numpy.arange(run_length.sum()) - numpy.repeat(run_start, run_length)
    index = numpy.repeat(left_starts[run_pair], run_length) + inside - 1
    lefts = numpy.where(inside == 0, 0, left_words[index])
    return lefts, numpy.repeat(run_word, run_length), run_start, run_pair


def _learn(left, right, sizes):
    """(sorted keys left * words + right, probability of each)."""
    order = numpy.argsort(sizes, kind="stable")
    chosen = numpy.sort(order[numpy.cumsum(sizes[order]) <= _LEARN_CELLS])
    lefts, rights, run_start, _ = _cells(left, right, chosen)
    keys, cell_key = numpy.unique(lefts * right[2] + rights, return_inverse=True)
    key_left = keys // right[2]
    run_length = numpy.diff(numpy.append(run_start, len(lefts)))
    probability = numpy.ones(len(keys))
    for _ in range(_ROUNDS):
        part = probability[cell_key]
        part /= numpy.repeat(numpy.add.reduceat(part, run_start), run_length)
        counts = numpy.bincount(cell_key, part, len(keys))
        probability = counts / numpy.bincount(key_left, counts, left[2])[key_left]
    return keys, probability


def _one_way(left, right):
    pairs = len(left[1]) - 1
    n, m = numpy.diff(left[1]) + 1, numpy.diff(right[1])
    sizes = n * m
    keys, probability = _learn(left, right, sizes)
    chance = numpy.bincount(right[0], minlength=right[2]) / max(1, len(right[0]))
    total = numpy.zeros(pairs)
    blocks = numpy.cumsum(sizes) // _SCORE_CELLS
    for block in numpy.unique(blocks):
        chosen = numpy.flatnonzero(blocks == block)
        lefts, rights, run_start, run_pair = _cells(left, right, chosen)
        if not len(lefts):
            continue
        wanted = lefts * right[2] + rights
        at = numpy.minimum(numpy.searchsorted(keys, wanted), len(keys) - 1)
        found = numpy.where(keys[at] == wanted, probability[at], 0.0)
        explained = numpy.add.reduceat(found, run_start) / n[run_pair]
        better = numpy.log(explained + _FLOOR) - numpy.log(chance[rights[run_start]] + _FLOOR)
        total += numpy.bincount(run_pair, better, pairs)
    return total / numpy.maximum(1, m)


def scores(pairs, left_language, right_language):
    """A number for each pair: by how much (natural logarithm, mean over the words, the worse of
    both directions) a word is likelier beside the other side than anywhere. 0 says that the sides
    have nothing to do with each other."""
    left = _numbered((p[0] for p in pairs), left_language)
    right = _numbered((p[1] for p in pairs), right_language)
    return numpy.minimum(_one_way(left, right), _one_way(right, left))
