"""Whole sets: splitting, joining, and a run of the script on packages that the test makes."""
import json
import os
import re
import subprocess
import sys
import tempfile
import unittest
from collections import Counter

from corpus.make_set import ROOT, held_out_pages, packages_of
from corpus.pipeline import Result, clean_documents, join
from corpus.sets import SETS
from corpus.sources import Document
from corpus.split import Held, Train, choose
from corpus.text import fingerprint
from mo import catalogue

NUMBERS = "one two three four five six seven eight nine ten".split()
KOREAN = "하나 둘 셋 넷 다섯 여섯 일곱 여덟 아홉 열".split()


class Split(unittest.TestCase):
    def test_either_side_is_held(self):
        held, train, counts = Held(), Train(), Counter()
        chosen = choose(
            [("page", [("Open the old file now.", "现在打开旧文件。"), ("Too short", "太短")])],
            "en",
            10,
            held,
        )
        self.assertEqual(chosen, [("Open the old file now.", "现在打开旧文件。")])
        train.add(
            "source",
            [
                ("open the OLD file, now", "打开"),
                ("Something else", "现在打开 旧文件"),
                ("Close it", "关闭"),
                ("Close it", "关闭"),
                ("...", "…"),
            ],
            held,
            counts,
        )
        self.assertEqual(train.pairs, [("Close it", "关闭"), ("...", "…")])
        self.assertEqual(counts, {"held out": 2, "duplicate": 1, "train": 2})
        train.drop([True, False], "low score", {"source": Result(counts=counts)})
        self.assertEqual(train.pairs, [("...", "…")])
        self.assertEqual((counts["train"], counts["low score"]), (1, 1))

    def test_choice_is_spread_and_different(self):
        pairs = [(f"This is sentence number {i} here", f"这是第{i}句") for i in range(100)]
        held = Held()
        first = choose([("a", pairs), ("b", pairs)], "en", 10, held)
        self.assertEqual(first, pairs[::10])
        second = choose([("a", pairs)], "en", 200, held)
        self.assertEqual(len(second), 90)
        self.assertTrue(set(first).isdisjoint(second))

    def test_lists_do_not_overlap(self):
        test, dev = held_out_pages("test"), held_out_pages("dev")
        self.assertTrue(test and dev)
        self.assertTrue(test.isdisjoint(dev))

    def test_demo_trains_on_the_listed_packages_and_on_no_test(self):
        with open(
            os.path.join(ROOT, "corpus", "lists", "demo-packages.txt"), encoding="utf-8"
        ) as f:
            listed = set(f.read().split())
        demo = SETS["demo-en-zh"]
        self.assertEqual({p for source in demo.train for p in packages_of(source, demo)}, listed)
        for chosen in SETS.values():
            trained = {p for source in chosen.train for p in packages_of(source, chosen)}
            others = [source for source in chosen.sources() if source not in chosen.train]
            measured = {p for source in others for p in packages_of(source, chosen)}
            self.assertTrue(trained.isdisjoint(measured), chosen.name)


class Pipeline(unittest.TestCase):
    def test_join_on_english(self):
        opened = [("Open", "打开"), ("Cut", "剪切"), ("Open", "开启")]
        left = [
            Document("a", opened, [("en", "x"), ("zh", "丙")], [("%d files", "%d 个文件")]),
            Document("b", [("Open", "打开")]),
        ]
        pairs = [("Open", "開く"), ("Open", "オープン"), ("Paste", "貼り付け")]
        right = [Document("a", pairs, [], [("%d files", "%d 個のファイル")])]
        both = [("打开", "開く")], [("zh", "丙")], [("%d 个文件", "%d 個のファイル")]
        self.assertEqual(list(join(left, right)), [Document("a", *both)])

    def test_counts_add_up(self):
        segments = [
            ("Open the file. Close it.", "打开文件。关闭它。"),
            ("Same", "Same"),
            ("Line %d", "第 %d 行"),
            ("File %s", "第 %d 行"),
            ("This is a rather long sentence with many words", "好的话"),
        ]
        unpaired = [("zh", "没有伙伴的句子。"), ("zh", "<b>"), ("ja", "です")]
        marked = [("Press <b>OK</b> now", "现在请按<b>确定</b>"), ("<i>Cut</i>", "<b>剪切</b>")]
        result = clean_documents([Document("d", segments, unpaired, marked)], "en", "zh")
        self.assertEqual(
            result.counts,
            {"paragraphs": 5, "sentences": 6, "equal": 1, "placeholder": 2, "length": 1},
        )
        self.assertEqual(len(result.documents[0][1]), 2)
        self.assertEqual(result.marked, [("d", [("Line %d", "第 %d 行"), marked[0]])])
        self.assertEqual(
            [t for _, t in result.unpaired], [segments[4][0], segments[4][1], "没有伙伴的句子。"]
        )


def sentence(number, words):
    return " ".join(words[int(d)] for d in f"{number:06}")


