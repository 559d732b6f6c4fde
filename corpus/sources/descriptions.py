"""The package descriptions that apt shows, for tests alone: short advertising prose about
software."""
import re

from corpus.sources import Document, Source, locales

_FIELD = re.compile(r"^([\w-]+): ?(.*)$")


def read_descriptions(text):
    """{digest of the English description: (package, [paragraphs])} of an apt list of descriptions.
    The first paragraph is the short description; indented lists are left out."""
    found = {}
    for stanza in re.split(r"\n{2,}", text):
        fields, lines, name = {}, [], ""
        for line in stanza.split("\n"):
            if match := _FIELD.match(line):
                name = match.group(1)
                fields[name] = match.group(2)
            elif name.startswith("Description-") and line.startswith(" "):
                lines.append(line[1:])
        short = next(
            (v for k, v in fields.items() if re.fullmatch(r"Description-(?!md5)\w+", k)), None
        )
        if short is None or "Description-md5" not in fields:
            continue
        paragraphs, current = [short], []
        for line in lines + ["."]:
            if line == "." or line.startswith(" "):
                if current:
                    paragraphs.append(current)
                current = []
            else:
                current.append(line)
        found[fields["Description-md5"]] = (fields.get("Package", ""), paragraphs)
    return found


def _join(lines, language):
    # Normalising takes the blanks between Chinese signs away again.
    return (
        lines if isinstance(lines, str) else ("" if language in ("ja", "th") else " ").join(lines)
    )


def _documents(cache, language, task):
    foreign = {}
    for locale in locales(language):
        foreign = foreign or read_descriptions(cache.description_lists(locale))
    english = read_descriptions(cache.description_lists("en"))
    for digest, (package, paragraphs) in sorted(
        foreign.items(), key=lambda item: (item[1][0], item[0])
    ):
        if digest in english and len(paragraphs) == len(english[digest][1]):
            both = zip(english[digest][1], paragraphs)
            segments = [(_join(a, "en"), _join(b, language)) for a, b in both]
            yield Document(f"descriptions:{package}", segments)


SOURCE = Source(
    "descriptions",
    "package descriptions",
    "GPL-2+",
    lambda language: [],
    lambda language: [0],
    _documents,
)
