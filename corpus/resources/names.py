"""Names of places, languages, scripts and currencies in two languages, for the entity dictionary.

A line is `source TAB type TAB target`; each source has one line. Types: loc, lang, script, cur.
Names that are ordinary words too would be translated wrongly in running text and are left out. """
import posixpath
import xml.etree.ElementTree as ElementTree

from corpus.catalogue import read_mo
from corpus.resources import english, readings, save, segmentation
from corpus.sources import locales
from corpus.text import LATIN_LANGUAGES, SCRIPT, normalise

PACKAGES = ("unicode-cldr-core", "iso-codes", "libgweather-4-common")
LICENCE = "Unicode-DFS-2016 (CLDR), LGPL-2.1+ (iso-codes), GPL-2+ (libgweather)"
_CLDR = "usr/share/unicode/cldr/common/"
_NO_CHANGE = "\u2191\u2191\u2191"
_REMARKS = frozenset("()[]{};/`\uff08\uff09")
_MIN_LATIN = 4  # letters of a name that is found in lower-cased text

# Earlier ones win when a name has several translations.
_CLDR_NAMES = (
    ("loc", "localeDisplayNames/territories/territory"),
    ("lang", "localeDisplayNames/languages/language"),
    ("script", "localeDisplayNames/scripts/script"),
    ("cur", "numbers/currencies/currency"),
    ("loc", "localeDisplayNames/subdivisions/subdivision"),
    ("loc", "dates/timeZoneNames/zone"),
)
_CATALOGUES = (
    ("loc", "iso-codes", "iso_3166-1"),
    ("loc", "iso-codes", "iso_3166-3"),
    ("loc", "iso-codes", "iso_3166-2"),
    ("lang", "iso-codes", "iso_639-2"),
    ("lang", "iso-codes", "iso_639-3"),
    ("script", "iso-codes", "iso_15924"),
    ("cur", "iso-codes", "iso_4217"),
    ("loc", "libgweather-4-common", "libgweather-4.0-locations"),
)


def cldr_names(document):
    """{(type, path, code): name} of a CLDR file."""
    names, root = {}, ElementTree.fromstring(document)
    for kind, path in _CLDR_NAMES:
        for element in root.findall(path):
            code = element.get("type")
            if path.endswith("currency"):
                element = element.find("displayName")
            elif path.endswith("zone"):
                element = element.find("exemplarCity")
            elif element.get("alt") not in (None, "short"):
                continue
            if element is not None and element.text and element.text != _NO_CHANGE:
                names[(kind, path, code, element.get("alt") or "")] = element.text
    return names


def _cldr(cache, language):
    names = {}
    for file in cache.read(
        "unicode-cldr-core", f"{_CLDR}main/{language}.xml", f"{_CLDR}subdivisions/{language}.xml"
    ).values():
        names.update(cldr_names(file))
    return names


def _cities(names):
    """English leaves a city out where the time zone spells it already."""
    return {
        key: key[2].rsplit("/", 1)[-1].replace("_", " ")
        for key in names
        if key[1].endswith("zone") and "/" in key[2]
    }


def _catalogue_names(cache, language):
    """{(type, catalogue, English name): name}."""
    names = {}
    for package in dict.fromkeys(p for _, p, _ in _CATALOGUES):
        files = cache.read(
            package, *(f"*/{lang}/LC_MESSAGES/*.mo" for lang in locales(language)[:1])
        )
        by_name = {posixpath.basename(path)[:-3]: data for path, data in files.items()}
        for kind, owner, catalogue in _CATALOGUES:
            if owner == package and catalogue in by_name:
                for _, forms, translations in read_mo(by_name[catalogue]):
                    names[(kind, catalogue, forms[0])] = translations[0]
    return names


def pair_names(left, right):
    """[(left name, type, right name)] of names with the same key, in the order of the left side."""
    return [(left[key], key[0], right[key]) for key in left if key in right]


def usable(pairs, left_language, right_language, ordinary, foreign_characters):
    """The pairs worth a line: in the right scripts, different, no remarks in brackets, no
    character of `foreign_characters` on a Chinese side, no source that is one of the `ordinary`
    words, each source once."""
    chosen = {}
    for left, kind, right in pairs:
        left, right = normalise(left, left_language), normalise(right, right_language)
        if (
            left == right
            or not SCRIPT[left_language].search(left)
            or not SCRIPT[right_language].search(right)
            or not _REMARKS.isdisjoint(left + right)
            or any(
                lang == "zh" and not foreign_characters.isdisjoint(t)
                for lang, t in ((left_language, left), (right_language, right))
            )
            or left.lower() in ordinary
            or len(left) < (_MIN_LATIN if left_language in LATIN_LANGUAGES else 2)
            or any(c.isdigit() for c in left)
            or (right_language not in LATIN_LANGUAGES and right.isascii())
        ):
            continue
        chosen.setdefault(left.lower(), (left, kind, right))
    return list(chosen.values())


def _ordinary_words(cache, language):
    """Words of the language that are no names."""
    if language == "en":
        return {w for w in english.words(cache) if w.islower()}
    if language == "zh":
        return {
            w
            for w, _, tag in segmentation.read_words(cache)
            if tag not in ("ns", "nz", "nr", "nrt")
        }
    return set()


def _foreign_characters(cache, languages):
    """Traditional characters, which entries of Chinese in CLDR and iso-codes hold now and then."""
    if "zh" not in languages:
        return frozenset()
    simplified = readings.unihan(cache, "Unihan_Variants", "kSimplifiedVariant")
    return frozenset(c for c, forms in simplified.items() if f"U+{ord(c):04X}" not in forms.split())


def write(cache, folder, left, right):
    tables = []
    other = right if left == "en" else left
    catalogue = _catalogue_names(cache, other)
    for language in (left, right):
        names = _cldr(cache, language)
        if language == "en":
            names = {**_cities(_cldr(cache, other)), **names}
            names.update((key, key[2]) for key in catalogue)
        else:
            names.update(catalogue if language == other else _catalogue_names(cache, language))
        tables.append(names)
    order = {
        path: n
        for n, path in enumerate([p for _, p in _CLDR_NAMES] + [c for _, _, c in _CATALOGUES])
    }
    table = dict(sorted(tables[0].items(), key=lambda item: (order[item[0][1]], item[0])))
    pairs = usable(
        pair_names(table, tables[1]),
        left,
        right,
        _ordinary_words(cache, left),
        _foreign_characters(cache, (left, right)),
    )
    return save(folder, f"names.{left}-{right}.tsv", sorted("\t".join(p) for p in pairs)), pairs
