"""Text models and resources made from phrasebook.tsv, as other tools would write them."""

import collections
import math
import pathlib

PAIRS = [
    line.split("\t")
    for line in (pathlib.Path(__file__).parent / "phrasebook.tsv").read_text("utf-8").splitlines()
]

# Small files that kora pack takes beside the models.
RESOURCES = {
    "memory.tsv": "where is it ?\t它在哪里？\nyes\t\nthank you\t谢谢\n",
    "nothing.tmx": "<tmx><body/></tmx>",
    "surnames.txt": "王\n李\n张\n",
    "ambiguous.txt": "中 山路\n长江 大桥\n",
    "anti.txt": "王国\n张开\n",
    "readings.txt": "".join(
        f"U+{ord(c):04X}\tkMandarin\t{r}\n"
        for c, r in [
            ("王", "wáng"),
            ("李", "lǐ"),
            ("张", "zhāng"),
            ("国", "guó"),
            ("明", "míng"),
            ("伟", "wěi"),
            ("女", "nǚ"),
        ]
    ),
    "recase.txt": "Beijing\nLondon\nI\nEnglish\nChinese\n",
    "names-zh.txt": "# cities\n纽约\tLOC\tNew York\n长 城\tLOC\tthe Great Wall\n"
    "纽约\tLOC\tNew York again\n",
    "names-en.txt": "New York\tLOC\t纽约\nThe Great Wall\tLOC\t长城\n",
    "caps.txt": "Yesterday Anna saw Beijing and London .\nThen Anna went to Beijing , London .\n",
    "bad": "a ||| b ||| x\n",
    "tiny": "ab\n",
    "nothing": "",
    "escaped": "it &apos;s ||| 它 ||| 1 1 1 1\nIt ||| 它 ||| 1 1 1 1\n",
    "long.en": "good morning\n" + ("water " * 101 + "\n") * 4,
    "long.zh": "早上好\n" + "水\n" * 4,
    "thai.conf": "[direction]\nth-en\n\n[decoder]\ndecoder.conf\n",
    "foreign.conf": "[decoder]\ndecoder.conf\n",
    "rules-en.txt": "%direction en-zh\n(ai) dollars ||| (ai)美元 ||| MONEY\n"
    "#: 25 dollars => 25美元\n",
    "rules-zh.txt": "%direction zh-en\n(ai)美元 ||| $(ai) ||| MONEY\n#: 25美元 => $25\n",
}


def without_end(words):
    """The search does not see the mark at the end."""
    return words[:-1] if words[-1] in (".", "。") else words


def write_models(folder, direction):
    """phrases (sentences, and words by how they occur together), reordering, a bigram lm.arpa."""
    pairs = [(s.split(), t.split()) for s, t in PAIRS]
    if direction == "zh-en":
        pairs = [(t, s) for s, t in pairs]
    source_count, target_count = collections.Counter(), collections.Counter()
    together = collections.Counter()
    table = {}
    for source, target in pairs:
        s, t = without_end(source), without_end(target)
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
    rows = sorted(table.items())
    (folder / f"phrases.{direction}").write_text(
        "".join(f"{s} ||| {t} ||| {p:.4f} {p:.4f} {p:.4f} {p:.4f}\n" for (s, t), p in rows), "utf-8"
    )
    (folder / f"reordering.{direction}").write_text(
        "".join(f"{s} ||| {t} ||| 0.8 0.1 0.1 0.8 0.1 0.1\n" for (s, t), _ in rows), "utf-8"
    )

    one, two, after = collections.Counter(), collections.Counter(), collections.Counter()
    for _, target in pairs:
        words = ["<s>"] + target + ["</s>"]
        one.update(words)
        two.update(zip(words, words[1:]))
        after.update(words[:-1])
    total = sum(one.values())
    lines = ["\\data\\", f"ngram 1={len(one)}", f"ngram 2={len(two)}", "", "\\1-grams:"]
    lines += [f"{math.log10(n / total):.4f}\t{w}\t-0.5" for w, n in sorted(one.items())]
    lines += ["", "\\2-grams:"]
    lines += [f"{math.log10(0.7 * n / after[a]):.4f}\t{a} {b}" for (a, b), n in sorted(two.items())]
    (folder / f"lm.{direction}").write_text("\n".join(lines + ["", "\\end\\", ""]), "utf-8")


def write_all(folder):
    for direction in ("en-zh", "zh-en"):
        write_models(folder, direction)
    for name, text in RESOURCES.items():
        (folder / name).write_text(text, "utf-8")
    counts = collections.Counter(word for _, target in PAIRS for word in target.split())
    counts.update({"王明": 3, "李国明": 3, "张伟": 2})
    (folder / "words.txt").write_text(
        "".join(
            f"{word} {count}{' nr' if word in ('王明', '李国明', '张伟') else ''}\n"
            for word, count in sorted(counts.items())
        ),
        "utf-8",
    )
    (folder / "text.gb").write_text("".join(pair[1] + "\n" for pair in PAIRS), "gb18030")
    (folder / "folder").mkdir()
    (folder / "folder" / "kept").write_text("precious\n")
    for side, name in enumerate(("text.en", "text.zh")):
        (folder / name).write_text(
            "".join(
                (
                    pair[side].capitalize().replace(" .", ".").replace(" ?", "?")
                    if side == 0
                    else pair[side].replace(" ", "")
                )
                + "\n"
                for pair in PAIRS
            ),
            "utf-8",
        )
