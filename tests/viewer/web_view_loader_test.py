#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""How the program finds its loader library, and what it says of wrong ones.

Usage: web_view_loader_test.py USER LIBRARIES (then unittest's own arguments); USER is the program
loader_user, LIBRARIES the folder of the libraries good, no_number, no_factory and other_number.
"""

import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

USER, LIBRARIES = Path(), Path()
NAME = "WebView2Loader.dll"


class LoaderUserTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.user = self.folder / "program" / "loader_user"
        self.user.parent.mkdir()
        shutil.copy(USER, self.user)

    def run_user(self, folder, times=1):
        result = subprocess.run([self.user, str(times)], capture_output=True, text=True, timeout=60,
                                check=True, env={**os.environ, "LD_LIBRARY_PATH": str(folder)})
        return result.stdout.splitlines()

    def with_library(self, name):
        shutil.copy(LIBRARIES / name, self.folder / NAME)
        return self.folder

    def check_refused(self, lines, reason):
        self.assertEqual(lines[-1], "missing")
        self.assertRegex(lines[-2], f"^INFO -   {NAME} cannot be used: .*{reason}")


class SearchPathTest(LoaderUserTest):
    def test_good_library_is_called(self):
        self.assertEqual(self.run_user(self.with_library("good")), ["loaded", "called"])

    def test_library_is_loaded_once(self):
        lines = self.run_user(self.with_library("good"), times=3)
        self.assertEqual(lines, ["loaded", "called", "called", "called"])

    def test_missing_library(self):
        self.check_refused(self.run_user(self.folder), "No such file")

    def test_missing_library_is_looked_for_again(self):
        self.assertEqual(self.run_user(self.folder, times=2).count("missing"), 2)

    def test_something_that_is_no_library(self):
        for content in (b"", b"not a library at all", bytes(100_000)):
            (self.folder / NAME).write_bytes(content)
            self.check_refused(self.run_user(self.folder), "")

    def test_folder_of_that_name(self):
        (self.folder / NAME).mkdir()
        self.check_refused(self.run_user(self.folder), "")

    def test_library_without_the_factory(self):
        self.check_refused(self.run_user(self.with_library("no_factory")), "function is missing")

    def test_library_without_the_interface_number(self):
        self.check_refused(self.run_user(self.with_library("no_number")), "function is missing")

    def test_library_with_another_interface(self):
        self.check_refused(self.run_user(self.with_library("other_number")), "another version")


class BesideTheProgramTest(LoaderUserTest):
    """Not for sanitizers, which open libraries in the program's place."""

    def test_library_beside_the_program_is_found(self):
        shutil.copy(LIBRARIES / "good", self.user.parent / NAME)
        self.assertEqual(self.run_user(self.folder / "none"), ["loaded", "called"])


if __name__ == "__main__":
    USER, LIBRARIES = Path(sys.argv[1]), Path(sys.argv[2])
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
