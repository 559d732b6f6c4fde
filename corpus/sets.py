"""The named sets: which sources train, which are measured on."""
from dataclasses import dataclass

from corpus.sources import catalogues, descriptions, gnome_help, json_messages, libreoffice_help
from corpus.sources import manpages, manuals, phrasebook

LANGUAGES = ("en", "zh", "ja", "ko", "ru", "fr", "de", "es", "pt", "ar", "th")
_HELP_LANGUAGES = LANGUAGES[:9]  # that LibreOffice help speaks
_PAIRS = [("en", lang) for lang in _HELP_LANGUAGES[1:]] + [("zh", "ja"), ("zh", "ko"), ("zh", "ru")]
_LARGE_LANGUAGES = ("zh", "ja", "ko", "ru", "ar", "th")
_LARGE_PAIRS = [("en", lang) for lang in _LARGE_LANGUAGES]
_LARGE_PAIRS += [("zh", lang) for lang in _LARGE_LANGUAGES[1:]]
_WITH_KERNEL = ("zh",)  # translations of the kernel's documents that are worth 37 MB
_WITH_DESCRIPTIONS = _HELP_LANGUAGES  # that apt has lists of descriptions for


@dataclass(frozen=True)
class NamedSet:
    """`train` sources; `tests` are (name of the test, source); `dev_story` flavours a second dev
    set. `dev_messages` and `test_messages` are programs whose messages are measured on, with and
    without placeholders; `dev_life` and `test_life` are sentences taken whole. A `strict` set is
    cleaned harder."""

    name: str
    left: str
    right: str
    train: tuple
    tests: tuple = ()
    dev_story: object = None
    dev_messages: object = None
    test_messages: object = None
    dev_life: object = None
    test_life: object = None
    strict: bool = False

    def sources(self):
        """All sources, each once."""
        others = (
            self.dev_story,
            self.dev_messages,
            self.test_messages,
            self.dev_life,
            self.test_life,
        )
        return list(self.train) + [s for s in others if s] + [source for _, source in self.tests]


def _small(left, right):
    train = (libreoffice_help.SOURCE, catalogues.LIBREOFFICE_UI, catalogues.CATACLYSM)
    return NamedSet(f"small-{left}-{right}", left, right, train + (manuals.SOURCE,))


def _tests(left, right):
    tests = [("stories", catalogues.WESNOTH_TEST)]
    if left == "en":
        if right in _WITH_DESCRIPTIONS:
            tests.append(("descriptions", descriptions.SOURCE))
        if right in _WITH_KERNEL:
            tests.append(("kernel", manuals.KERNEL))
    return tuple(tests)


def _demo(left, right):
    train = _small(left, right).train + (
        gnome_help.SOURCE,
        catalogues.PROGRAM_MESSAGES,
        catalogues.WESNOTH,
    )
    if (left, right) != ("en", "zh"):
        train += (catalogues.MORE_MESSAGES,)
    return NamedSet(
        f"demo-{left}-{right}", left, right, train, _tests(left, right), catalogues.WESNOTH_DEV
    )


def _large(left, right):
    train = (
        phrasebook.SOURCE,
        libreoffice_help.SOURCE,
        catalogues.LIBREOFFICE_UI,
        catalogues.CATACLYSM,
        manuals.SOURCE,
        manuals.MORE,
        gnome_help.SOURCE,
        catalogues.WESNOTH_ALL,
        catalogues.ALL_MESSAGES,
        json_messages.MEDIAWIKI,
        json_messages.TYPESCRIPT,
        manpages.SOURCE,
    )
    dev_messages = catalogues.DEV_MESSAGES
    if right not in _HELP_LANGUAGES:
        train = tuple(
            s for s in train if s not in (libreoffice_help.SOURCE, catalogues.ALL_MESSAGES)
        )
        train += (catalogues.FEWER_MESSAGES,)
        dev_messages = catalogues.MORE_DEV_MESSAGES
    return NamedSet(
        f"large-{left}-{right}",
        left,
        right,
        train,
        _tests(left, right),
        dev_story=catalogues.WESNOTH_DEV,
        dev_messages=dev_messages,
        test_messages=catalogues.TEST_MESSAGES,
        dev_life=phrasebook.DEV,
        test_life=phrasebook.TEST,
        strict=True,
    )


_MADE = [make(left, right) for make in (_small, _demo) for left, right in _PAIRS]
_MADE += [_large(left, right) for left, right in _LARGE_PAIRS]
SETS = {made.name: made for made in _MADE}
