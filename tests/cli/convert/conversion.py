# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert with the echoing network, and what its scenes tell about the photograph."""

import os
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import numpy as np

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "photos"))
from plain_png import chunk, icc_chunk, png, soft_picture, upright  # noqa: E402, F401

WIDTH, HEIGHT = 48, 32
VERTICES = 4
COLUMNS = 14
OPACITY = 6  # its column in the file
NETWORK_SIDE = 1536


class Scene:
    """What the echoing network was fed, and the camera."""

    def __init__(self, ply):
        self.ply = ply
        body = ply[ply.index(b"end_header\n") + len(b"end_header\n"):]
        rows = np.frombuffer(body, "<f4", VERTICES * COLUMNS).reshape(VERTICES, COLUMNS)
        camera = VERTICES * COLUMNS * 4
        intrinsic = struct.unpack_from("<9f", body, camera + 16 * 4)
        self.focal = intrinsic[0]
        self.size = struct.unpack_from("<2I", body, camera + 25 * 4)
        # Below 1; the file holds its logit.
        self.disparity_factor = 1 / (1 + np.exp(-np.float64(rows[0, OPACITY])))
        self.means = rows[:, :3]

    def values(self):
        """Some of the picture's values, 0 to 1, which are the means before they are unprojected."""
        width, height = self.size
        return self.means / np.array([width / (2 * self.focal), height / (2 * self.focal), 1])


class ConversionTest(unittest.TestCase):
    """With folders "in" and, not made yet, "out"."""
    program, models = "", Path()  # set by main()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.input, self.output = self.folder / "in", self.folder / "out"
        self.input.mkdir()

    @property
    def words(self):
        return [self.program, "--model", self.models / "echo.onnx"]

    def run_program(self, *words, **how):
        return subprocess.run([*self.words, *words], capture_output=True, timeout=120, check=False,
                              **how)

    def convert(self, photo, *options, **how):
        """The scene, and the finished process."""
        output = self.folder / "scene.ply"
        done = self.run_program(*options, photo, output, **how)
        self.assertEqual(done.returncode, 0, done.stderr)
        return Scene(output.read_bytes()), done

    def convert_all(self, *options):
        """The scenes of all photographs in the input folder, by their stems."""
        done = self.run_program("--batch", "--on-conflict", "overwrite", *options, self.input,
                                self.output)
        self.assertEqual(done.returncode, 0, done.stderr)
        return {ply.stem: Scene(ply.read_bytes()) for ply in self.output.iterdir()}

    def add(self, name, data):
        (self.input / name).write_bytes(data)
        return self.input / name

    def everything(self):
        return sorted(str(path.relative_to(self.folder)) for path in self.folder.rglob("*"))

    def assert_near(self, scene, expected, loss):
        """`loss` is in steps of 8 bits."""
        self.assertEqual(scene.size, expected.size)
        np.testing.assert_allclose(scene.values(), expected.values(), atol=(loss + 0.01) / 255)


def run_quietly(*words):
    subprocess.run(list(map(os.fspath, words)), check=True, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL)


def main():
    ConversionTest.program, ConversionTest.models = sys.argv[1], Path(sys.argv[2])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
