# SPDX-License-Identifier: GPL-3.0-or-later
"""A test case with a display and a user who sits down at it."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

from display import Display
from scenes import LEFT, RIGHT, is_near
from user import User

BINARIES = Path(os.environ["VISTREL_BIN"])
# Screens and output of what failed.
KEPT = BINARIES.parent / "tests" / "end_to_end"
# Two seconds are what a user may be asked to wait; the rest is for a busy machine.
SECONDS_TO_END = 60


class Session(User, unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="vistrel-end-to-end-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.display = Display(cls.folder / "display")
        cls.addClassCleanup(cls.display.close)

    def setUp(self):
        self.home = self.folder / self._testMethodName
        self.home.mkdir()
        self.sit_down(self.display, BINARIES, self.home)
        self.addCleanup(self._end)

    def _end(self):
        if not self.program:
            return
        result = self._outcome.result
        if any(test is self for test, _ in result.failures + result.errors):
            self._keep()
        self.program.kill()

    def _keep(self):
        KEPT.mkdir(parents=True, exist_ok=True)
        name = f"{type(self).__name__}.{self._testMethodName}"
        self.display.picture().save(KEPT / f"{name}.png")
        (KEPT / f"{name}.log").write_text(self.program.text())
        print(f"{name}: {self.display.windows()}; screen and output are kept in {KEPT}\n"
              f"{self.program.text()}")

    def expect_end(self):
        """The program ends in time, by itself and without complaint, and its settings are there."""
        self.assertEqual(self.program.wait(SECONDS_TO_END), 0)
        self.assertEqual(self.program.faults(), [])
        self.assertIn("stereoMode", self.program.settings())

    def shows_sides(self, *wanted, **options):
        """Whether the places at 1/8, 3/8, 5/8 and 7/8 of the width have these colours."""
        return all(is_near(self.color_at((2 * i + 1) / 8, **options), color)
                   for i, color in enumerate(wanted))

    def shows_two_pictures(self, **options):
        return self.shows_sides(LEFT, RIGHT, LEFT, RIGHT, **options)

    def shows_one_picture(self, **options):
        return self.shows_sides(LEFT, LEFT, RIGHT, RIGHT, **options)
