"""LibreOffice help: the same tree of pages in every language, paragraphs with the same ids."""
import difflib

from corpus.markup import blocks, css_class, parse_html
from corpus.sources import Document, Source

NAME = "libreoffice-help"
_ROOT = "usr/share/libreoffice/help/"
_FOLDERS = {"zh": "zh-CN", "en": "en-US"}
_SUFFIXES = {"zh": "zh-cn", "en": "en-us"}
_PARTS = 8
_FURNITURE_IDS = frozenset(
    ("DEBUG", "SearchFrame", "DonationFrame", "Bookmarks", "TopLeftHeader", "DisplayArea_")
)
_FURNITURE_CLASSES = ("bascode", "pycode", "sqlcode", "codecode", "noteicon", "howtoget", "debug")


def _package(language):
    return "libreoffice-help-" + _SUFFIXES.get(language, language)


def _folder(language):
    return _ROOT + _FOLDERS.get(language, language) + "/"


def _is_furniture(element):
    words = css_class(element)
    return (
        element.tag in ("footer", "head")
        or element.get("id") in _FURNITURE_IDS
        or any(word in words for word in _FURNITURE_CLASSES)
        or (element.tag == "p" and words == "code")
    )


def _keep_default_variants(root):
    """Of the variants of a sentence for several systems, keeps the default one."""
    for element in list(root.iter("span", "div")):
        if "switchinline" in css_class(element) or (
            element.tag == "div" and css_class(element) == "switch"
        ):
            variants = list(element)
            kept = [v for v in variants if v.get("id", "").startswith("default")][:1] or variants[
                :1
            ]
            element.text = None
            element[:] = kept
            for variant in kept:
                variant.tail = None


def page_blocks(page):
    """The blocks of a help page (bytes) without its frame."""
    tree = parse_html(page)
    _keep_default_variants(tree)
    return blocks(tree, _is_furniture)


def pair_pages(english, foreign):
    """Pairs of blocks of the same page, by structure where it is equal, else by ids."""

    def key(block):
        return block.tag, block.css_class, block.id

    left_keys, right_keys = [key(b) for b in english], [key(b) for b in foreign]
    if left_keys == right_keys:
        pairs = list(zip(english, foreign))
    else:
        left_ids, right_ids = ([b.id for b in side if b.id] for side in (english, foreign))
        if left_ids != right_ids and len(set(left_ids)) == len(
            left_ids
        ):  # lists are sorted per language
            by_id = {b.id: b for b in foreign if b.id}
            pairs = [(b, by_id[b.id]) for b in english if b.id in by_id]
        else:
            matcher = difflib.SequenceMatcher(None, left_keys, right_keys, autojunk=False)
            pairs = [
                (english[i + k], foreign[j + k])
                for i, j, n in matcher.get_matching_blocks()
                for k in range(n)
            ]
    return [(a.text, b.text) for a, b in pairs if not a.is_code and not b.is_code]


def _documents(cache, language, task):
    english, foreign = (
        {
            path.removeprefix(_folder(lang)): data
            for path, data in cache.read(_package(lang), _folder(lang) + "text/*.html").items()
        }
        for lang in ("en", language)
    )
    for page in [p for p in english if p in foreign][task::_PARTS]:
        left, right = (page_blocks(side[page]) for side in (english, foreign))
        yield Document(page, pair_pages(left, right))


SOURCE = Source(
    NAME,
    "LibreOffice help",
    "MPL-2.0",
    lambda language: [_package("en"), _package(language)],
    lambda language: list(range(_PARTS)),
    _documents,
)
