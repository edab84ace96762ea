# SPDX-License-Identifier: GPL-3.0-or-later
"""The program splat-picture: options, exit codes, what it writes."""

import os
import struct
import subprocess
import tempfile
import unittest
from pathlib import Path

from PIL import Image

PROGRAM = Path(os.environ["VISTREL_BIN"]) / "splat-picture"

FLOATS = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
          "rot_0", "rot_1", "rot_2", "rot_3"]
HEADER = "\n".join(
    ["ply", "format binary_little_endian 1.0", "element vertex 1"]
    + [f"property float {name}" for name in FLOATS]
    + ["element extrinsic 16", "property float extrinsic", "element intrinsic 9",
       "property float intrinsic", "element image_size 2", "property uint image_size",
       "element frame 2", "property int frame", "element disparity 2", "property float disparity",
       "element color_space 1", "property uchar color_space", "element version 3",
       "property uchar version", "end_header", ""]).encode()

# One white Gaussian straight ahead, and a camera of 40 x 30 pixels.
VERTEX = struct.pack("<14f", 0, 0, 2, 1.7, 1.7, 1.7, 10, -3, -3, -3, 1, 0, 0, 0)
TAIL = (struct.pack("<16f", *[1, 0, 0, 0, 0] * 3, 1) + struct.pack("<9f", 40, 0, 20, 0, 40, 15, 0, 0, 1)
        + struct.pack("<2I2i2f4B", 40, 30, 1, 1, 0, 1, 1, 1, 5, 0))


class SplatPictureTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.scene = Path(folder.name) / "scene.ply"
        self.scene.write_bytes(HEADER + VERTEX + TAIL)
        self.picture = Path(folder.name) / "a picture.png"

    def run_program(self, *arguments):
        return subprocess.run([PROGRAM, *map(str, arguments)], capture_output=True, text=True)

    def test_picture_has_the_photographs_size(self):
        result = self.run_program(self.scene, self.picture)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertTrue(result.stdout.startswith("1 Gaussians, 40x30, covered 0.0"), result.stdout)
        with Image.open(self.picture) as picture:
            self.assertEqual((picture.format, picture.size, picture.mode), ("PNG", (40, 30), "RGB"))
            self.assertGreater(picture.getpixel((20, 15))[0], 100)
            self.assertEqual(picture.getpixel((0, 0)), (0, 0, 0))

    def test_size_option_is_the_pictures_size(self):
        self.assertEqual(self.run_program("--size", "64x20", self.scene, self.picture).returncode, 0)
        with Image.open(self.picture) as picture:
            self.assertEqual(picture.size, (64, 20))

    def test_wrong_usage_ends_with_two(self):
        for arguments in ([], [self.scene], ["--size", "64", self.scene, self.picture],
                          ["--size", "0x9", self.scene, self.picture],
                          ["--size", "9x20000", self.scene, self.picture],
                          ["--size", "64x48x", self.scene, self.picture],
                          ["--shift", "far", self.scene, self.picture],
                          ["--shift", "nan", self.scene, self.picture],
                          ["--other", self.scene, self.picture]):
            result = self.run_program(*arguments)
            self.assertEqual(result.returncode, 2, arguments)
            self.assertNotEqual(result.stderr, "", arguments)
        self.assertFalse(self.picture.exists())

    def test_help_ends_with_zero(self):
        result = self.run_program("--help")
        self.assertEqual(result.returncode, 0)
        self.assertIn("--shift", result.stdout)

    def test_truncated_scene_ends_with_one_and_no_picture(self):
        self.scene.write_bytes((HEADER + VERTEX + TAIL)[:-1])
        result = self.run_program(self.scene, self.picture)
        self.assertEqual(result.returncode, 1)
        self.assertIn("but its header tells of", result.stderr)
        self.assertFalse(self.picture.exists())

    def test_enormous_photograph_needs_a_size(self):
        tail = bytearray(TAIL)
        tail[100:108] = struct.pack("<2I", 4294967295, 4294967295)
        self.scene.write_bytes(HEADER + VERTEX + tail)
        self.assertEqual(self.run_program(self.scene, self.picture).returncode, 1)
        self.assertEqual(self.run_program("--size", "8x8", self.scene, self.picture).returncode, 0)

    def test_output_that_cannot_be_printed_ends_with_one(self):
        with open("/dev/full", "w") as full:
            for arguments in ([self.scene, self.picture], ["--help"]):
                result = subprocess.run([PROGRAM, *arguments], stdout=full, stderr=subprocess.PIPE, text=True)
                self.assertEqual(result.returncode, 1)
                self.assertEqual(result.stderr, "Error: standard output could not be written\n")

    def test_picture_that_cannot_be_written_ends_with_one(self):
        result = self.run_program(self.scene, self.picture / "below a file that is not there.png")
        self.assertEqual(result.returncode, 1)
        self.assertIn("the picture cannot be written", result.stderr)


if __name__ == "__main__":
    unittest.main()
