"""Runs the kora command as people do, on models that it makes from phrasebook.tsv.

Usage: command_test.py PATH_OF_KORA [FOLDER]    with a folder, only makes the models in it
"""

import contextlib
import json
import os
import pathlib
import pty
import random
import re
import resource
import select
import shlex
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

import damage
from phrasebook import PAIRS, write_all

KORA = os.path.abspath(sys.argv[1]) if len(sys.argv) > 1 else "kora"
HERE = pathlib.Path(__file__).parent
BOOK = "".join(pair[0] + "\n" for pair in PAIRS).encode()


def read_cases(path):
    """Blocks of goldens.txt: line number, words, input, output or None, patterns, errors, code."""
    cases = []
    for number, line in enumerate(path.read_text("utf-8").split("\n"), 1):
        mark, text = line[:1], line[2:]
        if mark == "$":
            cases.append(
                {
                    "line": number,
                    "words": shlex.split(text),
                    "<": [],
                    ">": [],
                    "~": [],
                    "!": [],
                    "?": "0",
                }
            )
        elif mark == "?":
            cases[-1]["?"] = text
        elif mark in "<>~!" and mark:
            cases[-1][mark].append(text)
    return cases


class Command(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.temporary = tempfile.TemporaryDirectory()
        cls.folder = pathlib.Path(cls.temporary.name)
        cls.folder.chmod(0o755)
        write_all(cls.folder)
        (cls.folder / "empty").mkdir()
        (cls.folder / "other.en").write_bytes(BOOK)
        cls.failed = []
        for case in read_cases(HERE / "goldens.txt"):  # they make the models that the rest uses
            if "foreign" in case["words"] and not (cls.folder / "foreign").exists():
                shutil.copytree(
                    cls.folder / "model",
                    cls.folder / "foreign",
                    ignore=shutil.ignore_patterns("engine.conf", "manifest.conf"),
                )
            done = cls.run_kora(*case["words"], data="".join(s + "\n" for s in case["<"]).encode())
            cls.failed += [
                f"goldens.txt:{case['line']}: {what}\n{done.stdout.decode()[-1500:]}"
                f"{done.stderr.decode()[-1500:]}"
                for what in cls.differences(case, done)
            ]

    @staticmethod
    def differences(case, done):
        out, err = (text.decode("utf-8", "replace") for text in (done.stdout, done.stderr))
        if str(done.returncode) != case["?"]:
            yield f"exit code {done.returncode}"
        if case[">"] and out != "".join(s + "\n" for s in case[">"]):
            yield "other output"
        for pattern, text in [(p, out) for p in case["~"]] + [(p, err) for p in case["!"]]:
            if not re.search(pattern, text, re.MULTILINE):
                yield f"nothing like {pattern}"

    @classmethod
    def tearDownClass(cls):
        cls.temporary.cleanup()

    @classmethod
    def run_kora(cls, *words, data=b"", **more):
        more = {
            "stdout": subprocess.PIPE,
            "stderr": subprocess.PIPE,
            "cwd": cls.folder,
            "timeout": 300,
            **more,
        }
        return subprocess.run([KORA, *map(str, words)], input=data, check=False, **more)

    def ok(self, *words, data=b"", **more):
        done = self.run_kora(*words, data=data, **more)
        self.assertEqual(done.returncode, 0, done.stderr)
        return done.stdout

    def start(self, *words, **more):
        more = {
            "stdin": subprocess.PIPE,
            "stdout": subprocess.PIPE,
            "stderr": subprocess.PIPE,
            "cwd": self.folder,
            **more,
        }
        process = subprocess.Popen([KORA, *map(str, words)], **more)
        self.addCleanup(
            lambda: [
                f.close()
                for f in (process.stdin, process.stdout, process.stderr)
                if f and not f.closed
            ]
        )
        self.addCleanup(process.kill)
        return process

    def leftovers(self):
        return [p for p in self.folder.rglob("*") if re.search(r"\.(part|new|tune)", p.name)]

    def test_examples_of_the_pages(self):
        """Blocks that begin with "$ kora" and use the model of this test, such as in search.md."""
        environment = {
            **os.environ,
            "PATH": os.path.dirname(KORA) + os.pathsep + os.environ["PATH"],
        }
        count = 0
        for page in sorted((HERE.parent.parent / "docs").glob("*.md")):
            for block in re.findall(
                r"^```text\n(\$ .*?)^```", page.read_text("utf-8"), re.M | re.S
            ):
                for example in re.split(r"^\$ ", block, flags=re.M)[1:]:
                    command, expected = example.split("\n", 1)
                    done = subprocess.run(
                        ["sh", "-c", command],
                        stdout=subprocess.PIPE,
                        cwd=self.folder,
                        env=environment,
                        check=False,
                    )
                    with self.subTest(page=page.name, command=command):
                        self.assertEqual(done.stdout.decode(), expected)
                    count += 1
        self.assertGreater(count, 0)

    def test_goldens(self):
        self.assertEqual(self.failed, [], "\n".join(self.failed))

    def test_translates_the_phrase_book(self):
        lines = self.ok("translate", "-m", "model", data=BOOK).decode().splitlines()
        right = sum(line == pair[1].replace(" ", "") for line, pair in zip(lines, PAIRS))
        self.assertEqual(len(lines), len(PAIRS))
        self.assertGreater(right, 0.85 * len(PAIRS))

    def test_explain_agrees_with_translate(self):
        text = "Please take me to the museum. Thank you."
        sentences = json.loads(self.ok("explain", "-m", "model", "--json", text))
        joined = " ".join(derivation["output"] for derivation in sentences)
        self.assertEqual(
            self.ok("translate", "-m", "model", "--raw", data=text.encode()).decode(), joined + "\n"
        )
        self.assertEqual(len(sentences), 2)
        for part in (part for derivation in sentences for part in derivation["parts"]):
            best, total = part["derivations"][0], 0
            for step in best["steps"]:
                total += part["options"][step["option"]]["score"] + sum(
                    step[name] * part["weights"][weight]
                    for name, weight in [
                        ("joint", "language"),
                        ("reordering", "reordering"),
                        ("distortion", "distortion"),
                    ]
                )
                is_last = step is best["steps"][-1]
                self.assertAlmostEqual(step["score"], total + is_last * best["end_score"], 3)
        self.ok(
            "explain",
            "-m",
            "model",
            "--html",
            "derivation.html",
            text + b" <b>\xff".decode("utf-8", "surrogateescape"),
        )
        page = (self.folder / "derivation.html").read_text("utf-8", "replace")
        self.assertIsNone(re.search(r"https?://(?!www.w3.org/2000/svg')|src=|<link|@import", page))
        self.assertNotIn("<b>", page.replace("</b>", "").replace('"><b>', ""))
        for key in set(re.findall(r'data-k="([\d-]+)"', page)):  # both rows, scores and options
            self.assertGreaterEqual(page.count(f'data-k="{key}"'), 3)

    def test_any_number_of_threads_and_processes_gives_the_same_bytes(self):
        chance = random.Random(7)
        words = sorted({w for pair in PAIRS for w in pair[0].split()})
        text = "".join(
            " ".join(chance.choices(words, k=chance.randrange(12))) + "\n" for _ in range(400)
        ).encode()
        results = {
            self.ok("translate", "-m", "model", "--threads", n, data=text) for n in (1, 2, 8)
        }
        self.assertEqual(len(results), 1)
        self.assertEqual(next(iter(results)).count(b"\n"), 400)
        lines = text.splitlines(keepends=True)  # a process for each partition, as in Spark's pipe
        parts = [lines[a:b] for a, b in ((0, 0), (0, 7), (7, 7), (7, 300), (300, 400))]
        joined = b"".join(self.ok("translate", "-m", "model", data=b"".join(p)) for p in parts)
        self.assertEqual({joined}, results)
        if not shutil.which("parallel"):
            self.skipTest("GNU parallel is not installed")
        for more in (["--jobs", "2"], ["--sshlogin", "2/:"]):
            done = subprocess.run(
                [
                    "parallel",
                    "--will-cite",
                    "--pipe",
                    "--keep-order",
                    *more,
                    "-N",
                    "50",
                    KORA,
                    "translate",
                    "-m",
                    "model",
                ],
                input=text,
                capture_output=True,
                check=True,
                cwd=self.folder,
            )
            self.assertEqual({done.stdout}, results, more)

    def test_memory_does_not_grow_with_the_input(self):
        def peak(lines):  # in kilobytes
            script = (
                f"import resource, subprocess, sys\nyes = subprocess.Popen(['sh', '-c', \"yes "
                f"'where is the station ?' | head -{lines}\"], stdout=subprocess.PIPE)\n"
                "subprocess.run(sys.argv[1:], stdin=yes.stdout, stdout=subprocess.DEVNULL, "
                "check=True)\nprint(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)"
            )
            return int(
                subprocess.check_output(
                    [
                        sys.executable,
                        "-c",
                        script,
                        KORA,
                        "translate",
                        "--threads",
                        "2",
                        "-m",
                        "model",
                    ],
                    cwd=self.folder,
                )
            )

        self.assertLess(peak(100000), 1.1 * peak(1000) + 2000)

    def test_bytes_of_any_kind(self):
        chance = random.Random(3)
        noise = bytes(chance.randrange(256) for _ in range(4000)) + b"\xff\xfe\n\0\0\n"
        (self.folder / "noise").write_bytes(noise)
        for words in (
            "translate -m model --raw",
            "translate -m full --raw --alignment",
            "step -m full source",
            "segment cut --dictionary full/segment",
            "lm -m model",
        ):
            done = self.ok(*words.split(), data=noise)
            if not words.startswith("lm"):
                self.assertEqual(done.count(b"\n"), noise.count(b"\n"), words)
        for data, name in (
            (noise, b"ISO-8859-1"),
            ("water\n".encode("utf-16"), b"UTF-16"),
            ("water\n你好世界\n".encode("gb18030"), b"GB18030"),
        ):
            done = self.run_kora("translate", "-m", "model", data=data)
            self.assertEqual(done.returncode, 1)
            self.assertIn(b"iconv -f " + name, done.stderr)
        self.run_kora("number", "arabic-integer", "english-integer", data=noise)
        inputs = {
            "phrases": "phrases.en-zh",
            "lm": "lm.en-zh",
            "rules": "rules-en.txt",
            "dictionary": "words.txt",
            "entities": "names-en.txt",
            "readings": "readings.txt",
            "reordering": "reordering.en-zh",
        }
        for name in inputs:
            given = [w for k, v in inputs.items() for w in ("--" + k, "noise" if k == name else v)]
            done = self.run_kora("pack", "--direction", "en-zh", *given, "-o", "noisy")
            if name == "readings":  # other lines than readings are skipped
                self.assertIn(done.returncode, (0, 1))
            else:
                self.assertEqual(done.returncode, 1, (name, done.stderr))
            self.assertIn(b"noise" if done.returncode else b"", done.stderr)
            shutil.rmtree(self.folder / "noisy", ignore_errors=True)

    def test_full_disk_and_closed_pipe(self):
        with open("/dev/full", "wb") as full:
            for words in (
                "vocab -m model",
                "translate -m model",
                "info -m model",
                "--help",
                "explain -m model water",
                "explain -m model --html /dev/full water",
                "check -m model",
                "eval text.zh -r text.zh -l zh",
                "pack --help",
                "lookup -m model water",
                "lm -m model",
                "step -m model",
                "resource unpack full/rules",
                "manual",
                "segment cut --dictionary " "full/segment",
                "number arabic-integer english-integer",
            ):
                done = self.run_kora(*words.split(), data=b"25\n", stdout=full)
                self.assertEqual(done.returncode, 3, (words, done.stderr))
                self.assertTrue(done.stderr.startswith(b"kora: "), words)

        def small_files():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (2048, 2048))

        for words in (
            "pack --direction en-zh --phrases phrases.en-zh --lm lm.en-zh -o limit",
            "resource pack --kind lines text.en -o limit",
            "segment build --words words.txt -o limit",
            "explain -m model --html limit 'where is the station ?'",
            "train --direction en-zh --source text.en --target text.zh -o limit",
        ):
            done = self.run_kora(*shlex.split(words), preexec_fn=small_files)
            self.assertEqual(done.returncode, 3, (words, done.stderr))
            self.assertIn(b"File too large", done.stderr, words)
            self.assertFalse((self.folder / "limit").exists(), words)
        self.assertEqual(self.leftovers(), [])
        done = subprocess.run(
            [
                "bash",
                "-c",
                f"yes water | '{KORA}' translate -m model | head -1; " "echo ${PIPESTATUS[1]}",
            ],
            capture_output=True,
            timeout=60,
            cwd=self.folder,
        )
        self.assertEqual(done.stdout.decode(), "水\n3\n")

    def test_folders_without_rights(self):
        closed = self.folder / "closed"
        shutil.copytree(self.folder / "model", closed)
        closed.chmod(0)
        self.addCleanup(closed.chmod, 0o755)
        # Nothing is closed to root, so that root runs this as somebody else.
        who = {"user": 65534} if os.geteuid() == 0 else {}
        try:
            self.ok("--version", **who)
        except (PermissionError, AssertionError):
            self.skipTest("nobody may not run the command from its folder")
        for words in (
            "translate -m closed",
            "check -m closed",
            "vocab --file closed/source.vocab",
            "pack --direction en-zh --phrases closed/p --lm lm.en-zh -o /dev/shm/none",
            "pack --direction en-zh --phrases phrases.en-zh --lm lm.en-zh -o closed/new",
            "resource pack text.en -o closed/new",
            "eval closed/a -r text.zh -l zh",
        ):
            done = self.run_kora(*words.split(), **who)
            self.assertEqual(done.returncode, 3, (words, done.stderr))
            self.assertIn(b"ermission denied", done.stderr, words)

    def test_interrupt(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            filter_ = self.start("translate", "-m", "model", "--threads", "2")
            filter_.stdin.write(b"water\nhalf a li")
            filter_.stdin.flush()
            self.assertEqual(filter_.stdout.readline().decode(), "水\n")
            filter_.send_signal(number)
            self.assertEqual(filter_.wait(60), -number)
            self.assertEqual(filter_.stdout.read(), b"")
        os.mkfifo(self.folder / "slow")
        pack = self.start(
            "pack", "--direction", "en-zh", "--phrases", "slow", "--lm", "lm.en-zh", "-o", "stopped"
        )
        with open(self.folder / "slow", "wb"):
            self.wait_for(lambda: list(self.folder.glob("stopped.part*/lm")))
            pack.send_signal(signal.SIGINT)
            self.assertEqual(pack.wait(60), -signal.SIGINT)
        train = [
            "train",
            "--direction",
            "en-zh",
            "--source",
            "text.en",
            "--target",
            "text.zh",
            "--dev-source",
            "text.en",
            "--dev-target",
            "text.zh",
            "-t",
            2,
            "-o",
            "stopped",
        ]
        process = self.start(*train)
        self.wait_for(lambda: (self.folder / "stopped.work" / "align.done").exists())
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(60), -signal.SIGINT)
        self.assertEqual(self.leftovers(), [])
        self.assertFalse((self.folder / "stopped").exists())
        process = self.start("tune", "-m", "model", "--source", "text.en", "-r", "text.zh")
        self.wait_for(lambda: (self.folder / "model.tune").exists())
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(60), -signal.SIGINT)
        self.assertEqual(self.leftovers(), [])

    def wait_for(self, condition):
        end = time.monotonic() + 60
        while not condition():
            self.assertLess(time.monotonic(), end)
            time.sleep(0.01)

    @staticmethod
    def read_until(descriptor, end):
        """What a terminal showed up to `end`; a single read may return only a part of it."""
        shown = ""
        while not shown.endswith(end) and select.select([descriptor], [], [], 60)[0]:
            shown += os.read(descriptor, 1000).decode()
        return shown

    def test_terminal(self):
        """A line out for each line in, and progress only where a person looks."""
        screen, terminal = pty.openpty()
        process = self.start("translate", "-m", "model", stdout=terminal)
        for _ in range(2):
            process.stdin.write(b"water\n")
            process.stdin.flush()
            self.assertTrue(select.select([screen], [], [], 60)[0])
            self.assertEqual(os.read(screen, 100).decode(), "水\r\n")
        process.stdin.close()
        self.assertEqual((process.wait(60), process.stderr.read()), (0, b""))
        shown = {}
        for place in ("pipe", "terminal"):
            more = {"stderr": terminal} if place == "terminal" else {}
            done = self.run_kora("translate", "-m", "model", data=b"water\n" * 250, **more)
            shown[place] = self.read_until(screen, "\n") if more else done.stderr.decode()
        self.assertEqual(shown["pipe"], "")
        self.assertRegex(
            shown["terminal"],
            r"^\r100 lines, \d+ lines/s\x1b\[K\r200 lines, .*"
            r"\r250 lines, \d+ lines/s\x1b\[K\r\n$",
        )
        with open(self.folder / "text.en", "rb") as text:  # a file has an end to wait for
            subprocess.run(
                [KORA, "translate", "-m", "model"],
                stdin=text,
                stderr=terminal,
                stdout=subprocess.DEVNULL,
                check=True,
                cwd=self.folder,
            )
        self.assertRegex(
            self.read_until(screen, "\n"),
            r"\r100 lines, .* lines/s, \d+ %, \d:\d\d left.*, 100 %, 0:00 left",
        )
        process = self.start("translate", "-m", "model", stdin=terminal)
        self.assertRegex(process.stderr.readline(), b"^reading from the terminal; end with ctrl-D")
        os.write(screen, b"water\n\4")
        self.assertEqual((process.stdout.read().decode(), process.wait(60)), ("水\n", 0))
        for descriptor in (screen, terminal):
            os.close(descriptor)

    def test_help_and_manual(self):
        """Every command has help with examples and exit codes, a man page, and completion."""
        self.ok("manual", "--all", "manual")
        names = re.findall(
            r"^  (\w+) ",
            self.ok("--help").decode().split("SUBCOMMANDS:")[-1].split("Subcommands:")[-1],
            re.MULTILINE,
        )
        self.assertGreaterEqual(len(names), 15)
        self.assertEqual(
            {p.stem for p in (self.folder / "manual").glob("*.1")},
            {"kora"} | {f"kora-{name}" for name in names},
        )
        for name in names:
            text = self.ok(name, "--help").decode()
            page = (self.folder / "manual" / f"kora-{name}.1").read_text()
            self.assertRegex(text, "Examples?:\n  ", name)
            self.assertIn("Exit codes: 0 fine", text)
            for heading in ("DESCRIPTION", "EXIT STATUS") + ("ENVIRONMENT",) * ("--model" in text):
                self.assertIn(f".SH {heading}\n", page, name)
            for option in re.findall(r"^ +(?:-\w,)?(--[\w-]+)", text, re.MULTILINE):
                self.assertIn("\\fB" + option.replace("-", "\\-"), page)
        cases = [
            ("kora ''", 1, "translate"),
            ("kora tr", 1, "train"),
            ("kora vocab --side ''", 3, "source"),
            ("kora pack --direction e", 3, "en-zh"),
            ("kora resource pack --kind ''", 4, "entities"),
            ("kora resource ''", 2, "unpack"),
            ("kora translate --al", 2, "--alignment"),
            ("kora translate -m ''", 3, "full"),
            ("kora pack --phrases phr", 3, "phrases.en-zh"),
            ("kora man", 1, "manual"),
        ]
        for words, at, wanted in cases:
            script = (
                f"source manual/kora.bash; COMP_WORDS=({words}) COMP_CWORD={at}; _kora; "
                "printf '%s\\n' \"${COMPREPLY[@]}\""
            )
            done = subprocess.run(["bash", "-ec", script], capture_output=True, cwd=self.folder)
            self.assertIn(wanted, done.stdout.decode().split("\n"), (words, done.stderr))
        with contextlib.suppress(FileNotFoundError):
            for page in (self.folder / "manual").glob("*.1"):
                done = subprocess.run(["groff", "-man", "-ww", "-z", page], capture_output=True)
                self.assertEqual(done.stderr.decode(), "", page)

    def test_tuned_weights_are_not_lost(self):
        shutil.copytree(self.folder / "trained", self.folder / "tuned")
        conf = self.folder / "tuned" / "decoder.conf"
        conf.write_text(re.sub(r"(?<=\[lang-weight\]\n).*", "0.75", conf.read_text()))
        before = {p.name: p.read_bytes() for p in conf.parent.iterdir()}
        train = [
            "train",
            "--direction",
            "zh-en",
            "--source",
            "text.zh",
            "--target",
            "text.en",
            "--order",
            2,
            "-o",
            "tuned",
        ]
        done = self.run_kora(*train)
        self.assertEqual(done.returncode, 3)
        self.assertRegex(
            done.stderr.decode(),
            "^kora: tuned: holds weights that were tuned; give "
            "--dev-source .*, choose another name with -o, or replace it with --force",
        )
        self.assertEqual({p.name: p.read_bytes() for p in conf.parent.iterdir()}, before)
        self.ok(*train, "--force")
        self.assertNotIn("0.75", conf.read_text())

    def test_chooses_a_model(self):
        for env, code in (({"KORA_MODEL": "model"}, 0), ({}, 3)):
            done = self.run_kora("translate", data=b"water\n", env={**os.environ, **env})
            self.assertEqual(done.returncode, code)
        other = self.folder / "other" / "models"
        shutil.copytree(self.folder / "model", other / "one")
        done = self.run_kora("translate", data=b"water\n", cwd=other.parent)
        self.assertEqual(done.stdout.decode(), "水\n")

    def test_check_finds_damage(self):
        """The table of docs/check.md."""
        kinds = list(damage.answers(KORA, self.folder / "full"))
        accepted = [kind for kind in kinds if kind[3] != 1]
        self.assertEqual(accepted, [])
        self.assertGreater(len(kinds), 100)


if __name__ == "__main__":
    if len(sys.argv) > 2:
        Command.folder = pathlib.Path(sys.argv[2])
        Command.folder.mkdir(parents=True)
        write_all(Command.folder)
        for block in read_cases(HERE / "goldens.txt"):
            if block["words"][0] == "pack":
                Command.run_kora(*block["words"])
        sys.exit()
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
