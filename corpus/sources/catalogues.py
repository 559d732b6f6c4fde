"""Message catalogues of programs and games: the LibreOffice interface, programs of many kinds,
Cataclysm and the campaigns of Wesnoth."""
import posixpath
import zlib

from corpus.catalogue import catalogue_document
from corpus.sources import Document, Source, apt_suffix, listed, locales

PROGRAMS = (
    "libvirt-l10n gcc-12-locales aisleriot krita-l10n gnucash-common vlc-l10n network-manager "
    "coreutils "
    "util-linux-locales gnupg-l10n subversion kdevelop-l10n libqalculate-data "
    "gsettings-desktop-schemas"
).split()
# For languages that have less elsewhere.
MORE_PROGRAMS = (
    "audacity-data libgtk-3-common gnome-control-center-data evolution-common ufoai-misc "
    "anjuta-common inkscape "
    "digikam-data gimp-data pidgin-data hexchat-common libc-l10n sylpheed-i18n kio gnumeric-common"
).split()
# Campaigns to train on, one for the development set, two for the tests.
CAMPAIGNS, DEV_CAMPAIGNS, TEST_CAMPAIGNS = ("utbs", "nr", "did", "dm"), ("dw",), ("tsg", "thot")
# The rest of the game: other campaigns, and its interface and help ("data").
MORE_CAMPAIGNS = ("data", "httt", "low", "trow", "ttb", "sotbe", "sota", "sof", "l", "ei")
# Programs whose messages are measured on and never trained on.
TEST_PROGRAMS = "nautilus-data transmission-gtk filezilla-common gparted-common konsole".split()
DEV_PROGRAMS = "file-roller evince-common".split()
# Kept back too for languages that have no help pages to tune on.
MORE_DEV_PROGRAMS = "gedit-common epiphany-browser-data totem-common".split()
_SHELVES = 100  # Cataclysm is one catalogue; it is cut into this many documents


def _catalogues(cache, package, language):
    """(name, bytes) of the catalogues of a package in the first of the language's locales that it
    has."""
    patterns = [f"*/{locale}/LC_MESSAGES/*.mo" for locale in locales(language)]
    files = cache.read(package, *patterns)
    for locale in locales(language):
        found = [
            (posixpath.basename(path)[:-3], data)
            for path, data in files.items()
            if f"/{locale}/LC_MESSAGES/" in path
        ]
        if found:
            return found
    return []


def _reader(accelerators="", prefixes=False):
    def documents(cache, language, package):
        for name, data in _catalogues(cache, package, language):
            yield catalogue_document(f"{package}:{name}", data, language, accelerators, prefixes)

    return documents


def _shelved(cache, language, package):
    for _, data in _catalogues(cache, package, language):
        whole = catalogue_document(package, data, language)
        shelves = [Document(f"{package}#{number:02}", []) for number in range(_SHELVES)]
        for part in ("segments", "marked"):
            for pair in getattr(whole, part):
                getattr(shelves[zlib.crc32(pair[0].encode()) % _SHELVES], part).append(pair)
        yield from shelves


def _interface_package(language):
    return ["libreoffice-l10n-" + apt_suffix(language)]


def _interface(cache, language, task):
    # The name of the package differs from language to language; that of a document must not.
    for name, data in _catalogues(cache, *_interface_package(language), language):
        yield catalogue_document(f"{task}:{name}", data, language, "~_")


def _fixed(packages):
    return lambda language: list(packages)


def _source(name, title, licence, packages, documents):
    return Source(name, title, licence, _fixed(packages), _fixed(packages), documents)


def _campaigns(name, title, campaigns):
    return _source(
        name, title, "GPL-2+", [f"wesnoth-1.16-{c}" for c in campaigns], _reader(prefixes=True)
    )


LIBREOFFICE_UI = Source(
    "libreoffice-ui",
    "LibreOffice interface",
    "MPL-2.0",
    _interface_package,
    _fixed(["libreoffice-ui"]),
    _interface,
)
PROGRAM_MESSAGES = _source(
    "programs", "messages of programs", "GPL-2+ and GPL-3+", PROGRAMS, _reader("&_")
)
MORE_MESSAGES = _source(
    "more-programs", "messages of more programs", "GPL-2+ and GPL-3+", MORE_PROGRAMS, _reader("&_")
)
ALL_MESSAGES = _source(
    "messages",
    "messages of programs",
    "GPL-2+, GPL-3+ and others",
    listed("programs"),
    _reader("&_"),
)
FEWER_MESSAGES = _source(
    "fewer-messages",
    "messages of programs",
    "GPL-2+, GPL-3+ and others",
    [p for p in listed("programs") if p not in MORE_DEV_PROGRAMS],
    _reader("&_"),
)
TEST_MESSAGES = _source(
    "messages-test",
    "messages of programs for testing",
    "GPL-2+ and GPL-3+",
    TEST_PROGRAMS,
    _reader("&_"),
)
DEV_MESSAGES = _source(
    "messages-dev",
    "messages of programs for development",
    "GPL-2+ and GPL-3+",
    DEV_PROGRAMS,
    _reader("&_"),
)
MORE_DEV_MESSAGES = _source(
    "more-messages-dev",
    "messages of programs for development",
    "GPL-2+ and GPL-3+",
    DEV_PROGRAMS + MORE_DEV_PROGRAMS,
    _reader("&_"),
)
CATACLYSM = _source(
    "cataclysm", "Cataclysm: Dark Days Ahead", "CC-BY-SA-3.0", ["cataclysm-dda-data"], _shelved
)
WESNOTH = _campaigns("wesnoth", "Wesnoth campaigns", CAMPAIGNS)
WESNOTH_ALL = _campaigns("all-wesnoth", "Wesnoth campaigns", CAMPAIGNS + MORE_CAMPAIGNS)
WESNOTH_DEV = _campaigns("wesnoth-dev", "a Wesnoth campaign for development", DEV_CAMPAIGNS)
WESNOTH_TEST = _campaigns("wesnoth-test", "Wesnoth campaigns for testing", TEST_CAMPAIGNS)
