#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Depth maps and quilts that vistrel-render makes."""

import os
import unittest

import numpy
from PIL import Image

from program import RenderTest
from render_scenes import FOCAL, HEIGHT, WIDTH, ball, hills, ply, surface


class DepthMap(RenderTest):
    def map_of(self, *options):
        """Depths; infinite where nothing is seen."""
        result = self.run_program("--depth-map", *options, self.scene, self.picture)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))
        with Image.open(self.picture) as image:
            # Which of them it is differs between versions of Pillow.
            self.assertEqual(image.format, "PNG")
            self.assertIn(image.mode, ("I", "I;16"))
            values = numpy.asarray(image).astype(float)
            words = dict(word.split("=") for word in image.text["DepthScale"].split())
        inverse = float(words["offset"]) + float(words["step"]) * values
        with numpy.errstate(divide="ignore"):
            return values, numpy.where(values > 0, 1 / inverse, numpy.inf)

    def test_holds_depths_as_the_scene_has_them(self):
        self.scene.write_bytes(ply(surface(lambda u, v: 6 - 2 * u, lambda u, v: (1, 1, 1))))
        _, depths = self.map_of("--no-crop")
        columns = numpy.arange(20, WIDTH - 20)
        slope = (columns + 0.5 - WIDTH / 2) / FOCAL  # x / z of a column
        # x = u * (z * width / focal / 2), and so u is 2 slope focal / width.
        expected = 6 - 2 * (2 * slope * FOCAL / WIDTH)
        numpy.testing.assert_allclose(depths[HEIGHT // 2, columns], expected, rtol=0.02)

    def test_near_is_bright(self):
        self.scene.write_bytes(ply(hills()))
        values, depths = self.map_of()
        self.assertGreater(values[HEIGHT // 2, 240], 50000)
        self.assertLess(values[10].max(), 15000)
        self.assertAlmostEqual(depths[HEIGHT // 2, 240], 1.7, delta=0.05)

    def test_has_more_than_256_steps(self):
        self.scene.write_bytes(ply(hills()))
        values, _ = self.map_of()
        self.assertGreater(len(numpy.unique(values)), 5000)

    def test_where_nothing_is_seen_is_zero(self):
        self.scene.write_bytes(ply([ball((0, 0, 4), 0.2)]))
        values, depths = self.map_of("--no-crop")
        self.assertEqual(values[0, 0], 0)
        self.assertAlmostEqual(depths[HEIGHT // 2, WIDTH // 2], 4, delta=0.001)

    def test_is_named_in_a_folder(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        result = self.run_program("--depth-map", "--output-dir", self.folder / "out", "--as", "png", self.scene)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(os.listdir(self.folder / "out"), ["scene_depth.png"])

    def test_wrong_usage(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        for options, output in (((), "a.jpg"), ((), "a.mp4"), (("--stereo", "sbs"), "a.png"),
                                (("--quilt", "2x2"), "a.png")):
            result = self.run_program("--depth-map", *options, self.scene, self.folder / output)
            self.assertEqual(result.returncode, 2, options)
            self.assertIn(b"--depth-map", result.stderr)


class PngPair(RenderTest):
    def test_photograph_of_any_width_becomes_a_pair_that_png_can_tell(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15), size=(203, 151), focal=200))
        for layout in ("sbs", "crossed"):
            self.assertEqual(self.draw("--stereo", layout).shape, (151, 400, 3))
            self.assertIn(b"sTER", self.picture.read_bytes())


class Quilt(RenderTest):
    COLUMNS, ROWS = 4, 2

    def note(self, suffix):
        return ("Note: players read from the name how a quilt lies; this one's should end in "
                f"{suffix}.png.\n").encode()

    def views(self, *options, size="400x150"):
        """The views in their order."""
        quilt = self.draw("--quilt", f"{self.COLUMNS}x{self.ROWS}", "--size", size, *options,
                          notes=self.note("_qs4x2a1.333"))
        height, width = (side // parts for side, parts in zip(quilt.shape, (self.ROWS, self.COLUMNS)))
        return [quilt[height * row:height * (row + 1), width * column:width * (column + 1)]
                for row in reversed(range(self.ROWS)) for column in range(self.COLUMNS)]

    def columns_of(self, views, channel):
        return [(view[:, :, channel] * numpy.arange(view.shape[1])).sum() / view[:, :, channel].sum()
                for view in views]

    def test_near_things_move_to_the_left_from_view_to_view_and_far_ones_to_the_right(self):
        self.scene.write_bytes(ply([ball((0, 0.3, 3), 0.1, (1, 0, 0)), ball((0, -0.6, 6), 0.2, (0, 1, 0))]))
        views = self.views("--no-crop", "--angle", "10")
        near, far = self.columns_of(views, 0), self.columns_of(views, 1)
        self.assertTrue((numpy.diff(near) < -0.5).all(), near)
        self.assertTrue((numpy.diff(far) > 0.5).all(), far)

    def test_cone_of_the_angle_is_seen(self):
        self.scene.write_bytes(ply([ball((0, 0, 3), 0.05, (1, 0, 0)), ball((1, 0, 6), 0.1, (0, 1, 0))]))
        near = self.columns_of(self.views("--no-crop", "--angle", "20"), 0)
        # From the middle depth, 4, half the cone goes 4 tan(10 degrees) to either side.
        focal = FOCAL * 75 / HEIGHT
        way = 2 * 4 * numpy.tan(numpy.radians(10)) * focal * (1 / 3 - 1 / 4)
        self.assertAlmostEqual(near[0] - near[-1], way, delta=0.15 * way)

    def test_no_view_has_an_empty_edge(self):
        self.scene.write_bytes(ply(surface(lambda u, v: 5 - 3 * v, lambda u, v: (1, 1, 1))))
        for view in self.views("--angle", "15"):
            self.assertGreater((view.sum(axis=2) > 300).mean(), 0.99)
        self.assertLess((self.views("--angle", "15", "--no-crop")[0].sum(axis=2) > 300).mean(), 0.97)

    def test_usual_views_are_those_of_a_portrait_display(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        quilt = self.draw("--quilt", "2x1", "--no-crop", notes=self.note("_qs2x1a0.75"))
        self.assertEqual(quilt.shape, (560, 840, 3))

    def test_is_named_in_a_folder(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        for options, name in (((), "scene_qs8x6a0.75.jpg"), (("--size", "800x300"), "scene_qs8x6a2.jpg")):
            folder = self.folder / name
            result = self.run_program("--quilt", "8x6", *options, "--no-crop", "--output-dir", folder, "--as",
                                      "jpg", self.scene)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertEqual(os.listdir(folder), [name])

    def test_wrong_usage(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        for options, output in ((("--quilt", "8"), "a.png"), (("--quilt", "0x6"), "a.png"),
                                (("--quilt", "33x6"), "a.png"), (("--quilt", "8x6x"), "a.png"),
                                (("--quilt", "8x6"), "a.mp4"), (("--quilt", "8x6"), "a.mpo"),
                                (("--quilt", "8x6", "--stereo", "sbs"), "a.png"),
                                (("--quilt", "8x6", "--angle", "0"), "a.png"),
                                (("--quilt", "8x6", "--angle", "121"), "a.png"), (("--angle", "20"), "a.png"),
                                (("--quilt", "8x6", "--size", "401x300"), "a.png")):
            result = self.run_program(*options, self.scene, self.folder / output)
            self.assertEqual(result.returncode, 2, options)
            self.assertFalse((self.folder / output).exists())


if __name__ == "__main__":
    unittest.main()
