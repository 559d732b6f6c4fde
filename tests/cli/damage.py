"""Damages copies of a model folder in a hundred ways and says what kora check answers.

Usage: damage.py KORA MODEL    prints the table of docs/check.md
"""

import hashlib
import pathlib
import shutil
import struct
import subprocess
import sys
import tempfile


def put(offset, form, value):
    def change(content):
        at = offset(content) if callable(offset) else offset
        struct.pack_into(form, content, at, value(content) if callable(value) else value)

    return change


def add(offset, form, step):
    def change(content):
        at = offset(content) if callable(offset) else offset
        (old,) = struct.unpack_from(form, content, at)
        struct.pack_into(form, content, at, old + step)

    return change


def lm_tail(content):  # where the back-off offset stands
    return 2 + 6 * struct.unpack_from("<H", content, 0)[0]


def lm_head_with_tree(which):
    def find(content):
        heads = [
            2 + 6 * w
            for w in range(struct.unpack_from("<H", content, 0)[0])
            if struct.unpack_from("<H", content, 2 + 6 * w)[0] != 65535
        ]
        return heads[which]

    return find


def lm_tree(content):  # position of a tree whose root group has a header
    (count,) = struct.unpack_from("<i", content, lm_tail(content) + 4)
    for i in range(count - 1):
        (position,) = struct.unpack_from("<I", content, lm_tail(content) + 8 + 4 * i)
        if struct.unpack_from("<H", content, position + 4)[0] == 65535:
            return position
    raise ValueError("no tree with a header")


def share_tree(content):
    tree = content[lm_head_with_tree(0)(content) :][:2]
    at = lm_head_with_tree(1)(content)
    content[at : at + 2] = tree


def vocab_keys(content):
    return 16 + 4 * struct.unpack_from("<Q", content, 0)[0]


def first_head(field):  # an entry of the head file that has this field
    def find(content):
        for w in range(struct.unpack_from("<Q", content, 0)[0]):
            if struct.unpack_from("<I", content, 8 + 8 * w + field)[0] != 0xFFFFFFFF:
                return 8 + 8 * w + field
        raise ValueError("no entry")

    return find


def share_block(content):  # all first words have the block of the first
    first = content[first_head(0)(content) :][:4]
    for w in range(struct.unpack_from("<Q", content, 0)[0]):
        if struct.unpack_from("<I", content, 8 + 8 * w)[0] != 0xFFFFFFFF:
            content[8 + 8 * w : 12 + 8 * w] = first


def node_header(content):
    return next(at for at in range(0, len(content), 10) if content[at : at + 2] == b"\xff\xff")


def node(step):
    return lambda content: node_header(content) + step


def phrase_code(which):  # a code of the first entry of the first block
    return lambda content: 5 + 2 * content[4] + which


def drop(count):
    def change(content):
        del content[-count:]

    return change


def extend(text):
    def change(content):
        content.extend(text)

    return change


def empty(content):
    content.clear()


def swap_strings(content):
    at = vocab_keys(content)
    content[at] = 0xFE


def strip_end(content):
    content[-1] = 1


def replace(old, new):
    return lambda content: content.__setitem__(slice(None), content.replace(old, new, 1))


def trie_at(section):  # where the pages, bases, checks, values or extra bytes of a trie begin
    def find(content):
        pages, nodes = struct.unpack_from("<II", content, 8)
        return 24 + 2 * 4352 + [0, 512 * pages][section > 0] + nodes * [0, 0, 4, 8, 10][section]

    return find


trie_pages, trie_base, trie_check, trie_values, trie_extra = map(trie_at, range(5))


def trie_key(content):  # the value of the first node that ends a key
    at = trie_values(content)
    return next(at + i for i in range(0, trie_extra(content) - at, 2) if content[at + i])


def trie_leaf(content):  # the value of a node that no other one hangs from
    parents = set(
        struct.unpack_from(
            f"<{struct.unpack_from('<I', content, 12)[0]}I", content, trie_check(content)
        )
    )
    at = trie_values(content)
    return next(
        at + i
        for i in range(0, trie_extra(content) - at, 2)
        if content[at + i] and i // 2 not in parents
    )


