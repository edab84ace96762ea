# SPDX-License-Identifier: GPL-3.0-or-later
"""What every test of vistrel-render does."""

import os
import resource
import subprocess
import tempfile
import unittest
from pathlib import Path

import numpy
from PIL import Image

PROGRAM = Path(os.environ["VISTREL_BIN"]) / "vistrel-render"


class RenderTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.scene = self.folder / "scene.ply"
        self.picture = self.folder / "picture.png"

    def run_program(self, *arguments, largest_file=None, **options):
        """`largest_file` stands for a disk that is full; the signal which would end the program stays ignored."""
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (largest_file, largest_file))

        return subprocess.run(
            [PROGRAM, *map(os.fsencode, arguments)], capture_output=True, timeout=300, check=False,
            preexec_fn=limit if largest_file is not None else None,
            restore_signals=largest_file is None, **options)

    def draw(self, *options, scene=None, notes=b""):
        """The picture's pixels as numbers: rows, columns, red, green and blue."""
        result = self.run_program(*options, scene or self.scene, self.picture)
        self.assertEqual((result.returncode, result.stdout), (0, b""), result.stderr)
        self.assertEqual(result.stderr, notes)
        with Image.open(self.picture) as image:
            self.assertEqual((image.format, image.mode), ("PNG", "RGB"))
            return numpy.asarray(image).astype(int)

    def check_failure(self, result, *texts):
        """One line that holds the texts, and no picture."""
        message = result.stderr.decode(errors="surrogateescape")
        self.assertEqual(result.returncode, 1, message)
        self.assertEqual(message.count("\n"), 1, message)
        for text in ("Error: ", *texts):
            self.assertIn(text, message)
        self.assertFalse(self.picture.exists())
