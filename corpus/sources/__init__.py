"""The sources of text. A source says which packages it needs for a language, how its work can be
shared out among processes, and reads documents.

The names of documents and the English paragraphs do not depend on the language, so two other
languages can be joined on them."""
import os
from dataclasses import dataclass, field


@dataclass(frozen=True)
class Source:
    """`packages(language)` lists package names. `tasks(language)` lists picklable pieces of work.
    `documents(cache, language, task)` yields Documents of English and the language."""

    name: str
    title: str
    licence: str
    packages: callable
    tasks: callable
    documents: callable = field(repr=False)


@dataclass
class Document:
    """`segments` are pairs of paragraphs (English, the language). `unpaired` are (language,
    paragraph) without a partner. `marked` are pairs that still hold the markup of their message;
    the same pairs without it are among the segments."""

    name: str
    segments: list
    unpaired: list = field(default_factory=list)
    marked: list = field(default_factory=list)


# How packages and folders spell a language.
APT_SUFFIX = {"zh": "zh-cn", "pt": "pt-br"}
LOCALES = {"zh": ("zh_CN", "zh_Hans", "zh"), "es": ("es", "es_ES"), "pt": ("pt_BR", "pt")}


def apt_suffix(language):
    return APT_SUFFIX.get(language, language)


def locales(language):
    """Names of the locale in the order of preference."""
    return LOCALES.get(language, (language,))


def listed(name):
    """The words of a list of corpus/lists."""
    path = os.path.join(os.path.dirname(os.path.dirname(__file__)), "lists", f"{name}.txt")
    with open(path, encoding="utf-8") as f:
        return f.read().split()
