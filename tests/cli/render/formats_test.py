#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Scenes of every format that vistrel-convert writes are drawn as their PLY file is."""

import os
import subprocess
import unittest
from pathlib import Path

import numpy

import render_scenes
from program import RenderTest

CONVERT = Path(os.environ["VISTREL_BIN"]) / "vistrel-convert"
# What the quantisation of each format leaves of the picture.
LEAST_DECIBELS = {".compressed.ply": 50, ".splat": 50, ".spz": 44, ".sog": 50, ".glb": 60}
WINDOW = ["--view", "window", "--size", "240x150", "--stereo", "sbs"]


class Formats(RenderTest):
    def setUp(self):
        super().setUp()
        self.scene.write_bytes(render_scenes.ply(render_scenes.hills(columns=60, rows=45)))
        self.expected = self.draw(*WINDOW)

    def convert(self, name, *options):
        scene = self.folder / name
        subprocess.run([CONVERT, *options, self.scene, scene], check=True, capture_output=True)
        return scene

    def likeness(self, scene, *options):
        """In decibels."""
        difference = ((self.draw(*WINDOW, *options, scene=scene) - self.expected) ** 2).mean()
        return 10 * numpy.log10(255 ** 2 / max(difference, 1e-9))

    def test_every_format_is_drawn_as_its_ply_file(self):
        for ending, least in LEAST_DECIBELS.items():
            self.assertGreaterEqual(self.likeness(self.convert("scene" + ending)), least, ending)

    def test_formats_that_know_the_camera_are_seen_from_the_photograph(self):
        for name in ("again.ply", "again.glb"):
            expected = self.draw()
            drawn = self.draw(scene=self.convert(name))
            self.assertEqual(drawn.shape, expected.shape, name)
            self.assertLess(((drawn - expected) ** 2).mean(), 1, name)

    def test_scene_without_a_camera_is_seen_from_the_windows(self):
        note = "Note: the scene does not tell its photograph's camera; it is seen from the window's.\n"
        picture = self.draw("--size", "240x150", scene=self.convert("scene.splat"), notes=note.encode())
        self.assertGreater(picture.std(), 20)

    def test_spz_file_of_either_frame_is_drawn_upright(self):
        scene = self.convert("scene.spz", "--spz-frame", "rub")
        self.assertGreaterEqual(self.likeness(scene, "--spz-frame", "rub"), LEAST_DECIBELS[".spz"])
        self.assertLess(self.likeness(scene), 20)

    def test_content_tells_the_format_of_a_file_with_another_name(self):
        scene = self.convert("scene.spz").rename(self.folder / "scene of no ending")
        self.assertGreaterEqual(self.likeness(scene), LEAST_DECIBELS[".spz"])


if __name__ == "__main__":
    unittest.main()
