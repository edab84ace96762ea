#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The viewer where something goes wrong, and where it must not."""

import json
import os
import shutil
import signal
import unittest

from PIL import Image

import layout
import scenes
from display import Timeout, wait_for
from scenes import LEFT, RIGHT, is_gray
from session import Session

BACK, FORWARD = 8, 9


class ViewerTest(Session):
    def setUp(self):
        super().setUp()
        self.scene = self.home / "wall.ply"
        scenes.write_scene(self.scene)
        self.start()
        self.make_window_small()

    def open_scene(self):
        self.open_file(self.scene)
        wait_for(self.shows_two_pictures, "the scene, side by side")

    def tells_status(self):
        """Whether the panel's status says anything."""
        x, y = layout.controls()["status"]
        left, top = self.panel[0] + x - 120, self.panel[1] + y - 15
        colors = self.display.picture((left, top, left + 240, top + 30)).getcolors()
        return len(colors) > 5

    def test_the_buttons_for_back_and_forward_leave_the_scene_alone(self):
        # The browser goes back only from and to what its user has touched.
        other = self.home / "other.ply"
        scenes.write_scene(other, left=RIGHT, right=LEFT)
        self.open_scene()
        self.focus_viewer()

        def shows_other():
            return self.shows_sides(RIGHT, LEFT, RIGHT, LEFT)
        self.open_file(other)
        wait_for(shows_other, "the other scene")
        self.focus_viewer()
        left, top, right, bottom = self.viewer()
        for button in (BACK, FORWARD, BACK):
            self.display.click((left + right) // 2, (top + bottom) // 2, button)
        with self.assertRaises(Timeout):
            wait_for(lambda: not shows_other(), "the scene to go", 4)

    def test_after_the_pages_process_has_died_the_next_scene_is_seen(self):
        self.open_scene()
        self.assertFalse(self.tells_status())
        for process in self.program.page_processes():
            os.kill(process, signal.SIGKILL)
        wait_for(self.tells_status, "the status to tell")
        wait_for(lambda: not self.shows_two_pictures(), "the scene to go")
        self.open_scene()
        self.assertFalse(self.tells_status())

    def test_a_scene_that_cannot_be_shown_is_told(self):
        self.open_scene()
        cut = self.home / "cut.ply"
        cut.write_bytes(self.scene.read_bytes()[:-20])
        self.open_file(cut)
        wait_for(self.tells_status, "the status to tell")
        self.assertIn("The scene cannot be shown: The file ends in its", self.program.text())
        # The page tells it, too, in its middle.
        wait_for(lambda: self.color_at(0.5, 0.5) != (0, 0, 0), "the page's message")
        self.open_scene()
        self.assertFalse(self.tells_status())

    def test_a_picture_that_is_being_saved_survives_the_end(self):
        self.open_scene()
        picture = self.home / "saved.png"
        self.press("save image")
        self.enter_file(picture)
        self.display.activate(self.main)
        self.display.key("q")
        self.expect_end()
        left, top, right, bottom = self.viewer()
        with Image.open(picture) as saved:
            self.assertEqual(saved.size, (right - left, bottom - top))
            self.assertGreater(len(saved.convert("RGB").getcolors(1 << 24)), 100)

    def test_a_picture_that_cannot_be_saved_is_told(self):
        self.open_scene()
        folder = self.home / "folder"
        folder.mkdir()
        self.press("save image")
        picture = folder / "saved.png"
        picture.symlink_to(self.home / "nowhere" / "saved.png")
        self.enter_file(picture)
        wait_for(self.tells_status, "the status to tell")

    def test_a_page_that_remembers_nothing_shows_the_panels_mode(self):
        """As that of a second window, which has no profile of its own."""
        self.display.close_window(self.main)
        self.expect_end()
        shutil.rmtree(self.home / "data")
        settings = self.program.settings() | {"stereoMode": 4, "isSwapped": 1}
        self.program.settings_file().write_text(json.dumps(settings))
        self.start()
        self.open_file(self.scene)
        wait_for(lambda: is_gray(self.color_at(0.2)) and is_gray(self.color_at(0.8)),
                 "Gray Anaglyph")


if __name__ == "__main__":
    unittest.main(verbosity=2)
