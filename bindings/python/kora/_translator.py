"""Translators: one model folder, one direction, closed when done."""

from __future__ import annotations

import ctypes
import json
import os
import pathlib
import threading
from collections import deque
from concurrent.futures import Future, ThreadPoolExecutor
from ctypes import POINTER, byref, c_char, c_float, c_int32, c_size_t, c_void_p, cast, pointer
from types import TracebackType
from typing import (
    Any,
    Callable,
    Deque,
    Iterable,
    Iterator,
    List,
    Mapping,
    NamedTuple,
    Optional,
    Tuple,
    Type,
    TypeVar,
    Union,
    overload,
)

from ._errors import BadArgumentError, BadDirectionError, ClosedError, ForkedError, KoraError
from ._errors import TextError, TranslationFailedError, error_of
from ._library import library, take, take_text
from ._records import Alignment, Candidate, Link, Offsets, Phrase, Sentence

Text = Union[str, bytes]
Path = Union[str, "os.PathLike[str]"]
Glossary = Union[str, Mapping[str, str]]
_T = TypeVar("_T")

_CHECK_MANIFEST = 1
_RAW = 2
_ATTRIBUTES = 1
_CASE_SENSITIVE = 1
_OWN_DISTORTION = -(2**31)
_FORMATS = {"text": 0, "html": 1, "xml": 1}
# Kinds of protected spans, in the order of their bits.
_KINDS = (
    "formats accelerators tags addresses files code mentions symbols phones foreign-words patterns "
    "numbers"
).split()


def _encode(text: Text) -> bytes:
    """UTF-8 of a text; TextError that says where it cannot be."""
    if isinstance(text, str):
        try:
            return text.encode("utf-8")
        except UnicodeEncodeError as cause:
            raise TextError(
                f"character {cause.start} is half of a surrogate pair, which UTF-8 cannot hold; "
                "decode the text with another encoding"
            ) from cause
    if isinstance(text, (bytes, bytearray, memoryview)):
        data = bytes(text)
        try:
            data.decode("utf-8")
        except UnicodeDecodeError as cause:
            raise TextError(
                f"byte {cause.start} is not UTF-8 ({cause.reason}); decode the text first"
            ) from cause
        return data
    raise TypeError(f"a text is str or bytes, not {type(text).__name__}")


def _decode(data: bytes) -> str:
    try:
        return data.decode("utf-8")
    except UnicodeDecodeError as cause:
        raise TranslationFailedError(
            f"the translation is not UTF-8 at byte {cause.start}; the model's vocabulary is "
            "damaged: 'kora check' says more"
        ) from cause


def _glossary_table(glossary: Glossary) -> bytes:
    if isinstance(glossary, str):
        return _encode(glossary)
    lines = []
    for source, target in glossary.items():
        for term in (source, target):
            if any(sign in term for sign in "\t\n\r"):
                raise BadArgumentError(f"the glossary term {term!r} holds a tab or line end")
        lines.append(f"{source}\t{target}\n")
    return _encode("".join(lines))


def _direction_of_folder(configuration: pathlib.Path) -> Optional[str]:
    """What the configuration says under [direction], or None; the library reports what is wrong
    with an unreadable file."""
    try:
        lines = configuration.read_bytes().split(b"\n")
    except OSError:
        return None
    if b"[direction]" not in lines[:-1]:
        return None
    return lines[lines.index(b"[direction]") + 1].decode("utf-8", "replace").strip() or None


class _Settings(NamedTuple):
    """What was set after opening; each handle takes it over before its next call."""

    number: int = 0  # rises with every change
    glossary: bytes = b""
    glossary_flags: int = 0
    limits: Optional[Tuple[int, int, int, float]] = None
    protected: Optional[int] = None  # kinds of spans, as bits
    patterns: Tuple[bytes, ...] = ()


