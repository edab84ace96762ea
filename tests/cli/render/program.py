# SPDX-License-Identifier: GPL-3.0-or-later
"""What every test of vistrel-render does."""

import os
import sys
from pathlib import Path

import numpy
from PIL import Image

sys.path.insert(0, str(Path(__file__).resolve().parents[1]))
from command import CommandTest  # noqa: E402

PROGRAM = Path(os.environ["VISTREL_BIN"]) / "vistrel-render"


class RenderTest(CommandTest):
    program = PROGRAM

    def setUp(self):
        super().setUp()
        self.picture = self.folder / "picture.png"

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
        super().check_failure(result, *texts)
        self.assertFalse(self.picture.exists())
