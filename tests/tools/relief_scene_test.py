# SPDX-License-Identifier: GPL-3.0-or-later
"""The relief demo at work: photograph -> vistrel-convert -> what the renderer draws."""

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
SIDE = 768
SHIFT = 0.08  # of the median depth, which turns the view by 5 degrees


def convert(photograph, scene, *options):
    subprocess.run([BIN / "vistrel-convert", "--model", MODEL, *options, photograph, scene],
                   check=True, stdout=subprocess.DEVNULL)


def draw(scene, picture, shift=0.0):
    """The picture in 0..255 and the share of it that Gaussians cover."""
    distance = numpy.median(vertices(scene)[:, 2])
    view = [WIDTH, HEIGHT, shift * distance, distance]
    result = subprocess.run([BIN.parent / "tests/draw_scene", scene, *map(str, view), picture],
                            check=True, capture_output=True, text=True)
    return pixels(Image.open(picture)), float(result.stdout)


def pixels(image):
    return numpy.asarray(image.convert("RGB"), numpy.float64)


def vertices(scene):
    data = scene.read_bytes()
    start = data.index(b"end_header\n") + len(b"end_header\n")
    count = int(data.split(b"element vertex ")[1].split(b"\n")[0])
    return numpy.frombuffer(data, "<f4", count * 14, start).reshape(count, 14)


def depths(found):
    """Of a scene with all of its Gaussians: those of the first layer, as they lie in the picture."""
    return found[:SIDE * SIDE, 2].reshape(SIDE, SIDE)


def largest_step(depth):
    """The largest ratio of the depths of neighbours."""
    return max(numpy.abs(numpy.diff(numpy.log(depth), axis=axis)).max() for axis in (0, 1))


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
        cls.front, cls.front_covered = draw(cls.scene, root / "front.ppm")
        cls.left, cls.left_covered = draw(cls.scene, root / "left.ppm", -SHIFT)
        cls.right, cls.right_covered = draw(cls.scene, root / "right.ppm", SHIFT)
        cls.photograph = pixels(Image.open(SAMPLE).resize((WIDTH, HEIGHT), Image.Resampling.LANCZOS))

    def convert_image(self, image):
        with tempfile.TemporaryDirectory() as folder:
            image.save(Path(folder) / "image.png")
            convert(Path(folder) / "image.png", Path(folder) / "scene.ply")
            return vertices(Path(folder) / "scene.ply").copy()

    def test_front_looks_like_the_photograph(self):
        error = ((self.front - self.photograph) ** 2).mean()
        self.assertGreater(10 * numpy.log10(255**2 / error), 26.0)
        self.assertLess(numpy.abs(self.front - self.photograph).mean(), 7.0)

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
        tree_at_the_lake = (500, 230, 565, 325)
        mountains = (450, 95, 700, 170)
        boxes = (mountains, tree_at_the_lake, pumpkin)
        to_the_right = [displacement(self.front, self.right, box) for box in boxes]
        to_the_left = [displacement(self.front, self.left, box) for box in boxes]
        self.assertGreater(to_the_right[0], to_the_right[1] + 3)
        self.assertGreater(to_the_right[1], to_the_right[2] + 15)
        self.assertLess(to_the_left[0], to_the_left[1] - 3)
        self.assertLess(to_the_left[1], to_the_left[2] - 15)

    def test_depths_reach_from_three_to_eight(self):
        depth = vertices(self.scene)[:, 2]
        self.assertGreater(depth.min(), 3.0)
        self.assertLess(depth.max(), 8.0)
        self.assertGreater(depth.max() / depth.min(), 2.0)

    def test_ground_recedes_and_sky_is_far(self):
        rows = depths(vertices(self.scene)).mean(axis=1)
        self.assertTrue((numpy.diff(rows) < 0).all())
        self.assertGreater(rows[:40].mean(), 7.0)
        self.assertLess(rows[-40:].mean(), 4.0)

    def test_upright_lines_are_straight_in_space(self):
        # On a straight line before a camera, disparity changes in proportion to the height.
        disparity = 1.0 / depths(vertices(self.scene)).astype(numpy.float64)
        share = numpy.linspace(0.0, 1.0, SIDE)[:, None]
        straight = disparity[0] + (disparity[-1] - disparity[0]) * share
        self.assertLess(numpy.abs(disparity - straight).max(), 1e-5)

    def test_what_stands_out_comes_forward(self):
        picture = Image.new("RGB", (600, 400), (120, 140, 160))
        picture.paste((200, 30, 30), (330, 150, 480, 400))
        depth = depths(self.convert_image(picture))
        mirrored = depth[:, ::-1]
        columns = slice(SIDE * 350 // 600, SIDE * 460 // 600)
        self.assertLess((depth[:, columns] / mirrored[:, columns]).max(), 0.97)

    def test_nothing_tears_whatever_the_picture(self):
        # Neighbours are 0.26 % of their depth apart; the second layer would not hide wide gaps.
        for name, image in self.images():
            with self.subTest(name):
                self.assertLess(largest_step(depths(self.convert_image(image))), 0.003)

    def test_twice_the_focal_length_makes_the_scene_twice_as_deep_as_it_is_wide(self):
        """Half as far away, of which the camera sees half as much."""
        with tempfile.TemporaryDirectory() as folder:
            scene = Path(folder) / "scene.ply"
            with Image.open(SAMPLE) as sample:
                focal = 2 * sample.width
            convert(SAMPLE, scene, "--focal", f"{focal}px")
            found, plain = vertices(scene), vertices(self.scene)
            numpy.testing.assert_allclose(found[:, :3] * [4, 4, 2], plain[:, :3], rtol=1e-4,
                                          atol=1e-5)
            volumes = [gaussians[:, 7:10].sum(axis=1) for gaussians in (found, plain)]  # logarithms
            numpy.testing.assert_allclose(volumes[0] + numpy.log(4 * 4 * 2), volumes[1], atol=1e-3)

    def test_half_of_the_gaussians_still_show_the_whole_picture(self):
        with tempfile.TemporaryDirectory() as folder:
            scene = Path(folder) / "half.ply"
            convert(SAMPLE, scene, "--keep-ratio", "0.5")
            half, covered = draw(scene, Path(folder) / "half.ppm")
        self.assertGreater(covered, 0.99)
        self.assertLess(numpy.abs(half - self.photograph).mean(), 9.0)

    def test_every_value_is_a_number_whatever_the_picture(self):
        for name, image in self.images():
            with self.subTest(name):
                found = self.convert_image(image)
                self.assertEqual(found.shape, (1179648, 14))
                self.assertTrue(numpy.isfinite(found).all())
                self.assertGreater(found[:, 2].min(), 3.0)
                self.assertLess(found[:, 2].max(), 8.0)

    @staticmethod
    def images():
        noise = numpy.random.default_rng(1).integers(0, 256, (300, 500, 3), numpy.uint8)
        stripes = Image.new("RGB", (400, 300), "black")
        for left in range(0, 400, 80):
            stripes.paste("white", (left, 0, left + 40, 300))
        return [("black", Image.new("RGB", (64, 64), "black")),
                ("white", Image.new("RGB", (64, 64), "white")),
                ("a red column", Image.new("RGB", (3, 900), (255, 0, 0))),
                ("stripes", stripes), ("noise", Image.fromarray(noise))]


if __name__ == "__main__":
    unittest.main()
