"""The licences that a package names in its copyright file."""
import re

from corpus.packages import Cache

_FIELD = re.compile(r"^License:[ \t]*(\S.*?)[ \t]*$", re.M)  # of the machine-readable form
_COMMON = re.compile(r"/usr/share/common-licenses/([A-Za-z]+(?:-[\d.]*\d)?)")


def licences_in(text):
    """The names in a copyright file, in order: those of its License fields, else the common ones
    that it points to."""
    named = _FIELD.findall(text) or _COMMON.findall(text)
    return sorted({part.strip() for name in named for part in re.split(r" and |, ", name)})


def licences_of(folder, package):
    """The licences of a package in the cache folder; none when its copyright file is elsewhere."""
    found = set()
    for data in Cache(folder).read(package, "usr/share/doc/*/copyright").values():
        found.update(licences_in(data.decode("utf-8", "replace")))
    return sorted(found)
