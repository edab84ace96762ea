# SPDX-License-Identifier: GPL-3.0-or-later
"""Small pictures, and PNG files of them for the encoders of others to read."""

import struct
import zlib

import numpy as np

COLOUR_TYPES = {1: 0, 2: 4, 3: 2, 4: 6}  # by channels


def soft_picture(width=96, height=64, channels=3, depth=8):
    """Slopes of its own in each channel: no two corners are alike. Alpha is nowhere 0."""
    y, x = np.mgrid[0:height, 0:width]
    x, y = x / (width - 1), y / (height - 1)
    planes = [0.1 + 0.8 * x, 0.15 + 0.35 * (y + x * y), 0.9 - 0.6 * y * (1 - x), 0.2 + 0.8 * y]
    chosen = [0] if channels == 1 else [0, 3] if channels == 2 else range(channels)
    kind = np.uint8 if depth == 8 else np.uint16
    return np.stack([(planes[c] * (2**depth - 1)).round() for c in chosen], 2).astype(kind)


def rgba(pixels):
    """What a decoder makes of `pixels`: four channels."""
    full = np.iinfo(pixels.dtype).max
    channels = pixels.shape[2]
    colours = pixels[..., :1].repeat(3, 2) if channels < 3 else pixels[..., :3]
    alpha = pixels[..., -1:] if channels in (2, 4) else np.full_like(pixels[..., :1], full)
    return np.concatenate([colours, alpha], 2)


def chunk(name, content):
    body = name + content
    return struct.pack(">I", len(content)) + body + struct.pack(">I", zlib.crc32(body))


def icc_chunk(profile):
    return chunk(b"iCCP", b"icc\0\0" + zlib.compress(profile))


def png(pixels, *chunks):
    """A PNG of height x width x channels, with `chunks` in front of the pixels."""
    height, width, channels = pixels.shape
    depth = 8 * pixels.dtype.itemsize
    head = struct.pack(">IIBBBBB", width, height, depth, COLOUR_TYPES[channels], 0, 0, 0)
    rows = pixels.astype(pixels.dtype.newbyteorder(">"))
    data = b"".join(b"\0" + row.tobytes() for row in rows)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + b"".join(chunks)
            + chunk(b"IDAT", zlib.compress(data)) + chunk(b"IEND", b""))


def upright(pixels, orientation):
    """`pixels` turned as EXIF's orientation asks for."""
    turned = {1: pixels, 2: pixels[:, ::-1], 3: pixels[::-1, ::-1], 4: pixels[::-1],
              5: pixels.swapaxes(0, 1), 6: np.rot90(pixels, -1),
              7: pixels[::-1, ::-1].swapaxes(0, 1), 8: np.rot90(pixels)}
    return turned[orientation]


def exif_block(orientation):
    """A TIFF structure with this orientation alone."""
    return b"II*\0" + struct.pack("<IHHHIII", 8, 1, 0x0112, 3, 1, orientation, 0)
