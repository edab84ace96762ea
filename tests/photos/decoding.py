# SPDX-License-Identifier: GPL-3.0-or-later
"""Photographs by the encoders of others, and what a decoder's module makes of them."""

import json
import os
import subprocess
import tempfile
import unittest
from pathlib import Path

import numpy as np

SAMPLE_TYPES = [np.uint8, np.uint16, np.float32]  # by DecodedPhoto's format
DECODE = Path(os.environ["VISTREL_BIN"]).parent / "tests/decode_photo"


class NotMine(Exception):
    """The decoder says that the file is of another kind."""


class Refused(Exception):
    """The decoder says in its sentence why it cannot read the file."""


class Decoded:
    """What the decoder told, as attributes, and `pixels`: height x width x 4."""

    def __init__(self, told, samples):
        self.__dict__.update(json.loads(told))
        pixels = np.frombuffer(samples, SAMPLE_TYPES[self.format])
        self.pixels = pixels.reshape(self.height, self.width, 4)


def decode(kind, photo):
    """The file `photo` by the decoder `kind`, such as "heif"."""
    module = Path(os.environ["VISTREL_BIN"]) / "photos" / f"{kind}.so"
    with tempfile.TemporaryDirectory() as folder:
        samples = Path(folder) / "samples"
        done = subprocess.run([DECODE, module, photo, samples], capture_output=True, check=False)
        if done.returncode == 3:
            raise NotMine
        if done.returncode != 0:
            raise Refused(done.stderr.decode().strip() or f"ended with {done.returncode}")
        return Decoded(done.stdout, samples.read_bytes())


class DecoderTest(unittest.TestCase):
    """Tests of the decoder `KIND`, with a folder for files."""

    KIND = ""

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(scratch.cleanup)
        cls.folder = Path(scratch.name)

    def decode(self, data):
        photo = self.folder / "photo"
        photo.write_bytes(data)
        return decode(self.KIND, photo)

    def refusal(self, data):
        with self.assertRaises(Refused) as caught:
            self.decode(data)
        return str(caught.exception).splitlines()[-1]  # libraries may print, too

    def assert_refused(self, data, words):
        self.assertRegex(self.refusal(data), words)
        self.assertRegex(self.refusal(data), r"^(Its? |There ).*\.$")

    def assert_same(self, decoded, expected):
        np.testing.assert_array_equal(decoded.pixels, expected)

    def assert_near(self, decoded, expected, loss):
        self.assertEqual(decoded.pixels.shape, expected.shape)
        self.assertLessEqual(np.abs(decoded.pixels.astype(int) - expected.astype(int)).max(), loss)
