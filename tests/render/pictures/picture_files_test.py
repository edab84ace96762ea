#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Picture files of every kind, as programs of others read them: Pillow, exiftool, ffprobe."""

import io
import json
import struct
import subprocess
import sys
import tempfile
import unittest
import warnings
from pathlib import Path

import numpy as np
from PIL import Image

WRITER = sys.argv.pop(1)
LEFT_BLUE = 40
RIGHT_BLUE = 200


def gradient(width, height, blue):
    """What write_pictures draws."""
    picture = np.zeros((height, width, 3), np.uint8)
    picture[:, :, 0] = 255 * np.arange(width) // width
    picture[:, :, 1] = (255 * np.arange(height) // height)[:, None]
    picture[:, :, 2] = blue
    return picture


def png_chunks(path):
    """(name, content) of every chunk."""
    rest = path.read_bytes()[8:]
    chunks = []
    while rest:
        size, = struct.unpack(">I", rest[:4])
        chunks.append((rest[4:8].decode(), rest[8:8 + size]))
        rest = rest[12 + size:]
    return chunks


class PictureFiles(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel pictures ")
        cls.addClassCleanup(temporary.cleanup)
        cls.folder = Path(temporary.name)
        subprocess.run([WRITER, cls.folder], check=True)

    def pixels(self, name):
        with Image.open(self.folder / name) as picture:
            self.assertEqual(picture.mode, "RGB")
            return np.asarray(picture)

    def assert_near(self, picture, expected, tolerance):
        self.assertEqual(picture.shape, expected.shape)
        difference = np.abs(picture.astype(int) - expected.astype(int))
        self.assertLessEqual(difference.max(), tolerance)

    def exif(self, name, *options):
        told = subprocess.run(["exiftool", "-json", "-G1", *options, self.folder / name], check=True,
                              capture_output=True, text=True)
        self.assertNotIn("Warning", told.stderr + told.stdout)
        return json.loads(told.stdout)[0]

    def ster(self, name):
        return [content for kind, content in png_chunks(self.folder / name) if kind == "sTER"]

    # PNG

    def test_png_has_exactly_the_pixels(self):
        np.testing.assert_array_equal(self.pixels("plain.png"), gradient(96, 50, LEFT_BLUE))

    def test_png_names_its_colours(self):
        self.assertIn(("sRGB", b"\0"), png_chunks(self.folder / "plain.png"))

    def test_picture_of_one_pixel(self):
        for name, tolerance in (("pixel.png", 0), ("pixel.jpg", 2), ("pixel.webp", 3)):
            self.assert_near(self.pixels(name), gradient(1, 1, LEFT_BLUE), tolerance)

    def test_png_tells_which_eye_is_on_the_left(self):
        self.assertEqual(self.ster("parallel.png"), [b"\1"])
        self.assertEqual(self.ster("crossed.png"), [b"\0"])
        self.assertEqual(self.exif("parallel.png")["PNG:StereoMode"], "Diverging-fuse Layout")

    def test_eyes_are_told_before_the_pixels(self):
        names = [name for name, _ in png_chunks(self.folder / "parallel.png")]
        self.assertLess(names.index("sTER"), names.index("IDAT"))

    def test_png_without_a_pair_tells_of_no_eyes(self):
        self.assertEqual(self.ster("plain.png"), [])

    def test_halves_that_the_chunk_cannot_describe_have_none(self):
        self.assertEqual(self.ster("odd.png"), [])
        np.testing.assert_array_equal(self.pixels("odd.png"), gradient(90, 8, LEFT_BLUE))

    def test_texts_of_png(self):
        with Image.open(self.folder / "text.png") as picture:
            self.assertEqual(picture.text, {"Comment": "one two", "Title": "three"})

    def test_grey_has_all_sixteen_bits(self):
        with Image.open(self.folder / "grey.png") as picture:
            values = np.asarray(picture).astype(int).ravel()
            self.assertEqual(picture.text["Comment"], "grey")
        np.testing.assert_array_equal(values, np.arange(512) * 128)

    def test_depth_map_tells_its_scale(self):
        with Image.open(self.folder / "depth.png") as picture:
            values = np.asarray(picture).astype(float).ravel()
            words = picture.text["DepthScale"].split()
            self.assertIn("near is bright", picture.text["Description"])
        scale = {name: float(number) for name, number in (word.split("=") for word in words)}
        self.assertEqual(values[0], 0)
        np.testing.assert_allclose(scale["offset"] + scale["step"] * values[1:], [0.25, 0.5, 1], 1e-4)
        self.assertAlmostEqual(scale["nearest"], 1, 6)
        self.assertAlmostEqual(scale["farthest"], 4, 6)

    # JPEG and WebP

    def test_jpeg_is_near_the_pixels(self):
        self.assert_near(self.pixels("plain.jpg"), gradient(96, 50, LEFT_BLUE), 6)

    def test_jpeg_keeps_the_resolution_of_colours(self):
        told = self.exif("plain.jpg")
        self.assertEqual(told["File:YCbCrSubSampling"], "YCbCr4:4:4 (1 1)")

    def test_jpeg_of_low_quality_is_small(self):
        rough, plain = (self.folder / name for name in ("rough.jpg", "plain.jpg"))
        self.assertLess(rough.stat().st_size, plain.stat().st_size)

    def test_webp_is_near_the_pixels(self):
        self.assert_near(self.pixels("plain.webp"), gradient(96, 50, LEFT_BLUE), 12)

    # Pairs

    def test_jps_has_the_right_eye_on_the_left(self):
        both = np.hstack([gradient(96, 50, RIGHT_BLUE), gradient(96, 50, LEFT_BLUE)])
        with Image.open(self.folder / "pair.jps") as picture:
            self.assertEqual(picture.format, "JPEG")
            difference = np.abs(np.asarray(picture).astype(int) - both.astype(int))
        difference[:, 88:104] = 0  # the blocks between the eyes
        self.assertLessEqual(difference.max(), 6)

    def test_jps_says_how_it_lies(self):
        told = self.exif("pair.jps")
        self.assertEqual(told["JPS:JPSType"], "Stereo")
        self.assertEqual(told["JPS:JPSLayout"], "Side By Side")
        self.assertNotIn("Left", str(told["JPS:JPSFlags"]))

    def test_mpo_holds_both_eyes(self):
        with Image.open(self.folder / "pair.mpo") as picture:
            self.assertEqual((picture.format, picture.n_frames), ("MPO", 2))
            for frame, blue in enumerate((LEFT_BLUE, RIGHT_BLUE)):
                picture.seek(frame)
                self.assert_near(np.asarray(picture.convert("RGB")), gradient(96, 50, blue), 6)

    def test_second_picture_of_mpo_is_where_its_list_says(self):
        second = subprocess.run(["exiftool", "-b", "-MPImage2", self.folder / "pair.mpo"], check=True,
                                capture_output=True).stdout
        warnings.simplefilter("ignore")  # alone it is not all that it tells of
        with Image.open(io.BytesIO(second)) as picture:
            self.assert_near(np.asarray(picture), gradient(96, 50, RIGHT_BLUE), 6)

    def test_mpo_is_a_pair_of_viewpoints(self):
        told = self.exif("pair.mpo")
        self.assertEqual(told["MPF0:MPFVersion"], "0100")
        self.assertEqual(told["MPF0:NumberOfImages"], 2)
        for image in ("MPImage1", "MPImage2"):
            self.assertEqual(told[f"{image}:MPImageType"], "Multi-frame Disparity")
        self.assertEqual(told["MPImage1:MPImageFlags"], "Representative image")
        self.assertEqual(told["MPImage1:MPImageStart"], 0)
        whole = (self.folder / "pair.mpo").stat().st_size
        self.assertEqual(told["MPImage1:MPImageLength"], told["MPImage2:MPImageStart"])
        self.assertEqual(told["MPImage2:MPImageStart"] + told["MPImage2:MPImageLength"], whole)

    def test_viewpoints_of_mpo_are_told(self):
        first = self.exif("pair.mpo")
        self.assertEqual(first["MPF0:MPIndividualNum"], 1)
        self.assertEqual(first["MPF0:BaseViewpointNum"], 1)
        self.assertEqual(first["MPF0:BaselineLength"], 0)
        second = self.folder / "second.jpg"
        whole = (self.folder / "pair.mpo").read_bytes()
        second.write_bytes(whole[first["MPImage2:MPImageStart"]:])
        told = self.exif("second.jpg")
        self.assertEqual(told["MPF0:MPFVersion"], "0100")
        self.assertEqual(told["MPF0:MPIndividualNum"], 2)
        self.assertEqual(told["MPF0:BaseViewpointNum"], 1)
        self.assertEqual(told["MPF0:ConvergenceAngle"], 0)
        self.assertAlmostEqual(told["MPF0:BaselineLength"], 0.064)

    def test_ffprobe_reads_every_file(self):
        for path in sorted(self.folder.iterdir()):
            told = subprocess.run(
                ["ffprobe", "-v", "error", "-show_entries", "stream=width,height", "-of", "csv=p=0",
                 path], capture_output=True, text=True)
            self.assertEqual((told.returncode, told.stderr), (0, ""), path.name)
            width, height = (int(value) for value in told.stdout.split("\n")[0].split(","))
            with Image.open(path) as picture:
                self.assertEqual((width, height), picture.size, path.name)


if __name__ == "__main__":
    unittest.main()
