"""What the `kora` command does better than a library call: making models and scoring them.

Each function runs the command, which is $KORA_COMMAND or the first `kora` on the PATH, and raises
CommandError with its message and exit code when it fails.
"""

from __future__ import annotations

import os
import pathlib
import re
import shutil
import subprocess
import tempfile
from typing import Any, List, NamedTuple, Optional, Sequence, Union

from ._errors import BadArgumentError, CommandError

Path = Union[str, "os.PathLike[str]"]


def run_command(*words: Union[str, "os.PathLike[str]"]) -> str:
    """Runs `kora WORDS...` and gives what it writes; progress goes to standard error."""
    command = os.environ.get("KORA_COMMAND") or shutil.which("kora")
    if command is None:
        raise CommandError("no kora command on the PATH; install it, or name it in KORA_COMMAND")
    try:
        done = subprocess.run(
            [command, *(os.fspath(word) for word in words)],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.PIPE,
            encoding="utf-8",
            errors="replace",
        )
    except OSError as cause:
        raise CommandError(f"{command}: {cause.strerror}") from cause
    if done.returncode != 0:
        said = done.stderr.strip() or f"kora ended with {done.returncode}"
        raise CommandError(said.replace("kora: ", "", 1), done.returncode)
    return done.stdout


def _options(options: dict[str, Any]) -> List[str]:
    """dev_source="a" becomes --dev-source a; True a flag; a list several values; None nothing."""
    words: List[str] = []
    for name, value in options.items():
        if value is None or value is False:
            continue
        words.append("--" + name.replace("_", "-"))
        if value is True:
            continue
        values = value if isinstance(value, (list, tuple)) else [value]
        words += [os.fspath(v) if isinstance(v, (str, os.PathLike)) else str(v) for v in values]
    return words


def train(
    output: Path, *, direction: str, source: Path, target: Path, **options: Any
) -> pathlib.Path:
    """Makes a model folder from parallel text: `kora train`.

    source, target    files with a sentence a line, line by line translations of each other
    options           those of the command with _ for -, such as dev_source=, threads=, order=

    Run again with the same arguments it goes on where it was stopped. Gives the folder.
    """
    given = {"direction": direction, "source": source, "target": target, **options}
    run_command("train", *_options(given), "--output", output)
    return pathlib.Path(output)


def pack(output: Path, *, direction: str, phrases: Path, lm: Path, **options: Any) -> pathlib.Path:
    """Makes a model folder from a phrase table and a language model in text form: `kora pack`.

    options    those of the command with _ for -, such as rules=, entities=, max_targets=

    The folder must not exist. Gives it.
    """
    given = {"direction": direction, "phrases": phrases, "lm": lm, **options}
    run_command("pack", *_options(given), "--output", output)
    return pathlib.Path(output)


class Score(NamedTuple):
    """A score from 0 to 100, the bounds of its 95 % interval, and the signature to publish."""

    value: float
    low: float
    high: float
    signature: str


class Scores(NamedTuple):
    """Scores of a translation; higher is better."""

    bleu: Score
    chrf: Score


Lines = Union[Path, Sequence[str]]


def _write_lines(folder: str, name: str, lines: Lines) -> Path:
    if isinstance(lines, (str, os.PathLike)):
        return lines
    path = os.path.join(folder, name)
    with open(path, "w", encoding="utf-8", newline="") as file:
        for i, line in enumerate(lines):
            if "\n" in line:
                raise BadArgumentError(
                    f"{name}, line {i}: holds a line end; give a sentence a line"
                )
            file.write(line + "\n")
    return path


def evaluate(
    translations: Lines,
    references: Union[Lines, Sequence[Sequence[str]]],
    *,
    language: str,
    lower_case: bool = False,
    tokenizer: Optional[str] = None,
) -> Scores:
    """BLEU and chrF of translations: `kora eval`.

    translations    a file, or a list of lines
    references      the same, or a list of several such lists: several references for each line
    language        of the text, such as "zh": chooses how it is cut into words
    """
    several: List[Any] = (
        list(references)
        if not isinstance(references, (str, os.PathLike))
        and len(references) > 0
        and not isinstance(references[0], str)
        else [references]
    )
    with tempfile.TemporaryDirectory(prefix="kora") as folder:
        ours = _write_lines(folder, "translations", translations)
        files = [_write_lines(folder, f"reference {i}", lines) for i, lines in enumerate(several)]
        options = {"language": language, "lower_case": lower_case, "tokenizer": tokenizer}
        printed = run_command("eval", ours, *_options({"reference": files, **options}))

    def score(name: str) -> Score:
        number = r"(-?[\d.]+|nan)"
        found = re.search(
            rf"^{name}\d*\s+{number}\s+\[{number}, {number}\]$", printed, re.MULTILINE
        )
        signature = re.search(rf"^{name}\d*\s+(nrefs:\S+)$", printed, re.MULTILINE)
        if found is None or signature is None:
            raise CommandError(f"the command printed no {name}: is it of this release?\n{printed}")
        low, middle, high = (float(found.group(i)) for i in (2, 1, 3))
        return Score(middle, low, high, signature.group(1))

    return Scores(score("BLEU"), score("chrF"))
