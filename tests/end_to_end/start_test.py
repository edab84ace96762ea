#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Starts: many in a row, the first one, and one for a user who reads Japanese."""

import os
import unittest

from display import wait_for
from session import Session

STARTS = int(os.environ.get("VISTREL_STARTS", "20"))


class StartTest(Session):
    def test_many_starts_and_ends(self):
        for number in range(STARTS):
            with self.subTest(number):
                self.start()
                if number % 2:
                    self.display.close_window(self.main)
                else:
                    self.display.activate(self.main)
                    self.display.key("q")
                self.expect_end()

    def test_the_first_start_writes_what_the_program_carries(self):
        self.start()
        self.display.close_window(self.main)
        self.expect_end()
        for name in ("help_en.html", "help_jp.html", "WebView2Loader.dll"):
            self.assertGreater((self.program.folder / name).stat().st_size, 1000, name)
        page = self.home / "temp" / "VistrelWeb"
        self.assertEqual(sorted(path.name for path in page.iterdir()),
                         ["OrbitControls3d.js", "gaus3d.html", "spark.module.js", "three.core.js",
                          "three.module.js"])

    def test_the_window_fits_on_a_scaled_display(self):
        self.launch(environment={"QT_SCALE_FACTOR": "2"})
        left, top, right, bottom = self.display.frame_box(self.main)
        self.assertGreaterEqual((left, top), (0, 0))
        self.assertLessEqual((right, bottom), self.display.size)

    def opened_help(self, language):
        """The address that the desktop is asked to open."""
        asked = self.home / "asked"
        opener = self.home / "desktop" / "xdg-open"
        opener.parent.mkdir()
        opener.write_text(f'#!/bin/sh\nprintf %s "$1" >"{asked}"\n')
        opener.chmod(0o755)
        path = f"{opener.parent}:{os.environ['PATH']}"
        self.start(language=language, environment={"PATH": path})
        self.press("help")
        wait_for(lambda: asked.exists() and asked.stat().st_size > 0, "the help page")
        return asked.read_text()

    def test_help_in_english(self):
        self.assertEqual(self.opened_help("de_DE.UTF-8"),
                         f"file://{self.program.folder}/help_en.html")
        self.press("download")
        self.assertEqual(self.dialog().title, "Download Model")

    def test_help_in_japanese(self):
        self.assertEqual(self.opened_help("ja_JP.UTF-8"),
                         f"file://{self.program.folder}/help_jp.html")
        self.press("download")
        self.assertEqual(self.dialog().title, "モデルのダウンロード")


if __name__ == "__main__":
    unittest.main(verbosity=2)
