# SPDX-License-Identifier: GPL-3.0-or-later
"""Small scenes for tests of programs."""

import struct

FLOATS = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
          "rot_0", "rot_1", "rot_2", "rot_3"]
DC = 0.28209479177387814


def ply(gaussians):
    """A PLY file of round, opaque Gaussians: (x, y, z), logarithm of the size, (r, g, b) of 0 to 1."""
    header = "".join(f"{line}\n" for line in [
        "ply", "format binary_little_endian 1.0", f"element vertex {len(gaussians)}",
        *(f"property float {name}" for name in FLOATS), "end_header"])
    body = b"".join(
        struct.pack("<14f", *centre, *((value - 0.5) / DC for value in colour), 10,
                    size, size, size, 1, 0, 0, 0)
        for centre, size, colour in gaussians)
    return header.encode() + body


def wall(colour=(1.0, 0.0, 0.0)):
    """One Gaussian so large that it covers every picture."""
    return ply([((0, 0, 5), 3.5, colour)])
