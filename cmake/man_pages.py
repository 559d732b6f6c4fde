"""Man pages of section 5 from the pages about file formats: docs/format-NAME.md becomes
kora-NAME.5.

Usage: man_pages.py DOCS FOLDER VERSION
"""

import pathlib
import re
import sys


def inline(text):
    """Markdown within a line as roff."""
    text = re.sub(r"\[([^]]*)\]\([^)]*\)", r"\1", text)
    text = text.replace("\\|", "|").replace("\\", "\\e").replace("-", "\\-")
    text = re.sub(r"`([^`]*)`", r"\\fB\1\\fR", text)
    text = re.sub(r"\*\*([^*]*)\*\*", r"\\fB\1\\fR", text)
    text = re.sub(r"(?<!\w)\*([^*]+)\*(?!\w)", r"\\fI\1\\fR", text)
    return "\\&" + text if text[:1] in (".", "'") else text


def table(rows):
    """A table of tbl(1); its first line is the heading."""
    cells = [re.split(r"(?<!\\)\|", row.strip().strip("|")) for row in rows]
    width = len(cells[0])
    out = [".TS", "tab(@) allbox;", "lB " * width, "lx " * width + "."]
    for index, row in enumerate(cells):
        if index != 1:  # the line of dashes
            row = (row + [""] * width)[:width]
            out.append("@".join("T{\n.na\n" + inline(cell.strip()) + "\nT}" for cell in row))
    return out + [".TE"]


def page(path, version):
    name = "kora-" + path.stem.removeprefix("format-")
    lines = path.read_text("utf-8").splitlines()
    title = lines[0].lstrip("# ")
    out = [
        "'\\\" t",
        f'.TH "{name}" 5 "" "kora {version}" "Kora file formats"',
        ".SH NAME",
        f"{inline(name)} \\- {inline(title)}",
        ".SH DESCRIPTION",
    ]
    rows, code = [], False
    for line in lines[1:] + [""]:
        if line.startswith("```"):
            code = not code
            out.append(".PP\n.nf" if code else ".fi")
        elif code:
            text = line.replace("\\", "\\e").replace("-", "\\-")
            out.append("\\&" + text if text[:1] in (".", "'") else text)
        elif line.startswith("|"):
            rows.append(line)
        else:
            if rows:
                out += table(rows)
                rows = []
            if line.startswith("#"):
                out.append(f'.SH "{inline(line.lstrip("# ")).upper()}"')
            elif re.match(r"[*-] ", line):
                out += [".IP \\(bu 2", inline(line[2:])]
            else:
                out.append(inline(line.strip()) or ".PP")
    return "\n".join(out + [".SH SEE ALSO", ".BR kora (1)", ""])


def main():
    docs, folder, version = sys.argv[1:]
    for path in sorted(pathlib.Path(docs).glob("format-*.md")):
        name = "kora-" + path.stem.removeprefix("format-") + ".5"
        (pathlib.Path(folder) / name).write_text(page(path, version), "utf-8")


if __name__ == "__main__":
    main()
