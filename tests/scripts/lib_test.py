#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the scripts share: a command that takes long is told of."""

import subprocess
import unittest
from pathlib import Path

LIB = Path(__file__).resolve().parents[2] / "scripts/lib.sh"


class Patiently(unittest.TestCase):
    def start(self, command):
        process = subprocess.Popen(["bash", "-c", f"source '{LIB}'; {command}"], text=True,
                                   stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.addCleanup(process.kill)
        return process

    def test_a_short_command_is_not_told_and_its_status_is_kept(self):
        process = self.start("status=0; patiently 'Doing it' bash -c 'exit 7' || status=$?; exit $status")
        self.assertEqual(process.communicate(timeout=60), ("", ""))
        self.assertEqual(process.returncode, 7)

    def test_a_long_command_is_told_with_its_seconds(self):
        process = self.start("patiently 'Doing it' cat; echo after")
        self.assertRegex(process.stderr.readline(), r"^    Doing it: [5-9] s$")
        # Nothing is left that keeps the output open.
        self.assertEqual(process.communicate("end\n", timeout=60), ("end\nafter\n", ""))
        self.assertEqual(process.returncode, 0)

    def test_a_script_that_is_killed_leaves_nothing_behind(self):
        process = self.start("patiently 'Doing it' bash -c 'echo begun; exec cat >/dev/null 2>&1'")
        self.assertEqual(process.stdout.readline(), "begun\n")
        process.kill()
        process.wait(60)
        self.assertEqual(process.communicate(timeout=60)[0], "")  # ends when nobody holds it any more


if __name__ == "__main__":
    unittest.main(verbosity=2)
