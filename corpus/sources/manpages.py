"""Manual pages of commands, functions and files, turned into HTML by mandoc and aligned block by
block. Translations lag behind, so a page that has few sure pairs is left out."""
import gzip
import posixpath
import subprocess

from corpus.align import align
from corpus.sources import Document, Source, locales
from corpus.sources.manuals import page_blocks

# Where the English pages are.
_ENGLISH = (
    "manpages manpages-dev bash coreutils util-linux grep sed tar gzip findutils diffutils procps "
    "psmisc openssh-client rsync curl git-man cron passwd login e2fsprogs mount iproute2 less file "
    "gawk bc cpio unzip zip screen tmux xz-utils bzip2 patch wget nano man-db apt dpkg"
).split()
_TRANSLATED = {
    "zh": ["manpages-zh"],
    "ja": ["manpages-ja", "manpages-ja-dev"],
    "ru": ["manpages-ru", "manpages-ru-dev"],
}
_SECTIONS = ("1", "2", "3", "4", "5", "6", "7", "8")
_SURE = 0.3  # part of the blocks of the shorter page that must find a partner


def _pages(cache, packages, folder):
    pages = {}
    for package in packages:
        for path, data in cache.read(package, folder + "*.gz").items():
            if not posixpath.dirname(path[len(folder) :]):
                pages.setdefault(posixpath.basename(path).removesuffix(".gz"), data)
    return pages


def _blocks(page):
    source = gzip.decompress(page)
    if source.lstrip().startswith(b".so "):
        return []  # another name of a page
    result = subprocess.run(
        ["mandoc", "-T", "html", "-O", "fragment", "-K", "utf-8"],
        input=source,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        check=False,
    )
    return page_blocks(result.stdout)


def _documents(cache, language, section):
    foreign = _pages(
        cache, _TRANSLATED[language], f"usr/share/man/{locales(language)[0]}/man{section}/"
    )
    english = _pages(cache, _ENGLISH, f"usr/share/man/man{section}/")
    for name in sorted(english.keys() & foreign.keys()):
        left, right = _blocks(english[name]), _blocks(foreign[name])
        matched = align(left, right, language)
        if matched and len(matched) >= _SURE * min(len(left), len(right)):
            pairs = [(left[i].text, right[j].text) for i, j in matched]
            yield Document(f"man:{name}", pairs)


SOURCE = Source(
    "manpages",
    "manual pages",
    "GPL-2+, GPL-3+, BSD, GFDL and the man-pages licences",
    lambda language: _ENGLISH + _TRANSLATED[language] if language in _TRANSLATED else [],
    lambda language: list(_SECTIONS) if language in _TRANSLATED else [],
    _documents,
)
