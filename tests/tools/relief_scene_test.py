# SPDX-License-Identifier: GPL-3.0-or-later
"""The relief demo at work: photograph -> vistrel-convert -> splat-picture."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import numpy
from PIL import Image

ROOT = Path(__file__).resolve().parent.parent.parent
BIN = Path(os.environ["VISTREL_BIN"])
MODEL = ROOT / "resources/relief/vistrel_relief_demo.onnx"
SAMPLE = ROOT / "resources/sample/autumn_lake.jpg"
WIDTH, HEIGHT = 1024, 768
SHIFT = 0.04  # of the median depth: what a head's movement before the screen shows


def convert(photograph, scene):
    subprocess.run([BIN / "vistrel-convert", "--model", MODEL, photograph, scene], check=True,
                   stdout=subprocess.DEVNULL)


def draw(scene, picture, shift=0.0):
    """The picture in 0..255 and the share of it that Gaussians cover."""
    result = subprocess.run(
        [BIN / "splat-picture", "--size", f"{WIDTH}x{HEIGHT}", "--shift", str(shift), scene, picture],
        check=True, capture_output=True, text=True)
    return pixels(Image.open(picture)), float(result.stdout.split("covered ")[1])


def pixels(image):
    return numpy.asarray(image.convert("RGB"), numpy.float64)


def vertices(scene):
    data = scene.read_bytes()
    start = data.index(b"end_header\n") + len(b"end_header\n")
    count = int(data.split(b"element vertex ")[1].split(b"\n")[0])
    return numpy.frombuffer(data, "<f4", count * 14, start).reshape(count, 14)


def displacement(before, after, box):
    """How many pixels the contents of `box` (left, top, right, bottom) move to the right."""
    left, top, right, bottom = box
    patch = before[top:bottom, left:right]

    def difference(offset):
        return numpy.abs(after[top:bottom, left + offset:right + offset] - patch).mean()

    return min(range(-90, 91), key=difference)


class ReliefSceneTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.folder.cleanup)
        root = Path(cls.folder.name)
        cls.scene = root / "scene.ply"
        convert(SAMPLE, cls.scene)
        cls.front, cls.front_covered = draw(cls.scene, root / "front.png")
        cls.left, cls.left_covered = draw(cls.scene, root / "left.png", -SHIFT)
        cls.right, cls.right_covered = draw(cls.scene, root / "right.png", SHIFT)
        cls.photograph = pixels(Image.open(SAMPLE).resize((WIDTH, HEIGHT), Image.Resampling.LANCZOS))

    def convert_image(self, image):
        with tempfile.TemporaryDirectory() as folder:
            image.save(Path(folder) / "image.png")
            convert(Path(folder) / "image.png", Path(folder) / "scene.ply")
            return vertices(Path(folder) / "scene.ply").copy()

    def test_front_looks_like_the_photograph(self):
        error = ((self.front - self.photograph) ** 2).mean()
        self.assertGreater(10 * numpy.log10(255**2 / error), 23.0)
        self.assertLess(numpy.abs(self.front - self.photograph).mean(), 10.0)

    def test_front_has_no_holes(self):
        self.assertGreater(self.front_covered, 0.999)

    def test_sides_have_few_holes(self):
        # What lies beyond the photograph's edges is missing, nothing else.
        self.assertGreater(self.left_covered, 0.95)
        self.assertGreater(self.right_covered, 0.95)
        for side in (self.left, self.right):
            inner = side[HEIGHT // 8:-HEIGHT // 8, WIDTH // 6:-WIDTH // 6].max(axis=2)
            self.assertLess((inner < 12).mean(), 0.001)

    def test_near_things_move_more_than_far_ones(self):
        pumpkin = (560, 510, 740, 640)
        house = (160, 190, 320, 340)
        mountains = (450, 95, 700, 170)
        to_the_right = [displacement(self.front, self.right, box) for box in (mountains, house, pumpkin)]
        to_the_left = [displacement(self.front, self.left, box) for box in (mountains, house, pumpkin)]
        self.assertGreater(to_the_right[0], to_the_right[1] + 2)
        self.assertGreater(to_the_right[1], to_the_right[2] + 15)
        self.assertLess(to_the_left[0], to_the_left[1] - 2)
        self.assertLess(to_the_left[1], to_the_left[2] - 15)

    def test_depths_reach_from_one_to_ten(self):
        depth = vertices(self.scene)[:, 2]
        self.assertGreater(depth.min(), 1.0)
        self.assertLess(depth.max(), 11.0)
        self.assertGreater(depth.max() / depth.min(), 4.0)

    def test_ground_recedes_and_sky_is_far(self):
        rows = vertices(self.scene)[:768 * 768, 2].reshape(768, 768).mean(axis=1)
        self.assertTrue((numpy.diff(rows[400::40]) < 0).all())
        self.assertGreater(rows[:40].mean(), 8.0)

    def test_every_value_is_a_number_whatever_the_picture(self):
        noise = numpy.random.default_rng(1).integers(0, 256, (300, 500, 3), numpy.uint8)
        for image in (Image.new("RGB", (64, 64), "black"), Image.new("RGB", (64, 64), "white"),
                      Image.new("RGB", (3, 900), (255, 0, 0)), Image.fromarray(noise)):
            found = self.convert_image(image)
            self.assertEqual(found.shape, (1179648, 14))
            self.assertTrue(numpy.isfinite(found).all())
            self.assertGreater(found[:, 2].min(), 1.0)
            self.assertLess(found[:, 2].max(), 13.0)


if __name__ == "__main__":
    unittest.main()
