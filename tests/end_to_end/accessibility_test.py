#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Without eyes or mouse: every control has its name and value, and the keyboard goes everywhere."""

import re
import unittest

import layout
import scenes
from accessibility import Bus, ScreenReader
from display import Timeout, wait_for
from session import Session
from user import SOURCE, BatchDialog

# Roles of what a user does something with, or is told something by.
NAMED = ("push button", "toggle button", "check box", "radio button", "combo box", "spin button",
         "slider", "text", "list", "list item", "tree", "table column header", "menu item",
         "popup menu", "progress bar", "document web", "dialog", "alert")
PANEL = ("push button", "radio button", "combo box", "slider", "text")
ITEMS = ("list item", "table cell")
# What the focus only passes on its way to the page's picture and back.
PASSED = ("filler", "document web")
VIEW = "3D Gaussian Splats"


def texts(column):
    lines = (SOURCE / "tests" / "ui" / "ui_texts.tsv").read_text().splitlines()
    return [line.split("\t")[column].replace("\\n", "\n").replace("\\t", "\t") for line in lines]


def spoken(text):
    return re.sub(r"\(&.\)|&", "", text).strip("— ▶⇆↺⬇⇩")


class AccessibilityTest(Session):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.bus = Bus(cls.display, cls.folder / "bus")
        cls.addClassCleanup(cls.bus.close)

    def start_with_scene(self, language="en_US.UTF-8", column=1):
        self.texts = texts(column)
        scene = self.home / "wall.ply"
        scenes.write_scene(scene)
        self.start(language=language, environment=self.bus.environment)
        # Next to no room for the scene: the program has time to answer while it is drawn.
        self.display.resize(self.main, 340, 660)
        self.open_file(scene)
        wait_for(self.shows_viewer_controls, "the viewer's controls")
        self.reader = ScreenReader(self.program.identifier)
        self.addCleanup(self.reader.close)
        wait_for(self.is_told_of_the_focus, "the program to tell of itself")

    def is_told_of_the_focus(self):
        """It hears a little later that somebody listens."""
        self.display.key("Tab")
        try:
            return self.reader.wait_for(self.reader.FOCUS, 2)
        except Timeout:
            return None

    def shows_viewer_controls(self):
        x, y = layout.controls()["save image"]
        place = (self.panel[0] + x + 125, self.panel[1] + y)
        return self.display.picture().getpixel(place) != layout.SIDEBAR_COLOR

    def spoken(self, *slots):
        return [spoken(self.texts[slot]) for slot in slots]

    # What there is

    def panel_controls(self):
        batch, help_, heading, download, file, provider, generate = self.spoken(
            63, 85, 0, 44, 4, 5, 8)
        sharp, general, stereo, swap, reset, save = self.spoken(9, 10, 11, 14, 15, 16)
        return [("push button", batch), ("push button", help_), ("text", heading),
                ("push button", f"Select… {heading}"), ("push button", download),
                ("push button", file), ("combo box", provider), ("push button", generate),
                ("radio button", sharp), ("radio button", general), ("combo box", stereo),
                ("slider", "Focus"), ("slider", "Depth"), ("push button", swap),
                ("push button", reset), ("push button", save)]

    def check_names(self, window):
        nameless = [one for one in window.shown(*NAMED) if not one.spoken.strip()]
        self.assertEqual(nameless, [], window.name)

    def check_main_window(self):
        def with_page():
            window = self.reader.window("Vistrel")
            return window if window.shown("image") else None
        window = wait_for(with_page, "the page to be told")
        self.check_names(window)
        self.assertEqual([(one.role, one.spoken) for one in window.shown(*PANEL)],
                         self.panel_controls())
        self.assertEqual([one.spoken for one in window.shown("image", "document web")],
                         [VIEW, VIEW])
        self.assertEqual([one.name for one in window.walk() if one.role == "menu item"],
                         [text.replace("&", "") for text in self.texts[64:87]])
        self.assertEqual([one.name for one in window.walk() if one.role == "popup menu"],
                         self.spoken(64, 69, 72, 75, 84))
        generate = window.find("push button", self.spoken(8)[0])
        self.assertNotIn("enabled", generate.states)
        self.check_tab(window)

    def check_dialog(self, title, *names):
        """Its window; names are those that it has, among others."""
        dialog = self.dialog()
        self.assertEqual(dialog.title, title)
        self.display.activate(dialog)
        controls = self.reader.window(title)
        self.check_names(controls)
        told = [one.spoken for one in controls.shown()]
        self.assertEqual([name for name in names if name not in told], [], told)
        self.check_tab(controls)
        return dialog

    def check_dialogs(self):
        about, batch, input_folder, start, cancel, browse = self.spoken(36, 45, 46, 48, 49, 50)
        self.choose(3, "a")
        self.dismiss(self.check_dialog(about, self.texts[35]))
        self.choose(0, "f")
        self.dismiss(self.check_dialog(self.dialog().title))
        self.choose(0, "b")
        dialog = self.check_dialog(batch, input_folder, f"{browse} {input_folder}",
                                   "Output Folder:", f"{browse} Output Folder:", batch, start,
                                   cancel)
        folder = self.home / "photographs"
        folder.mkdir()
        scenes.write_photograph(folder / "one.png")
        (folder / "one.ply").write_text("a scene that is there")
        form = BatchDialog(self, dialog)
        form.choose_input(folder)
        form.choose_output(folder)
        caption, *buttons = self.spoken(57, 59, 60, 61)

        def is_asked():
            form.press("start")  # not heard while the question for the folder is about to close
            return self.dialog().title == caption
        wait_for(is_asked, "the question about the scene")
        conflict = self.check_dialog(caption, self.texts[58], *buttons)
        self.assertEqual(self.reader.window(caption).description, self.texts[58])
        self.dismiss(conflict)

    def choose(self, menu, letter):
        self.open_menu(menu)
        self.display.key(letter)

    def dismiss(self, dialog):
        self.display.key("Escape")
        self.wait_for_closing(dialog)

    # Where the keyboard goes

    def check_tab(self, window):
        """From any of a window's controls, Tab goes to each of them, and each shows the focus."""
        others = (*ITEMS, *PASSED, "label")
        wanted = [(one.role, one.spoken) for one in window.shown()
                  if {"focusable", "enabled"} <= one.states and one.role not in others
                  # Of a group, Tab goes to the chosen one and arrows to the others.
                  and not (one.role == "radio button" and "checked" not in one.states)]
        if len(wanted) == 1:
            self.assertIn("focused", window.find(*wanted[0]).states)
            return
        visited = []
        self.reader.forget()
        while True:
            here, change = self.go("Tab", not_from=visited[-1:])
            if here in visited:
                break
            visited.append(here)
            if here[0] not in ("list", "tree"):  # those mark an item, once there is a current one
                wait_for(change, f"{here} to look as if it had the focus")
        self.assertCountEqual(visited, wanted)

    def go(self, key, not_from=()):
        """Role and name of where the key brings the focus, and whether that looks changed."""
        before = self.display.picture()
        self.display.key(key)
        while True:
            here, box = self.reader.wait_for(self.reader.FOCUS)
            if here not in not_from and here[0] not in PASSED:
                return here, lambda: self.display.picture(box).tobytes() != before.crop(box).tobytes()

    def check_language(self, language, column):
        self.start_with_scene(language, column)
        self.check_main_window()
        self.check_dialogs()

    def test_in_english(self):
        self.check_language("en_US.UTF-8", 1)

    def test_in_japanese(self):
        self.check_language("ja_JP.UTF-8", 2)

    # What the keyboard does

    def next_item(self, key):
        """The name of the item of an open menu to which the key brings the focus."""
        self.display.key(key)
        while True:
            (role, name), box = self.reader.wait_for(self.reader.FOCUS)
            if role == "menu item":  # others have it between two menus
                self.visited.add(name)
                if box[1] >= self.panel[1]:  # below the menu bar
                    return name

    def go_through_menu(self, first):
        name = first
        while True:
            if name == "Stereo Mode":
                self.go_through_menu(self.next_item("Right"))
                self.display.key("Left")
            name = self.next_item("Down")
            if name == first:
                return

    def test_the_menu(self):
        self.start_with_scene()
        self.visited = set()
        self.display.key("F10")
        first = self.next_item("Down")
        for _ in range(4):
            self.go_through_menu(first)
            first = self.next_item("Right")
        names = [text.replace("&", "") for text in self.texts[64:87]]
        self.assertEqual(self.visited, set(names))
        self.assertEqual(self.next_item("Right"), "Side Panel\tC")
        self.display.key("space")
        wait_for(lambda: not self.reader.window("Vistrel").shown("slider"), "the panel to go")

    def test_values(self):
        self.start_with_scene()
        slider = ("slider", "Depth")
        while self.go("Tab")[0] != slider:
            pass
        self.reader.forget()
        self.display.key("Right")
        self.assertEqual(self.reader.wait_for(self.reader.VALUE)[0], slider)
        self.assertEqual(self.reader.wait_for(self.reader.NAME)[0], ("label", "Depth: 31"))
        self.assertEqual(self.reader.window("Vistrel").find(*slider).value, (0, 31, 200))

    def test_choices(self):
        self.start_with_scene()
        sharp, general, stereo = self.spoken(9, 10, 11)
        while self.go("Tab")[0] != ("radio button", sharp):
            pass
        self.assertEqual(self.go("Right")[0], ("radio button", general))
        self.assertEqual(self.go("Tab")[0], ("combo box", stereo))
        self.display.key("Down")
        # Keys wait until screen readers were asked for them; the close box would overtake this one.
        wait_for(lambda: self.reader.window("Vistrel").find("combo box", stereo).name
                 == self.texts[18], "the other stereo mode")
        self.display.close_window(self.main)
        self.expect_end()
        settings = self.program.settings()
        self.assertEqual((settings["isSharpMode"], settings["stereoMode"]), (0, 1))


if __name__ == "__main__":
    unittest.main(verbosity=2)
