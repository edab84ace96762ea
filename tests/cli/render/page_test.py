#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The window's view of vistrel-render is the picture that the page shows in the browser that the program embeds.

Usage: page_test.py PAGE (the folder of the built page; then unittest's own arguments)
"""

import base64
import io
import json
import os
import subprocess
import sys
import time
import unittest
from pathlib import Path
from urllib.parse import quote

import numpy
from PIL import Image

import render_scenes
from program import RenderTest

PAGE = Path()
TESTS = Path(__file__).resolve().parents[2]
MODES = ["sbs", "grid", "dubois", "color", "gray", "rows"]
LEAST_DECIBELS = 38
RELIEF = render_scenes.ply(render_scenes.hills())
SECONDS_TO_SHOW = 300


class Browser:
    """The page with one scene in it, at one size."""

    def __init__(self, scene, size, general=False):
        flags = ("--allow-file-access-from-files --disable-web-security --ignore-gpu-blocklist "
                 "--force-color-profile=srgb")
        environment = os.environ | {"QTWEBENGINE_CHROMIUM_FLAGS": flags}
        if os.geteuid() == 0:
            environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        self.process = subprocess.Popen(
            [TESTS / "support/with_display", "/usr/bin/python3", TESTS / "web/support/qt_driver.py"],
            env=environment, stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.DEVNULL)
        # Frames that the display shows, by the name under which the driver waits for them.
        self.ask("prepare", script="window.displayFrame = requestAnimationFrame.bind(window)",
                 width=size[0], height=size[1])
        query = f"nreso=1&mode={int(general)}&nst=1&openFile={quote(str(scene))}"
        assert self.ask("goto", url=f"{(PAGE / 'gaus3d.html').as_uri()}?{query}")["ok"]

    def ask(self, method, **params):
        self.process.stdin.write(json.dumps({"id": 1, "method": method, "params": params}).encode() + b"\n")
        self.process.stdin.flush()
        for line in self.process.stdout:
            answer = json.loads(line)
            if answer.get("id") == 1:
                return answer
        raise RuntimeError("the browser has ended")

    def picture(self, *calls):
        """What the page shows after these calls of its functions, as rows of pixels."""
        for call in calls:
            self.ask("evaluate", expression=f"{call}, null")
        limit = time.monotonic() + SECONDS_TO_SHOW
        while self.ask("evaluate", expression="SceneStateFromNative()")["value"] != "shown":
            assert time.monotonic() < limit, "the page shows no scene"
            time.sleep(0.02)
        with Image.open(io.BytesIO(base64.b64decode(self.ask("screenshot")["png"]))) as image:
            return numpy.asarray(image.convert("RGB")).astype(int)

    def close(self):
        self.process.communicate()


class Page(RenderTest):
    def open(self, size, **options):
        browser = Browser(self.scene, size, **options)
        self.addCleanup(browser.close)
        return browser

    def check(self, shown, mode, *options):
        drawn = self.draw("--view", "window", "--stereo", MODES[mode], "--size",
                          f"{shown.shape[1]}x{shown.shape[0]}", *options)
        self.assertGreater(shown.std(), 20)
        difference = ((shown - drawn) ** 2).mean()
        self.assertGreaterEqual(10 * numpy.log10(255 ** 2 / max(difference, 1e-9)), LEAST_DECIBELS, MODES[mode])

    def test_every_mode_is_the_pages(self):
        self.scene.write_bytes(RELIEF)
        browser = self.open((240, 150))
        for mode in range(len(MODES)):
            self.check(browser.picture(f"ChgstFromNative({mode})"), mode)

    def test_odd_sizes_and_settings_are_the_pages(self):
        self.scene.write_bytes(RELIEF)
        browser = self.open((201, 133))
        for mode in (0, 1):
            shown = browser.picture(f"ChgstFromNative({mode})", "SwapFromNative(true)", "SetFocusFromNative(-12, 45)")
            self.check(shown, mode, "--swap", "--focus", "-12", "--depth", "45")

    def test_general_scenes_are_the_pages(self):
        self.scene.write_bytes(render_scenes.ply(
            [render_scenes.ball(position, 0.15, colour, 2.0) for position, colour in
             (((0, 0, 0), (1, 0.2, 0.1)), ((0.4, 0.3, 0.5), (0.1, 0.9, 0.3)), ((-0.6, -0.2, 1), (0.2, 0.3, 1)),
              ((0.1, -0.5, -0.5), (0.9, 0.9, 0.2)), ((-0.2, 0.4, 0.2), (0.9, 0.3, 0.9)))], size=None))
        shown = self.open((240, 150), general=True).picture("SetFocusFromNative(10, 30)")
        self.check(shown, 0, "--general", "--focus", "10")


if __name__ == "__main__":
    PAGE = Path(sys.argv.pop(1))
    unittest.main()
