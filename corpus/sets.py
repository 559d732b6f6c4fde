"""The named sets: which sources train, which are measured on."""
from dataclasses import dataclass

from corpus.sources import catalogues, descriptions, gnome_help, libreoffice_help, manuals

SIZES = ("small", "demo")
LANGUAGES = ("en", "zh", "ja", "ko", "ru", "fr", "de", "es", "pt")
_PAIRS = [("en", lang) for lang in LANGUAGES[1:]] + [("zh", "ja"), ("zh", "ko"), ("zh", "ru")]
_WITH_KERNEL = ("zh",)  # translations of the kernel's documents that are worth 37 MB


@dataclass(frozen=True)
class NamedSet:
    """`train` sources; `tests` are (name of the test, source); `dev_story` flavours a second dev
    set."""

    name: str
    left: str
    right: str
    train: tuple
    tests: tuple = ()
    dev_story: object = None


def _small(name, left, right):
    return NamedSet(
        name,
        left,
        right,
        (libreoffice_help.SOURCE, catalogues.LIBREOFFICE_UI, catalogues.CATACLYSM, manuals.SOURCE),
    )


def _demo(name, left, right):
    tests = [("stories", catalogues.WESNOTH_TEST)]
    if left == "en":
        tests.append(("descriptions", descriptions.SOURCE))
        if right in _WITH_KERNEL:
            tests.append(("kernel", manuals.KERNEL))
    train = _small(name, left, right).train + (
        gnome_help.SOURCE,
        catalogues.PROGRAM_MESSAGES,
        catalogues.WESNOTH,
    )
    if (left, right) != ("en", "zh"):
        train += (catalogues.MORE_MESSAGES,)
    return NamedSet(name, left, right, train, tuple(tests), catalogues.WESNOTH_DEV)


SETS = {
    f"{size}-{left}-{right}": (_small if size == "small" else _demo)(
        f"{size}-{left}-{right}", left, right
    )
    for size in SIZES
    for left, right in _PAIRS
}
