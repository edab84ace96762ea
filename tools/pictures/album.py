# SPDX-License-Identifier: GPL-3.0-or-later
"""The folder of finished pictures."""

from PIL import Image

# Enough for the flat colours and smooth letters of a window without a photograph in it.
COLORS = 64
JPEG = {"quality": 85, "optimize": True, "progressive": True}


class Album:
    """Takes the pictures whose names it was told, and no others."""

    def __init__(self, folder, names):
        self.folder = folder
        self.missing = set(names)

    def add(self, name, picture, width=None):
        """Saves it, made smaller to `width` if that is told."""
        self.missing.remove(name)
        if width:
            height = round(picture.height * width / picture.width)
            picture = picture.resize((width, height), Image.Resampling.LANCZOS)
        if name.endswith(".png"):
            picture.quantize(COLORS, dither=Image.Dither.NONE).save(self.folder / name, optimize=True)
        else:
            picture.save(self.folder / name, **JPEG)
