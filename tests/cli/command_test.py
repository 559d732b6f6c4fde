"""Runs the kora command as people do, on a model packed from phrasebook.tsv.

Usage: command_test.py PATH_OF_KORA [FOLDER]    with a folder, only makes the model in it
"""

import collections
import json
import math
import os
import pathlib
import random
import shutil
import subprocess
import sys
import tempfile
import unittest

import damage

KORA = sys.argv[1] if len(sys.argv) > 1 else "kora"
PAIRS = [line.split("\t") for line in
         (pathlib.Path(__file__).parent / "phrasebook.tsv").read_text("utf-8").splitlines()]


def write_text_models(folder):
    """A phrase table (sentences, and words by how they occur together) and a bigram model."""
    source_count, target_count = collections.Counter(), collections.Counter()
    together = collections.Counter()
    table = {}
    for source, target in PAIRS:
        s, t = source.split(), target.split()
        if s[-1] == ".":  # the search does not see it
            s, t = s[:-1], t[:-1]
        if 0 < len(s) <= 8 and 0 < len(t) <= 8:
            table[" ".join(s), " ".join(t)] = 0.9
        for word in set(s):
            source_count[word] += 1
            together.update((word, other) for other in set(t))
        target_count.update(set(t))
    for word, count in source_count.items():
        def dice(other, word=word, count=count):
            return 2 * together[word, other] / (count + target_count[other])
        best = sorted(target_count, key=lambda other: (-dice(other), other))[:3]
        for other in best:
            table.setdefault((word, other), max(dice(other), 0.001))
    (folder / "phrases").write_text("".join(
        f"{s} ||| {t} ||| {p:.4f} {p:.4f} {p:.4f} {p:.4f}\n"
        for (s, t), p in sorted(table.items())), "utf-8")

    one, two, after = collections.Counter(), collections.Counter(), collections.Counter()
    for _, target in PAIRS:
        words = ["<s>"] + target.split() + ["</s>"]
        one.update(words)
        two.update(zip(words, words[1:]))
        after.update(words[:-1])
    total = sum(one.values())
    lines = ["\\data\\", f"ngram 1={len(one)}", f"ngram 2={len(two)}", "", "\\1-grams:"]
    lines += [f"{math.log10(n / total):.4f}\t{w}\t-0.5" for w, n in sorted(one.items())]
    lines += ["", "\\2-grams:"]
    lines += [f"{math.log10(0.7 * n / after[a]):.4f}\t{a} {b}" for (a, b), n in sorted(two.items())]
    (folder / "lm.arpa").write_text("\n".join(lines + ["", "\\end\\", ""]), "utf-8")


def run(*words, data=b"", code=0, env=None):
    if isinstance(data, str):
        data = data.encode()
    done = subprocess.run([KORA, *map(str, words)], input=data, capture_output=True,
                          timeout=300, env=env)
    if done.returncode != code:
        raise AssertionError(f"{words}: exit code {done.returncode}, not {code}\n"
                             f"{done.stdout[-2000:]}\n{done.stderr[-2000:]}")
    return done


def out(*words, **more):
    return run(*words, **more).stdout.decode("utf-8", "replace")


def make_model(folder):
    write_text_models(folder)
    run("pack", "--direction", "en-zh", "--phrases", folder / "phrases", "--lm",
        folder / "lm.arpa", "--order", 2, "-o", folder / "model")
    return folder / "model"


