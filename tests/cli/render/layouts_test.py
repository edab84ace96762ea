#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Each layout of vistrel-render against what FFmpeg's filter stereo3d makes of the same two eyes."""

import subprocess
import unittest

import numpy
from PIL import Image

import render_scenes
from program import RenderTest

WIDTH, HEIGHT = render_scenes.WIDTH, render_scenes.HEIGHT


class Layouts(RenderTest):
    def setUp(self):
        super().setUp()
        self.scene.write_bytes(render_scenes.ply(render_scenes.hills()))

    def eyes(self):
        """Both eyes' pictures beside each other, in a file."""
        pair = self.folder / "eyes.png"
        result = self.run_program("--stereo", "sbs", self.scene, pair)
        self.assertEqual(result.returncode, 0, result.stderr)
        return pair

    def filtered(self, filters, pair=None):
        """What FFmpeg makes of both eyes beside each other."""
        made = self.folder / "made.png"
        subprocess.run(["ffmpeg", "-v", "error", "-y", "-i", pair or self.eyes(), "-vf",
                        f"format=rgb24,{filters}", "-pix_fmt", "rgb24", made], check=True)
        with Image.open(made) as image:
            return numpy.asarray(image.convert("RGB")).astype(int)

    def check(self, layout, filters, tolerance):
        drawn = self.draw("--stereo", layout)
        wanted = self.filtered(filters)
        self.assertEqual(drawn.shape, wanted.shape)
        self.assertLessEqual(abs(drawn - wanted).max(), tolerance)

    def test_eyes_differ(self):
        with Image.open(self.eyes()) as image:
            self.assertEqual(image.size, (2 * WIDTH, HEIGHT))
            pair = numpy.asarray(image).astype(int)
        self.assertGreater(abs(pair[:, :WIDTH] - pair[:, WIDTH:]).mean(), 2)

    def test_over_under(self):
        self.check("over-under", "stereo3d=sbsl:abl", 0)

    def test_crossed(self):
        self.check("crossed", "stereo3d=sbsl:sbsr", 0)

    def test_half_side_by_side(self):
        self.check("half-sbs", "scale=iw/2:ih:flags=area", 1)

    def test_half_over_under(self):
        self.check("half-over-under", "stereo3d=sbsl:abl,scale=iw:ih/2:flags=area", 1)

    def check_in_turn(self, layout, filters, left_places, right_places):
        """FFmpeg puts all of the eyes' pixels into a picture of twice the size, so it is given half of them:
        those at these places, a row and a column for each pixel."""
        with Image.open(self.eyes()) as image:
            pair = numpy.asarray(image)
        halves = self.folder / "halves.png"
        Image.fromarray(numpy.concatenate(
            [pair[:, :WIDTH][left_places], pair[:, WIDTH:][right_places]], axis=1)).save(halves)
        drawn = self.draw("--stereo", layout)
        self.assertTrue((drawn == self.filtered(filters, halves)).all())

    def test_rows(self):
        self.check_in_turn("rows", "stereo3d=sbsl:irl", numpy.s_[0::2], numpy.s_[1::2])

    def test_columns(self):
        self.check_in_turn("columns", "stereo3d=sbsl:icl", numpy.s_[:, 0::2], numpy.s_[:, 1::2])

    def test_checkerboard(self):
        row, column = numpy.mgrid[:HEIGHT, :WIDTH // 2]
        self.check_in_turn("checkerboard", "stereo3d=sbsl:chl", (row, 2 * column + row % 2),
                           (row, 2 * column + (row + 1) % 2))

    def test_color(self):
        self.check("color", "stereo3d=sbsl:arcc", 0)

    def test_gray(self):
        self.check("gray", "stereo3d=sbsl:arcg", 1)

    def test_half_color(self):
        self.check("half-color", "stereo3d=sbsl:arch", 1)

    def test_dubois(self):
        self.check("dubois", "stereo3d=sbsl:arcd", 1)

    def test_grid_holds_both_eyes_twice_within_lines(self):
        grid = self.draw("--stereo", "grid")
        self.assertEqual(grid.shape, (2 * HEIGHT, 2 * WIDTH, 3))
        with Image.open(self.eyes()) as image:
            pair = numpy.asarray(image).astype(int)
        left, right = pair[:, :WIDTH], pair[:, WIDTH:]
        inside = (slice(5, HEIGHT - 5), slice(6, WIDTH - 6))
        upper, lower = grid[:HEIGHT], grid[HEIGHT:]
        for cell, eye in ((upper[:, :WIDTH], left), (upper[:, WIDTH:], right),
                          (lower[:, :WIDTH], right), (lower[:, WIDTH:], left)):
            # Drawn with twice the rows and taken together again, not the same samples.
            self.assertLess(abs(cell[inside] - eye[inside]).mean(), 2)
        for line in (grid[:3], grid[-3:], grid[HEIGHT - 3:HEIGHT + 3], grid[:, :4],
                     grid[:, WIDTH - 4:WIDTH + 4]):
            self.assertEqual(line.max(), 0)

    def test_swap_exchanges_the_eyes(self):
        for layout, swapped in (("sbs", "crossed"), ("over-under", None), ("color", None)):
            plain = self.draw("--stereo", layout)
            other = self.draw("--stereo", layout, "--swap")
            self.assertTrue((plain != other).any(), layout)
            if swapped:
                self.assertTrue((other == self.draw("--stereo", swapped)).all())

    def test_size_is_the_whole_pictures_in_every_layout(self):
        for layout in ("none", "sbs", "half-sbs", "over-under", "half-over-under", "crossed", "grid", "dubois",
                       "color", "gray", "half-color", "rows", "columns", "checkerboard"):
            for size in ((121, 67), (90, 120)):
                drawn = self.draw("--stereo", layout, "--size", f"{size[0]}x{size[1]}")
                self.assertEqual(drawn.shape, (size[1], size[0], 3), layout)
                self.assertGreater(drawn.mean(), 40, layout)


if __name__ == "__main__":
    unittest.main()
