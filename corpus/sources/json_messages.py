"""Messages kept as JSON by key: the interface of MediaWiki and the diagnostics of TypeScript."""
import html
import json
import posixpath
import re

from corpus.catalogue import paragraphs, strip_markup
from corpus.sentences import proportional
from corpus.sources import Document, Source

_WIKI_ROOT = "usr/share/mediawiki/"
_WIKI_FILES = {"zh": "zh-hans", "pt": "pt-br"}
# {{PLURAL:$1|one|many}} and the like: the last form is the usual one.
_WIKI_CHOICE = re.compile(r"\{\{\s*(?:PLURAL|GENDER)\s*:[^|{}]*\|([^{}]*)\}\}", re.I)
_WIKI_NUMBERED = re.compile(r"^\d+=")
_WIKI_LINK = re.compile(r"\[\[(?:[^\[\]|]*\|)?([^\[\]|]*)\]\]")
_WIKI_ADDRESS = re.compile(r"\[(?:https?:)?//\S+\s+([^\]]*)\]")
_WIKI_SIGNS = re.compile(r"'{2,}|^[*#:;=]+[ \t]*|[ \t]*=+$", re.M)

_TS_ROOT = "usr/share/nodejs/typescript/lib/"
_TS_FOLDERS = {"zh": "zh-cn", "pt": "pt-br"}
_TS_ENGLISH = re.compile(r'diag\(\d+, ts\.DiagnosticCategory\.\w+, ("[^"]*"), ("(?:[^"\\]|\\.)*")')


def strip_wiki(text):
    """A message without the markup of a wiki."""
    text = re.sub(r"\{\{\s*SITENAME\s*\}\}", "MediaWiki", text)
    for _ in range(4):  # choices and links stand inside each other
        text = _WIKI_CHOICE.sub(lambda m: _WIKI_NUMBERED.sub("", m[1].split("|")[-1]), text)
        text = _WIKI_ADDRESS.sub(r"\1", _WIKI_LINK.sub(r"\1", text))
    return html.unescape(strip_markup(_WIKI_SIGNS.sub("", text)))


def _wiki_pairs(english, foreign, language):
    lefts, rights = paragraphs(english, "en"), paragraphs(foreign, language)
    if len(lefts) == len(rights) and proportional(lefts, rights, "en", language, 8):
        return list(zip(lefts, rights))
    return []


def _wiki_documents(cache, language, package):
    name = _WIKI_FILES.get(language, language)
    files = cache.read(package, f"{_WIKI_ROOT}*/en.json", f"{_WIKI_ROOT}*/{name}.json")
    for path, data in files.items():
        folder, file = posixpath.split(path)
        other = files.get(f"{folder}/{name}.json")
        if file == "en.json" and "i18n" in folder and other:
            english, foreign = json.loads(data), json.loads(other)
            document = Document(f"{package}:{folder.removeprefix(_WIKI_ROOT)}", [])
            for key, message in english.items():
                if isinstance(message, str) and isinstance(foreign.get(key), str):
                    both = strip_wiki(message), strip_wiki(foreign[key])
                    document.segments += _wiki_pairs(*both, language)
            yield document


def _ts_documents(cache, language, package):
    folder = _TS_FOLDERS.get(language, language)
    foreign_path = f"{_TS_ROOT}{folder}/diagnosticMessages.generated.json"
    english_path = _TS_ROOT + "typescript.js"
    files = cache.read(package, english_path, foreign_path)
    foreign = json.loads(files[foreign_path])
    found = _TS_ENGLISH.findall(files[english_path].decode("utf-8"))
    english = {json.loads(key): json.loads(message) for key, message in found}
    pairs = [(english[key], text) for key, text in foreign.items() if key in english]
    yield Document(package, pairs)


def _source(name, title, licence, package, languages, documents):
    def only(language):
        return [package] if language in languages else []

    return Source(name, title, licence, only, only, documents)


MEDIAWIKI = _source(
    "mediawiki",
    "messages of MediaWiki",
    "GPL-2+",
    "mediawiki",
    ("zh", "ja", "ko", "ru", "ar", "th"),
    _wiki_documents,
)
TYPESCRIPT = _source(
    "typescript",
    "diagnostics of TypeScript",
    "Apache-2.0",
    "node-typescript",
    ("zh", "ja", "ko", "ru"),
    _ts_documents,
)
