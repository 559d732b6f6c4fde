"""What can go wrong, as exceptions. Each has `code`, the result code of the C interface that it
stands for, or None for failures that never reached the library."""

from __future__ import annotations

from typing import Optional


class KoraError(Exception):
    """Base of all errors of this package.

    `code` is a result code of kora_c.h (1 to 7) or None.
    """

    code: Optional[int] = None


class BadArgumentError(KoraError, ValueError):
    """A text above 1 GiB, an unknown option, a pattern or glossary that cannot be used."""

    code = 1


class BadDirectionError(KoraError, ValueError):
    """No such direction, one whose source cannot be translated, or not the folder's."""

    code = 2


class BadConfigurationError(KoraError):
    """A configuration file is unreadable, of another version, or asks for too wide a search."""

    code = 3


class BadModelError(KoraError):
    """A model file is missing, damaged, or does not fit the others."""

    code = 4


class BadManifestError(KoraError):
    """The folder differs from its manifest, or has none."""

    code = 5


class TranslationFailedError(KoraError):
    """Damage that was first met while translating."""

    code = 6


class NoMemoryError(KoraError, MemoryError):
    """The library could not get memory."""

    code = 7


class TextError(KoraError, ValueError):
    """A text that cannot be UTF-8: broken bytes, or a str that holds half a surrogate pair."""


class ClosedError(KoraError, ValueError):
    """The translator was closed, on this thread or another."""


class ForkedError(KoraError, RuntimeError):
    """The translator was opened before a fork and is used in the child."""


class LibraryError(KoraError, OSError):
    """The shared library is not found, is of another version, or lacks a function."""


class CommandError(KoraError):
    """The `kora` command is not found or failed.

    `status` is its exit code (1 bad input, 2 usage, 3 input or output failed) or None.
    """

    def __init__(self, message: str, status: Optional[int] = None) -> None:
        super().__init__(message)
        self.status = status


BY_CODE = {
    error.code: error
    for error in (
        BadArgumentError,
        BadDirectionError,
        BadConfigurationError,
        BadModelError,
        BadManifestError,
        TranslationFailedError,
        NoMemoryError,
    )
}


def error_of(code: int, message: str) -> KoraError:
    """The exception of a result code."""
    error = BY_CODE.get(code)
    if error is not None:
        return error(message)
    other = KoraError(f"{message} (result code {code})")
    other.code = code
    return other
