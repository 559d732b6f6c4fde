"""Mandarin readings of Chinese characters: the kMandarin lines of the Unihan database as they
stand."""
import bz2

from corpus.resources import save

PACKAGES = ("unicode-data",)
LICENCE = "Unicode-DFS-2016"
_ROOT = "usr/share/unicode/"


def unihan(cache, file, field):
    """{character: value} of a field of a Unihan file."""
    path = f"{_ROOT}{file}.txt.bz2"
    values = {}
    for line in bz2.decompress(cache.read("unicode-data", path)[path]).decode("utf-8").splitlines():
        parts = line.split("\t")
        if len(parts) == 3 and parts[1] == field:
            values[chr(int(parts[0][2:], 16))] = parts[2]
    return values


def write(cache, folder):
    readings = unihan(cache, "Unihan_Readings", "kMandarin")
    return save(
        folder,
        "readings.txt",
        (f"U+{ord(c):04X}\tkMandarin\t{r}" for c, r in sorted(readings.items())),
    )
