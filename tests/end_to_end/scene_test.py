#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""From a photograph to a scene on the screen, and what is done with the scene there."""

import os
import signal
import unittest

from PIL import Image

import scenes
from display import wait_for
from scenes import LEFT, RIGHT, is_gray
from session import SECONDS_TO_END, Session
from user import SOURCE

PHOTOGRAPH = SOURCE / "resources" / "sample" / "autumn_lake.jpg"


def grid(picture):
    """Colours of 4 x 3 fields."""
    return list(picture.convert("RGB").resize((4, 3), Image.BOX).getdata())


def difference(one, other):
    """The mean difference of two pictures' fields, 0 to 255."""
    pairs = zip(grid(one), grid(other))
    return sum(sum(abs(a - b) for a, b in zip(p, q)) / 3 for p, q in pairs) / 12


class ConversionTest(Session):
    def test_a_photograph_becomes_a_scene_on_the_screen(self):
        self.start()
        self.choose_model()
        self.open_photograph(PHOTOGRAPH, download=False)
        photograph = Image.open(PHOTOGRAPH)

        left, top, right, bottom = self.viewer()
        scale = min((right - left) / photograph.width, (bottom - top) / photograph.height, 1)
        width, height = int(photograph.width * scale), int(photograph.height * scale)
        x, y = left + (right - left - width) // 2, top + (bottom - top - height) // 2
        preview = (x, y, x + width, y + height)
        wait_for(lambda: difference(self.display.picture(preview), photograph) < 6, "the preview")

        self.press("generate", download=False)
        scene = self.home / "lake.ply"
        self.enter_file(scene)
        wait_for(lambda: self.program.settings_file().exists(), "the conversion to end", 300)
        settings = self.program.settings()
        self.assertEqual(settings["outputFilename"], "lake.ply")
        self.assertEqual(settings["outputDir"], str(self.home))
        self.assertGreater(scene.stat().st_size, 60_000_000)

        # Both eyes see nearly the same, in the colours of the photograph's middle; the preview, whose
        # halves differ, and the empty page do not count.
        middle = photograph.crop((photograph.width // 4, photograph.height // 10,
                                  photograph.width * 3 // 4, photograph.height * 17 // 20))
        width, height = (right - left) // 2, bottom - top

        def shows_scene():
            eyes = [self.display.picture((x, top + height // 4, x + width, top + height * 3 // 4))
                    for x in (left, left + width)]
            return difference(*eyes) < 10 and difference(eyes[0], middle) < 60
        wait_for(shows_scene, "the scene", 300)
        self.display.close_window(self.main)
        self.expect_end()


class SceneTest(Session):
    def setUp(self):
        super().setUp()
        self.scene = self.home / "wall.ply"
        scenes.write_scene(self.scene)

    def open_scene(self, **shown):
        self.make_window_small()
        self.open_file(self.scene, **shown)
        wait_for(self.shows_two_pictures, "the scene, side by side")

    def choose_stereo(self, mode, **shown):
        """In the panel's list, from the first entry."""
        self.press("stereo mode", **shown)
        wait_for(self.popups, "the list of modes")
        self.display.key("Home", *["Down"] * mode, "Return")
        wait_for(lambda: not self.popups(), "the list to close")

    def click_stereo(self, mode):
        """In the menu."""
        controls = self.open_menu(2)
        self.display.key("Down", "Down", "Right")  # from the first item
        stereo = wait_for(lambda: [p for p in self.popups() if p.id != controls.id], "the modes")[0]
        self.display.click(stereo.x + stereo.width // 2,
                           stereo.y + int(stereo.height * (mode + 0.5) / 6))

    def test_every_stereo_mode_from_list_and_menu(self):
        self.start()
        self.open_scene()
        self.choose_stereo(3)
        wait_for(self.shows_one_picture, "Color Anaglyph")
        self.click_stereo(4)
        wait_for(lambda: is_gray(self.color_at(0.125)) and is_gray(self.color_at(0.875)),
                 "Gray Anaglyph")
        self.choose_stereo(1)
        wait_for(lambda: max(self.color_at(0.5, 0.5)) < 20
                 and self.shows_sides(LEFT, RIGHT, LEFT, RIGHT, y_part=0.25)
                 and self.shows_sides(LEFT, RIGHT, LEFT, RIGHT, y_part=0.75), "LR/RL")
        self.click_stereo(5)
        wait_for(self.shows_one_picture, "Interlaced")
        self.click_stereo(2)
        wait_for(lambda: not self.shows_one_picture(), "Dubois")
        self.click_stereo(0)
        wait_for(self.shows_two_pictures, "Side-by-Side")

    def test_a_saved_picture_is_what_the_viewer_shows(self):
        self.start()
        self.open_scene()
        self.press("save image")
        picture = self.home / "saved.png"
        self.enter_file(picture)
        wait_for(lambda: picture.exists() and picture.stat().st_size > 0, "the picture")
        left, top, right, bottom = self.viewer()
        with Image.open(picture) as saved:
            self.assertEqual(saved.format, "PNG")
            self.assertEqual(saved.size, (right - left, bottom - top))
            self.assertLess(difference(saved, self.display.picture(self.viewer())), 4)

    def test_a_scene_whose_name_no_address_can_carry_is_shown(self):
        self.scene = self.scene.rename(self.home / "C# & 50%+?.PLY")
        self.start()
        self.open_scene()
        self.display.close_window(self.main)
        self.expect_end()
        self.assertEqual(self.scene.read_bytes()[:3], b"ply")

    def test_the_mouse_turns_the_scene(self):
        self.start()
        self.open_scene()
        left, top, right, bottom = self.viewer()
        before = self.display.picture(self.viewer())
        y = (top + bottom) // 2
        self.display.drag((left + 100, y), (left + 320, y - 90))
        wait_for(lambda: difference(before, self.display.picture(self.viewer())) > 3,
                 "the scene to turn")

    def test_the_arrow_keys_turn_the_scene(self):
        self.start()
        self.open_scene()
        self.focus_viewer()
        before = self.display.picture(self.viewer())
        self.display.key(*["Right"] * 12)
        wait_for(lambda: difference(before, self.display.picture(self.viewer())) > 3,
                 "the scene to turn")

    def test_choices_come_back_with_the_next_start(self):
        self.start()
        self.choose_model()
        self.open_scene(download=False)
        self.choose_stereo(4, download=False)
        wait_for(lambda: is_gray(self.color_at(0.125)), "Gray Anaglyph")
        self.focus_viewer()
        self.display.key("x")
        self.display.key("q")
        self.expect_end()
        settings = self.program.settings()
        self.assertEqual(settings["stereoMode"], 4)
        self.assertEqual(settings["isSwapped"], 1)
        self.assertTrue(settings["modelPath"].endswith("vistrel_relief_demo.onnx"))
        self.assertEqual((settings["focus"], settings["depth"]), ("0", "30"))

        self.start()
        self.open_file(self.scene, download=False)  # the model is known
        wait_for(lambda: is_gray(self.color_at(0.2)) and is_gray(self.color_at(0.8)),
                 "Gray Anaglyph again")
        self.display.close_window(self.main)
        self.expect_end()
        self.assertEqual(self.program.settings(), settings)

    def test_choices_survive_a_page_that_is_busy_at_the_end(self):
        self.start()
        self.open_scene()
        self.choose_stereo(4)
        wait_for(lambda: is_gray(self.color_at(0.125)), "Gray Anaglyph")
        self.focus_viewer()
        for process in self.program.page_processes():
            os.kill(process, signal.SIGSTOP)
        self.display.key("q")
        self.assertEqual(self.program.process.wait(SECONDS_TO_END), 0)

        self.start()
        self.open_file(self.scene)
        wait_for(lambda: is_gray(self.color_at(0.2)) and is_gray(self.color_at(0.8)),
                 "Gray Anaglyph again")


if __name__ == "__main__":
    unittest.main(verbosity=2)
