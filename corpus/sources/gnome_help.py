"""Help of the GNOME desktop: pages in Mallard XML, translated in part."""
import re

from corpus.align import align
from corpus.markup import blocks, parse_xml
from corpus.sources import Document, Source, locales

_ROOT = "usr/share/help/"
_PARTS = 4
_FURNITURE = frozenset(
    (
        "revision credit license include rules copyright author editor othercredit publisher "
        "releaseinfo bibliography name email years articleinfo bookinfo"
    ).split()
)
_LEGAL = re.compile(r"/(?:legal|fdl-appendix|gpl)\.xml$")
_MENU_STEP = re.compile(
    r"</(gui|guimenu|guimenuitem|guisubmenu)>\s*<(gui|guimenuitem|guisubmenu)\b"
)
_KEY_STEP = re.compile(r"</(key|keycap)>\s*<(key|keycap)\b")


def _is_furniture(element):
    return element.tag in _FURNITURE or (
        element.tag == "code"
        and element.getparent() is not None
        and element.getparent().tag in ("page", "section", "item")
    )


def page_blocks(page):
    """The blocks of a Mallard or DocBook page, menu steps joined by arrows and keys by plus
    signs."""
    page = _KEY_STEP.sub(r"</\1>+<\2", _MENU_STEP.sub("</\\1> \u2192 <\\2", page))
    return blocks(parse_xml(page), _is_furniture)


def _documents(cache, language, task):
    locale = locales(language)[0]
    roots = [_ROOT + "C/", f"{_ROOT}{locale}/"]
    english, foreign = (
        {
            p.removeprefix(r): d
            for p, d in cache.read(
                "gnome-user-docs", r + "*.page", r + "*.docbook", r + "*.xml"
            ).items()
        }
        for r in roots
    )
    for page in [p for p in english if p in foreign and not _LEGAL.search("/" + p)][task::_PARTS]:
        left, right = (
            page_blocks(side[page].decode("utf-8", "replace")) for side in (english, foreign)
        )
        segments = [(left[i].text, right[j].text) for i, j in align(left, right, language)]
        yield Document(f"gnome-help:{page}", segments)


SOURCE = Source(
    "gnome-help",
    "GNOME help",
    "CC-BY-SA-3.0",
    lambda language: ["gnome-user-docs"],
    lambda language: list(range(_PARTS)),
    _documents,
)
