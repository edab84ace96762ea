# SPDX-License-Identifier: GPL-3.0-or-later
"""What the tests of commands that tell of long steps have in common."""

import os
import re
import resource
import subprocess
import tempfile
import unittest
from pathlib import Path


def without_steps(said):
    """What was said but for what tells, on a slow machine, that something takes long."""
    return re.sub("^[A-Z][a-z ]+… [0-9]+ s\n".encode(), b"", said, flags=re.MULTILINE)


class CommandTest(unittest.TestCase):
    """Of the command `program`, in a folder of its own."""

    program = Path()

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.scene = self.folder / "scene.ply"

    def run_program(self, *arguments, largest_file=None, **options):
        """`largest_file` stands for a disk that is full; the signal which would end the program stays ignored."""
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (largest_file, largest_file))

        result = subprocess.run(
            [self.program, *map(os.fsencode, arguments)], capture_output=True, timeout=300, check=False,
            preexec_fn=limit if largest_file is not None else None,
            restore_signals=largest_file is None, **options)
        result.stderr = without_steps(result.stderr)
        return result

    def check_failure(self, result, *texts):
        """One line that holds the texts."""
        message = os.fsdecode(result.stderr)
        self.assertEqual(result.returncode, 1, message)
        self.assertEqual(message.count("\n"), 1, message)
        for text in ("Error: ", *texts):
            self.assertIn(text, message)

    def check_help(self, option):
        """Help names an option."""
        for asked, text in (("--help", option), ("--version", f"{self.program.name} 2.0.0\n".encode())):
            result = self.run_program(asked)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            self.assertIn(text, result.stdout)

    def check_help_without_room(self):
        with open("/dev/full", "w") as full:
            result = subprocess.run([self.program, "--help"], stdout=full, stderr=subprocess.PIPE, check=False)
        self.assertEqual((result.returncode, result.stderr), (1, b"Error: standard output could not be written\n"))
