#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Small scenes look as they did before: vistrel-render's pictures against those in the folder golden.

With --write as the only argument the pictures are made anew. Look at them before you commit them.
"""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import numpy
from PIL import Image

import render_scenes
from program import PROGRAM, RenderTest

FOLDER = Path(__file__).parent / "golden"
# Instruction sets round differently.
LARGEST_DIFFERENCE = 2


def needles():
    """Thin ones in all directions, in front of each other."""
    dice = numpy.random.default_rng(5)
    found = []
    for _ in range(150):
        depth = dice.uniform(1, 6)
        u, v = dice.uniform(-0.45, 0.45, 2)
        found.append([u * depth, v * 0.75 * depth, depth, *dice.uniform(0, 1, 3), dice.uniform(-2, 3),
                      *numpy.log(depth * numpy.array([0.1, 0.006, 0.006])), *dice.normal(size=4)])
    return found


def around_the_origin():
    """A ball of balls, for the cameras of the window."""
    dice = numpy.random.default_rng(6)
    directions = dice.normal(size=(300, 3))
    directions /= numpy.linalg.norm(directions, axis=1)[:, None]
    return [render_scenes.ball(0.7 * at, 0.08, 0.5 + 0.5 * at, 1.0) for at in directions]


SCENES = {
    "hills": render_scenes.ply(render_scenes.hills(columns=60, rows=45)),
    "needles": render_scenes.ply(needles()),
    "balls": render_scenes.ply(around_the_origin(), size=None),
}

# Name of the picture -> scene and options.
PICTURES = {
    "hills": ("hills", ["--size", "96x72"]),
    "hills_uncropped": ("hills", ["--size", "120x72", "--no-crop"]),
    "hills_sbs": ("hills", ["--size", "160x60", "--stereo", "sbs"]),
    "hills_dubois": ("hills", ["--size", "96x72", "--stereo", "dubois"]),
    "hills_half_ou": ("hills", ["--size", "96x72", "--stereo", "half-over-under"]),
    "hills_window": ("hills", ["--size", "96x72", "--view", "window"]),
    "needles": ("needles", ["--size", "96x72", "--no-crop"]),
    "needles_rows": ("needles", ["--size", "96x72", "--no-crop", "--stereo", "rows"]),
    "balls_window_grid": ("balls", ["--size", "101x71", "--view", "window", "--stereo", "grid"]),
    "balls_window_sbs": ("balls", ["--size", "120x60", "--view", "window", "--stereo", "sbs"]),
    "balls_general_color": ("balls", ["--size", "90x60", "--view", "window", "--general", "--stereo", "color",
                                      "--focus", "15", "--depth", "60"]),
}


class Golden(RenderTest):
    def test_pictures_are_as_before(self):
        for name, (scene, options) in PICTURES.items():
            with self.subTest(name):
                self.scene.write_bytes(SCENES[scene])
                drawn = self.draw(*options)
                with Image.open(FOLDER / f"{name}.png") as image:
                    golden = numpy.asarray(image).astype(int)
                self.assertEqual(drawn.shape, golden.shape)
                self.assertLessEqual(abs(drawn - golden).max(), LARGEST_DIFFERENCE)

    def test_folder_holds_the_pictures_of_the_table(self):
        self.assertEqual({path.stem for path in FOLDER.iterdir()}, set(PICTURES))


def write():
    FOLDER.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory() as folder:
        for name, (scene, options) in PICTURES.items():
            file = Path(folder) / "scene.ply"
            file.write_bytes(SCENES[scene])
            subprocess.run([PROGRAM, *options, file, FOLDER / f"{name}.png"], check=True)


if __name__ == "__main__":
    if sys.argv[1:] == ["--write"]:
        write()
    else:
        unittest.main()
