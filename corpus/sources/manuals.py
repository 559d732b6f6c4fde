"""Manuals in HTML, one tree or set of files a language, and the kernel's documents (for tests
alone)."""
import re
from functools import partial

from corpus.align import align
from corpus.markup import blocks, css_class, parse_html
from corpus.sources import Document, Source, apt_suffix, locales

_FURNITURE_CLASSES = frozenset(
    (
        "sphinxsidebar related footer navheader navfooter toc docnav highlight sidebar "
        "nav-chapters menu-bar nav-wrapper revinfo breadcrumb toc_section programlisting screen "
        "sourcelinks headerlink author"
    ).split()
)
_FURNITURE_IDS = frozenset(
    "sidebar path page-header footer quickview menu-bar toc preamble-nav search-wrapper".split()
)
_SECTION_NUMBER = re.compile(
    r"^\s*(?:(?:Chapter|Appendix|第)?\s*(?:\d+|[A-Z])(?:\.\d+)*\.?\s*(?:章|章節)?\.?\s+)(?=\S)"
)
_PILCROW = "\u00b6"


def _is_furniture(element):
    return (
        element.tag in ("nav", "footer", "header", "head")
        or element.get("id") in _FURNITURE_IDS
        or not _FURNITURE_CLASSES.isdisjoint(css_class(element).split())
    )


def _is_anchor(element):
    return "headerlink" in css_class(element) or (
        element.tag == "sup" and "footnote" in css_class(element)
    )


def page_blocks(page):
    """The blocks of a manual page (bytes) without menus and listings."""
    return [b for b in blocks(parse_html(page), _is_furniture, _is_anchor) if b.text != _PILCROW]


def pair_pages(english, foreign, language):
    """(pairs of paragraphs, [(language, paragraph)] that found no partner). Section numbers that
    both sides carry are left out."""
    matched = align(english, foreign, language)
    pairs = []
    for i, j in matched:
        left, right = english[i].text.replace(_PILCROW, ""), foreign[j].text.replace(_PILCROW, "")
        left_number, right_number = _SECTION_NUMBER.match(left), _SECTION_NUMBER.match(right)
        if left_number and right_number:
            left, right = left[left_number.end() :], right[right_number.end() :]
        pairs.append((left, right))
    lefts, rights = {i for i, _ in matched}, {j for _, j in matched}
    unpaired = [("en", b.text) for i, b in enumerate(english) if i not in lefts and not b.is_code]
    unpaired += [
        (language, b.text) for j, b in enumerate(foreign) if j not in rights and not b.is_code
    ]
    return pairs, unpaired


# How some manuals name the folder of a language.
_COUNTRIES = {
    "zh": "zh-CN",
    "ja": "ja-JP",
    "ko": "ko-KR",
    "ar": "ar-MA",
    "fr": "fr-FR",
    "de": "de-DE",
    "es": "es-ES",
    "ru": "ru-RU",
    "pt": "pt-PT",
}


def _debian_reference(language):
    low = apt_suffix(language)
    return (
        "debian-reference-en",
        "usr/share/debian-reference/*.en.html",
        ".en.html",
        f"debian-reference-{low}",
        f"usr/share/debian-reference/*.{low}.html",
        f".{low}.html",
    )


def _debian_faq(language):
    low = apt_suffix(language)
    return (
        "debian-faq",
        "usr/share/doc/debian/FAQ/*.en.html",
        ".en.html",
        f"debian-faq-{low}",
        f"usr/share/doc/debian/FAQ/{low}/*.html",
        f".{low}.html",
    )


def _maint_guide(language):
    low = apt_suffix(language)
    return (
        "maint-guide",
        "usr/share/doc/maint-guide/html/*.en.html",
        ".en.html",
        f"maint-guide-{low}",
        f"usr/share/doc/maint-guide-{low}/html/*.html",
        f".{low}.html",
    )


def _harden_doc(language):
    folder = _COUNTRIES[language]
    root = "usr/share/doc/harden-doc/html/"
    return (
        "harden-doc",
        root + "en-US/*.html",
        ".html",
        "harden-doc",
        root + folder + "/*.html",
        ".html",
    )


def _debian_handbook(language):
    folder = _COUNTRIES[language]
    root = "usr/share/doc/debian-handbook/html/"
    return _one_package("debian-handbook", root + "en-US/", f"{root}{folder}/")


def _installation_guide(language):
    root = "usr/share/doc/installation-guide-amd64/"
    return _one_package("installation-guide-amd64", root + "en/", f"{root}{locales(language)[0]}/")


def _debian_edu(language):
    places = []
    for name in ("en", apt_suffix(language)):
        package = f"debian-edu-doc-{name}"
        places += [package, f"usr/share/doc/{package}/*.html", ".html"]
    return tuple(places)


def _kicad(language):
    places = []
    for name in ("en", language):
        places += [f"kicad-doc-{name}", f"usr/share/doc/kicad/help/{name}/*.html", ".html"]
    return tuple(places)


