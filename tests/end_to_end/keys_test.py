#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Keys of the program, wherever the focus is."""

import unittest

import layout
import scenes
from display import HEIGHT, WIDTH, wait_for
from session import Session


class KeysTest(Session):
    def setUp(self):
        super().setUp()
        self.start()

    def wait_for_panel(self, shown):
        place = (self.panel[0] + 4, self.panel[1] + 300)
        wait_for(lambda: (self.display.picture().getpixel(place) == layout.SIDEBAR_COLOR) == shown,
                 f"the side panel {'to come back' if shown else 'to go'}")

    def wait_for_full_screen(self):
        wait_for(lambda: self.box() == (0, 0, WIDTH, HEIGHT), "full screen")

    def box(self):
        window = self.program.window("Vistrel")
        return (window.x, window.y, window.width, window.height)

    def dismiss(self):
        dialog = self.dialog()
        self.display.activate(dialog)
        self.display.key("Escape")
        self.wait_for_closing(dialog)

    def toggle_panel_twice(self):
        self.display.key("c")
        self.wait_for_panel(False)
        self.display.key("c")
        self.wait_for_panel(True)

    def test_at_the_start(self):
        self.toggle_panel_twice()

    def test_in_the_browser_view(self):
        # The name is typed in the dialog and holds every letter that is a key elsewhere.
        scene = self.home / "cqsx.ply"
        scenes.write_scene(scene)
        self.make_window_small()
        self.open_file(scene)
        wait_for(self.shows_two_pictures, "the scene")
        self.focus_viewer()
        self.toggle_panel_twice()
        before = self.box()
        self.display.key("Return")
        self.wait_for_full_screen()
        self.display.key("Return")
        wait_for(lambda: self.box() == before, f"the window to be at {before} again")
        self.display.key("x")
        self.display.key("s")
        self.dismiss()
        self.display.key("q")
        self.expect_end()
        self.assertEqual(self.program.settings()["isSwapped"], 1)

    def test_on_a_button(self):
        self.press("select model")  # leaves the focus on the button
        self.dismiss()
        before = self.box()
        self.display.key("Return")
        self.wait_for_full_screen()
        self.display.key("F11")
        wait_for(lambda: self.box() == before, f"the window to be at {before} again")
        self.toggle_panel_twice()
        self.display.key("q")
        self.expect_end()

    def test_on_a_russian_keyboard(self):
        self.display.set_keyboard("ru")
        self.addCleanup(self.display.set_keyboard, "us")
        place_of_c, place_of_q = "54", "24"
        self.display.key(place_of_c)
        self.wait_for_panel(False)
        self.display.key(place_of_c)
        self.wait_for_panel(True)
        self.display.key(place_of_q)
        self.expect_end()

    def test_light_goes_out_when_the_mouse_leaves_under_an_open_menu(self):
        x, y = (a + b for a, b in zip(layout.controls()["select file"], self.panel))

        def face():
            return self.display.picture().getpixel((x - 110, y - 8))
        dark = face()
        self.display.point(x, y)
        wait_for(lambda: face() != dark, "the light")
        self.display.key("alt+f")
        wait_for(self.popups, "the menu")
        self.display.point_away()
        self.display.key("Escape")
        wait_for(lambda: face() == dark, "the light to go out")

    def test_in_an_open_menu(self):
        self.open_menu(0)
        self.toggle_panel_twice()
        self.display.key("q")
        self.expect_end()

    def test_in_a_message(self):
        self.press("download")
        self.dialog()
        self.toggle_panel_twice()
        self.display.key("q")
        self.expect_end()

    def test_with_a_modifier(self):
        self.display.key("ctrl+c")
        self.wait_for_panel(False)
        self.display.key("alt+c")
        self.wait_for_panel(True)

    def test_a_combo_box_keeps_its_keys(self):
        self.press("provider")
        wait_for(self.popups, "the list")
        self.display.key("Escape")
        wait_for(lambda: not self.popups(), "the list to close")
        self.display.key("q", "c", "x", "s")
        self.focus_viewer()
        self.toggle_panel_twice()

    def test_a_text_field_keeps_its_keys(self):
        self.press("model name")
        self.display.key("q", "c", "x", "s", "Return")
        self.focus_viewer()
        self.toggle_panel_twice()
        self.assertNotEqual(self.box(), (0, 0, WIDTH, HEIGHT))


if __name__ == "__main__":
    unittest.main(verbosity=2)