class _Handle:
    """A handle of the library with the lock that lets one thread at a time use it."""

    def __init__(self, direction: int, configuration: bytes, folder: bytes, flags: int) -> None:
        self.lib = library()
        self.lock = threading.Lock()
        self.settings = 0  # number of the translator's settings that this handle has
        self.has_terms = False  # of a glossary
        self.patterns = 0  # how many of their patterns; the library can only add some
        self._pid = os.getpid()
        self._address = c_void_p()
        message = c_void_p()
        code = self.lib.kora_c_open(
            direction,
            configuration,
            len(configuration),
            folder,
            len(folder),
            flags,
            byref(self._address),
            byref(message),
        )
        text = take_text(self.lib, message.value)
        if code != 0:
            self._address.value = None
            name = os.fsdecode(folder)
            if code in (3, 4):  # the library names no remedy, and not always the folder
                text += f"; 'kora check -m {name}' says what is wrong"
            raise error_of(code, text if name in text else f"{name}: {text}")
        # For the many calls of `translate`: made once, used under the lock.
        self._translate, self._free = self.lib.kora_c_translate, self.lib.kora_c_free
        self._output: Any = POINTER(c_char)()
        self._length = c_size_t()
        self._results = cast(pointer(self._output), POINTER(c_void_p)), byref(self._length)

    def check(self) -> None:
        """Throws if the handle cannot be used here."""
        if self._pid != os.getpid():
            raise ForkedError(
                "the translator was opened before the fork; open one in the child process"
            )
        if not self._address.value:
            raise ClosedError("the translator is closed")

    @property
    def closed(self) -> bool:
        return not self._address.value

    def call(self, function: Any, *arguments: Any) -> None:
        """Calls the library with this handle, whose lock is held."""
        address = self._address.value
        if not address:
            raise ClosedError("the translator is closed")
        code = function(address, *arguments)
        if code != 0:
            raise self._error(code)

    def _error(self, code: int) -> KoraError:
        message = self.lib.kora_c_message(self._address) or b""
        return error_of(code, message.decode("utf-8", "replace"))

    def close(self) -> None:
        # A child's copy is left to the end of the child: another thread of the parent may have been
        # inside when it was copied, and its lock will never be given back.
        if self._pid != os.getpid():
            return
        with self.lock:
            if self._address.value:
                self.lib.kora_c_close(self._address)
                self._address.value = None

    def translate(self, data: bytes) -> str:
        """The translation of UTF-8; the lock is held. Written out, because for short texts the
        call is what costs."""
        address = self._address.value
        if not address:
            raise ClosedError("the translator is closed")
        code = self._translate(address, data, len(data), *self._results)
        if code != 0:
            raise self._error(code)
        result: bytes = self._output[: self._length.value]
        self._free(self._output)
        return _decode(result)