class Script(unittest.TestCase):
    """Runs make_set.py on small packages, made here, that already lie in the cache."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.cache = os.path.join(cls.folder.name, "cache")
        os.makedirs(cls.cache)
        pages = [
            "text/train/page.html",
            sorted(held_out_pages("test"))[0],
            sorted(held_out_pages("dev"))[0],
        ]
        help_files = {"en-US": {}, "ko": {}}
        for index, page in enumerate(pages):
            # the last sentence of every page is the first of the next: a leak that must be stopped
            for tree, words in (("en-US", NUMBERS), ("ko", KOREAN)):
                body = "".join(
                    f'<p id="{i}">{sentence(i, words)}.</p>'
                    for i in range(index * 20, index * 20 + 21)
                )
                help_files[tree][f"usr/share/libreoffice/help/{tree}/{page}"] = body.encode()
        messages = {sentence(i, NUMBERS): sentence(i, KOREAN) for i in range(1000, 1030)}
        cls.manifest = {}
        cls.make_package("libreoffice-help-en-us", help_files["en-US"])
        cls.make_package("libreoffice-help-ko", help_files["ko"])
        cls.make_package(
            "libreoffice-l10n-ko", {"usr/lib/x/ko/LC_MESSAGES/sw.mo": catalogue(messages)}
        )
        cls.make_package(
            "cataclysm-dda-data",
            {
                "usr/share/locale/ko/LC_MESSAGES/c.mo": catalogue(
                    {"The dead %s rises": "%s", "You hear a distant scream": "멀리서 비명 소리가 들린다"}
                )
            },
        )
        with open(os.path.join(cls.cache, "packages.json"), "w", encoding="utf-8") as f:
            json.dump(cls.manifest, f)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    @classmethod
    def make_package(cls, name, files):
        root = os.path.join(cls.folder.name, name)
        control = (
            f"Package: {name}\nVersion: 1\nArchitecture: all\n"
            "Maintainer: A Tester <a@example.org>\nDescription: x\n"
        )
        for path, data in {"DEBIAN/control": control.encode(), **files}.items():
            os.makedirs(os.path.dirname(os.path.join(root, path)), exist_ok=True)
            with open(os.path.join(root, path), "wb") as f:
                f.write(data)
        file = os.path.join(cls.cache, f"{name}_1_all.deb")
        subprocess.run(
            ["dpkg-deb", "--root-owner-group", "-b", root, file],
            check=True,
            stdout=subprocess.DEVNULL,
        )
        cls.manifest[name] = {
            "file": os.path.basename(file),
            "version": "1",
            "size": os.path.getsize(file),
        }

    def run_script(self, out, *options):
        return subprocess.run(
            [
                sys.executable,
                os.path.join(ROOT, "corpus", "make_set.py"),
                "small-en-ko",
                "--cache",
                self.cache,
                "--out",
                os.path.join(self.folder.name, out),
                *options,
            ],
            text=True,
            capture_output=True,
            check=False,
        )

    def read(self, out):
        root = os.path.join(self.folder.name, out)
        files = {}
        for name in sorted(os.listdir(root)):
            with open(os.path.join(root, name), encoding="utf-8") as f:
                files[name] = f.read()
        return files

    def test_set(self):
        ran = self.run_script("one", "--jobs", "1")
        self.assertEqual(ran.returncode, 0, ran.stderr)
        files = self.read("one")
        lines = {name: text.splitlines() for name, text in files.items()}
        self.assertEqual(len(lines["test-help.en"]), 21)
        self.assertEqual(len(lines["dev.en"]), 20)  # its first sentence is in the test
        self.assertEqual(
            len(lines["train.en"]), 20 + 30 + 1
        )  # and the last of the page to train on too
        held = {
            fingerprint(s)
            for n in ("dev", "test-help")
            for lang in ("en", "ko")
            for s in lines[f"{n}.{lang}"]
        }
        self.assertTrue(
            held.isdisjoint(fingerprint(s) for lang in ("en", "ko") for s in lines[f"train.{lang}"])
        )
        self.assertIn("You hear a distant scream", lines["train.en"])
        for name in ("train", "dev", "test-help"):
            self.assertEqual(len(lines[f"{name}.en"]), len(lines[f"{name}.ko"]))
        report = json.loads(files["sources.json"])
        self.assertEqual(
            {s["name"]: s["counts"].get("placeholder", 0) for s in report["sources"]}["cataclysm"],
            1,
        )
        self.assertRegex(lines["sources.tsv"][1], r"^libreoffice-help\tMPL-2\.0\t")

        self.run_script("two", "--jobs", "2")
        self.assertEqual(self.read("two"), files)  # the same bytes from more processes

        before = os.stat(os.path.join(self.folder.name, "one", "train.en")).st_ino
        again = self.run_script("one")
        self.assertEqual(re.sub("/one", "", again.stdout), re.sub("/one", "", ran.stdout))
        self.assertEqual(
            os.stat(os.path.join(self.folder.name, "one", "train.en")).st_ino, before
        )  # not made anew

    def test_damaged_package(self):
        path = os.path.join(self.cache, "libreoffice-l10n-ko_1_all.deb")
        with open(path, "rb") as f:
            whole = f.read()
        try:
            with open(path, "wb") as f:
                f.write(whole[:-100] + bytes(100))
            ran = self.run_script("damaged")
            self.assertEqual(ran.returncode, 1)
            self.assertRegex(ran.stderr, r"^error: .*libreoffice-l10n-ko_1_all\.deb is damaged")
            self.assertFalse(os.path.exists(os.path.join(self.folder.name, "damaged")))
        finally:
            with open(path, "wb") as f:
                f.write(whole)

    def test_unknown_set(self):
        ran = subprocess.run(
            [sys.executable, os.path.join(ROOT, "corpus", "make_set.py"), "nonsense"],
            capture_output=True,
            text=True,
            check=False,
        )
        self.assertEqual(ran.returncode, 2)


if __name__ == "__main__":
    unittest.main()
