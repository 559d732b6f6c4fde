"""The wheel in a fresh environment, without network, and the example of the README in it."""

import os
import pathlib
import re
import subprocess
import sys
import zipfile

import kora
import pytest
from conftest import ROOT

PACKAGE = ROOT / "bindings" / "python"


def run(*words, **more):
    environment = {k: v for k, v in os.environ.items() if k not in ("PYTHONPATH", "KORA_LIBRARY")}
    done = subprocess.run(
        [*map(str, words)], capture_output=True, text=True, env=environment, timeout=300, **more
    )
    assert done.returncode == 0, done.stdout + done.stderr
    return done.stdout


def make(folder):
    prefix = folder / "prefix"
    build = os.environ["KORA_BUILD"]
    run("cmake", "--install", build, "--component", "libkora1", "--strip", "--prefix", prefix)
    (library,) = prefix.rglob("libtranslator_jni.so.1")
    printed = run(
        sys.executable,
        PACKAGE / "make_wheel.py",
        "--libraries",
        library.parent,
        "--output",
        folder,
    )
    return pathlib.Path(printed.strip())


def test_wheel(tmp_path, small):
    wheel = make(tmp_path / "one")
    assert re.fullmatch(r"kora-[\d.]+-py3-none-linux_\w+\.whl", wheel.name)
    assert make(tmp_path / "two").read_bytes() == wheel.read_bytes()
    names = zipfile.ZipFile(wheel).namelist()
    assert {"kora/py.typed", "kora/libtranslator_jni.so.1"} <= set(names)
    assert len([name for name in names if ".so" in name]) == 2

    run(sys.executable, "-m", "venv", tmp_path / "venv")
    python = tmp_path / "venv" / "bin" / "python"
    run(python, "-m", "pip", "install", "--no-index", wheel)
    work = tmp_path / "work"
    (work / "models").mkdir(parents=True)
    (work / "models" / "en-zh").symlink_to(small)
    example = re.findall(r"```python\n(.*?)```", (PACKAGE / "README.md").read_text("utf-8"), re.S)
    assert len(example) == 1
    printed = run(python, "-c", example[0], cwd=work).splitlines()
    assert printed[0] == "你好世界"
    assert printed[1].startswith("['早上好', '这猫坐着'")
    assert printed[-3:] == ["你好世界"] * 3
    code = "import kora; print(kora.__file__, kora._library.__module__)"
    assert str(tmp_path / "venv") in run(python, "-c", code, cwd=work)
    # every file is the one that was recorded
    assert "No broken requirements" in run(python, "-m", "pip", "check")
    run(python, "-m", "pip", "uninstall", "-y", "kora")
    assert not list((tmp_path / "venv").rglob("kora*"))


def test_types(tmp_path):
    """The hints are complete, and say what callers rely on."""
    mypy = subprocess.run([sys.executable, "-m", "mypy", "--version"], capture_output=True)
    if mypy.returncode != 0:
        pytest.skip("no mypy")
    (tmp_path / "use.py").write_text(
        "import kora\n"
        "with kora.Translator('model') as t:\n"
        "    one: str = t.translate('a')\n"
        "    many: list[str] = t.translate(['a', b'b'])\n"
        "    start: int = t.align('a').links[0].source_start\n"
        "    score: float = t.nbest('a', 2)[0].score\n"
        "    for line in t.batch(iter(['a']), threads=2):\n"
        "        text: str = line\n"
        "bleu: float = kora.evaluate(['a'], ['a'], language='en').bleu.value\n"
    )
    environment = {**os.environ, "MYPYPATH": str(PACKAGE)}
    done = subprocess.run(
        [sys.executable, "-m", "mypy", "--strict", "--python-version", "3.9", "--cache-dir",
         str(tmp_path / "cache"), str(PACKAGE / "kora"), str(tmp_path / "use.py")],
        capture_output=True, text=True, env=environment, timeout=300,
    )  # fmt: skip
    assert done.returncode == 0, done.stdout


def test_versions_agree():
    assert kora.library_version() == kora.__version__
