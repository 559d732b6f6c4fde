"""Bulk translation: every way to the same bytes, and every way to break off."""

import gzip
import json
import os
import re
import signal
import subprocess

import pytest
from conftest import KORA, SHARD, digests, joined, kora, wait_for


def bulk(place, output, *words, source=None, **more):
    return kora("translate", "-m", place / "model", "--output-dir", output, "--shard-size", SHARD,
                *words, source or place / "text", **more)  # fmt: skip


def test_shards_are_what_the_filter_writes(place):
    filtered = kora("translate", "-m", place / "model", input=(place / "text").read_bytes()).stdout
    assert joined(place / "single") == filtered
    manifest = json.loads((place / "single" / "manifest.json").read_text())
    assert manifest["rows"] == filtered.count(b"\n") == 4700
    assert [shard["rows"] for shard in manifest["shards"]] == [SHARD] * 9 + [200]
    assert sum(shard["unknown_words"] for shard in manifest["shards"]) == (
        place / "text"
    ).read_text().split().count("xyzzy")


def test_any_threads_cache_and_compression_give_the_same_manifest(place, tmp_path):
    text = (place / "text").read_bytes()
    half = text.index(b"\n", len(text) // 2) + 1
    packed = {
        "members.gz": gzip.compress(text[:half]) + gzip.compress(text[half:]),
        "text.zst": subprocess.run(["zstd", "-c"], input=text, capture_output=True).stdout,
    }
    for name, data in packed.items():
        (tmp_path / name).write_bytes(data)
    wanted = (place / "single" / "manifest.json").read_bytes()
    for name, words in (("members.gz", "-t 3"), ("text.zst", "--cache 0 -t 2")):
        done = bulk(place, tmp_path / "out" / name, *words.split(), source=tmp_path / name)
        assert (tmp_path / "out" / name / "manifest.json").read_bytes() == wanted
        different = int(re.search(rb"from (\d+) different", done.stdout).group(1))
        # Without memory for them equal lines of different shards are made again.
        assert different == 4501 if "--cache" not in words else 4501 < different < 4690
        for cut in (len(packed[name]) - 20, len(packed[name]) // 2):
            (tmp_path / ("cut-" + name)).write_bytes(packed[name][:cut])
            done = bulk(place, tmp_path / "cut", source=tmp_path / ("cut-" + name), check=False)
            assert done.returncode == 1 and b"cut short" in done.stderr, done.stderr
            assert not list((tmp_path / "cut").glob("manifest*"))


def test_does_only_what_is_missing(place, tmp_path):
    out = tmp_path / "out"
    for number in (signal.SIGKILL, signal.SIGTERM):
        process = subprocess.Popen(
            [KORA, "translate", "-m", place / "model", "--output-dir", out, "--shard-size",
             str(SHARD), place / "text"], stdout=subprocess.DEVNULL)  # fmt: skip
        before = len(list(out.glob("shard-*.json")))
        wait_for(lambda: len(list(out.glob("shard-*.json"))) > before and list(out.glob("*.part")))
        process.send_signal(number)
        assert process.wait(60) == -number
    there = {path: path.stat().st_mtime_ns for path in out.glob("shard-*.json")}
    assert 2 <= len(there) < 10 and not (out / "manifest.json").exists()
    # What somebody changed, or a disk lost, counts as missing.
    changed = sorted(out.glob("shard-*.txt"))[0]
    changed.write_bytes(changed.read_bytes()[:-1] + b"?")
    done = bulk(place, out)
    assert f"10, {len(there) - 1} of them were there".encode() in done.stdout
    assert (out / "manifest.json").read_bytes() == (place / "single/manifest.json").read_bytes()
    assert joined(out) == joined(place / "single")
    kept = [path for path, time in there.items() if path.stat().st_mtime_ns == time]
    assert len(kept) == len(there) - 1
    assert not list(out.glob("*.part"))
    done = bulk(place, out)
    assert b"10, 10 of them were there" in done.stdout and b" 0 of them now" in done.stdout


def test_processes_share_a_folder(place, tmp_path):
    for shards in ("7-100", "0-2", "3", "3-6", "40-50"):
        bulk(place, tmp_path, "--shards", shards)
        assert not (tmp_path / "manifest.json").exists()
    assert b"10 of them were there" in bulk(place, tmp_path).stdout
    assert digests(tmp_path) == digests(place / "single")


def test_a_longer_or_shorter_text(place, tmp_path):
    lines = (place / "text").read_bytes().splitlines(keepends=True)
    grown = tmp_path / "grown"
    grown.write_bytes(b"".join(lines[:1200]))
    bulk(place, tmp_path / "out", source=grown)
    grown.write_bytes(b"".join(lines[:1400])[:-1])  # without the last line feed
    assert b"3, 2 of them were there" in bulk(place, tmp_path / "out", source=grown).stdout
    assert joined(tmp_path / "out") == b"".join(
        joined(place / "single").splitlines(keepends=True)[:1400]
    )
    grown.write_bytes(b"".join(lines[:800]))
    done = bulk(place, tmp_path / "out", source=grown, check=False)
    assert done.returncode == 1 and b"shard-000002.json" in done.stderr
    grown.write_bytes(b"")
    assert b"shards: 0" in bulk(place, tmp_path / "empty", source=grown).stdout


def test_columns_and_fields(place, tmp_path):
    table = tmp_path / "table"
    table.write_text("1\twater\tx\n2\n3\tgood morning\r\n4\t\t\n", newline="")
    done = bulk(place, tmp_path / "tsv", "--column", "2", source=table, check=False)
    assert done.returncode == 1 and b"row 2: only 1 columns" in done.stdout
    assert (tmp_path / "tsv" / "shard-000000.tsv").read_text() == (
        "1\twater\tx\t水\n2\t\n3\tgood morning\t" + translated(place, "good morning") + "\n4\t\t\t\n"
    )
    table.write_text(
        '{"id": 1.50, "text": "wa\\u0074er", "more": {"a": "}"}} \n'
        '{"text": "water\\nwater"}\n{"text": 7}\n[]\n{"text": "a", "translation": ""}\nwater\n'
    )
    done = bulk(place, tmp_path / "jsonl", "--field", "text", source=table, check=False)
    assert done.returncode == 1 and b"failures: 4" in done.stdout
    rows = (tmp_path / "jsonl" / "shard-000000.jsonl").read_text().split("\n")
    assert rows[0] == ('{"id": 1.50, "text": "wa\\u0074er", "more": {"a": "}"},"translation":"水"} ')
    assert json.loads(rows[1])["translation"] == "水\n水"
    assert rows[2:] == ['{"text": 7}', "[]", '{"text": "a", "translation": ""}', "water", ""]
    again = bulk(place, tmp_path / "jsonl", "--field", "text", source=table, check=False)
    assert again.returncode == 1 and b"row 4: no JSON object" in again.stdout  # still said


def translated(place, text):
    return kora("translate", "-m", place / "model", input=text.encode()).stdout.decode()[:-1]


@pytest.mark.parametrize(
    "words, code, message",
    [
        ("--output-dir out", 2, "input"),
        ("text", 2, "output-dir"),
        ("--output-dir out --shards 5-3 text", 2, "--shards"),
        ("--output-dir out --shards x text", 2, "--shards"),
        ("--output-dir out --shard-size 0 text", 2, "--shard-size"),
        ("--output-dir out --column 2 --field x text", 2, "--column"),
        ("--output-dir out --nbest 2 text", 2, "--nbest"),
        ("--output-dir out none", 3, "none"),
        ("--output-dir out model", 3, "model"),
        ("--output-dir out pipe", 3, "no regular file"),
        ("--output-dir text/out text", 3, "text/out"),
        ("--output-dir single --shard-size 3 text", 1, "another --output-dir"),
    ],
)
def test_wrong_words(place, words, code, message):
    if not (place / "pipe").exists():
        os.mkfifo(place / "pipe")
    done = kora("translate", "-m", "model", *words.split(), check=False, cwd=place)
    assert done.returncode == code, done.stderr
    assert message.encode() in done.stderr and not list(place.glob("out/shard-*"))


def test_another_model_is_not_mixed_in(place, tmp_path):
    other = tmp_path / "other"
    kora("pack", "--direction", "en-zh", "--phrases", place / "phrases.en-zh", "--lm",
         place / "lm.en-zh", "--order", 1, "-o", other)  # fmt: skip
    done = kora("translate", "-m", other, "--output-dir", place / "single", "--shard-size", SHARD,
                place / "text", check=False)  # fmt: skip
    assert done.returncode == 1 and b"another model" in done.stderr
