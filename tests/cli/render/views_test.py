#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""From where vistrel-render sees scenes: the photograph's camera, comfortable eyes, cropping, the window."""

import unittest

import numpy

import render_scenes
from program import RenderTest
from render_scenes import FOCAL, HEIGHT, WIDTH, ball, ply

NO_CAMERA = b"Note: the scene does not tell its photograph's camera; it is seen from the window's.\n"
NOT_CROPPED = b"Note: the scene does not fill the picture, which is therefore not cropped.\n"


def middle_of(picture, channel, columns=slice(None)):
    """Column and row of the middle of what is bright in a channel."""
    part = picture[:, columns, channel].astype(float)
    rows, places = numpy.indices(part.shape)
    return (places * part).sum() / part.sum() + 0.5, (rows * part).sum() / part.sum() + 0.5


class OneGaussian(RenderTest):
    def test_is_the_closed_form(self):
        depth, scale, opacity = 4.0, 0.05, 0.8
        logit = numpy.log(opacity / (1 - opacity))
        self.scene.write_bytes(ply([ball((0, 0, depth), scale, (0.9, 0.6, 0.3), logit)]))
        drawn = self.draw("--no-crop")
        variance = (FOCAL * scale / depth) ** 2 + 0.3
        rows, columns = numpy.mgrid[:HEIGHT, :WIDTH] + 0.5
        distance = (columns - WIDTH / 2) ** 2 + (rows - HEIGHT / 2) ** 2
        covered = opacity * numpy.exp(-0.5 * distance / variance)
        covered[covered < 1 / 255] = 0
        wanted = 255 * covered[..., None] * numpy.array([0.9, 0.6, 0.3])
        self.assertLessEqual(abs(drawn - wanted).max(), 1)

    def test_lies_where_the_camera_has_it(self):
        self.scene.write_bytes(ply([ball((0.5, -0.25, 2.0), 0.02)]))
        drawn = self.draw("--no-crop")
        column, row = middle_of(drawn, 0)
        self.assertAlmostEqual(column, WIDTH / 2 + FOCAL * 0.25, delta=0.05)
        self.assertAlmostEqual(row, HEIGHT / 2 - FOCAL * 0.125, delta=0.05)

    def test_size_that_is_not_the_photographs_shape_shows_it_all(self):
        self.scene.write_bytes(ply([ball((0.5, 0, 2.0), 0.02)]))
        column, row = middle_of(self.draw("--no-crop", "--size", "400x600"), 0)
        self.assertAlmostEqual(column, WIDTH / 2 + FOCAL * 0.25, delta=0.05)
        self.assertAlmostEqual(row, 300, delta=0.05)


class Mirror(RenderTest):
    def test_mirrored_scene_has_the_mirrored_pair(self):
        hills = numpy.array(render_scenes.hills(columns=60, rows=45))
        self.scene.write_bytes(ply(hills))
        pair = self.draw("--stereo", "sbs")
        hills[:, 0] *= -1
        self.scene.write_bytes(ply(hills))
        # What hides what among equally deep neighbours is up to their order in the file.
        self.assertLess(abs(self.draw("--stereo", "sbs") - pair[:, ::-1]).mean(), 1)
        self.assertGreater(abs(self.draw("--stereo", "crossed") - pair[:, ::-1]).mean(), 2)


