# SPDX-License-Identifier: GPL-3.0-or-later
"""HEIF files as their items, so that a test can change or make what no encoder writes."""

import struct
from dataclasses import dataclass, field


def box(name, content):
    return struct.pack(">I", 8 + len(content)) + name + content


def full_box(name, version, content):
    return box(name, struct.pack(">I", version << 24) + content)


def boxes(content):
    """(name, content) of each box in `content`."""
    at = 0
    while at < len(content):
        size, name = struct.unpack_from(">I4s", content, at)
        yield name, content[at + 8:at + size]
        at += size


@dataclass
class Item:
    kind: bytes
    data: bytes
    properties: list = field(default_factory=list)  # boxes, in order
    references: dict = field(default_factory=dict)  # kind -> identifiers of items

    def replace(self, name, *properties):
        """Has `properties` instead of those called `name`."""
        kept = [box for box in self.properties if box[4:8] != name]
        self.properties = kept + list(properties)


class HeifFile:
    """`items` by their identifiers, and which of them is the `primary` one."""

    def __init__(self, data):
        top = dict(boxes(data))
        self.brands = top[b"ftyp"]
        meta = dict(boxes(top[b"meta"][4:]))
        self.primary = struct.unpack_from(">H", meta[b"pitm"], 4)[0]
        self.items = {}
        for _, content in boxes(meta[b"iinf"][6:]):
            identifier, _, kind = struct.unpack_from(">HH4s", content, 4)
            self.items[identifier] = Item(kind, b"")
        self._read_places(meta[b"iloc"], [data, meta.get(b"idat", b"")])
        self._read_properties(dict(boxes(meta[b"iprp"])))
        for kind, content in boxes(meta.get(b"iref", bytes(4))[4:]):
            source, count = struct.unpack_from(">HH", content)
            targets = struct.unpack_from(f">{count}H", content, 4)
            self.items[source].references[kind] = list(targets)

    def _read_places(self, content, sources):
        version, sizes, base_size, count = struct.unpack_from(">B3xBBH", content)
        assert version in (0, 1) and sizes == 0x44, "offsets and lengths of four bytes"
        base_size >>= 4
        at = 8
        for _ in range(count):
            identifier, source = struct.unpack_from(">HH", content, at)
            data = sources[source] if version == 1 else sources[0]
            at += 6 if version == 1 else 4
            base = int.from_bytes(content[at:at + base_size], "big")
            at += base_size
            extents = struct.unpack_from(">H", content, at)[0]
            at += 2
            for _ in range(extents):
                offset, length = struct.unpack_from(">II", content, at)
                self.items[identifier].data += data[base + offset:base + offset + length]
                at += 8

    def _read_properties(self, content):
        known = [box(name, inner) for name, inner in boxes(content[b"ipco"])]
        at = 8
        for _ in range(struct.unpack_from(">I", content[b"ipma"], 4)[0]):
            identifier, count = struct.unpack_from(">HB", content[b"ipma"], at)
            places = content[b"ipma"][at + 3:at + 3 + count]
            self.items[identifier].properties = [known[(place & 0x7F) - 1] for place in places]
            at += 3 + count

    def add(self, identifier, item):
        self.items[identifier] = item

    def __bytes__(self):
        start = len(box(b"ftyp", self.brands)) + len(self._meta(0)) + 8
        data = b"".join(item.data for item in self.items.values())
        return box(b"ftyp", self.brands) + self._meta(start) + box(b"mdat", data)

    def _meta(self, offset):
        infos, places, links, references, known = b"", b"", b"", b"", []
        for identifier, item in self.items.items():
            infos += full_box(b"infe", 2, struct.pack(">HH4sx", identifier, 0, item.kind))
            places += struct.pack(">HHHII", identifier, 0, 1, offset, len(item.data))
            offset += len(item.data)
            known += [prop for prop in item.properties if prop not in known]
            links += struct.pack(">HB", identifier, len(item.properties))
            links += bytes(0x80 | (1 + known.index(prop)) for prop in item.properties)
            for kind, targets in item.references.items():
                references += box(kind, struct.pack(f">HH{len(targets)}H", identifier,
                                                    len(targets), *targets))
        count = len(self.items)
        properties = (box(b"ipco", b"".join(known))
                      + full_box(b"ipma", 0, struct.pack(">I", count) + links))
        return full_box(b"meta", 0, b"".join([
            full_box(b"hdlr", 0, bytes(4) + b"pict" + bytes(13)),
            full_box(b"pitm", 0, struct.pack(">H", self.primary)),
            full_box(b"iloc", 0, struct.pack(">BBH", 0x44, 0, count) + places),
            full_box(b"iinf", 0, struct.pack(">H", count) + infos),
            box(b"iprp", properties),
            full_box(b"iref", 0, references) if references else b""]))


# The `irot` and `imir` that turn a picture as EXIF's orientation does, in this order: turns to the
# left by a quarter, then 0 for upside down or 1 for left and right.
TURNS = {1: (0, None), 2: (0, 1), 3: (2, None), 4: (0, 0), 5: (1, 0), 6: (3, None), 7: (3, 0),
         8: (1, None)}


def turning(orientation):
    """Properties by which a decoder turns a picture upright."""
    quarters, mirror = TURNS[orientation]
    return ([box(b"irot", bytes([quarters]))] if quarters else []) + (
        [box(b"imir", bytes([mirror]))] if mirror is not None else [])


def size_property(width, height):
    return full_box(b"ispe", 0, struct.pack(">II", width, height))


def code_points(primaries, transfer, matrix=6, full_range=True):
    return box(b"colr", b"nclx" + struct.pack(">HHHB", primaries, transfer, matrix,
                                              0x80 if full_range else 0))


def profile_property(profile, kind=b"prof"):
    return box(b"colr", kind + profile)
