"""HTML and XML pages as lists of text blocks.

The reader is forgiving (unclosed paragraphs, stray end tags) and fast rather than complete: pages come from
documentation packages, not from the open web.
"""
import html
import re
from dataclasses import dataclass

from corpus.text import normalise

_TOKEN = re.compile(
    r'<!--.*?-->|<!\[CDATA\[(?P<cdata>.*?)\]\]>|<![^>]*>|<\?.*?\?>'
    r'|<(?P<close>/?)(?P<tag>[A-Za-z][\w:.-]*)(?P<attributes>(?:[^<>"\']|"[^"]*"|\'[^\']*\')*)>'
    r'|(?P<text>[^<]+|<)', re.S)
_ATTRIBUTE = re.compile(r'([\w:.-]+)\s*=\s*(?:"([^"]*)"|\'([^\']*)\'|([^\s"\'>]+))')

_VOID = frozenset('br img hr meta link input col area base embed source track wbr'.split())
_MAX_DEPTH = 200  # what is nested deeper becomes flat
_RAW = frozenset(('script', 'style'))
# A start tag ends these open elements, unless one of _FENCES is nearer.
_ENDS = {'p': {'p'}, 'li': {'li', 'p'}, 'dt': {'dt', 'dd', 'p'}, 'dd': {'dt', 'dd', 'p'}, 'tr': {'tr', 'td', 'th', 'p'},
         'td': {'td', 'th', 'p'}, 'th': {'td', 'th', 'p'}}
_FENCES = frozenset('ul ol dl table div body html blockquote section tbody'.split())

_BLOCKS = frozenset((
    # HTML
    'p h1 h2 h3 h4 h5 h6 li td th dt dd caption div title blockquote section tr table ul ol dl body html head figcaption '
    'figure article main tbody thead header footer aside nav center form hr fieldset legend details summary '
    # Mallard and DocBook
    'para simpara term listitem varlistentry entry item desc steps terms page sect1 sect2 sect3 sect4 chapter appendix '
    'itemizedlist orderedlist variablelist informaltable row note tip warning important caution step procedure formalpara '
    'subtitle info glossentry glossdef question answer titleabbrev media mediaobject textobject').split())
_NEVER_TEXT = frozenset((
    'comment links indexterm keywordset remark footnote revhistory authorgroup legalnotice script style noscript svg math '
    'textarea select template iframe').split())
_CODE = frozenset('pre screen programlisting literallayout synopsis'.split())


class Element:
    """A node of a page; children are elements and strings."""
    __slots__ = ('tag', 'attributes', 'children', 'parent', 'depth')

    def __init__(self, tag, attributes, parent):
        self.tag, self.attributes, self.children, self.parent = tag, attributes, [], parent
        self.depth = parent.depth + 1 if parent else 0

    @property
    def css_class(self):
        return self.attributes.get('class', '')

    @property
    def id(self):
        return self.attributes.get('id', '')

    def elements(self):
        return [c for c in self.children if not isinstance(c, str)]

    def text(self):
        return ''.join(c if isinstance(c, str) else c.text() for c in self.children)


@dataclass(frozen=True)
class Block:
    """A paragraph, heading, cell or the like. Code has is_code set; it anchors an alignment but is never text."""
    tag: str
    css_class: str
    id: str
    text: str
    is_code: bool = False


def parse(page):
    """The tree of a page."""
    root = current = Element('root', {}, None)
    position = 0
    while match := _TOKEN.match(page, position):
        position = match.end()
        if text := match['text'] or match['cdata']:
            current.children.append(html.unescape(text) if '&' in text and match['text'] else text)
        elif not match['tag']:
            continue
        elif match['close']:
            tag, node = match['tag'].lower(), current
            while node is not None and node.tag != tag:
                node = node.parent
            if node is not None and node.parent is not None:
                current = node.parent
        else:
            tag, written = match['tag'].lower(), match['attributes']
            attributes = {}
            for name, *values in _ATTRIBUTE.findall(written):
                value = ''.join(values)
                attributes[name.lower()] = html.unescape(value) if '&' in value else value
            if tag in _ENDS:
                current = _end_open(current, tag)
            element = Element(tag, attributes, current)
            current.children.append(element)
            if tag in _RAW:
                end = page.find('</' + tag, position)
                position = len(page) if end < 0 else end
            if tag not in _VOID and not written.endswith('/') and element.depth < _MAX_DEPTH:
                current = element
    return root


def _end_open(current, tag):
    node = current
    while node.parent is not None and node.tag not in _FENCES:
        if node.tag in _ENDS[tag]:
            current = node.parent
            if node.tag == tag:
                break
        node = node.parent
    return current


def blocks(root, skip=lambda element: False, skip_inline=lambda element: False):
    """The blocks of a tree in reading order. `skip` leaves out elements with all they hold (a skipped block
    still ends the text before it), `skip_inline` leaves out pieces inside a sentence."""
    found, pending = [], []

    def flush(block):
        text = normalise(''.join(pending))
        pending.clear()
        if text:
            found.append(Block(block.tag, block.css_class, block.id, text))

    def walk(node, block):
        for child in node.children:
            if isinstance(child, str):
                pending.append(child)
            elif child.tag in _CODE:
                flush(block)
                found.append(Block('pre', child.css_class, '', normalise(child.text()), True))
            elif child.tag in _NEVER_TEXT or skip(child):
                if child.tag in _BLOCKS:
                    flush(block)
            elif child.tag == 'br':
                pending.append(' ')
            elif child.tag in _BLOCKS:
                flush(block)
                walk(child, child)
                flush(child)
            elif not skip_inline(child):
                walk(child, block)

    walk(root, root)
    flush(root)
    return found
