"""Offline translation with model folders: a package over the shared library of Kora.

    >>> import kora
    >>> with kora.Translator("models/en-zh") as translator:
    ...     print(translator.translate("Good morning."))

Text goes in and comes out as str; offsets count code points. The library is
$KORA_LIBRARY, else the one inside the package, else the system's.
"""

from ._command import Score, Scores, evaluate, pack, train
from ._errors import (
    BadArgumentError,
    BadConfigurationError,
    BadDirectionError,
    BadManifestError,
    BadModelError,
    ClosedError,
    CommandError,
    ForkedError,
    KoraError,
    LibraryError,
    NoMemoryError,
    TextError,
    TranslationFailedError,
)
from ._library import library as _library
from ._records import Alignment, Candidate, Link, Phrase, Sentence
from ._translator import Translator, thread_translator

__version__ = "1.0.0"

__all__ = [
    "Alignment",
    "BadArgumentError",
    "BadConfigurationError",
    "BadDirectionError",
    "BadManifestError",
    "BadModelError",
    "Candidate",
    "ClosedError",
    "CommandError",
    "ForkedError",
    "KoraError",
    "LibraryError",
    "Link",
    "NoMemoryError",
    "Phrase",
    "Score",
    "Scores",
    "Sentence",
    "TextError",
    "TranslationFailedError",
    "Translator",
    "evaluate",
    "library_version",
    "pack",
    "thread_translator",
    "train",
]


def library_version() -> str:
    """The version of the shared library, such as "1.0.0"."""
    return str(_library().kora_c_version().decode("ascii"))
