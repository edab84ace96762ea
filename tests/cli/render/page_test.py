#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The window's view of vistrel-render is the picture that the page shows: vistrel-snapshot takes that one."""

import os
import subprocess
import unittest
from pathlib import Path

import numpy
from PIL import Image

import render_scenes
from program import RenderTest

SNAPSHOT = Path(os.environ["VISTREL_BIN"]) / "vistrel-snapshot"
MODES = ["sbs", "grid", "dubois", "color", "gray", "rows"]
LEAST_DECIBELS = 38
RELIEF = render_scenes.ply(render_scenes.hills())


class Page(RenderTest):
    def page(self, mode, *options):
        environment = {"PATH": os.environ["PATH"], "HOME": str(self.folder)}
        if os.geteuid() == 0:
            environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        subprocess.run([SNAPSHOT, "--mode", str(mode), "--timeout", "400", *options, self.scene, self.picture],
                       check=True, env=environment, capture_output=True)
        with Image.open(self.picture) as image:
            return numpy.asarray(image.convert("RGB")).astype(int)

    def check(self, mode, *options):
        shown = self.page(mode, *options)
        drawn = self.draw("--view", "window", "--stereo", MODES[mode], *options)
        self.assertGreater(shown.std(), 20)
        difference = ((shown - drawn) ** 2).mean()
        self.assertGreaterEqual(10 * numpy.log10(255 ** 2 / max(difference, 1e-9)), LEAST_DECIBELS, MODES[mode])

    def test_every_mode_is_the_pages(self):
        self.scene.write_bytes(RELIEF)
        for mode in range(len(MODES)):
            self.check(mode, "--size", "240x150")

    def test_odd_sizes_and_settings_are_the_pages(self):
        self.scene.write_bytes(RELIEF)
        for mode in (0, 1):
            self.check(mode, "--size", "201x133", "--swap", "--focus", "-12", "--depth", "45")

    def test_general_scenes_are_the_pages(self):
        self.scene.write_bytes(render_scenes.ply(
            [render_scenes.ball(position, 0.15, colour, 2.0) for position, colour in
             (((0, 0, 0), (1, 0.2, 0.1)), ((0.4, 0.3, 0.5), (0.1, 0.9, 0.3)), ((-0.6, -0.2, 1), (0.2, 0.3, 1)),
              ((0.1, -0.5, -0.5), (0.9, 0.9, 0.2)), ((-0.2, 0.4, 0.2), (0.9, 0.3, 0.9)))], size=None))
        self.check(0, "--general", "--size", "240x150", "--focus", "10")


if __name__ == "__main__":
    unittest.main()
