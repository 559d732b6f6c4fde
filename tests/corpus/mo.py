"""Writes message catalogues for the tests."""
import struct


def catalogue(messages, order="<", charset="UTF-8"):
    """The bytes of a catalogue of {original: translation} as the format wants them."""
    entries = {"": f"Content-Type: text/plain; charset={charset}\n", **messages}
    pairs = sorted((k.encode(charset), v.encode(charset)) for k, v in entries.items())
    count, strings, tables = len(pairs), b"", ([], [])
    start = 28 + 16 * count
    for side in (0, 1):
        for pair in pairs:
            tables[side].append((len(pair[side]), start + len(strings)))
            strings += pair[side] + b"\0"
    head = struct.pack(order + "7I", 0x950412DE, 0, count, 28, 28 + 8 * count, 0, 0)
    return (
        head
        + b"".join(struct.pack(order + "2I", *entry) for table in tables for entry in table)
        + strings
    )
