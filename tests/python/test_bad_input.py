"""What goes wrong outside the package: each ends in an exception that says what to do."""

import os
import pickle
import shutil
import subprocess
import sys
import threading
import time

import kora
import pytest

FAKE = 'const char *kora_c_version(void) { return "%s"; }\n'


def python(*words, **environment):
    """A fresh interpreter."""
    return subprocess.run(
        [sys.executable, *words],
        env={**os.environ, **environment},
        capture_output=True,
        text=True,
        timeout=120,
    )


@pytest.mark.parametrize(
    "code, message",
    [
        (FAKE % "2.0.0", "version 2.0.0, but this package needs 1.x"),
        (FAKE % "1.0.0", "has no function kora_c_"),
        ("int other;\n", "no function kora_c_version"),
        (None, "KORA_LIBRARY"),
    ],
)
def test_library(tmp_path, small, code, message):
    library = tmp_path / "libfake.so"
    if code is not None:
        (tmp_path / "fake.c").write_text(code)
        subprocess.run(
            ["cc", "-shared", "-fPIC", "-o", library, tmp_path / "fake.c"], check=True, timeout=60
        )
    done = python("-m", "kora", "-m", str(small), KORA_LIBRARY=str(library))
    assert done.returncode == 3
    assert message in done.stderr and str(library) in done.stderr
    assert "Traceback" not in done.stderr


def test_direction(small, tmp_path):
    for name, message in (("zh-en", "translates en-zh, not zh-en"), ("e", "not e")):
        with pytest.raises(kora.BadDirectionError, match=message) as caught:
            kora.Translator(small, direction=name)
        assert caught.value.code == 2
    silent = tmp_path / "silent"
    shutil.copytree(small, silent)
    config = (silent / "engine.conf").read_text().replace("[direction]\nen-zh\n", "")
    (silent / "engine.conf").write_text(config)
    with pytest.raises(kora.BadDirectionError, match="direction="):
        kora.Translator(silent)
    with pytest.raises(kora.BadDirectionError, match="no direction 'xx'"):
        kora.Translator(silent, direction="xx")
    with pytest.raises(kora.BadDirectionError):  # a source that cannot be cut into sentences
        kora.Translator(silent, direction="th-en")
    with kora.Translator(silent, direction="en-zh") as translator:
        assert translator.translate("hello world") == "你好世界"


def damage_nothing(folder):
    shutil.rmtree(folder)


def damage_model(folder):
    (folder / "lm").write_bytes(b"damaged")


def damage_configuration(folder):
    (folder / "engine.conf").write_bytes(b"[version]\n9.9\n\n[direction]\nen-zh\n\n")


def damage_after_packing(folder):
    with open(folder / "source.vocab", "ab") as file:
        file.write(b"\0")


@pytest.mark.parametrize(
    "damage, error",
    [
        (damage_nothing, kora.BadConfigurationError),
        (damage_model, kora.BadModelError),
        (damage_configuration, kora.BadConfigurationError),
        (damage_after_packing, kora.BadManifestError),
    ],
)
def test_folder(small, tmp_path, damage, error):
    folder = tmp_path / "model"
    shutil.copytree(small, folder)
    damage(folder)
    with pytest.raises(error) as caught:
        kora.Translator(folder, check=error is kora.BadManifestError)
    assert caught.value.code == error.code and str(folder) in str(caught.value)


def test_text(translator):
    for bad, message in (
        (b"good \xe4\xbd morning", "byte 5 is not UTF-8"),
        (b"\xc0\xaf", "byte 0 is not UTF-8"),
        (b"\xed\xa0\x80", "byte 0 is not UTF-8"),
        ("half \ud800", "character 5 is half"),
    ):
        calls = [
            lambda: translator.translate(bad),
            lambda: translator.translate_document(bad),
            lambda: translator.align(bad),
            lambda: translator.nbest(bad),
            lambda: translator.explain(bad),
        ]
        for call in calls:
            with pytest.raises(kora.TextError, match=message):
                call()
        with pytest.raises(kora.TextError, match="text 1: " + message):
            translator.translate(["hello", bad])
    for wrong in (7, None, [7]):
        with pytest.raises(TypeError):
            translator.translate(wrong)
    with pytest.raises(TypeError):
        translator.batch("hello")
    for threads in (0, -1, 257):
        with pytest.raises(kora.BadArgumentError):
            translator.batch([], threads=threads)
    assert translator.translate("hello world") == "你好世界"


