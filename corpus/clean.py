"""The rules that decide which pairs are worth training on. Each refusal has a name that the table
of a set counts, so that what was dropped, and why, can be read there."""
import re
from collections import Counter

from corpus.text import HAN, HANGUL, KANA, LATIN_LANGUAGES, SCRIPT, UNITS_PER_ENGLISH_TOKEN, units

MAX_ENGLISH_TOKENS = 100
MAX_UNITS = {"zh": 170, "ja": 170, "th": 300}
MAX_UNITS_OTHER = 110
MAX_WORD = 40
# Units of the language for one English token, checked from RATIO_FROM units of both sides together
# on.
RATIO = {"zh": (0.55, 3.2), "ja": (0.6, 4.5), "th": (0.4, 4.0)}
RATIO_OTHER = (0.4, 2.5)
RATIO_FROM = 12
RATIO_SPREAD = 2.4  # allowed factor around the usual ratio of two languages other than English

PLACEHOLDER = re.compile(
    r"%(?:\([A-Za-z_]+\))?[-#0+ ]*(?:\d+\$)?\d*(?:\.(?:\d+|\*))?(?:hh|h|ll|l|j|z|t|L|q"
    r"|I64)?[sdiouxXeEfgGcpnm]\b"  # printf
    r"|%\d|%[A-Z]{2,}|%[lL]\d|%@"  # Qt, %1 and %L1; shouted names; Objective C
    r"|\{\{|\}\}|\{[^}]{0,40}\}|#\{|\[\[|<%"  # templates
    r"|\$\{?[A-Za-z_]\w*\}?|\$\d"  # shell and Perl variables
    r'|@[A-Z_]{3,}@|<[A-Z]{3,}>|\\[nt"]'
)  # autoconf, metavariables, escapes
MARKUP = re.compile(r"</?[A-Za-z][^<>]{0,200}>|<!--.*?-->|&(?:[a-z]{2,8}|#\d{2,6});")
_LATIN_SENTENCE = re.compile("(?:[A-Za-z][A-Za-z'\u2019-]*[ ,]+){5,}[A-Za-z]+")
_LOWER_WORD = re.compile(r"(?<![A-Za-z.])[a-z]{2,}(?![A-Za-z.(])")
_LETTER = re.compile("[A-Za-z]")


def _limit(language):
    return MAX_ENGLISH_TOKENS if language == "en" else MAX_UNITS.get(language, MAX_UNITS_OTHER)


def _ratio_limits(left_language, right_language):
    if left_language == "en":
        return RATIO.get(right_language, RATIO_OTHER)
    usual = UNITS_PER_ENGLISH_TOKEN[right_language] / UNITS_PER_ENGLISH_TOKEN[left_language]
    return usual / RATIO_SPREAD, usual * RATIO_SPREAD


def _wrong_letters(text, language):
    """Letters that the language never uses."""
    if language in LATIN_LANGUAGES or language in ("ru", "ar", "th"):
        return HAN.search(text) or KANA.search(text) or HANGUL.search(text)
    if language == "zh":
        return KANA.search(text) or HANGUL.search(text)
    return KANA.search(text) if language == "ko" else HANGUL.search(text)


def _half_translated(text, language):
    """Mostly English where another script is expected."""
    own = len(SCRIPT[language].findall(text)) * (3 if language in ("zh", "ja") else 1)
    latin = len(_LETTER.findall(text))
    return (
        own * 3 < latin
        or (own < latin and len(_LOWER_WORD.findall(text)) > 3)
        or _LATIN_SENTENCE.search(text)
    )


def refuse_line(text, language):
    """Why a line is no good in its language by itself, or None."""
    if not text:
        return "empty"
    if not SCRIPT[language].search(text):
        return "wrong script"
    if PLACEHOLDER.search(text):
        return "placeholder"
    if MARKUP.search(text):
        return "markup"
    if _wrong_letters(text, language):
        return "wrong script"
    if len(units(text, language)) > _limit(language):
        return "too long"
    if language in LATIN_LANGUAGES:
        if max(map(len, units(text, language))) > MAX_WORD:
            return "long word"
        if sum(c.isalpha() for c in text) < 0.5 * len(text.replace(" ", "")):
            return "mostly signs"
    elif _half_translated(text, language):
        return "half translated"
    return None


def repeats(text, language):
    """Whether a line says the same thing over and over: a unit of letters four times in a row, or
    one that makes up a third of a line of twelve units or more."""
    words = [u.lower() for u in units(text, language) if u[0].isalpha()]
    run = longest = 1
    for before, word in zip(words, words[1:]):
        run = run + 1 if word == before else 1
        longest = max(longest, run)
    return longest >= 4 or (
        len(words) >= 12 and 3 * Counter(words).most_common(1)[0][1] > len(words)
    )


def refuse_pair(left, right, left_language, right_language):
    """Why a normalised pair is dropped, or None when it is kept. English, if any, is the left
    side."""
    if left and left == right:
        return "equal"
    reason = refuse_line(left, left_language) or refuse_line(right, right_language)
    if reason:
        return reason
    lefts, rights = units(left, left_language), units(right, right_language)
    if left_language in LATIN_LANGUAGES and right_language in LATIN_LANGUAGES:
        words = {w.lower() for w in lefts if w.isalpha()}
        shared = words & {w.lower() for w in rights if w.isalpha()}
        if len(words) >= 4 and len(shared) > 0.7 * len(words):
            return "half translated"
    if len(lefts) + len(rights) >= RATIO_FROM:
        low, high = _ratio_limits(left_language, right_language)
        if not low <= len(rights) / len(lefts) <= high:
            return "length"
    elif len(rights) > 5 + 4 * len(lefts) or len(lefts) > 5 + 3 * len(rights):
        return "length"
    return None
