"""python3 -m kora: translates standard input or files, a line or a document at a time."""

from __future__ import annotations

import argparse
import os
import sys
from typing import BinaryIO, Iterator, List, Optional

import kora

FINE, BAD_INPUT, USAGE, INPUT_OUTPUT = 0, 1, 2, 3


def _lines(files: List[BinaryIO]) -> Iterator[bytes]:
    for file in files:
        for line in file:
            yield line[:-1] if line.endswith(b"\n") else line


def _run(options: argparse.Namespace) -> None:
    out = sys.stdout.buffer

    def write(text: str) -> None:
        out.write(text.encode("utf-8") + b"\n")

    files: List[BinaryIO] = [open(name, "rb") for name in options.file] or [sys.stdin.buffer]
    with kora.Translator(
        options.model, direction=options.direction, check=options.check, raw=options.raw
    ) as translator:
        if options.document:
            for file in files:
                text = translator.translate_document(file.read(), format=options.document)
                out.write(text.encode("utf-8"))
        elif options.nbest:
            for line in _lines(files):
                for candidate in translator.nbest(line, options.nbest):
                    write(f"{candidate.text} ||| {candidate.score:.4f}")
                write("")
        elif options.align:
            for line in _lines(files):
                found = translator.align(line)
                links = " ".join(f"{a}:{b}-{c}:{d}" for a, b, c, d in found.links)
                write(f"{found.text} ||| {links}")
        else:
            # Lines of a person at a terminal are answered one by one.
            chunk = 1 if files[0].isatty() else 16
            for text in translator.batch(_lines(files), threads=options.threads, chunk=chunk):
                write(text)
                if chunk == 1:
                    out.flush()
        out.flush()


def main(words: Optional[List[str]] = None) -> int:
    parser = argparse.ArgumentParser(
        prog="python3 -m kora",
        description="Translates text, a line in, a line out.",
        epilog="Exit codes: 0 fine, 1 bad input or model, 2 usage, 3 input or output failed.",
    )
    parser.add_argument("file", nargs="*", help="files to translate; standard input if none")
    parser.add_argument(
        "-m",
        "--model",
        default=os.environ.get("KORA_MODEL", "models/en-zh"),
        help="model folder [$KORA_MODEL, else models/en-zh]",
    )
    parser.add_argument(
        "--direction", help="direction such as en-zh, if the folder does not say it"
    )
    parser.add_argument("-t", "--threads", type=int, help="threads; all cores if left out")
    parser.add_argument("--check", action="store_true", help="compare the files with the manifest")
    parser.add_argument("--raw", action="store_true", help="protect nothing from being translated")
    how = parser.add_mutually_exclusive_group()
    how.add_argument("--nbest", type=int, metavar="N", help="the N best of each line and scores")
    how.add_argument("--align", action="store_true", help="links in code points, ends exclusive")
    how.add_argument(
        "--document", choices=["text", "html", "xml"], help="each file is one document"
    )
    parser.add_argument(
        "--version", action="store_true", help="the versions of the package and the library"
    )
    options = parser.parse_args(words)
    try:
        if options.version:
            print(f"kora {kora.__version__}, library {kora.library_version()}", flush=True)
        else:
            _run(options)
        return FINE
    except kora.KoraError as error:
        print(f"kora: {error}", file=sys.stderr)
        return INPUT_OUTPUT if isinstance(error, kora.LibraryError) else BAD_INPUT
    except OSError as error:
        print(f"kora: {error}", file=sys.stderr)
        try:  # so that the interpreter does not meet the same error again when it ends
            os.dup2(os.open(os.devnull, os.O_WRONLY), 1)
        except OSError:
            pass
        return INPUT_OUTPUT


if __name__ == "__main__":
    sys.exit(main())