def test_closed(small):
    translator = kora.Translator(small)
    left = translator.batch(["hello"] * 1000, threads=2)
    next(left)
    translator.close()
    translator.close()
    assert translator.closed and "closed" in repr(translator)
    for call in (
        lambda: translator.translate("hello"),
        lambda: translator.align("hello"),
        lambda: translator.nbest("hello"),
        lambda: translator.batch(["hello"]),
        lambda: translator.set_glossary({"a": "b"}),
        lambda: list(left),
        lambda: translator.__enter__(),
    ):
        with pytest.raises(kora.ClosedError):
            call()


def test_closed_while_other_threads_use_it(small):
    for _ in range(20):
        translator = kora.Translator(small)
        ended = []

        def use(translator=translator, ended=ended):
            try:
                while True:
                    assert translator.translate("hello world") == "你好世界"
            except Exception as error:
                ended.append(type(error))

        threads = [threading.Thread(target=use) for _ in range(3)]
        for thread in threads:
            thread.start()
        time.sleep(0.01)
        translator.close()
        for thread in threads:
            thread.join(60)
        assert ended == [kora.ClosedError] * 3


FORK = """
import os, sys, threading, time
import kora
translator = kora.Translator(sys.argv[1])
stop = threading.Event()
def use():
    while not stop.is_set():
        translator.translate("hello world. " * 50)
busy = threading.Thread(target=use)
busy.start()
results = translator.batch(["hello world"] * 100, threads=2, chunk=1)
next(results)
for _ in range(10):
    child = os.fork()
    if child == 0:
        for call in (lambda: translator.translate("hello"), lambda: next(results),
                     lambda: translator.batch([])):
            try:
                call()
                os._exit(1)
            except kora.ForkedError as error:
                assert "child" in str(error) or "here" in str(error)
        translator.close()
        results.close()
        own = kora.thread_translator(sys.argv[1])
        os._exit(0 if own.translate("hello world") == "你好世界" else 2)
    assert os.waitpid(child, 0)[1] == 0
stop.set()
busy.join()
assert list(results) == ["你好世界"] * 99
print(translator.translate("hello world"))
"""


def test_fork_after_open(small):
    done = python("-c", FORK, str(small))
    assert (done.returncode, done.stdout, done.stderr) == (0, "你好世界\n", "")


def test_cannot_be_sent_to_another_process(translator):
    with pytest.raises(TypeError, match="thread_translator"):
        pickle.dumps(translator)


def test_command_line(small, tmp_path):
    def run(*words, data=b"", **more):
        return subprocess.run(
            [sys.executable, "-m", "kora", "-m", small, *words],
            input=data,
            stderr=subprocess.PIPE,
            timeout=60,
            **{"stdout": subprocess.PIPE, **more},
        )

    done = run(data="hello world\n\nthe cat".encode())
    assert (done.returncode, done.stdout.decode()) == (0, "你好世界\n\n猫\n")
    done = run("--align", data=b"hello world\n")
    assert done.stdout.decode().startswith("你好世界 ||| 0:")
    done = run("--nbest", "2", data=b"hello world\n")
    assert done.stdout.decode().count("|||") == 2
    done = run(data=b"hello world\nbroken \xff\n")
    assert (done.returncode, done.stdout.decode()) == (1, "你好世界\n")
    assert done.stderr.startswith(b"kora: text 1: byte 7 is not UTF-8")
    done = run(tmp_path / "none")
    assert done.returncode == 3 and b"none" in done.stderr
    assert run("--unknown").returncode == 2
    done = run("--version")
    assert done.stdout.decode() == f"kora {kora.__version__}, library {kora.library_version()}\n"
    with open("/dev/full", "wb") as full:
        done = run(data=b"hello\n" * 10, stdout=full)
        assert done.returncode == 3 and done.stderr.startswith(b"kora: "), done.stderr


def test_no_command(monkeypatch):
    monkeypatch.setenv("KORA_COMMAND", "/nonexistent/kora")
    with pytest.raises(kora.CommandError, match="/nonexistent/kora"):
        kora.evaluate(["a"], ["a"], language="en")
    monkeypatch.delenv("KORA_COMMAND")
    monkeypatch.setenv("PATH", "/nonexistent")
    with pytest.raises(kora.CommandError, match="KORA_COMMAND"):
        kora.evaluate(["a"], ["a"], language="en")


def test_bare_engine_has_no_glossary(small):
    with kora.Translator(small, raw=True) as translator:
        with pytest.raises(kora.BadArgumentError, match="glossary"):
            translator.set_glossary({"cat": "feline"})
        translator.set_limits(stack=50)
        assert translator.translate("hello world") == "你好世界"
        with pytest.raises(kora.BadArgumentError, match="markup"):
            translator.translate_document("<b>hello</b>", format="html")
