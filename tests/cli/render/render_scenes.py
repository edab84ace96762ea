# SPDX-License-Identifier: GPL-3.0-or-later
"""Small scenes with a photograph's camera, as PLY files."""

import struct

import numpy

FLOATS = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
          "rot_0", "rot_1", "rot_2", "rot_3"]
DC = 0.28209479177387814
WIDTH, HEIGHT, FOCAL = 400, 300, 400.0  # of the photograph, pixels


def ply(gaussians, size=(WIDTH, HEIGHT), focal=FOCAL):
    """Rows of position, colour of 0 to 1, logit of opacity, logarithms of the scales, rotation w, x, y, z. The
    camera looks at the middle of a photograph of `size`; None: the file has no camera."""
    values = numpy.array(gaussians, dtype="<f4").reshape(-1, len(FLOATS)).copy()
    values[:, 3:6] = (values[:, 3:6] - 0.5) / DC
    lines = ["ply", "format binary_little_endian 1.0", f"element vertex {len(values)}",
             *(f"property float {name}" for name in FLOATS)]
    camera = b""
    if size is not None:
        lines += ["element intrinsic 9", "property float intrinsic",
                  "element image_size 2", "property uint image_size"]
        camera = struct.pack("<9f2I", focal, 0, size[0] / 2, 0, focal, size[1] / 2, 0, 0, 1, *size)
    return ("\n".join([*lines, "end_header"]) + "\n").encode() + values.tobytes() + camera


def ball(position, scale, colour=(1.0, 1.0, 1.0), logit=8.0):
    return [*position, *colour, logit, *[numpy.log(scale)] * 3, 1, 0, 0, 0]


def surface(depth, colour, columns=100, rows=75, reach=1.0):
    """A sheet that fills `reach` times the photograph's width and height. `depth` and `colour` are functions of
    u and v, -1 to 1 from the left and from the top."""
    found = []
    for row in range(rows):
        for column in range(columns):
            u = ((column + 0.5) / columns * 2 - 1) * reach
            v = ((row + 0.5) / rows * 2 - 1) * reach
            z = depth(u, v)
            half = z * WIDTH / FOCAL / 2
            size = numpy.log(0.75 * reach * 2 * half / columns)
            found.append([u * half, v * half * HEIGHT / WIDTH, z, *colour(u, v), 5.0,
                          size, size, size - 2, 1, 0, 0, 0])
    return found


def hills(**options):
    """From the depth 2 at the bottom to 8 at the top, with stripes of colour, and a disc before them."""
    def depth(u, v):
        return 1.7 if numpy.hypot(u - 0.2, v) < 0.35 else 5 - 3 * v

    def colour(u, v):
        if numpy.hypot(u - 0.2, v) < 0.35:
            return 0.9, 0.5 + 0.4 * numpy.sin(20 * v), 0.1
        return (0.5 + 0.45 * numpy.sin(9 * u), 0.5 + 0.45 * numpy.sin(7 * v + 1),
                0.5 + 0.45 * numpy.sin(5 * u + 11 * v))

    return surface(depth, colour, **options)