def trie_value(content):
    return struct.unpack_from("<H", content, trie_key(content))[0]


def trie_node(content):  # how far the check of that node is after the first one
    return 4 * ((trie_key(content) - trie_values(content)) // 2)


def trie_record(content):  # the first record of the strings with a fixed segmentation
    at = trie_extra(content)
    return at + struct.unpack_from("<I", content, at + 4)[0]


def trie_block(which):  # the number of the page of a block that has one
    return lambda content: [
        24 + 2 * b for b in range(4352) if content[24 + 2 * b : 26 + 2 * b] != b"\xff\xff"
    ][which]


def pinyin_tail(content):
    return 4 + 5 * struct.unpack_from("<I", content, 0)[0]


def put_lines(lines):
    """Scrambled records of these lines, as docs/format-resource.md says."""

    def change(content):
        size = 1 + max(len(line) for line in lines)
        content[:] = struct.pack("<i", size)
        for line in lines:
            record = bytearray(line.encode())
            for i in range(0, len(record) - 1, 2):
                swap = (record[i] ^ record[i + 1]) & 0xAC
                record[i] ^= swap
                record[i + 1] ^= swap
            content.extend(bytes((b >> 3 | b << 5) & 0xFF for b in record).ljust(size, b"\0"))

    return change


RECORDS = [
    ("records of 0 bytes", put(0, "<i", 0)),
    ("records of -1 bytes", put(0, "<i", -1)),
    ("records one byte longer", add(0, "<i", 1)),
    ("an incomplete record", extend(b"x")),
    ("bytes after the end of a line", lambda c: c.extend(b"\0" * (c[0] - 1) + b"x")),
]
SEGMENT = [
    ("of another kind", put(0, "<B", 0x4B)),
    ("ends inside its head", lambda c: c.__delitem__(slice(20, None))),
    ("a page more", add(8, "<I", 1)),
    ("2^31 pages", put(8, "<I", 1 << 31)),
    ("a page less", add(8, "<I", -1)),
    ("no nodes", put(12, "<I", 0)),
    ("a node less", add(12, "<I", -1)),
    ("2^31 nodes", put(12, "<I", 1 << 31)),
    ("an extra byte less", lambda c: (add(16, "<I", -1) if c[16] else add(16, "<I", 1))(c)),
    ("a block of a page that is not there", put(trie_block(0), "<H", 60000)),
    ("two blocks of one page", put(trie_block(0), "<H", 1)),
    ("a block that loses its page", put(trie_block(0), "<H", 65535)),
    (
        "two characters of one code",
        lambda c: c.__setitem__(
            slice(trie_pages(c), trie_base(c)),
            bytes(c[trie_pages(c) : trie_base(c)]).replace(b"\2\0", b"\1\0", 1),
        ),
    ),
    (
        "a character that loses its code",
        lambda c: c.__setitem__(
            slice(trie_pages(c), trie_base(c)),
            bytes(c[trie_pages(c) : trie_base(c)]).replace(b"\2\0", b"\0\0", 1),
        ),
    ),
    ("the root hangs from a node", put(trie_check, "<I", 5)),
    ("a node hangs from another one", lambda c: add(trie_check(c) + trie_node(c), "<I", 1)(c)),
    (
        "a node hangs from itself",
        lambda c: put(trie_check(c) + trie_node(c), "<I", trie_node(c) // 4)(c),
    ),
    ("a node hangs from nothing", lambda c: put(trie_check(c) + trie_node(c), "<I", 0xFFFFFFFF)(c)),
    ("the root's children elsewhere", add(trie_base, "<I", 1)),
    ("a way that ends at no key", put(trie_leaf, "<H", 0)),
    ("an empty key", put(trie_values, "<H", 3)),
    ("bytes at the end", extend(b"xyz")),
]
VOCAB = [
    ("ends inside its head", lambda c: c.__delitem__(slice(12, None))),
    ("one entry more", add(0, "<Q", 1)),
    ("2^40 entries", put(0, "<Q", 1 << 40)),
    ("one entry less", add(0, "<Q", -1)),
    ("strings one byte longer", add(8, "<Q", 1)),
    ("strings of 2^60 bytes", put(8, "<Q", 1 << 60)),
    ("first string out of order", swap_strings),
    ("an id of -1", put(16, "<i", -1)),
    ("an id of 65,000", put(16, "<i", 65000)),
    ("last string without end", strip_end),
    ("bytes at the end", extend(b"xyz")),
]
STRUCTURE = {
    "source.vocab": VOCAB,
    "target.vocab": VOCAB,
    "lm": [
        ("no words", put(0, "<H", 0)),
        ("65,535 words", put(0, "<H", 65535)),
        ("back-off offset is no number", put(lm_tail, "<f", float("nan"))),
        ("back-off offset above 0", put(lm_tail, "<f", 1.0)),
        ("back-off offset of -1000", put(lm_tail, "<f", -1000.0)),
        ("number of trees is -1", put(lambda c: lm_tail(c) + 4, "<i", -1)),
        ("2^30 trees", put(lambda c: lm_tail(c) + 4, "<i", 1 << 30)),
        ("one tree less", add(lambda c: lm_tail(c) + 4, "<i", -1)),
        ("a word's tree is beyond the last", put(lm_head_with_tree(0), "<H", 65000)),
        ("two words share a tree", share_tree),
        ("a word loses its tree", put(lm_head_with_tree(0), "<H", 65535)),
        ("first tree begins in the head", put(lambda c: lm_tail(c) + 8, "<I", 3)),
        ("second tree begins outside", put(lambda c: lm_tail(c) + 12, "<I", 0xFFFFFFF0)),
        ("a tree of 2^31 nodes", put(lm_tree, "<I", 1 << 31)),
        ("a header with 0 children", put(lambda c: lm_tree(c) + 6, "<H", 0)),
        ("a header with 60,000 children", put(lambda c: lm_tree(c) + 6, "<H", 60000)),
        ("a key beyond the vocabulary", put(lambda c: lm_tree(c) + 12, "<H", 60000)),
        ("keys out of order", put(lambda c: lm_tree(c) + 20, "<H", 0)),
        ("a link that leaves the tree", put(lambda c: lm_tree(c) + 14, "<H", 50000)),
        ("a link backwards", put(lambda c: lm_tree(c) + 22, "<H", 2)),
        ("a tree of no nodes", put(lm_tree, "<I", 0)),
        ("a tree of a node less", add(lm_tree, "<I", -1)),
        ("a header with a child less", add(lambda c: lm_tree(c) + 6, "<H", -1)),
        ("bytes at the end", extend(b"12345678")),
    ],
    "phrases": [
        ("2^50 first words", put(0, "<Q", 1 << 50)),
        ("one first word more", add(0, "<Q", 1)),
        ("one first word less", add(0, "<Q", -1)),
        ("a block outside the data", put(first_head(0), "<I", 0xFFFFFFF0)),
        ("a block one byte further", add(first_head(0), "<I", 1)),
        ("all first words share a block", share_block),
        ("a group outside the nodes", put(first_head(4), "<I", 0xFFFFFFF0)),
        ("a group one record further", add(first_head(4), "<I", 1)),
        ("another count at the end", put(lambda c: len(c) - 8, "<Q", 1)),
        ("bytes at the end", extend(b"12345678")),
    ],
    "phrases.nodes": [
        ("an incomplete record", extend(b"123")),
        ("a record too many", extend(b"\x01\x01\xff\xff\xff\xff\0\0\0\0")),
        ("a header with 0 children", put(node(2), "<i", 0)),
        ("a header with -5 children", put(node(2), "<i", -5)),
        ("a header with one child less", add(node(2), "<i", -1)),
        ("a header with 65,000 children", put(node(2), "<i", 65000)),
        ("keys out of order", put(node(10), "<H", 65000)),
        ("a link of 0", put(node(12), "<i", 0)),
        ("a link that leaves the file", put(node(12), "<i", 1 << 30)),
        ("neither block nor children", put(node(12), "<i", 1)),
        ("the least link", put(node(12), "<i", -(1 << 31))),
    ],
    "phrases.data": [
        ("a block of 4 GB", put(0, "<I", 0xFFFFFFFF)),
        ("a block one byte shorter", add(0, "<I", -1)),
        ("an entry of no words", put(4, "<B", 0)),
        ("an entry of 15 words", put(4, "<B", 15)),
        ("a word beyond the vocabulary", put(5, "<H", 65000)),
        ("a tag word that the vocabulary does not have", put(5, "<H", 255)),
        ("a code beyond the samples", put(phrase_code(0), "<B", 255)),
        ("a reordering index beyond the last", put(phrase_code(3), "<B", 216)),
    ],
    "phrases.quant": [
        ("-1 samples", put(0, "<i", -1)),
        ("2^30 samples", put(0, "<i", 1 << 30)),
        ("one sample less", add(0, "<i", -1)),
        (
            "no samples",
            lambda c: c.__setitem__(slice(0, 4 + 4 * struct.unpack_from("<i", c, 0)[0]), bytes(4)),
        ),
        ("a sample that is no number", put(4, "<f", float("nan"))),
        ("a sample above the next", put(4, "<f", 1e9)),
        ("bytes at the end", extend(b"1234")),
    ],
    "segment": SEGMENT
    + [
        ("a parameter of 0", put(20, "<I", 0)),
        ("extra bytes", lambda c: (put(16, "<I", 2)(c), c.extend(b"ab"))),
        ("a key of no cost", put(trie_key, "<H", 1)),
    ],
    "segment-names": SEGMENT
    + [
        ("the costs of one character less", lambda c: (add(16, "<I", -6)(c), drop(6)(c))),
        ("an impossible cost", lambda c: put(len(c) - 2, "<H", 40000)(c)),
    ],
    "segment-ambiguous": SEGMENT
    + [
        ("a parameter of 7", put(20, "<I", 7)),
        ("a record more", add(trie_extra, "<I", 1)),
        ("2^30 records", put(trie_extra, "<I", 1 << 30)),
        ("records out of order", add(lambda c: trie_extra(c) + 4, "<I", 3)),
        ("a record of no words", put(trie_record, "<B", 0)),
        ("a record of 250 words", put(trie_record, "<B", 250)),
        ("a word longer than its key", add(lambda c: trie_record(c) + 1, "<B", 3)),
        ("a key of a record that is not there", put(trie_key, "<H", 9)),
        ("two keys of one record", put(trie_key, "<H", lambda c: 3 - trie_value(c))),
    ],
    "pinyin": [
        ("no characters", put(0, "<I", 0)),
        ("2^30 characters", put(0, "<I", 1 << 30)),
        ("one character less", add(0, "<I", -1)),
        ("a character of two bytes", put(4, "<B", 0xC4)),
        ("characters out of order", lambda c: c.__setitem__(slice(4, 7), c[9:12])),
        ("a reading beyond the last", put(7, "<H", 7)),
        ("two characters of one reading", put(7, "<H", lambda c: int(c[12]))),
        ("no readings", put(pinyin_tail, "<I", 0)),
        ("one reading more", add(pinyin_tail, "<I", 1)),
        ("a longest reading of 0", put(lambda c: pinyin_tail(c) + 4, "<I", 0)),
        ("a longest reading of 2^31", put(lambda c: pinyin_tail(c) + 4, "<I", 1 << 31)),
        ("a reading in capitals", put(lambda c: pinyin_tail(c) + 8, "<B", 65)),
        ("a reading without end", put(lambda c: len(c) - 1, "<B", 97)),
        ("bytes at the end", extend(b"xyz")),
    ],
    "rules": RECORDS + [("a rule without type", put_lines(["25 dollars ||| 25"]))],
    "entities": RECORDS
    + [
        ("out of order", put_lines(["b\tLOC\tB", "a\tLOC\tA"])),
        ("one phrase twice", put_lines(["a\tLOC\tA", "a\tLOC\tB"])),
        ("an entry without target", put_lines(["a\tLOC"])),
    ],
    "recase": RECORDS
    + [
        ("a head of two numbers", put_lines(["1 1", "London"])),
        ("a head with another count", put_lines(["1 2 7", "London"])),
        ("a head with another size", put_lines(["1 1 9", "London"])),
        ("a head with other words", put_lines(["3 1 7", "London"])),
        ("out of order", put_lines(["1 2 14", "London", "Berlin"])),
        ("one entry twice", put_lines(["1 2 14", "London", "LONDON"])),
    ],
    "anti-names": RECORDS
    + [
        ("out of order", put_lines(["b", "a"])),
        ("one name twice", put_lines(["a", "a"])),
    ],
    "decoder.conf": [
        ("another language model file", replace(b"\nlm\n", b"\nml\n")),
        ("a stack of 0", replace(b"[stack]\n100", b"[stack]\n0")),
        ("a stack of 1001", replace(b"[stack]\n100", b"[stack]\n1001")),
        ("options of 5000", replace(b"[option]\n20", b"[option]\n5000")),
        ("a beam of words", replace(b"[beam]\n", b"[beam]\n9 or so ")),
        ("a weight that is no number", replace(b"[lang-weight]\n0.5", b"[lang-weight]\nnan")),
        ("another version of the entries", replace(b"[compress]\n1", b"[compress]\n0")),
    ],
    "engine.conf": [
        ("an unknown direction", replace(b"zh-en", b"zh-xx")),
        ("a direction from Thai", replace(b"zh-en", b"th-en")),
        ("a rule file that is not there", replace(b"\nrules\n", b"\nnowhere\n")),
        (
            "names in the place of words",
            replace(b"[segment]\nsegment", b"[segment]\nsegment-names"),
        ),
    ],
}
# The manifest alone has to notice these.
ANY_FILE = [
    ("missing", None),
    ("empty", empty),
    ("cut short by eight bytes", drop(8)),
    ("one bit changed in the middle", lambda c: c.__setitem__(len(c) // 2, c[len(c) // 2] ^ 1)),
]


def refresh_manifest(folder, name):
    manifest = folder / "manifest.conf"
    content = (folder / name).read_bytes()
    new = f"{hashlib.sha256(content).hexdigest()} {len(content)} {name}"
    lines = [
        new if line.endswith(" " + name) else line
        for line in manifest.read_text("utf-8").split("\n")
    ]
    text = "\n".join(lines).partition("[digest]\n")[0]
    digest = hashlib.sha256(text.encode()).hexdigest()
    manifest.write_text(f"{text}[digest]\n{digest}\n", "utf-8")


def kinds(model):
    """(file, kind, change, whether the manifest is made to agree) of every damage."""
    for name in sorted(p.name for p in pathlib.Path(model).iterdir()):
        for kind, change in ANY_FILE:
            yield name, kind, change, False
    for name, changes in STRUCTURE.items():
        for kind, change in changes:
            yield name, kind, change, True


def answers(kora, model):
    """Runs kora check on every damage: yields (file, kind, agrees, exit code, first line)."""
    with tempfile.TemporaryDirectory() as temporary:
        copy = pathlib.Path(temporary) / "model"
        for name, kind, change, agrees in kinds(model):
            shutil.copytree(model, copy)
            path = copy / name
            if change is None:
                path.unlink()
            else:
                content = bytearray(path.read_bytes())
                before = bytes(content)
                change(content)
                if content == before:
                    raise AssertionError(f"{name}: {kind}: changes nothing")
                path.write_bytes(content)
                if agrees:
                    refresh_manifest(copy, name)
            done = subprocess.run([kora, "check", "-m", str(copy)], capture_output=True)
            text = (done.stdout + done.stderr).decode("utf-8", "replace")
            line = text.replace(str(copy) + "/", "").replace(str(copy), "model").split("\n")[0]
            yield name, kind, agrees, done.returncode, line
            shutil.rmtree(copy)


if __name__ == "__main__":
    print("| File | Damage | Manifest | What `kora check` says first |\n|---|---|---|---|")
    for name, kind, agrees, code, line in answers(sys.argv[1], sys.argv[2]):
        print(f"| `{name}` | {kind} | {'made to agree' if agrees else 'as it was'} | {line} |")