class Translator:
    """Translates texts of one direction with the models of one folder.

    Any thread may call any method; calls on one translator wait for one another. For several
    threads use `batch`, which opens handles of its own, or a translator for each thread; model
    files are mapped, so that all of them and all processes share one copy in memory. After a fork
    a child must open its own.

    folder        the model folder
    direction     such as "en-zh"; left out, the folder says it. BadDirectionError if the folder
                  says another one
    config        a file that takes the place of the folder's engine.conf
    check         compare all files with the folder's manifest first: reads the whole folder
    raw           the bare engine: each line that is not empty gives one line, and nothing is
                  protected from being translated
    """

    def __init__(
        self,
        folder: Path,
        *,
        direction: Optional[str] = None,
        config: Optional[Path] = None,
        check: bool = False,
        raw: bool = False,
    ) -> None:
        self._handles: List[_Handle] = []  # the first one answers all calls but batches
        self._settings = _Settings()
        self._lock = threading.Lock()  # guards the two above
        self.folder = pathlib.Path(folder)
        lib = library()
        configuration = b"" if config is None else os.fsencode(config)
        said = _direction_of_folder(pathlib.Path(config or self.folder / "engine.conf"))
        name = direction or said
        if name is None:
            # The library names what is wrong with the folder, if more than this is.
            english = lib.kora_c_find_direction(b"en-zh", 5)
            _Handle(english, configuration, os.fsencode(folder), 0).close()
            raise BadDirectionError(f"{self.folder} does not say its direction; give direction=")
        if direction is not None and said is not None and direction != said:
            raise BadDirectionError(f"{self.folder} translates {said}, not {direction}")
        encoded = name.encode("utf-8", "replace")
        code = lib.kora_c_find_direction(encoded, len(encoded))
        if code < 0:
            raise BadDirectionError(f"there is no direction {name!r}; one is named like 'en-zh'")
        self.direction: str = name
        self._raw = raw
        flags = (_CHECK_MANIFEST if check else 0) | (_RAW if raw else 0)
        self._open: Callable[[int], _Handle] = lambda more: _Handle(
            code, configuration, os.fsencode(folder), flags & ~more
        )
        self._handles.append(self._open(0))

    # Opening and closing

    def __enter__(self) -> Translator:
        self._handles[0].check()
        return self

    def __exit__(
        self,
        kind: Optional[Type[BaseException]],
        error: Optional[BaseException],
        trace: Optional[TracebackType],
    ) -> None:
        self.close()

    def __del__(self) -> None:
        if getattr(self, "_handles", None):
            self.close()

    def __repr__(self) -> str:
        state = ", closed" if self.closed else ""
        return f"<kora.Translator {str(self.folder)!r} {self.direction}{state}>"

    def __reduce__(self) -> Any:
        raise TypeError(
            "a translator cannot be sent to another process; send its folder and open it there, "
            "for instance with kora.thread_translator(folder)"
        )

    def close(self) -> None:
        """Gives the models back, after the calls that run; a second time does nothing. Whatever is
        called afterwards raises ClosedError."""
        for handle in list(self._handles):
            handle.close()

    @property
    def closed(self) -> bool:
        return self._handles[0].closed

    # Translating

    @overload
    def translate(self, text: Text) -> str:  # type: ignore[misc]  # a str is an Iterable[str] too
        ...

    @overload
    def translate(self, text: Iterable[Text]) -> List[str]:
        ...

    def translate(self, text: Union[Text, Iterable[Text]]) -> Union[str, List[str]]:
        """The translation of a text, or of each text of a list.

        A text may hold several lines and sentences. TextError for what cannot be UTF-8, with the
        index of the text in a list; TranslationFailedError for models whose damage shows only now.
        """
        if isinstance(text, (str, bytes, bytearray, memoryview)):
            data = _encode(text)
            handle = self._handles[0]
            handle.check()
            with handle.lock:
                if handle.settings != self._settings.number:
                    self._apply_settings(handle)
                return handle.translate(data)
        encoded = [self._encode_item(i, item) for i, item in enumerate(text)]
        return self._with_handle(lambda handle: [handle.translate(data) for data in encoded])

    def translate_document(
        self,
        text: Text,
        *,
        format: str = "text",
        attributes: bool = False,
        glossary: Optional[Glossary] = None,
    ) -> str:
        """The translation of a document, with what must survive in place.

        format        "text": line ends, indentation and list marks stay. "html", "xml": tags stay
                      nested, code and elements with translate="no" are left alone
        attributes    of markup, translate alt, title and placeholder too
        glossary      terms for this document, in addition to those of `set_glossary`: a mapping, or
                      lines "source TAB target"; an empty target keeps the source
        """
        if format not in _FORMATS:
            raise BadArgumentError(f"no format {format!r}; there are {', '.join(_FORMATS)}")
        data = _encode(text)
        table = None if glossary is None else _glossary_table(glossary)

        def run(handle: _Handle) -> bytes:
            function = handle.lib.kora_c_translate_document
            output, length = c_void_p(), c_size_t()
            if table is not None:
                self._add_terms(handle, table, 0)
            try:
                handle.call(
                    function,
                    data,
                    len(data),
                    _FORMATS[format],
                    _ATTRIBUTES if attributes else 0,
                    byref(output),
                    byref(length),
                    None,
                    None,
                )
            finally:
                if table is not None:
                    handle.settings = -1  # the next call puts the translator's own terms back
            return take(handle.lib, output.value, length.value)

        return _decode(self._with_handle(run))

    def align(self, text: Text) -> Alignment:
        """The translation of a text and which parts belong together.

        Links count code points of the text and of the translation. They cover the translation but
        for spaces and line ends between phrases and sentences.
        """
        data = _encode(text)

        def run(handle: _Handle) -> Tuple[bytes, List[int]]:
            output, length = c_void_p(), c_size_t()
            numbers, count = POINTER(c_int32)(), c_size_t()
            handle.call(
                handle.lib.kora_c_translate_aligned,
                data,
                len(data),
                byref(output),
                byref(length),
                byref(numbers),
                byref(count),
            )
            try:
                links = numbers[: 4 * count.value] if count.value else []
            finally:
                handle.lib.kora_c_free(numbers)
            return take(handle.lib, output.value, length.value), links

        result, links = self._with_handle(run)
        translation = _decode(result)
        source = Offsets(data, data.decode("utf-8"))
        target = Offsets(result, translation)
        return Alignment(
            translation,
            [
                Link(
                    source.start(links[i]),
                    source.end(links[i + 1]),
                    target.start(links[i + 2]),
                    target.end(links[i + 3]),
                )
                for i in range(0, len(links), 4)
            ],
        )

    def nbest(self, sentence: Text, n: int = 5) -> List[Candidate]:
        """At most n translations of one sentence, best first.

        The text is not cut into sentences. Equal texts found in different ways are all listed.
        """
        if n < 0 or n > 0xFFFFFFFF:
            raise BadArgumentError(f"n is {n}; it is 0 or more")
        data = _encode(sentence)

        def run(handle: _Handle) -> List[Tuple[bytes, float]]:
            outputs, count = c_void_p(), c_size_t()
            ends, scores = POINTER(c_size_t)(), POINTER(c_float)()
            handle.call(
                handle.lib.kora_c_translate_nbest,
                data,
                len(data),
                n,
                byref(outputs),
                byref(ends),
                byref(scores),
                byref(count),
            )
            try:
                found = []
                begin = 0
                for i in range(count.value):
                    text = ctypes.string_at((outputs.value or 0) + begin, ends[i] - begin)
                    found.append((text, scores[i]))
                    begin = ends[i] + 1
                return found
            finally:
                for memory in (outputs, ends, scores):
                    handle.lib.kora_c_free(memory)

        return [Candidate(_decode(text), score) for text, score in self._with_handle(run)]

    def explain(self, text: Text, n: int = 3) -> List[Sentence]:
        """How a text is translated: its sentences, each with at most n translations, and the
        phrases of the best one with at most n alternatives each. Offsets count code points of the
        text. These are the results of the bare engine."""
        if n < 0 or n > 0xFFFFFFFF:
            raise BadArgumentError(f"n is {n}; it is 0 or more")
        data = _encode(text)

        def run(handle: _Handle) -> bytes:
            output, length = c_void_p(), c_size_t()
            function = handle.lib.kora_c_explain
            handle.call(function, data, len(data), n, byref(output), byref(length))
            return take(handle.lib, output.value, length.value)

        found = json.loads(_decode(self._with_handle(run)))
        offsets = Offsets(data, data.decode("utf-8"))

        def position(pair: List[int]) -> Tuple[int, int]:
            return offsets.start(pair[0]), offsets.start(pair[1])

        def candidates(records: List[Any]) -> List[Candidate]:
            return [Candidate(record["text"], record["score"]) for record in records]

        return [
            Sentence(
                *position(sentence["source"]),
                candidates(sentence["translations"]),
                [
                    Phrase(*position(phrase["source"]), candidates(phrase["alternatives"]))
                    for phrase in sentence["phrases"]
                ],
            )
            for sentence in found["sentences"]
        ]

    def set_glossary(self, glossary: Optional[Glossary], *, case_sensitive: bool = False) -> str:
        """Takes terms for all later calls in the place of earlier ones; None takes none.

        A mapping, or lines "source TAB target"; an empty target keeps the source. Gives a line of
        text for each entry that can never match and why, "" if all can.
        """
        table = b"" if glossary is None else _glossary_table(glossary)
        flags = _CASE_SENSITIVE if case_sensitive else 0
        with self._lock:
            handle = self._handles[0]
            handle.check()
            with handle.lock:
                self._clear_terms(handle)
                handle.settings = -1  # whatever happens, the next call sets all that is to be
                report = self._add_terms(handle, table, flags)
                settings = self._settings
                self._settings = settings._replace(
                    number=settings.number + 1, glossary=table, glossary_flags=flags
                )
        return report

    def set_limits(
        self,
        *,
        stack: int = 0,
        options: int = 0,
        distortion: Optional[int] = None,
        beam: float = 0.0,
    ) -> None:
        """Makes the search of all later calls wider or narrower: quality against time.

        stack         hypotheses kept for each number of translated words, at most 1000
        options       translations of each phrase, at most 1000
        distortion    how far phrases may move, in words; negative: any distance
        beam          how far behind the best one a hypothesis may be, in units of score

        What is left out, or 0, is what the folder says. BadArgumentError for anything else.
        """
        for name, value in (("stack", stack), ("options", options), ("distortion", distortion)):
            if value is not None and not -(2**31) < value < 2**31:
                raise BadArgumentError(f"{name} is {value}")
        limits = (stack, options, _OWN_DISTORTION if distortion is None else distortion, beam)
        with self._lock:
            handle = self._handles[0]
            handle.check()
            with handle.lock:
                handle.call(handle.lib.kora_c_set_limits, *limits)
                settings = self._settings
                self._settings = settings._replace(number=settings.number + 1, limits=limits)

    def protect(
        self, *, kinds: Optional[Iterable[str]] = None, patterns: Iterable[str] = ()
    ) -> None:
        """Chooses what all later calls keep byte for byte.

        kinds       of "formats" (%s {0}), "accelerators" (&File), "tags", "addresses", "files",
                    "code", "mentions" (@name), "symbols" (emoji), "phones", "foreign-words",
                    "patterns", "numbers"; left out, what was chosen before, at first all
        patterns    more of them, for all later calls: * stands for word characters, # for digits,
                    ? for a byte, \\ before one for itself
        """
        bits = None
        if kinds is not None:
            bits = 0
            for kind in kinds:
                if kind not in _KINDS:
                    raise BadArgumentError(f"no kind {kind!r}; there are {', '.join(_KINDS)}")
                bits |= 1 << _KINDS.index(kind)
        encoded = tuple(_encode(pattern) for pattern in patterns)
        with self._lock:
            handle = self._handles[0]
            handle.check()
            with handle.lock:
                settings = self._settings
                for pattern in encoded:  # each is taken or refused by itself
                    handle.call(handle.lib.kora_c_add_pattern, pattern, len(pattern))
                    handle.patterns += 1
                    settings = settings._replace(patterns=(*settings.patterns, pattern))
                    self._settings = settings._replace(number=settings.number + 1)
                if bits is not None:
                    handle.call(handle.lib.kora_c_set_protection, bits)
                    settings = settings._replace(protected=bits)
                self._settings = settings._replace(number=settings.number + 1)

    def batch(
        self, lines: Iterable[Text], *, threads: Optional[int] = None, chunk: int = 16
    ) -> Iterator[str]:
        """The translations of many texts, in their order, on several threads.

        lines      any iterable; it is read on this thread, at most 4 * threads * chunk texts ahead
        threads    at most so many work at once, each with a handle of its own; all cores if left
                   out. The interpreter's lock is free while they translate
        chunk      texts handed to a thread at a time; small ones suit lines that come slowly

        The results are those of `translate` for any number of threads. An error is raised where the
        result of its text would stand, after all results before it.
        """
        if threads is None:
            threads = len(os.sched_getaffinity(0))
        if threads < 1 or threads > 256 or chunk < 1:
            raise BadArgumentError("threads is 1 to 256, and chunk at least 1")
        if isinstance(lines, (str, bytes)):
            raise TypeError("lines is an iterable of texts, not one text")
        self._handles[0].check()
        return self._run_batch(iter(lines), threads, chunk)

    # Inside

    def _encode_item(self, index: int, item: Text) -> bytes:
        try:
            return _encode(item)
        except TextError as error:
            raise TextError(f"text {index}: {error}") from error

    def _clear_terms(self, handle: _Handle) -> None:
        if handle.has_terms:  # a bare engine never has: it refuses a glossary
            handle.call(handle.lib.kora_c_set_glossary, None, 0, 0, None)
            handle.has_terms = False

    def _add_terms(self, handle: _Handle, table: bytes, flags: int) -> str:
        if not table:
            return ""
        report = c_void_p()
        handle.has_terms = not self._raw  # even if it fails half-way
        handle.call(handle.lib.kora_c_set_glossary, table, len(table), flags, byref(report))
        return take_text(handle.lib, report.value)

    def _with_handle(self, call: Callable[[_Handle], _T]) -> _T:
        return self._use(self._handles[0], call)

    def _use(self, handle: _Handle, call: Callable[[_Handle], _T]) -> _T:
        """Runs a call under the handle's lock with the translator's settings."""
        handle.check()
        with handle.lock:
            if handle.settings != self._settings.number:
                self._apply_settings(handle)
            return call(handle)

    def _apply_settings(self, handle: _Handle) -> None:
        settings = self._settings
        if settings.limits is not None:
            handle.call(handle.lib.kora_c_set_limits, *settings.limits)
        for pattern in settings.patterns[handle.patterns :]:
            handle.call(handle.lib.kora_c_add_pattern, pattern, len(pattern))
            handle.patterns += 1
        if settings.protected is not None:
            handle.call(handle.lib.kora_c_set_protection, settings.protected)
        self._clear_terms(handle)
        self._add_terms(handle, settings.glossary, settings.glossary_flags)
        handle.settings = settings.number

    def _take_handles(self, count: int) -> List[_Handle]:
        """The first `count` handles, opened as needed and kept for later batches."""
        with self._lock:
            while len(self._handles) < count:
                self._handles[0].check()
                self._handles.append(self._open(_CHECK_MANIFEST))
            return self._handles[:count]

    def _run_batch(self, lines: Iterator[Text], threads: int, chunk: int) -> Iterator[str]:
        free: Deque[_Handle] = deque(self._take_handles(threads))
        pid = os.getpid()

        def run(begin: int, texts: List[Text]) -> Tuple[List[str], Optional[Exception]]:
            handle = free.popleft()  # as many as workers, so there is one
            results: List[str] = []

            def translate_all(handle: _Handle) -> None:
                for i, text in enumerate(texts):
                    data = self._encode_item(begin + i, text)
                    results.append(handle.translate(data))

            try:
                self._use(handle, translate_all)
            except Exception as error:
                return results, error
            finally:
                free.append(handle)
            return results, None

        pool = ThreadPoolExecutor(threads, thread_name_prefix="kora")
        waiting: Deque[Future[Tuple[List[str], Optional[Exception]]]] = deque()
        begin = 0
        at_end = False
        try:
            while waiting or not at_end:
                while not at_end and len(waiting) < 4 * threads:
                    texts: List[Text] = []
                    for text in lines:
                        texts.append(text)
                        if len(texts) == chunk:
                            break
                    at_end = len(texts) < chunk
                    if texts:
                        waiting.append(pool.submit(run, begin, texts))
                        begin += len(texts)
                if not waiting:
                    break
                results, error = waiting.popleft().result()
                for result in results:
                    yield result
                    if os.getpid() != pid:
                        raise ForkedError("the batch was begun before the fork; begin one here")
                if error is not None:
                    raise error
        finally:
            if os.getpid() == pid:
                pool.shutdown(wait=True, cancel_futures=True)


_local = threading.local()


def thread_translator(folder: Path, **options: Any) -> Translator:
    """This thread's translator of a folder, opened at its first use and kept.

    For functions that a scheduler calls many times, on any thread of any process: each thread has
    its own, a process made by fork opens anew, and all share the mapped files. The options are
    those of Translator. It is closed when the thread ends.
    """
    key = (os.getpid(), os.fspath(folder), tuple(sorted(options.items())))
    kept: dict[Any, Translator] = _local.__dict__.setdefault("kept", {})
    translator = kept.get(key)
    if translator is None or translator.closed:
        translator = kept[key] = Translator(folder, **options)
    return translator
