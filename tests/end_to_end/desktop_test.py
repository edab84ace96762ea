#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Files that the desktop opens: the session bus starts the program, or hands them to the one that runs."""

import os
import shlex
import signal
import unittest
from pathlib import Path

import scenes
from display import wait_for
from program import Program
from session import BINARIES, Session
from session_bus import SessionBus

NAME, PATH, OPEN = "org.vistrel.vistrel", "/org/vistrel/vistrel", "org.freedesktop.Application.Open"


class StartedProgram(Program):
    """One that a bus of its own starts as soon as it is called."""

    def __init__(self, display, binaries, home):
        self.display, self.home, self.folder = display, home, home / "program"
        self._install(binaries)
        self.output, self.output_start = open(home / "output.log", "ab"), 0
        environment = self._environment("en_US.UTF-8")
        services = home / "data/dbus-1/services"
        services.mkdir(parents=True)
        (services / f"{NAME}.service").write_text(
            f"[D-BUS Service]\nName={NAME}\nExec={shlex.quote(str(self.folder / 'vistrel'))}\n")
        self.bus = SessionBus(environment, self.output)
        self.process = self.bus.process

    @property
    def identifier(self):
        """That of the program which has the name now."""
        return self.bus.owner(NAME)

    def kill(self):
        try:
            os.kill(self.identifier, signal.SIGKILL)
        except RuntimeError:
            pass  # it does not run
        self.bus.close()
        self.output.close()


class DesktopTest(Session):
    def open(self, *files):
        """As a file manager does on a double click."""
        addresses = ", ".join(f"'{file.as_uri()}'" for file in files)
        self.program.bus.call(NAME, PATH, OPEN, f"[{addresses}]", "@a{sv} {}")

    def test_files_are_opened_by_a_program_that_the_bus_starts_once(self):
        scene = self.home / os.fsdecode(b"wall 50% \xc3\xbc \xe9.ply")
        scenes.write_scene(scene)
        photograph = self.home / "photo & 'ü'.png"
        scenes.write_photograph(photograph, (1800, 1200))
        self.program = StartedProgram(self.display, BINARIES, self.home)
        self.open(scene, photograph)
        self.main = self.program.window("Vistrel")
        first = self.program.identifier
        wait_for(lambda: self.find_window() and self.shows_two_pictures(), "the scene")

        self.open(photograph)
        wait_for(self.shows_one_picture, "the photograph")
        self.assertEqual(self.program.identifier, first)

        # As a drop, it is not taken while a dialog is open.
        self.press_for_dialog("select file")
        dialog = self.newest_dialog()
        self.open(scene)
        wait_for(lambda: self.display.active_window() == dialog.id, "the dialog to be in front")
        self.display.key("Escape")
        self.wait_for_closing(dialog)
        wait_for(self.shows_one_picture, "the photograph, as before")

    def test_without_a_bus_the_program_starts_as_ever(self):
        self.start()
        self.display.close_window(self.main)
        self.expect_end()


if __name__ == "__main__":
    unittest.main(verbosity=2)
