"""Word lists and names from Debian packages, as plain text for the toolkit's builders. Each module
has PACKAGES, LICENCE and write(cache, folder, ...), which returns {file: lines written}."""
import os


def save(folder, name, lines):
    """Writes a file whole or not at all; returns {name: number of lines}."""
    lines = list(lines)
    temporary = os.path.join(folder, name + ".new")
    with open(temporary, "w", encoding="utf-8", newline="\n") as f:
        f.writelines(line + "\n" for line in lines)
    os.replace(temporary, os.path.join(folder, name))
    return {name: len(lines)}
