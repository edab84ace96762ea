#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The real program on a display: starts that fail, and an end that is asked for by a signal.

Usage: real_start_test.py PROGRAM [unittest arguments]. Runs on the display of the environment.
"""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from PyQt6.QtWidgets import QApplication, QLabel, QMessageBox

PROGRAM = Path(sys.argv.pop(1)).resolve()
TEXTS = Path(__file__).resolve().parents[2] / "ui/ui_texts.tsv"


def text(slot, language):
    row = TEXTS.read_text(encoding="utf-8").split("\n")[slot].split("\t")
    return row[1 + (language == "ja")].replace("\\n", "\n")


def xdotool(*arguments):
    return subprocess.run(["xdotool", *map(str, arguments)], capture_output=True, text=True).stdout


class RealStartTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.application = QApplication(["test", "-platform", "xcb"])

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="vistrel-start-"))
        self.addCleanup(shutil.rmtree, self.folder)
        self.program = self.folder / "program"
        self.temporary = self.folder / "temporary"
        self.program.mkdir()
        shutil.copy2(PROGRAM, self.program)
        for library in PROGRAM.parent.glob("lib*.so*"):
            (self.program / library.name).symlink_to(library)
        self.process = None
        self.addCleanup(self.end)

    def end(self):
        if self.process:
            self.process.kill()
            self.process.wait()

    def start(self, language="en"):
        """The identifier of the first window titled "Vistrel"."""
        kept = {k: os.environ[k] for k in ("PATH", "DISPLAY") if k in os.environ}
        kept |= {"HOME": str(self.folder / "home"), "TMPDIR": str(self.temporary), "LANG": language,
                 "XDG_RUNTIME_DIR": str(self.folder / "runtime"), "QT_QPA_PLATFORM": "xcb"}
        if os.geteuid() == 0:
            kept["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        (self.folder / "home").mkdir()
        (self.folder / "runtime").mkdir(mode=0o700)
        with open(self.folder / "log", "wb") as log:
            self.process = subprocess.Popen([self.program / "vistrel"], env=kept, stdout=log,
                                            stderr=log, stdin=subprocess.DEVNULL)
        return self.wait_for(lambda: xdotool("search", "--onlyvisible", "--all", "--pid",
                                             self.process.pid, "--name", "^Vistrel$").split())[0]

    def wait_for(self, condition, seconds=60.0):
        end = time.monotonic() + seconds
        while not (answer := condition()):
            self.assertLess(time.monotonic(), end, (self.folder / "log").read_text())
            self.application.processEvents()
            time.sleep(0.02)
        return answer

    def expect_refusal(self, language="en"):
        window = self.start(language)
        expected = QMessageBox(QMessageBox.Icon.Critical, "Vistrel", text(37, language))
        expected.show()
        label = expected.findChild(QLabel, "qt_msgbox_label")
        self.wait_for(lambda: label.width() > 0 and expected.windowHandle().isExposed())
        picture = expected.grab(label.geometry()).toImage()
        expected.hide()
        area = label.geometry().getRect()
        self.wait_for(lambda: self.application.primaryScreen().grabWindow(int(window), *area)
                      .toImage().convertToFormat(picture.format()) == picture)

        def ends():
            xdotool("windowfocus", window, "key", "space")
            return self.process.poll() is not None
        self.wait_for(ends)
        self.assertEqual(self.process.returncode, 1)
        self.assertFalse((self.folder / "home/.config/Vistrel").exists())

    def test_file_in_place_of_the_temporary_folder(self):
        self.temporary.write_text("mine")
        self.expect_refusal()
        self.assertEqual(self.temporary.read_text(), "mine")

    def test_refusal_in_japanese(self):
        self.temporary.write_text("mine")
        self.expect_refusal("ja")

    def test_folder_in_place_of_a_help_page(self):
        (self.program / "help_en.html").mkdir()
        self.expect_refusal()
        self.assertFalse(self.temporary.exists())

    def test_dark_title_bar_is_asked_for(self):
        window = self.start()
        told = subprocess.run(["xprop", "-id", window, "_GTK_THEME_VARIANT"], capture_output=True,
                              text=True).stdout
        self.assertEqual(told.strip(), '_GTK_THEME_VARIANT(UTF8_STRING) = "dark"')

    def test_no_display(self):
        for display in ({}, {"DISPLAY": ":9999"}):
            with self.subTest(display):
                environment = {"PATH": os.environ["PATH"], "HOME": str(self.folder)} | display
                ended = subprocess.run([self.program / "vistrel"], env=environment, text=True,
                                       capture_output=True, timeout=60)
                self.assertEqual(ended.returncode, 1)
                self.assertEqual(ended.stdout, "")
                self.assertRegex(ended.stderr, r"\AVistrel: no window can be shown: .*display.*\n\Z")

    def test_signal_ends_it_as_its_user_would(self):
        self.start()
        self.process.send_signal(signal.SIGTERM)
        self.assertEqual(self.process.wait(60), 0)
        settings = json.loads((self.folder / "home/.config/Vistrel/settings.json").read_text())
        self.assertEqual(settings["depth"], "30")


if __name__ == "__main__":
    unittest.main(verbosity=2)
