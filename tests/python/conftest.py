"""What the tests share. KORA_LIBRARY, KORA_COMMAND and KORA_SMALL_MODEL name what is tested."""

import os
import pathlib
import subprocess
import sys

import pytest

ROOT = pathlib.Path(__file__).parents[2]
sys.path[:0] = [str(ROOT / "bindings" / "python"), str(ROOT / "tests" / "cli")]

import kora  # noqa: E402
import phrasebook  # noqa: E402


@pytest.fixture(scope="session")
def book(tmp_path_factory):
    """A model packed from the phrase book: its folder, and beside it the text of the book."""
    folder = tmp_path_factory.mktemp("book")
    phrasebook.write_all(folder)
    kora.pack(
        folder / "model",
        direction="en-zh",
        phrases=folder / "phrases.en-zh",
        lm=folder / "lm.en-zh",
        order=2,
    )
    return folder / "model"


@pytest.fixture(scope="session")
def lines():
    """Lines of words of the book, some empty, all different."""
    found = [" ".join(source.split()) for source, _ in phrasebook.PAIRS]
    return [f"{a} {b}" for a, b in zip(found, reversed(found))] + [""] + found


@pytest.fixture
def small():
    """The folder of the small model: hello world, good morning, the cat sat."""
    return pathlib.Path(os.environ["KORA_SMALL_MODEL"])


@pytest.fixture
def translator(small):
    with kora.Translator(small) as opened:
        yield opened


def command(*words, text=b""):
    """What the kora command writes."""
    done = subprocess.run(
        [os.environ["KORA_COMMAND"], *map(str, words)], input=text, capture_output=True, timeout=300
    )
    assert done.returncode == 0, done.stderr
    return done.stdout