class Command(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.model = make_model(cls.folder)

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    def test_translates_the_phrase_book(self):
        source = "".join(pair[0] + "\n" for pair in PAIRS)
        lines = out("translate", "-m", self.model, data=source).splitlines()
        right = sum(line == pair[1].replace(" ", "") for line, pair in zip(lines, PAIRS))
        self.assertEqual(len(lines), len(PAIRS))
        self.assertGreater(right, 0.85 * len(PAIRS))

    def test_goldens(self):
        cases = [
            (("translate",), "where is the station ?\n\nThank you.\n",
             "车站在哪里？\n\n谢谢。\n"),
            (("translate", "--check"), "thank you\n", "谢谢\n"),
            (("translate", "--alignment", "bytes"), "thank you\n", "谢谢 ||| 0:8-0:5\n"),
            (("translate", "--alignment", "words"), "thank you\n",
             "谢谢 ||| 0-0 0-1 1-0 1-1\n"),
            (("step", "source"), "It isn't  so.\n", "it isn 't so .\n"),
            (("vocab", "--side", "source", "station"), "", None),
            (("number", "arabic-integer", "english-integer"), "3500\n21\n",
             "three thousand five hundred\ntwenty-one\n"),
            (("number", "arabic-integer", "chinese-integer"), "3500\n", "三千五百\n"),
        ]
        for words, data, wanted in cases:
            with self.subTest(words=words):
                more = [] if words[0] == "number" else ["-m", self.model]
                got = out(*words, *more, data=data)
                if wanted is None:
                    self.assertRegex(got, r"^\d+\tstation\n$")
                else:
                    self.assertEqual(got, wanted)

    def test_tells(self):
        cases = [
            (("lookup", "thank you"), "", ["谢谢\t"]),
            (("info",), "", ["direction\ten-zh", "language model\t", "file phrases.data\t"]),
            (("check",), "", ["model: sound"]),
            (("lm",), "车站 在 哪里 ？\n", ["在\t2-gram\t", "1 lines, 5 words scored, 0 unknown"]),
            (("lm", "--perplexity"), "谢谢 。\n", ["perplexity"]),
            (("step",), "", ["source\t", "target\t"]),
            (("explain", "Where is the station?"), "", ["车站在哪里", "Scores", "█"]),
            (("translate", "--nbest", "3"), "where is the bank ?\n", ["银行在哪里？ ||| "]),
            (("step", "source", "--positions"), "Thank you\n", ["\t0 1 2 3 4 5 6 7 8"]),
        ]
        for words, data, wanted in cases:
            with self.subTest(words=words):
                got = out(*words, "-m", self.model, data=data)
                for text in wanted:
                    self.assertIn(text, got)

    def test_explain_agrees_with_translate(self):
        text = "Please take me to the museum. Thank you."
        roads = json.loads(out("explain", "-m", self.model, "--json", text))
        joined = " ".join(road["output"] for road in roads)
        self.assertEqual(out("translate", "-m", self.model, data=text + "\n"), joined + "\n")
        self.assertEqual(len(roads), 2)
        page = self.folder / "road.html"
        out("explain", "-m", self.model, "--html", page, text)
        self.assertNotIn("http", page.read_text("utf-8"))

    def test_resources(self):
        lines = self.folder / "lines"
        packed = self.folder / "packed"
        lines.write_text("one\ntwo words\n三\n", "utf-8")
        run("resource", "pack", lines, "-o", packed)
        self.assertEqual(out("resource", "unpack", packed), "one\ntwo words\n三\n")
        self.assertIn("records\t3\n", out("resource", "list", packed))

    def test_threads_give_the_same_bytes(self):
        chance = random.Random(7)
        words = sorted({w for pair in PAIRS for w in pair[0].split()})
        text = "".join(" ".join(chance.choices(words, k=chance.randrange(12))) + "\n"
                       for _ in range(400))
        results = {out("translate", "-m", self.model, "--threads", n, data=text)
                   for n in (1, 2, 8)}
        self.assertEqual(len(results), 1)
        self.assertEqual(results.pop().count("\n"), 400)

    def test_memory_is_steady(self):
        script = ("yes 'where is the station ?' | head -{} | "
                  "/usr/bin/env python3 -c \"import resource,subprocess,sys\n"
                  "subprocess.run(sys.argv[1:],stdout=subprocess.DEVNULL,check=True)\n"
                  "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)\" "
                  "'{}' translate --threads 2 -m '{}'")
        peaks = [int(subprocess.check_output(["sh", "-c", script.format(n, KORA, self.model)]))
                 for n in (500, 20000)]
        self.assertLess(peaks[1], 1.3 * peaks[0] + 2000)

    def test_parallel_gives_the_same_bytes(self):
        if not shutil.which("parallel"):
            self.skipTest("GNU parallel is not installed")
        text = "".join(pair[0] + "\n" for pair in PAIRS)
        done = subprocess.run(
            ["parallel", "--will-cite", "--pipe", "--keep-order", "--jobs", "2", "-N", "50",
             KORA, "translate", "-m", str(self.model)], input=text.encode(), capture_output=True)
        self.assertEqual(done.stdout.decode(), out("translate", "-m", self.model, data=text))

    def test_survives_bad_input(self):
        chance = random.Random(3)
        noise = bytes(chance.randrange(256) for _ in range(4000)) + b"\xff\xfe\n\0\0\n"
        got = run("translate", "-m", self.model, data=noise).stdout
        self.assertEqual(got.count(b"\n"), noise.count(b"\n"))
        run("explain", "-m", self.model, "--json", b"\xff\xc3 station".decode("utf-8",
                                                                           "surrogateescape"))

    def test_errors_have_their_codes(self):
        empty = self.folder / "empty"
        empty.mkdir()
        half = self.folder / "half"
        bad = self.folder / "bad"
        bad.write_text("a ||| b ||| x\n")
        arpa = self.folder / "lm.arpa"
        cases = [
            (2, ("translate", "--threads", "0")),
            (2, ("nonsense",)),
            (2, ("number", "roman", "arabic-integer")),
            (2, ("pack", "--direction", "xx-yy", "--phrases", bad, "--lm", arpa, "-o", half)),
            (3, ("translate", "-m", self.folder / "none")),
            (1, ("translate", "-m", empty)),
            (1, ("check", "-m", empty)),
            (1, ("lookup", "-m", self.model, "xyzzy")),
            (1, ("vocab", "-m", self.model, "xyzzy")),
            (1, ("resource", "unpack", empty / "none")),
            (1, ("pack", "--direction", "en-zh", "--phrases", bad, "--lm", arpa, "-o", half)),
            (1, ("pack", "--direction", "en-zh", "--phrases", bad, "--lm", arpa, "-o",
                 self.model)),
        ]
        for code, words in cases:
            with self.subTest(words=words):
                done = run(*words, code=code)
                if words[0] != "vocab":
                    self.assertTrue(done.stderr)
        self.assertEqual([p.name for p in self.folder.iterdir() if p.name.startswith("half")], [])
        self.assertIn("bad:1:", run(*cases[-2][1], code=1).stderr.decode())

    def test_full_disk_and_closed_pipe(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([KORA, "vocab", "-m", str(self.model)], stdout=full,
                                  stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 3)
        done = subprocess.run(
            ["bash", "-c", f"yes station | '{KORA}' translate -m '{self.model}' | head -1; "
             "echo ${PIPESTATUS[1]}"], capture_output=True, timeout=60)
        self.assertEqual(done.stdout.decode(), "车站\n3\n")
        out_folder = self.folder / "full"
        done = subprocess.run(
            ["bash", "-c", "ulimit -f 2; trap '' XFSZ; exec \"$@\"", "-", KORA, "pack",
             "--direction", "en-zh", "--phrases", str(self.folder / "phrases"), "--lm",
             str(self.folder / "lm.arpa"), "-o", str(out_folder)], capture_output=True)
        self.assertNotEqual(done.returncode, 0)
        self.assertEqual(list(self.folder.glob("full*")), [])

    def test_help_is_on_standard_output(self):
        for name in ("check", "eval", "explain", "info", "lm", "lookup", "number", "pack", "resource",
                     "segment", "step", "train", "translate", "tune", "vocab"):
            self.assertIn("--help", out(name, "--help"))

    def test_default_model(self):
        env = dict(os.environ, KORA_MODEL=str(self.model))
        self.assertEqual(out("translate", data="thank you\n", env=env), "谢谢\n")

    def test_check_finds_damage(self):
        count = 0
        for name, kind, _, code, line in damage.answers(KORA, self.model):
            with self.subTest(name=name, kind=kind):
                count += 1
                self.assertEqual(code, 1, line)
        self.assertGreater(count, 100)


if __name__ == "__main__":
    if len(sys.argv) > 2:
        pathlib.Path(sys.argv[2]).mkdir(parents=True)
        print(make_model(pathlib.Path(sys.argv[2])))
        sys.exit()
    unittest.main(argv=sys.argv[:1])
