#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Writes the JPEG files beside this script, in the kinds that the tests' own encoder cannot make.

Each shows four squares of 16 x 16 pixels: red and green above blue and light grey. Needs Pillow.
"""

import pathlib

from PIL import Image

SIDE = 16
COLOURS = {(0, 0): (255, 0, 0), (1, 0): (0, 255, 0), (0, 1): (0, 0, 255), (1, 1): (200, 200, 200)}


def squares() -> Image.Image:
    picture = Image.new("RGB", (2 * SIDE, 2 * SIDE))
    for (column, row), colour in COLOURS.items():
        picture.paste(colour, (column * SIDE, row * SIDE, (column + 1) * SIDE, (row + 1) * SIDE))
    return picture


def main() -> None:
    folder = pathlib.Path(__file__).resolve().parent
    picture = squares()
    options = {"quality": 75, "subsampling": "4:2:0"}
    picture.save(folder / "baseline.jpg", **options)
    picture.save(folder / "progressive.jpg", progressive=True, **options)
    picture.convert("CMYK").save(folder / "cmyk.jpg", quality=75)
    picture.convert("L").save(folder / "grey.jpg", quality=75)


if __name__ == "__main__":
    main()
