# SPDX-License-Identifier: GPL-3.0-or-later
"""Photographs by the encoders of others, and what a decoder's module makes of them."""

import json
import os
import subprocess
import tempfile
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
