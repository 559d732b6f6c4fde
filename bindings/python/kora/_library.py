"""The shared library: found, checked and declared once a process.

The C interface's rules hold here: what it returns is copied and freed before a function of this
module's users sees it. Loading is safe from any thread; the loaded library is never unloaded.
"""

from __future__ import annotations

import ctypes
import os
import pathlib
import threading
from ctypes import POINTER, byref, c_char_p, c_float, c_int32, c_size_t, c_uint32, c_void_p
from typing import Any, List, Optional

from ._errors import LibraryError

NAME = "libtranslator_jni.so.1"
MAJOR = 1

_pointer = POINTER(c_void_p)
_size = POINTER(c_size_t)

# Results and arguments of the functions of kora_c.h. Text goes in as bytes and length and may hold
# zero bytes; what comes back is an address to be freed.
_FUNCTIONS: dict[str, tuple[Any, list[Any]]] = {
    "kora_c_version": (c_char_p, []),
    "kora_c_error_name": (c_char_p, [c_int32]),
    "kora_c_find_direction": (c_int32, [c_char_p, c_size_t]),
    "kora_c_open": (
        c_int32,
        [c_int32, c_char_p, c_size_t, c_char_p, c_size_t, c_uint32, _pointer, _pointer],
    ),
    "kora_c_close": (None, [c_void_p]),
    "kora_c_free": (None, [c_void_p]),
    "kora_c_message": (c_char_p, [c_void_p]),
    "kora_c_translate": (c_int32, [c_void_p, c_char_p, c_size_t, _pointer, _size]),
    "kora_c_translate_aligned": (
        c_int32,
        [c_void_p, c_char_p, c_size_t, _pointer, _size, POINTER(POINTER(c_int32)), _size],
    ),
    "kora_c_translate_nbest": (
        c_int32,
        [
            c_void_p,
            c_char_p,
            c_size_t,
            c_uint32,
            _pointer,
            POINTER(POINTER(c_size_t)),
            POINTER(POINTER(c_float)),
            _size,
        ],
    ),
    "kora_c_translate_document": (
        c_int32,
        [
            c_void_p,
            c_char_p,
            c_size_t,
            c_int32,
            c_uint32,
            _pointer,
            _size,
            POINTER(POINTER(c_int32)),
            _size,
        ],
    ),
    "kora_c_set_glossary": (c_int32, [c_void_p, c_char_p, c_size_t, c_uint32, _pointer]),
    "kora_c_set_limits": (c_int32, [c_void_p, c_int32, c_int32, c_int32, c_float]),
    "kora_c_set_protection": (c_int32, [c_void_p, c_uint32]),
    "kora_c_add_pattern": (c_int32, [c_void_p, c_char_p, c_size_t]),
    "kora_c_explain": (c_int32, [c_void_p, c_char_p, c_size_t, c_uint32, _pointer, _size]),
}

_lock = threading.Lock()
_loaded: Optional[ctypes.CDLL] = None


def _candidates() -> List[str]:
    named = os.environ.get("KORA_LIBRARY")
    if named:
        return [named]
    beside = pathlib.Path(__file__).parent
    if not (beside / NAME).exists():
        return [NAME]
    for other in beside.glob("liblexicut.so*"):
        # What the library needs is found by its name once it is loaded.
        ctypes.CDLL(str(other))
    return [str(beside / NAME)]


def _load(path: str) -> ctypes.CDLL:
    try:
        library = ctypes.CDLL(path)
    except OSError as cause:
        raise LibraryError(
            f"{cause}; install the library, or name its file in KORA_LIBRARY"
        ) from cause
    try:
        library.kora_c_version.restype = c_char_p
        version = (library.kora_c_version() or b"").decode("utf-8", "replace")
    except AttributeError as cause:
        raise LibraryError(f"{path}: no function kora_c_version") from cause
    if version.split(".")[0] != str(MAJOR):
        raise LibraryError(
            f"{path}: version {version or 'unknown'}, but this package needs {MAJOR}.x; install "
            "the library and the package of one release"
        )
    for name, (result, arguments) in _FUNCTIONS.items():
        try:
            function = getattr(library, name)
        except AttributeError as cause:
            raise LibraryError(
                f"{path}: version {version} has no function {name}; install the library and the "
                "package of one release"
            ) from cause
        function.restype = result
        function.argtypes = arguments
    return library


def library() -> ctypes.CDLL:
    """The library; LibraryError if there is none that fits."""
    global _loaded
    if _loaded is None:
        with _lock:
            if _loaded is None:
                for path in _candidates():
                    _loaded = _load(path)
    assert _loaded is not None
    return _loaded


def take(lib: ctypes.CDLL, address: Optional[int], length: int) -> bytes:
    """Copies a result and frees it."""
    if not address:
        return b""
    try:
        return ctypes.string_at(address, length)
    finally:
        lib.kora_c_free(address)


def take_text(lib: ctypes.CDLL, address: Optional[int]) -> str:
    """The same of a message, which ends in a zero byte."""
    if not address:
        return ""
    try:
        return ctypes.string_at(address).decode("utf-8", "replace")
    finally:
        lib.kora_c_free(address)


__all__ = ["NAME", "byref", "library", "take", "take_text"]
