# SPDX-License-Identifier: GPL-3.0-or-later
"""Scenes and pictures of a few plain colours, so that a look at a pixel tells what is shown."""

import math
import struct

from PIL import Image

LEFT = (230, 120, 40)
RIGHT = (40, 110, 220)
SH_DC = 0.28209478


def write_scene(path, left=LEFT, right=RIGHT):
    """A wall of Gaussians through the origin that fills the view: one colour at the left of it, the
    other at the right."""
    names = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
             "rot_0", "rot_1", "rot_2", "rot_3"]
    columns, rows, step = range(-30, 30), range(-15, 16), 0.12
    records = []
    for column in columns:
        color = left if column < 0 else right
        for row in rows:
            center = ((column + 0.5) * step, row * step, 0.0)
            records.append(struct.pack(
                "<14f", *center, *((c / 255 - 0.5) / SH_DC for c in color), 6.0,
                *[math.log(0.09), math.log(0.09), math.log(0.01)], 1.0, 0.0, 0.0, 0.0))
    header = ["ply", "format binary_little_endian 1.0", f"element vertex {len(records)}",
              *(f"property float {name}" for name in names), "end_header", ""]
    path.write_bytes("\n".join(header).encode() + b"".join(records))


def write_photograph(path, size=(600, 400)):
    """LEFT and RIGHT side by side."""
    picture = Image.new("RGB", size, LEFT)
    picture.paste(RIGHT, (size[0] // 2, 0, size[0], size[1]))
    picture.save(path)


def is_near(color, wanted, tolerance=45):
    return all(abs(a - b) <= tolerance for a, b in zip(color, wanted))


def is_gray(color, tolerance=12):
    return max(color) - min(color) <= tolerance and max(color) > 60