def _debmake(language):
    places = []
    for name in ("en", apt_suffix(language)):
        places += ["debmake-doc", f"usr/share/doc/debmake-doc/html/*.{name}.html", f".{name}.html"]
    return tuple(places)


def _rust_by_example(language):
    root = "usr/share/doc/rust-web-doc/html/rust-by-example/"
    return _one_package("rust-web-doc", root, f"{root}{language}/")


def _gimp_help(language):
    places = []
    for name in ("en", language):
        places += [f"gimp-help-{name}", f"usr/share/gimp/2.0/help/{name}/*.html", ".html"]
    return tuple(places)


def _mplayer(language):
    root = "usr/share/doc/mplayer/HTML/"
    return _one_package("mplayer-doc", root + "en/", f"{root}{locales(language)[0]}/")


def _one_package(package, english, foreign):
    return package, english + "*.html", ".html", package, foreign + "*.html", ".html"


# Each gives the package, pattern and ending of the English pages and of the others. The path that
# both sides share begins where the pattern has its first star.
MANUALS = {
    "debian-reference": _debian_reference,
    "debian-faq": _debian_faq,
    "maint-guide": _maint_guide,
    "harden-doc": _harden_doc,
    "debian-handbook": _debian_handbook,
    "installation-guide": _installation_guide,
    "debian-edu": _debian_edu,
    "kicad-doc": _kicad,
    "debmake-doc": _debmake,
    "rust-by-example": _rust_by_example,
    "gimp-help": _gimp_help,
    "mplayer": _mplayer,
}
# Which manuals a language has.
_TRANSLATED = {
    "debian-reference": ("zh", "ja", "fr", "de", "es", "pt"),
    "debian-faq": ("zh", "ja", "fr", "de", "ru"),
    "maint-guide": ("zh", "ja", "fr", "de", "es", "ru"),
    "harden-doc": ("zh", "ja", "fr", "de", "es", "ru", "pt"),
}
_MORE_TRANSLATED = {
    "debian-handbook": ("zh", "ja", "ko", "ru", "ar"),
    "installation-guide": ("zh", "ja", "ko", "ru"),
    "debian-edu": ("zh", "ja"),
    "kicad-doc": ("zh", "ja", "ru"),
    "debmake-doc": ("zh", "ja", "ru"),
    "rust-by-example": ("zh", "ja"),
    "gimp-help": ("ja", "ko", "ru"),
    "mplayer": ("zh", "ru"),
}


def _tasks(translated, language):
    return [m for m, languages in translated.items() if language in languages]


def _packages(translated, language):
    places = [MANUALS[m](language) for m in _tasks(translated, language)]
    return [p for place in places for p in (place[0], place[3])]


def _pages(cache, package, pattern, ending):
    start = pattern.index("*")
    files = cache.read(package, pattern)
    return {path[start:].removesuffix(ending): data for path, data in files.items()}


def _documents(cache, language, task):
    package, pattern, ending, other_package, other_pattern, other_ending = MANUALS[task](language)
    english, foreign = _pages(cache, package, pattern, ending), _pages(
        cache, other_package, other_pattern, other_ending
    )
    yield from _pair_documents(task, english, foreign, language)


def _pair_documents(name, english, foreign, language):
    for page in english:
        if page in foreign:
            left, right = (page_blocks(side[page]) for side in (english, foreign))
            pairs, unpaired = pair_pages(left, right, language)
            yield Document(f"{name}:{page}", pairs, unpaired)


_KERNEL_ROOT = "usr/share/doc/linux-doc-6.1/html/"
_KERNEL_FOLDERS = {"zh": "zh_CN", "ja": "ja_JP", "ko": "ko_KR"}


def _kernel_documents(cache, language, package):
    folder = f"{_KERNEL_ROOT}translations/{_KERNEL_FOLDERS[language]}/"
    foreign = {p.removeprefix(folder): d for p, d in cache.read(package, folder + "*.html").items()}
    english = {
        p.removeprefix(_KERNEL_ROOT): d
        for p, d in cache.read(package, *(_KERNEL_ROOT + page for page in foreign)).items()
    }
    yield from _pair_documents("linux-doc", english, foreign, language)


def _source(name, title, licence, translated):
    packages, tasks = partial(_packages, translated), partial(_tasks, translated)
    return Source(name, title, licence, packages, tasks, _documents)


SOURCE = _source("manuals", "Debian manuals", "GPL-2+", _TRANSLATED)
MORE = _source(
    "more-manuals",
    "manuals of Debian, KiCad, Rust, GIMP and MPlayer",
    "GPL-2+, GPL-3+, CC-BY-3.0, MIT, GFDL-1.2+",
    _MORE_TRANSLATED,
)
KERNEL = Source(
    "linux-doc",
    "documents of the Linux kernel",
    "GPL-2",
    lambda language: ["linux-doc-6.1"],
    lambda language: ["linux-doc-6.1"],
    _kernel_documents,
)
