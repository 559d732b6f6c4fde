"""Pairs of words from dictionaries: a list for the trainer beside the text.

A line of dictionary.tsv is `source TAB target TAB dictionary TAB part of speech`; the part of
speech is one of noun, verb, adj, adv, name or empty. Senses are cleaned: no remarks in brackets,
no "to " or article, at most three words; what explains instead of translating goes. everyday.tsv
holds the names of everyday things in the same two languages, to count how many a model knows.
"""
import gzip
import json
import os
import re
import tarfile
from xml.etree import ElementTree

from corpus.resources import readings, save
from corpus.sources.phrasebook import FOLDER, LANGUAGES, read_table
from corpus.text import LATIN_LANGUAGES, SCRIPT, normalise, units

CEDICT = ("cc-cedict", "1.1.1")
LICENCES = {
    "lexicon": "the project's own",
    "cedict": "CC-BY-SA-4.0",
    "edict": "CC-BY-SA-4.0",
    "freedict": "GPL-2+, CC-BY-SA-3.0",
    "unihan": "Unicode-DFS-2016",
    "cldr": "Unicode-DFS-2016",
}
_MAX_WORDS = 3
_MAX_SIGNS = 8  # of a Chinese, Japanese or Thai side
_FREEDICT = {"ar": "eng-ara", "ru": "eng-rus", "ja": "eng-jpn"}
_ANNOTATIONS = "usr/share/unicode/cldr/common/annotations"

_BRACKETS = re.compile(r"\([^()]*\)|\[[^\[\]]*\]|\{[^{}]*\}|<[^<>]*>|\uff08[^\uff09]*\uff09")
_EXPLAINS = re.compile(
    r"\b(?:variant of|see (?:also )?|also (?:written|called|pr\.)|abbr\.|CL:|surname|particle"
    r"|used (?:in|for|as|to)|(?:name|kind|type|sort|form|plural) of|same as|equivalent of|radical"
    r"|classifier|e\.g\.|i\.e\.|esp\.|etc\.?|euphemism|transliteration|prefecture|county|district"
    r"|dynasty|someone|sb|sth|(?:given|place|male|female) name)(?:\b|(?<=\W))"
)
_TO = re.compile(r"^to (?=[a-z])")
_ARTICLE = re.compile(r"^(?:an?|the) (?=\w)", re.I)
_VOWEL_SIGNS = re.compile("[\u064b-\u0652\u0640]")  # that Arabic text leaves out
_LEXICON_PARTS = {"n": "noun", "v": "verb", "adj": "adj", "adv": "adv"}
_EDICT_PARTS = (("v", "verb"), ("adj", "adj"), ("adv", "adv"), ("n", "noun"))
_FREEDICT_PARTS = {"n": "noun", "v": "verb", "adj": "adj", "adv": "adv", "pn": "name"}


def packages(left, right):
    """Names of the Debian packages that the dictionaries of two languages are in."""
    both = {left, right}
    found = ["unicode-cldr-core"]
    if both == {"en", "zh"}:
        found.append("unicode-data")
    if both == {"en", "ja"}:
        found.append("edict")
    if "en" in both:
        found += [f"dict-freedict-{_FREEDICT[lang]}" for lang in both if lang in _FREEDICT]
    return found


def clean_sense(text):
    """(sense, part of speech or "") of one English sense, or None when it explains or is long."""
    before = None
    while before != text:
        before, text = text, _BRACKETS.sub(" ", text)
    text = " ".join(text.split()).strip(" .,:!?~-")
    part = "verb" if _TO.match(text) else ""
    text = _ARTICLE.sub("", _TO.sub("", text))
    if not text or _EXPLAINS.search(text) or len(text.split()) > _MAX_WORDS:
        return None
    if not re.fullmatch(r"[A-Za-z\u00c0-\u024f][\w' .-]*", text):
        return None
    return text, part


def clean_word(text, language):
    """A word of another language, or None when it is no word."""
    text = normalise(_BRACKETS.sub("", text), language).strip(" .,;:-/")
    if language == "ar":
        text = _VOWEL_SIGNS.sub("", text)
    spaced = language not in ("zh", "ja", "th")
    long = len(text.split()) > _MAX_WORDS if spaced else len(units(text, language)) > _MAX_SIGNS
    if not text or long or not SCRIPT[language].search(text) or re.search(r"[;,\d/…～~]", text):
        return None
    return text


def read_cedict(package):
    """(English, Chinese, part of speech) of the data of the npm package, given as its file."""
    with tarfile.open(package) as archive:
        text = archive.extractfile("package/data/all.js").read().decode("utf-8")
    for _, word, reading, senses, *_ in json.loads(text.partition("export default ")[2])["all"]:
        named = reading[:1].isupper() and not re.search("[A-Za-z]", word)
        for sense in [senses] if isinstance(senses, str) else senses:
            for part in sense.split(";"):
                if found := clean_sense(part):
                    kind = "name" if named else found[1]
                    yield found[0], word, kind


def read_edict(text):
    """(English, Japanese, part of speech) of the words that are marked as common."""
    for line in text.splitlines():
        if "/(P)/" not in line:
            continue
        head, _, rest = line.partition("/")
        word = head.split("[")[0].strip()
        kind = ""
        for sense in rest.split("/"):
            if marks := re.match(r"\(([a-z0-9,-]+)\)", sense):
                kind = next((k for p, k in _EDICT_PARTS if marks[1].startswith(p)), kind)
            if found := clean_sense(sense):
                yield found[0], word, found[1] or kind


