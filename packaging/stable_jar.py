"""Writes a jar again so that it depends on its classes alone: sorted entries of one date.

Usage: stable_jar.py JAR
"""

import sys
import zipfile

path = sys.argv[1]
with zipfile.ZipFile(path) as jar:
    entries = {name: jar.read(name) for name in jar.namelist() if not name.endswith("/")}
manifest = "META-INF/MANIFEST.MF"  # readers want it first
with zipfile.ZipFile(path, "w", zipfile.ZIP_DEFLATED) as jar:
    for name in sorted(entries, key=lambda name: (name != manifest, name)):
        info = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
        info.external_attr = 0o644 << 16
        info.compress_type = zipfile.ZIP_DEFLATED
        jar.writestr(info, entries[name])
