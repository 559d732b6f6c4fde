"""Writes the wheel: the package, the shared libraries inside it, and the wheel's own records.

A wheel is a zip file with a list of digests, so that nothing but Python is needed to write one. The
same input gives the same bytes.
"""

from __future__ import annotations

import argparse
import base64
import ctypes
import hashlib
import pathlib
import platform
import re
import sys
import zipfile

HERE = pathlib.Path(__file__).parent
LIBRARY = "libtranslator_jni.so.1"


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument(
        "--libraries",
        required=True,
        type=pathlib.Path,
        help="the folder of the installed libraries",
    )
    parser.add_argument("--output", required=True, type=pathlib.Path, help="the folder to write to")
    parser.add_argument("--platform", default=f"linux_{platform.machine()}", help="platform tag")
    options = parser.parse_args()

    init = (HERE / "kora" / "__init__.py").read_text("utf-8")
    version = re.findall(r'^__version__ = "(.*)"$', init, re.MULTILINE)[0]
    if options.platform == f"linux_{platform.machine()}":  # else it cannot be loaded here
        for path in options.libraries.glob("liblexicut.so*"):
            ctypes.CDLL(str(path.resolve()))
        library = ctypes.CDLL(str((options.libraries / LIBRARY).resolve()))
        library.kora_c_version.restype = ctypes.c_char_p
        found = library.kora_c_version().decode()
        if found != version:
            print(f"the library is version {found}, the package {version}", file=sys.stderr)
            return 1

    tag = f"py3-none-{options.platform}"
    information = f"kora-{version}.dist-info"
    files = {
        f"kora/{path.name}": path.read_bytes()
        for path in [*(HERE / "kora").glob("*.py"), HERE / "kora" / "py.typed"]
    }
    for path in options.libraries.glob("lib*.so*"):
        # Each once, under the name by which the loader asks for it: one number or none.
        if re.fullmatch(r"lib\w+\.so(\.\d+)?", path.name):
            files[f"kora/{path.name}"] = path.read_bytes()
    readme = (HERE / "README.md").read_text("utf-8")
    files[f"{information}/METADATA"] = (
        f"Metadata-Version: 2.1\nName: kora\nVersion: {version}\n"
        "Summary: Offline translation with model folders\nRequires-Python: >=3.9\n"
        f"Description-Content-Type: text/markdown\n\n{readme}"
    ).encode()
    files[f"{information}/WHEEL"] = (
        f"Wheel-Version: 1.0\nGenerator: make_wheel\nRoot-Is-Purelib: false\nTag: {tag}\n"
    ).encode()
    record = f"{information}/RECORD"
    rows = []
    for name, data in sorted(files.items()):
        digest = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
        rows.append(f"{name},sha256={digest},{len(data)}\n")
    files[record] = ("".join(rows) + f"{record},,\n").encode()

    options.output.mkdir(parents=True, exist_ok=True)
    wheel = options.output / f"kora-{version}-{tag}.whl"
    beside = wheel.with_suffix(".part")
    with zipfile.ZipFile(beside, "w", zipfile.ZIP_DEFLATED) as archive:
        for name in sorted(files, key=lambda name: (name == record, name)):
            entry = zipfile.ZipInfo(name, (1980, 1, 1, 0, 0, 0))
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.external_attr = (0o755 if ".so" in name else 0o644) << 16
            archive.writestr(entry, files[name])
    beside.replace(wheel)
    print(wheel)
    return 0


if __name__ == "__main__":
    sys.exit(main())
