# SPDX-License-Identifier: GPL-3.0-or-later
"""TIFF files byte by byte, for what no encoder at hand writes."""

import struct

BYTE, ASCII, SHORT, LONG, RATIONAL, SRATIONAL, LONG8 = 1, 2, 3, 4, 5, 10, 16
_CODES = {BYTE: "B", ASCII: "s", SHORT: "H", LONG: "I", RATIONAL: "II", SRATIONAL: "ii",
          LONG8: "Q"}


def _packed(kind, values, order):
    if kind == ASCII:
        return len(values) + 1, values.encode() + b"\0"
    code = _CODES[kind]
    if len(code) == 2:
        values = [part for value in values for part in (round(value * 10000), 10000)]
    count = len(values) // len(code)
    return count, struct.pack(f"{order}{len(values)}{code[0]}", *values)


def _directory(tags, order, big, start, following):
    """The directory that begins at `start`, with what does not fit into its entries behind it."""
    room = 8 if big else 4
    size = "Q" if big else "I"
    behind_start = start + (8 if big else 2) + (20 if big else 12) * len(tags) + room
    entries, behind = b"", b""
    for tag, (kind, values) in sorted(tags.items()):
        count, value = _packed(kind, values, order)
        if len(value) > room:
            value, behind = (struct.pack(order + size, behind_start + len(behind)),
                             behind + value + b"\0" * (len(value) % 2))
        entries += struct.pack(f"{order}HH{size}", tag, kind, count) + value.ljust(room, b"\0")
    count = struct.pack(order + ("Q" if big else "H"), len(tags))
    return count + entries + struct.pack(order + size, following) + behind


def tiff(*pages, order="<", big=False):
    """A file of these pages: pairs of tags, number to (type, values), and of the bytes of its
    strips or, where the tags tell a tile's width, tiles. The directories come first."""
    head = (b"II" if order == "<" else b"MM") + (
        struct.pack(order + "HHHQ", 43, 8, 0, 16) if big else struct.pack(order + "HI", 42, 8))
    directories, blocks_before = b"", 0

    def directory(tags, blocks, data, following):
        offsets = [data + sum(map(len, blocks[:i])) for i in range(len(blocks))]
        own = (324, 325) if 322 in tags else (273, 279)
        placed = tags | {own[0]: (LONG, offsets), own[1]: (LONG, list(map(len, blocks)))}
        return _directory({tag: value for tag, value in placed.items() if value is not None},
                          order, big, len(head) + len(directories), following)

    sizes = [len(directory(tags, blocks, 0, 0)) for tags, blocks in pages]
    for i, (tags, blocks) in enumerate(pages):
        start = len(head) + len(directories)
        following = 0 if i + 1 == len(pages) else start + sizes[i]
        data = len(head) + sum(sizes) + blocks_before
        directories += directory(tags, blocks, data, following)
        blocks_before += sum(map(len, blocks))
    return head + directories + b"".join(block for _, blocks in pages for block in blocks)


def picture_tags(width, height, bits, photometric, **more):
    """The tags that every picture has; `bits` is a list, one for each sample of a pixel."""
    tags = {256: (LONG, [width]), 257: (LONG, [height]), 258: (SHORT, bits),
            259: (SHORT, [1]), 262: (SHORT, [photometric]), 277: (SHORT, [len(bits)]),
            278: (LONG, [height])}
    return tags | {int(tag[1:]): value for tag, value in more.items()}
