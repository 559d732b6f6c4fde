"""A model and a text that takes some seconds, and what a single run makes of it."""

import contextlib
import json
import os
import pathlib
import random
import signal
import subprocess
import sys
import time

import pytest

ROOT = pathlib.Path(__file__).parents[2]
SCALE = ROOT / "docs" / "scale"
sys.path[:0] = [str(ROOT / "tests" / "cli")]

import phrasebook  # noqa: E402

SKIPPED = 77  # what ctest takes for "skipped"
KORA = os.environ["KORA_COMMAND"]
SHARD = 500  # lines


def kora(*words, check=True, **more):
    done = subprocess.run([KORA, *map(str, words)], capture_output=True, timeout=300, **more)
    if check:
        assert done.returncode == 0, done.stderr
    return done


def wait_for(condition, seconds=120):
    """What the condition gives once that is true."""
    end = time.monotonic() + seconds
    while not (found := condition()):
        assert time.monotonic() < end, "waited in vain"
        time.sleep(0.02)
    return found


def digests(folder):
    """Names and digests of the shards that the folder's manifest lists."""
    manifest = json.loads((folder / "manifest.json").read_text())
    return {shard["file"]: shard["sha256"] for shard in manifest["shards"]}


def joined(folder):
    return b"".join(path.read_bytes() for path in sorted(folder.glob("shard-*.txt")))


def kill_one_command(folder):
    """Kills, as no command can catch, one that is in the middle of shards for the folder; gives its
    --shards, or None if there is none right now."""
    for name in os.listdir("/proc"):
        if not name.isdigit():
            continue
        with contextlib.suppress(OSError):
            words = pathlib.Path("/proc", name, "cmdline").read_bytes().decode().split("\0")
            if words[0] != KORA or str(folder) not in words or "--shards" not in words:
                continue
            os.kill(int(name), signal.SIGSTOP)
            shards = words[words.index("--shards") + 1]
            last = int(shards.split("-")[-1])
            if (folder / f"shard-{last:06}.json").exists():  # it was at its end
                os.kill(int(name), signal.SIGCONT)
                continue
            os.kill(int(name), signal.SIGKILL)
            return shards
    return None


@pytest.fixture(scope="session")
def place(tmp_path_factory):
    """A folder with `model`, `text` (4,700 lines, some equal), and `single`, what one run made."""
    folder = tmp_path_factory.mktemp("scale")
    phrasebook.write_all(folder)
    kora("pack", "--direction", "en-zh", "--phrases", folder / "phrases.en-zh", "--lm",
         folder / "lm.en-zh", "--order", 2, "-o", folder / "model")  # fmt: skip
    chance = random.Random(5)
    words = sorted({word for pair in phrasebook.PAIRS for word in pair[0].split()}) + ["xyzzy"]
    lines = [" ".join(chance.choices(words, k=chance.randrange(8, 25))) for _ in range(4500)]
    lines += lines[:150] + [""] * 50
    chance.shuffle(lines)
    (folder / "text").write_text("".join(line + "\n" for line in lines))
    kora("translate", "-m", folder / "model", "--shard-size", SHARD, "--output-dir",
         folder / "single", folder / "text")  # fmt: skip
    return folder


def pytest_sessionfinish(session, exitstatus):
    """Says so when a program that was to be tested with is not there."""
    reporter = session.config.pluginmanager.get_plugin("terminalreporter")
    if exitstatus == 0 and reporter.stats.get("skipped") and not reporter.stats.get("passed"):
        session.exitstatus = SKIPPED
