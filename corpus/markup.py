"""HTML and XML pages as lists of text blocks, read by lxml."""
import html
import re
from dataclasses import dataclass

from lxml import etree

from corpus.text import normalise

_BLOCKS = frozenset(
    # HTML
    "p h1 h2 h3 h4 h5 h6 li td th dt dd caption div title blockquote section tr table ul ol dl "
    "body "
    "html head figcaption figure article main tbody thead header footer aside nav center form hr "
    "fieldset legend details summary "
    # Mallard and DocBook
    "para simpara term listitem varlistentry entry item desc steps terms page sect1 sect2 sect3 "
    "sect4 chapter appendix itemizedlist orderedlist variablelist informaltable row note tip "
    "warning "
    "important caution step procedure formalpara subtitle info glossentry glossdef question answer "
    "titleabbrev media mediaobject textobject".split()
)
_NEVER_TEXT = frozenset(
    "comment links indexterm keywordset remark footnote revhistory authorgroup legalnotice script "
    "style noscript svg math textarea select template iframe".split()
)
_CODE = frozenset("pre screen programlisting literallayout synopsis".split())
_CHARSET = re.compile(rb"""(?:charset|encoding)\s*=\s*["']?([\w-]+)""", re.I)
_XML_ENTITIES = frozenset(("amp", "lt", "gt", "quot", "apos"))


@dataclass(frozen=True)
class Block:
    """A paragraph, heading, cell or the like. Code has is_code set; it anchors an alignment but is
    never text."""

    tag: str
    css_class: str
    id: str
    text: str
    is_code: bool = False


def css_class(element):
    return element.get("class", "")


def parse_html(page):
    """The root element of an HTML page given as bytes, in the encoding that it names or UTF-8. What
    is nested deeper than libxml2 allows (256) is left out."""
    named = _CHARSET.search(page[:2000])
    try:
        page = page.decode(named[1].decode() if named else "utf-8", "replace").encode()
    except LookupError:
        page = page.decode("utf-8", "replace").encode()
    parser = etree.HTMLParser(encoding="utf-8", remove_comments=True, remove_pis=True)
    root = etree.fromstring(page, parser) if page.strip() else None
    return etree.Element("html") if root is None else root


def parse_xml(page):
    """The root element of an XML page given as text, with plain tags: namespaces are left out.
    Entities that the page does not define itself have their meaning of HTML."""

    def known(entity):
        return entity[0] if entity[1] in _XML_ENTITIES else html.unescape(entity[0])

    page = re.sub(r"&([A-Za-z][\w.-]*);", known, page)
    parser = etree.XMLParser(
        encoding="utf-8", recover=True, no_network=True, remove_comments=True, remove_pis=True
    )
    root = etree.fromstring(page.encode(), parser)
    if root is None:
        return etree.Element("page")
    for element in root.iter(etree.Element):
        element.tag = element.tag.rpartition("}")[2].rpartition(":")[2]
    return root


def blocks(root, skip=lambda element: False, skip_inline=lambda element: False):
    """The blocks of a tree in reading order. `skip` leaves out elements with all they hold (a
    skipped block still ends the text before it), `skip_inline` leaves out pieces inside a
    sentence."""
    found, pending = [], []

    def flush(element):
        text = normalise("".join(pending))
        pending.clear()
        if text:
            found.append(Block(element.tag, css_class(element), element.get("id", ""), text))

    def walk(element, block):
        pending.append(element.text or "")
        for child in element.iterchildren(etree.Element):
            visit(child, block)
            pending.append(child.tail or "")

    def visit(child, block):
        if child.tag in _CODE:
            flush(block)
            text = normalise("".join(child.itertext()))
            found.append(Block("pre", css_class(child), "", text, True))
        elif child.tag in _NEVER_TEXT or skip(child):
            if child.tag in _BLOCKS:
                flush(block)
        elif child.tag == "br":
            pending.append(" ")
        elif child.tag in _BLOCKS:
            flush(block)
            walk(child, child)
            flush(child)
        elif not skip_inline(child):
            walk(child, block)

    walk(root, root)
    flush(root)
    return found
