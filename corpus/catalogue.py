"""Compiled message catalogues (.mo): reading them, and turning messages into plain text."""
import html
import re
import struct
import tempfile

import polib

from corpus.clean import MARKUP
from corpus.sentences import proportional
from corpus.sources import Document
from corpus.text import HAN, LATIN_LANGUAGES, UNSPACED, units

_CREDITS = re.compile(
    r"^(?:EMAIL|NAME) OF TRANSLATORS$|^Your (?:names|emails)$|translator[-_]credits", re.I
)
_MARKUP_TAG = re.compile(
    r"</?(?:color\w*|info|good|bad|neutral|stat|header|bold|dark|light|span|b|i|u|big|small|tt"
    r"|em|strong|para|p|emphasis"
    r"|title|a|html|body|head|br|hr|ul|li|ol|h\d|font|qt|nobr|center|filename|command"
    r"|application|interface|resource"
    r"|shortcut|link|note|warning|tip|item|list|icode|bcode|placeholder|envar|numid|message"
    r"|subtitle|email|code|kbd|ref"
    r"|italic|format|img|icon|lb|rb|tr|td|table|th|div|dd|dt|dl|pre|sub|sup|q|cite|blockquote"
    r"|bg|style|size|guilabel"
    r"|guimenu)(?:[\s=][^<>]*)?/?>",
    re.I,
)
_BREAKING_TAG = re.compile(r"[a-z]<br|<p>|<li>")
_HELP_LINK = re.compile(r"<ref>\s*dst='[^']*'\s*text='([^']*)'\s*</ref>")
_HELP_STYLE = re.compile(r"<(italic|bold|header)>\s*text='([^']*)'\s*</\1>")
_BRACKETED_ACCELERATOR = re.compile("\\s*[(\uff08]\\s*[_&~]\\s*[A-Za-z0-9&_]?\\s*[)\uff09]")
_UNDERSCORE_ACCELERATOR = re.compile(r"(?:^|[\s(]|[A-Za-z])_[^\W_]")
_IDENTIFIER = re.compile(r"[A-Z]_[A-Z]{2}|[a-z]_[a-z]+\(|\w+_\w+\.\w")
_PARAGRAPH_END = re.compile('[.!?:\u3002\uff01\uff1f\uff1a\u061f"\u201d]$')
_LIST_ITEM = re.compile("[-*\u2022]\\s|\\d+[.)]\\s")
_MAX_WHOLE = 80  # English tokens of a message that is kept whole when its paragraphs do not pair


def read_mo(data):
    """Yields (context, [singular, plural?], [translations]) of every message but the header and the
    credits.

    Messages in an encoding that does not decode are left out. Raises ValueError when it is no
    catalogue."""
    with tempfile.NamedTemporaryFile() as file:  # polib reads from a path only
        file.write(data)
        file.flush()
        try:
            # Latin-1 keeps every byte, so that one bad message does not cost the others.
            catalogue = polib.mofile(file.name, encoding="latin-1")
        except (OSError, struct.error) as error:
            raise ValueError(f"not a message catalogue: {error}") from error
    named = re.search(r"charset=([\w-]+)", catalogue.metadata.get("Content-Type", ""))
    encoding = named[1] if named and named[1] != "CHARSET" else "utf-8"

    def decode(text):
        return text.encode("latin-1").decode(encoding)

    for entry in catalogue:
        forms = [entry.msgid] + ([entry.msgid_plural] if entry.msgid_plural else [])
        values = [v for _, v in sorted(entry.msgstr_plural.items())] or entry.msgstr.split("\0")
        try:
            context, forms = decode(entry.msgctxt or ""), [decode(f) for f in forms]
            values = [decode(v) for v in values]
        except (UnicodeDecodeError, LookupError):
            continue
        if any(values) and forms[0] and not any(map(_CREDITS.search, (forms[0], context))):
            yield context, forms, values


def strip_accelerator(text, sign):
    """Takes the marks of keyboard accelerators away. `sign` is one of & (Qt), _ (GTK), ~
    (LibreOffice)."""
    text = _BRACKETED_ACCELERATOR.sub("", text)
    if sign == "_":
        text = text.replace("__", "\0")
        if (
            text.count("_") == 1
            and _UNDERSCORE_ACCELERATOR.search(text)
            and not _IDENTIFIER.search(text)
        ):
            text = text.replace("_", "")
    else:
        text = text.replace(sign * 2, "\0")
        text = re.sub(rf"{sign}(?=[^\W_])", "", text)
    return text.replace("\0", sign)


def strip_markup(text):
    """Takes the usual markup and the entities of program messages away."""
    text = text.replace("&nbsp;", " ")
    text = _HELP_STYLE.sub(r"\2", _HELP_LINK.sub(r"\1", text))
    text = _MARKUP_TAG.sub(" " if _BREAKING_TAG.search(text) else "", text)
    return html.unescape(text) if "&" in text and ";" in text else text


def paragraphs(text, language):
    """The paragraphs of a message. Messages are wrapped by hand, so a line break ends a paragraph
    only after a final sign, before an empty line and before a list item."""
    found, current = [], ""
    for line in text.replace("\r", "").replace("\\n", "\n").split("\n") + [""]:
        line = line.strip()
        if current and (not line or _PARAGRAPH_END.search(current) or _LIST_ITEM.match(line)):
            found.append(current)
            current = ""
        if current and line:
            tight = language in UNSPACED and HAN.match(line) and HAN.match(current[-1])
            current += ("" if tight else " ") + line
        else:
            current = current or line
    return found


def segments(english, foreign, language, accelerators="", markup=False):
    """The pairs of paragraphs of one message without accelerators and, unless `markup` is to stay,
    without markup; none when they do not pair."""
    if not markup:
        english, foreign = strip_markup(english), strip_markup(foreign)
    for sign in accelerators:
        english, foreign = strip_accelerator(english, sign), strip_accelerator(foreign, sign)
    lefts, rights = paragraphs(english, "en"), paragraphs(foreign, language)
    if len(lefts) == len(rights):
        if len(lefts) < 2 or proportional(lefts, rights, "en", language, 8):
            return list(zip(lefts, rights))
    elif len(units(english, "en")) < _MAX_WHOLE:
        return [(" ".join(lefts), " ".join(rights))]
    return []


def read_messages(data, language, prefixes=False):
    """The pairs (English, the language) of a catalogue. With `prefixes`, what stands before a ^ in
    the English message is a note to translators. Languages without a plural get the plural message
    as English."""
    for _, forms, translations in read_mo(data):
        one_form = len(translations) == 1 and language not in LATIN_LANGUAGES
        pairs = [(forms[-1] if one_form else forms[0], translations[0])]
        if len(forms) > 1 and len(translations) > 1:
            pairs.append((forms[1], translations[-1]))
        for english, foreign in pairs:
            if prefixes and "^" in english[:40]:
                english, foreign = english.split("^", 1)[1], foreign.split("^", 1)[-1]
            yield english, foreign


def catalogue_document(name, data, language, accelerators="", prefixes=False):
    """The Document of a catalogue: its pairs of paragraphs, and those with markup once more as they
    stand."""
    document = Document(name, [])
    for english, foreign in read_messages(data, language, prefixes):
        document.segments += segments(english, foreign, language, accelerators)
        if MARKUP.search(english):
            document.marked += segments(english, foreign, language, accelerators, markup=True)
    return document