class Comfort(RenderTest):
    """Three small balls in pure colours before a grey wall, the farthest at the wall."""
    NEAR, MIDDLE, WALL = 2.0, 4.0, 8.0

    def setUp(self):
        super().setUp()
        # A near thing of some size, lest it be taken for a speck.
        near = [ball((x / 20, 0.5 + y / 20, self.NEAR), 0.05, (0, 0, 0))
                for x in range(-8, 9) for y in range(-2, 3)]
        self.marks = [ball((0, 0, self.NEAR), 0.015, (1, 0, 0)), ball((0.5, 0, self.MIDDLE), 0.03, (0, 1, 0)),
                      ball((-2, 0, self.WALL - 0.1), 0.06, (0, 0, 1))]
        wall = render_scenes.surface(lambda u, v: self.WALL, lambda u, v: (0, 0, 0), reach=1.3)
        self.scene.write_bytes(ply(near + self.marks + wall))

    def parallaxes(self, *options, shape=(WIDTH, HEIGHT)):
        """By how many pixels the right eye sees the near, the middle and the far mark farther right."""
        pair = self.draw("--stereo", "sbs", *options)
        left, right = pair[:, :shape[0]], pair[:, shape[0]:]
        found = []
        for channel in range(3):
            (at_left, row), (at_right, other) = middle_of(left, channel), middle_of(right, channel)
            self.assertAlmostEqual(row, other, delta=0.05)
            found.append(at_right - at_left)
        return found

    def test_nearest_lies_on_the_screen_and_the_rest_behind_it(self):
        near, middle, far = self.parallaxes("--no-crop")
        self.assertAlmostEqual(near, 0, delta=0.3)
        self.assertGreater(middle, 3)
        self.assertGreater(far, middle)

    def test_whole_parallax_is_a_thirtieth_of_an_eyes_width(self):
        self.assertAlmostEqual(self.parallaxes("--no-crop")[2], WIDTH / 30, delta=0.3)

    def test_parallax_is_what_is_asked_for(self):
        self.assertAlmostEqual(self.parallaxes("--no-crop", "--parallax", "0.01")[2], WIDTH / 100, delta=0.2)

    def test_depths_between_follow_the_geometry(self):
        near, middle, far = self.parallaxes("--no-crop")
        share = (1 / self.NEAR - 1 / self.MIDDLE) / (1 / self.NEAR - 1 / self.WALL)
        self.assertAlmostEqual((middle - near) / (far - near), share, delta=0.02)

    def test_parallax_of_nothing_gives_equal_eyes(self):
        pair = self.draw("--stereo", "sbs", "--parallax", "0")
        self.assertTrue((pair[:, :WIDTH] == pair[:, WIDTH:]).all())

    def test_cropping_keeps_the_parallax_a_share_of_the_width(self):
        self.assertLessEqual(self.parallaxes()[2], WIDTH / 30 + 0.3)
        self.assertGreater(self.parallaxes()[2], WIDTH / 30 * 0.9)

    def test_size_changes_no_share(self):
        far = self.parallaxes("--no-crop", "--size", "400x150", shape=(WIDTH // 2, HEIGHT // 2))[2]
        self.assertAlmostEqual(far, WIDTH / 60, delta=0.3)


class Crop(RenderTest):
    def setUp(self):
        super().setUp()
        # Ends with the photograph, and nothing in it is black.
        wall = render_scenes.surface(lambda u, v: 6 - 4 * v, lambda u, v: (0.8, 0.7, 0.9))
        self.scene.write_bytes(ply(wall))

    @staticmethod
    def border(picture):
        """The widest dark border in columns, and in rows."""
        dark = (picture.max(axis=2) < 100)
        columns, rows = dark.mean(axis=0) > 0.02, dark.mean(axis=1) > 0.02

        def width(edge):
            return next((i for i, is_dark in enumerate(edge) if not is_dark), len(edge))
        return max(width(columns), width(columns[::-1])), max(width(rows), width(rows[::-1]))

    def eyes(self, *options):
        pair = self.draw("--stereo", "sbs", "--parallax", "0.06", *options)
        middle = pair.shape[1] // 2
        return pair[:, :middle], pair[:, middle:]

    def test_eyes_have_borders_without_it(self):
        self.assertGreater(max(self.border(eye)[0] for eye in self.eyes("--no-crop")), 4)

    def test_no_eye_has_a_border_with_it(self):
        for eye in self.eyes():
            columns, rows = self.border(eye)
            self.assertLessEqual(columns, 0.005 * WIDTH)
            self.assertLessEqual(rows, 0.005 * HEIGHT)

    def test_other_shape_is_filled(self):
        for size in ("300x300", "500x200"):
            drawn = self.draw("--size", size)
            self.assertEqual(self.border(drawn), (0, 0))
            self.assertGreater(max(self.border(self.draw("--size", size, "--no-crop"))), 20)

    def test_scene_that_fills_no_picture_is_left_as_it_is(self):
        self.scene.write_bytes(ply([ball((0, 0, 3), 0.1)]))
        self.assertTrue((self.draw(notes=NOT_CROPPED) == self.draw("--no-crop")).all())


class Window(RenderTest):
    ORIGIN = ball((0, 0, 0), 0.02)

    def test_origin_is_in_the_middle(self):
        self.scene.write_bytes(ply([self.ORIGIN]))
        for options in ([], ["--general"]):
            drawn = self.draw("--view", "window", "--size", "301x201", *options)
            column, row = middle_of(drawn, 0)
            self.assertAlmostEqual(column, 150.5, delta=0.05)
            self.assertAlmostEqual(row, 100.5, delta=0.05)

    def test_usual_size_is_the_windows(self):
        self.scene.write_bytes(ply([self.ORIGIN]))
        self.assertEqual(self.draw("--view", "window").shape, (720, 1280, 3))

    def test_halves_show_the_origin_where_the_eyes_geometry_has_it(self):
        self.scene.write_bytes(ply([self.ORIGIN]))
        distance = numpy.sqrt(0.3 ** 2 + 0.5 ** 2 + 3 ** 2)
        across = 2 * distance * numpy.tan(numpy.radians(15)) * 2  # of the whole, 400 x 200
        focal = 100 / numpy.tan(numpy.radians(15))
        for options, dltx, dpt in (([], 60, 100), (["--focus", "20"], 80, 100), (["--depth", "60"], 120, 200)):
            pair = self.draw("--view", "window", "--stereo", "sbs", "--size", "400x200", *options)
            for side, columns in ((-1, slice(0, 200)), (1, slice(200, 400))):
                angle = numpy.radians(-20 + 40 * (6 + side * dpt / 200) / 11)
                offset = distance * numpy.tan(angle)
                wanted = 100 - focal * offset / distance + 200 * (offset - side * dltx / 1000) / across
                self.assertAlmostEqual(middle_of(pair, 0, columns)[0], wanted, delta=0.05)

    def test_scene_without_a_camera_is_seen_from_the_windows(self):
        self.scene.write_bytes(ply([self.ORIGIN], size=None))
        drawn = self.draw("--size", "320x240", notes=NO_CAMERA)
        column, row = middle_of(drawn, 0)
        self.assertAlmostEqual(column, 160, delta=0.05)
        self.assertAlmostEqual(row, 120, delta=0.05)


if __name__ == "__main__":
    unittest.main()
