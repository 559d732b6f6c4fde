"""What the corpus knows about characters: scripts, normal forms, and the units in which lengths
are compared.

Languages are two-letter codes. A unit is a character of Chinese or Japanese, a word elsewhere;
runs of Latin letters or digits and single signs count as one unit in every language. """
import re
import unicodedata

HAN_RANGES = "\u3400-\u4dbf\u4e00-\u9fff\uf900-\ufaff\U00020000-\U0002ffff"
KANA_RANGES = "\u3040-\u30ff"
HANGUL_RANGES = "\uac00-\ud7af\u1100-\u11ff"
LATIN_RANGES = "A-Za-z\u00c0-\u024f"

HAN = re.compile(f"[{HAN_RANGES}]")
KANA = re.compile(f"[{KANA_RANGES}]")
HANGUL = re.compile(f"[{HANGUL_RANGES}]")

SCRIPT = {
    "zh": HAN,
    "ja": re.compile(f"[{HAN_RANGES}{KANA_RANGES}]"),
    "ko": HANGUL,
    "ru": re.compile("[\u0400-\u04ff]"),
    "ar": re.compile("[\u0600-\u06ff]"),
    "th": re.compile("[\u0e00-\u0e7f]"),
}
for _latin in ("en", "fr", "de", "es", "pt"):
    SCRIPT[_latin] = re.compile(f"[{LATIN_RANGES}]")

LATIN_LANGUAGES = frozenset(("en", "fr", "de", "es", "pt"))
UNSPACED = frozenset(("zh", "ja", "th"))

# Units of the language for one English token in running text.
UNITS_PER_ENGLISH_TOKEN = {
    "en": 1.0,
    "zh": 1.5,
    "ja": 2.0,
    "ko": 0.95,
    "fr": 1.15,
    "es": 1.1,
    "ru": 0.95,
    "de": 1.0,
    "pt": 1.1,
    "ar": 0.9,
    "th": 1.5,
}

_CONTROL = re.compile(
    "[\u0000-\u0008\u000b\u000c\u000e-\u001f"
    "\u007f-\u009f\u00ad\u200b-\u200f\u202a-\u202e\u2060\ufeff]"
)
_BLANKS = re.compile("[\\s\u00a0\u2002-\u200a\u202f\u3000]+")

_ENGLISH_UNIT = re.compile(f"[{LATIN_RANGES}]+(?:['\u2019][A-Za-z]+)?|\\d+(?:[.,]\\d+)*|[^\\s]")
_CJK_UNIT = re.compile(
    f"[{HAN_RANGES}{KANA_RANGES}]|[A-Za-z0-9\u00c0-\u024f._]*[A-Za-z0-9\u00c0-\u024f]|\\S"
)
_WORD_UNIT = re.compile("\\w+(?:['\u2019]\\w+)?|[^\\w\\s]")
_THAI_UNIT = re.compile("[\u0e00-\u0e7f]{1,4}|\\w+|[^\\w\\s]")

_CJK_SIDE = f"[{HAN_RANGES}\u3001-\u303f\uff01-\uff65]"
_BLANK_INSIDE_CJK = re.compile(f"(?<={_CJK_SIDE})\\s+(?={_CJK_SIDE})")
_BLANK_BEFORE_SIGN = re.compile("\\s+(?=[\u3001\u3002\uff0c\uff1b\uff1a\uff1f\uff01\uff09\u201d])")
_BLANK_AFTER_SIGN = re.compile("(?<=[\uff08\u201c\u3001\u3002\uff0c\uff1b\uff1a])\\s+")
_CORNER_QUOTES = str.maketrans("\u300c\u300d\u300e\u300f", "\u201c\u201d\u2018\u2019")


def units(text, language):
    """The units of text in order."""
    if language == "en":
        return _ENGLISH_UNIT.findall(text)
    if language in ("zh", "ja"):
        return _CJK_UNIT.findall(text)
    if language == "th":
        return _THAI_UNIT.findall(text)
    return _WORD_UNIT.findall(text)


def normalise(text, language=None):
    """NFC, no control signs, single blanks. Chinese also loses blanks between its own signs and
    gets the quotes of the mainland for the corner quotes that some translators use; everything
    that the engine normalises itself (half-width punctuation, quotes, blanks beside Latin) is left
    alone."""
    text = _CONTROL.sub("", unicodedata.normalize("NFC", text))
    text = _BLANKS.sub(" ", text).strip()
    if language == "zh":
        text = text.translate(_CORNER_QUOTES)
        text = _BLANK_INSIDE_CJK.sub("", text)
        text = _BLANK_AFTER_SIGN.sub("", _BLANK_BEFORE_SIGN.sub("", text))
    return text


def fingerprint(text):
    """What two sentences share when they differ only in case, blanks and signs."""
    return "".join(c for c in text.casefold() if c.isalnum())
