"""The project's own phrase book in data/phrasebook: sentences of daily life by topic, and the ones
kept back to tune and to measure on."""
import os

from corpus.sources import Document, Source

FOLDER = os.path.join(
    os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__)))),
    "data",
    "phrasebook",
)
LANGUAGES = {"English": "en", "Chinese": "zh", "Japanese": "ja", "Korean": "ko"}


def read_table(path):
    """[{column: text}] of a table with tabs whose first line names the columns after a #. Names of
    languages become their codes. Raises ValueError that names the file and the line."""
    with open(path, encoding="utf-8") as f:
        head, *lines = f.read().splitlines() or [""]
    if not head.startswith("#"):
        raise ValueError(f"{path}:1: the first line must name the columns after a #")
    columns = [LANGUAGES.get(c.strip(), c.strip()) for c in head[1:].split("\t")]
    rows = []
    for number, line in enumerate(lines, 2):
        fields = line.split("\t")
        if len(fields) != len(columns):
            raise ValueError(f"{path}:{number}: {len(fields)} columns instead of {len(columns)}")
        rows.append(dict(zip(columns, fields)))
    return rows


def topics(folder=FOLDER):
    """{topic: path} of the tables of sentences."""
    sentences = os.path.join(folder, "sentences")
    names = sorted(os.listdir(sentences)) if os.path.isdir(sentences) else []
    return {n[:-4]: os.path.join(sentences, n) for n in names if n.endswith(".tsv")}


def _pairs(path, language):
    return [(r["en"], r[language]) for r in read_table(path) if language in r]


def _tasks(language):
    return list(topics()) if language in LANGUAGES.values() else []


def _documents(cache, language, topic):
    yield Document(f"phrasebook:{topic}", _pairs(topics()[topic], language))


def _kept_back(name, part):
    """The source of dev.tsv or test.tsv; empty while the file is not there."""
    path = os.path.join(FOLDER, part + ".tsv")

    def tasks(language):
        return [part] if language in LANGUAGES.values() and os.path.exists(path) else []

    def documents(cache, language, task):
        yield Document(f"phrasebook:{task}", _pairs(path, language))

    title = {"dev": "phrase book for development", "test": "phrase book for testing"}[part]
    return Source(name, title, _LICENCE, _no_packages, tasks, documents)


def _no_packages(language):
    return []


_LICENCE = "the project's own"
SOURCE = Source("phrasebook", "phrase book", _LICENCE, _no_packages, _tasks, _documents)
DEV = _kept_back("phrasebook-dev", "dev")
TEST = _kept_back("phrasebook-test", "test")