def read_dictd(index, data):
    """(headword, text of its entry) of a dictionary of the dict server."""
    digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/"

    def number(text):
        value = 0
        for digit in text:
            value = value * 64 + digits.index(digit)
        return value

    for line in index.splitlines():
        word, start, length = line.split("\t")[:3]
        entry = data[number(start) : number(start) + number(length)].decode("utf-8", "replace")
        if not word.startswith("00database"):
            yield word, entry


def read_freedict(index, data, language):
    """(English, the language, part of speech)."""
    for _, entry in read_dictd(index, data):
        head, *lines = entry.splitlines() or [""]
        marks = re.search(r"<(\w+)>", head)
        english = clean_sense(re.split(r" /|<", head)[0])
        if not english:
            continue
        for line in lines:
            for word in re.split(r"[,;\u060c]", re.sub(r"^\s*\d+\.\s*", "", line)):
                if SCRIPT[language].search(word):
                    yield english[0].lower(), word, _FREEDICT_PARTS.get(
                        marks[1] if marks else "", ""
                    )


def read_definitions(definitions):
    """(English, character, part of speech) of the definitions of Unihan by character."""
    for character, senses in definitions.items():
        for sense in re.split("[;,]", senses):
            if found := clean_sense(sense):
                yield found[0], character, found[1]


def annotations(cache, language):
    """{sign: its name} of CLDR."""
    found = {}
    for folder in ("", "Derived"):
        path = f"{_ANNOTATIONS}{folder}/{language}.xml"
        for data in cache.read("unicode-cldr-core", path).values():
            for element in ElementTree.fromstring(data).iter("annotation"):
                if element.get("type") == "tts" and element.text != "\u2191\u2191\u2191":
                    found[element.get("cp")] = element.text
    return found


def lexicon(left, right):
    """(left, right, part of speech) of the project's own lexicon."""
    path = os.path.join(FOLDER, "lexicon.tsv")
    if not {left, right} <= set(LANGUAGES.values()) or not os.path.exists(path):
        return
    for row in read_table(path):
        kind = _LEXICON_PARTS.get(row["part of speech"], "")
        lefts, rights = (row[lang].split("/") for lang in (left, right))
        if "en" in (left, right):
            pairs = [(a, b) for a in lefts for b in rights]
        else:  # several senses of the English word
            pairs = zip(lefts, rights) if len(lefts) == len(rights) else [(lefts[0], rights[0])]
        for a, b in pairs:
            yield a.strip(), b.strip(), kind


def _english_pairs(cache, language, cedict):
    """(dictionary, English, the language, part of speech), the surest first."""
    if language == "zh" and cedict:
        yield from (("cedict", *entry) for entry in read_cedict(cedict))
    if language == "ja":
        (data,) = cache.read("edict", "usr/share/edict/edict").values()
        yield from (("edict", *entry) for entry in read_edict(data.decode("euc_jp", "replace")))
    if language in _FREEDICT:
        stem = f"usr/share/dictd/freedict-{_FREEDICT[language]}"
        files = cache.read(f"dict-freedict-{_FREEDICT[language]}", stem + ".*")
        index, data = files[stem + ".index"].decode("utf-8"), gzip.decompress(
            files[stem + ".dict.dz"]
        )
        yield from (("freedict", *entry) for entry in read_freedict(index, data, language))
    if language == "zh":
        current = readings.unihan(cache, "Unihan_OtherMappings", "kGB0")  # in simplified text
        senses = readings.unihan(cache, "Unihan_Readings", "kDefinition")
        definitions = {c: text for c, text in senses.items() if c in current}
        yield from (("unihan", *entry) for entry in read_definitions(definitions))


def entries(cache, left, right, cedict=None):
    """[(left, right, dictionary, part of speech)], each pair once, the surest dictionary first.
    `cedict` is the file of the npm package, if it could be had."""
    chosen = {}

    def add(a, b, name, kind):
        chosen.setdefault((a.casefold(), b.casefold()), (a, b, name, kind))

    for a, b, kind in lexicon(left, right):
        add(a, b, "lexicon", kind)
    lefts, rights = annotations(cache, left), annotations(cache, right)
    for sign, name in lefts.items():
        if sign in rights:
            a, b = (_plain(t, lang) for t, lang in ((name, left), (rights[sign], right)))
            if a and b:
                add(a, b, "cldr", "noun")
    if "en" in (left, right):
        other = right if left == "en" else left
        for name, english, word, kind in _english_pairs(cache, other, cedict):
            if word := clean_word(word, other):
                pair = (english, word) if left == "en" else (word, english)
                add(*pair, name, kind)
    return [entry for entry in chosen.values() if entry[0] != entry[1]]


def _plain(text, language):
    """A name of a sign, if it is an ordinary one: CLDR writes details after a colon."""
    if language in LATIN_LANGUAGES:
        found = clean_sense(text)
        return found and found[0]
    return clean_word(text, language) if ":" not in text and "\uff1a" not in text else None


def everyday(cache, language):
    """[(English name, name in the language)] of the signs of CLDR, most of them everyday things,
    whose English name is a single word."""
    others, found = annotations(cache, language), {}
    for sign, name in annotations(cache, "en").items():
        if re.fullmatch("[A-Za-z-]+", name) and sign in others:
            found.setdefault(name, others[sign])
    return list(found.items())


def write(cache, folder, left, right, cedict=None):
    """Writes dictionary.tsv and, with English on one side, everyday.tsv. Returns {file: lines} and
    the entries."""
    own = entries(cache, left, right, cedict)
    files = save(folder, "dictionary.tsv", map("\t".join, own))
    if "en" in (left, right):
        pairs = everyday(cache, right if left == "en" else left)
        pairs = pairs if left == "en" else [(b, a) for a, b in pairs]
        files.update(save(folder, "everyday.tsv", map("\t".join, pairs)))
    return files, own
