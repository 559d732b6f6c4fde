"""The sources of text. A source says which packages it needs for a language, how its work can be
shared out among processes, and reads documents: (name, [(English paragraph, paragraph in the
language)]).

The names of documents and the English paragraphs do not depend on the language, so two other
languages can be joined on them. """
from dataclasses import dataclass, field


@dataclass(frozen=True)
class Source:
    """`packages(language)` lists package names. `tasks(language)` lists picklable pieces of work.
    `documents(cache, language, task)` yields (document, segments, unpaired) where unpaired are
    (language, paragraph) without a partner."""

    name: str
    title: str
    licence: str
    packages: callable
    tasks: callable
    documents: callable = field(repr=False)


# How packages and folders spell a language.
APT_SUFFIX = {"zh": "zh-cn", "pt": "pt-br"}
LOCALES = {"zh": ("zh_CN", "zh_Hans", "zh"), "es": ("es", "es_ES"), "pt": ("pt_BR", "pt")}


def apt_suffix(language):
    return APT_SUFFIX.get(language, language)


def locales(language):
    """Names of the locale in the order of preference."""
    return LOCALES.get(language, (language,))
