#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Every script that a user may call says what it does, and does nothing else, for --help."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
SCRIPTS = [path for folder in ("scripts", "packaging") for path in sorted((SOURCE / folder).iterdir())
           if path.is_file() and path.read_bytes().startswith(b"#!")]


class Help(unittest.TestCase):
    def test_every_script_is_found(self):
        names = {path.name for path in SCRIPTS}
        self.assertLessEqual({"setup", "build", "run", "test", "check", "pictures", "tidy", "fetch_packages.js",
                              "install", "install-dependencies", "uninstall"}, names)

    def test_every_script_tells_what_its_beginning_says(self):
        for path in SCRIPTS:
            for words in (["--help"], ["-h"], ["anything", "--help"]):
                with self.subTest(path.name, words=words), tempfile.TemporaryDirectory() as home:
                    done = subprocess.run([path, *words], capture_output=True, text=True, timeout=60,
                                          cwd=home, env={**os.environ, "HOME": home})
                    self.assertEqual((done.returncode, done.stderr), (0, ""))
                    first = done.stdout.splitlines()[0]
                    self.assertIn(first, path.read_text())
                    self.assertRegex(first, "^[A-Z].{20}")
                    self.assertNotIn("SPDX", done.stdout)
                    self.assertEqual(os.listdir(home), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
