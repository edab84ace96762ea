#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert with photographs of every kind: their pixels, colours and orientation, and files
that cannot be read.

Usage: photograph_kinds_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import shutil
import struct
import tempfile
import zlib
from pathlib import Path

import numpy as np
from PIL import Image

from conversion import HEIGHT, WIDTH, ConversionTest, main, run_quietly
from conversion import chunk, icc_chunk, png, soft_picture, upright
from raw_photo_test import dng, scene as raw_scene
from tiff_files import SHORT

# File -> what it loses of the soft picture, in steps of 8 bits.
LOSSLESS = {"tiff.TIF": 0, "webp.webp": 0, "jxl.jxl": 0}
LOSSES = {**LOSSLESS, "jpeg.jpg": 8, "heic.HEIC": 2, "avif.avif": 2}
RAW_LOSS = 12  # to the guessing of colours between the sensor's pixels
# libheif and libjxl turn pictures as the container tells, whatever EXIF says.
TURNED_BY_EXIF = ("jpeg", "tiff", "webp", "png")


def picture():
    return soft_picture(WIDTH, HEIGHT)


class Kinds(ConversionTest):
    """With files of all kinds, made once."""

    @classmethod
    def setUpClass(cls):
        made = tempfile.TemporaryDirectory()
        cls.addClassCleanup(made.cleanup)
        cls.made = Path(made.name)
        plain = cls.made / "png.png"
        plain.write_bytes(png(picture()))
        image = Image.fromarray(picture())
        image.save(cls.made / "jpeg.jpg", quality=95, subsampling=0)
        image.save(cls.made / "tiff.TIF", compression="tiff_lzw")
        image.save(cls.made / "webp.webp", lossless=True)
        run_quietly("cjxl", "-d", "0", "--container=1", plain, cls.made / "jxl.jxl")
        for options, name in (([], "heic.HEIC"), (["-A"], "avif.avif")):
            run_quietly("heif-enc", *options, "-L", "-p", "chroma=444", plain, "-o", cls.made / name)

    def add_all(self):
        shutil.copytree(self.made, self.input, dirs_exist_ok=True)


class GoodPhotographs(Kinds):
    def test_every_kind_gives_the_scene_of_the_same_png(self):
        self.add_all()
        scenes = self.convert_all()
        self.assertEqual(len(scenes), len(LOSSES) + 1)
        for name, loss in LOSSES.items():
            with self.subTest(name):
                self.assert_near(scenes[Path(name).stem], scenes["png"], loss)
        for name in LOSSLESS:
            self.assertEqual(scenes[Path(name).stem].ply, scenes["png"].ply, name)

    def test_kind_is_told_by_content(self):
        for i, name in enumerate(LOSSLESS):
            shutil.copy(self.made / name, self.input / f"{i}.jpg")
        shutil.copy(self.made / "png.png", self.input / "3.heic")
        scenes = self.convert_all()
        self.assertEqual(len(scenes), 4)
        for scene in scenes.values():
            self.assertEqual(scene.ply, scenes["3"].ply)

    def test_orientation_turns_once_and_focal_length_comes_from_exif(self):
        self.add_all()
        run_quietly("exiftool", "-m", "-overwrite_original", "-Orientation#=6",
                    "-FocalLengthIn35mmFormat=20", *self.input.iterdir())
        self.add("upright.png", png(np.ascontiguousarray(upright(picture(), 6))))
        focal = 20 * np.hypot(WIDTH, HEIGHT) / np.hypot(36, 24)
        scenes = self.convert_all("--focal", "auto")
        expected = scenes.pop("upright")
        for name, scene in scenes.items():
            with self.subTest(name):
                turned = name in TURNED_BY_EXIF
                self.assertEqual(scene.size, (HEIGHT, WIDTH) if turned else (WIDTH, HEIGHT))
                self.assertAlmostEqual(scene.focal, focal, 4)
                self.assertAlmostEqual(scene.disparity_factor, focal / scene.size[0], 5)
                if turned:
                    self.assert_near(scene, expected, LOSSES["jpeg.jpg"] if name == "jpeg" else 0)

    def test_camera_raw(self):
        turned = self.add("raw.dng", dng(raw_scene(WIDTH, HEIGHT), _274=(SHORT, [6])))
        run_quietly("exiftool", "-overwrite_original", "-FocalLengthIn35mmFormat=20", turned)
        self.add("png.png", png(np.ascontiguousarray(upright(raw_scene(WIDTH, HEIGHT), 6))))
        scenes = self.convert_all("--focal", "auto")
        self.assert_near(scenes["raw"], scenes["png"], RAW_LOSS)
        self.assertAlmostEqual(scenes["raw"].focal, 20 * np.hypot(WIDTH, HEIGHT) / np.hypot(36, 24), 4)

    def test_16_bits_lose_their_lower_half(self):
        deep = soft_picture(WIDTH, HEIGHT, depth=16)
        self.add("deep.png", png(deep))
        self.add("flat.png", png((deep >> 8).astype(np.uint8)))
        run_quietly("cjxl", "-d", "0", self.input / "deep.png", self.input / "jxl.jxl")
        scenes = self.convert_all()
        self.assertEqual(scenes["deep"].ply, scenes["flat"].ply)
        self.assertEqual(scenes["jxl"].ply, scenes["flat"].ply)


# Columns: red, green and blue, CIE XYZ under D50.
P3_LIGHTS = np.array([[0.51512, 0.29198, 0.15710], [0.24120, 0.69225, 0.06657],
                      [-0.00105, 0.04189, 0.78407]])
SRGB_LIGHTS = np.array([[0.43607, 0.38515, 0.14307], [0.22249, 0.71687, 0.06061],
                        [0.01392, 0.09708, 0.71410]])


def p3_profile():
    """An ICC profile of Display P3, with sRGB's curve."""
    def fixed(*values):
        return struct.pack(f">{len(values)}i", *(round(value * 65536) for value in values))

    curve = b"para\0\0\0\0\0\3\0\0" + fixed(2.4, 1 / 1.055, 0.055 / 1.055, 1 / 12.92, 0.04045)
    tags = {b"wtpt": b"XYZ \0\0\0\0" + fixed(0.9642, 1, 0.8249)}
    for i, letter in enumerate((b"r", b"g", b"b")):
        tags[letter + b"XYZ"] = b"XYZ \0\0\0\0" + fixed(*P3_LIGHTS[:, i])
        tags[letter + b"TRC"] = curve
    table, data = struct.pack(">I", len(tags)), b""
    start = 128 + 4 + 12 * len(tags)
    for name, content in tags.items():
        table += name + struct.pack(">II", start + len(data), len(content))
        data += content
    head = struct.pack(">I4sI4s4s4s12x4s28x", start + len(data), b"none", 0x04000000, b"mntr",
                       b"RGB ", b"XYZ ", b"acsp")
    return head + fixed(0.9642, 1, 0.8249) + bytes(48) + table + data


def srgb_of_p3(pixels):
    """In double precision."""
    value = pixels / 255
    light = np.where(value <= 0.04045, value / 12.92, ((value + 0.055) / 1.055) ** 2.4)
    light = np.clip(light @ (np.linalg.inv(SRGB_LIGHTS) @ P3_LIGHTS).T, 0, 1)
    value = np.where(light <= 0.0031308, light * 12.92, 1.055 * light ** (1 / 2.4) - 0.055)
    return (value * 255).round().astype(np.uint8)


class Colours(ConversionTest):
    def setUp(self):
        super().setUp()
        profile = p3_profile()
        image = Image.fromarray(picture())
        self.add("png.png", png(picture(), icc_chunk(profile)))
        image.save(self.input / "tiff.tif", icc_profile=profile)
        image.save(self.input / "webp.webp", lossless=True, icc_profile=profile)
        image.save(self.input / "jpeg.jpg", quality=100, subsampling=0, icc_profile=profile)
        run_quietly("cjxl", "-d", "0", self.input / "png.png", self.input / "jxl.jxl")
        run_quietly("heif-enc", "-L", "-p", "chroma=444", self.input / "png.png", "-o",
                    self.input / "heic.heic")

    def check(self, expected, *options):
        self.add("expected.png", png(expected))
        scenes = self.convert_all(*options)
        self.assertEqual(len(scenes), 7)
        for name, scene in scenes.items():
            with self.subTest(name):
                self.assert_near(scene, scenes["expected"], 3)

    def test_display_p3_becomes_srgb(self):
        expected = srgb_of_p3(picture())
        self.assertGreater(np.abs(expected.astype(int) - picture()).max(), 20)
        self.check(expected)

    def test_without_conversion_they_are_taken_for_srgb(self):
        self.check(picture(), "--no-icc")


class BadPhotographs(Kinds):
    """All that is left on disk is what was there."""

    def check(self, photo, reason):
        before = self.everything()
        done = self.run_program(photo, self.output / "new" / "scene.ply")
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr.decode().splitlines()[-1], f"^Error: {photo}: {reason}$")
        self.assertEqual(self.everything(), before)

    def test_files_that_are_cut(self):
        for path in self.made.iterdir():
            with self.subTest(path.name):
                data = path.read_bytes()
                photo = self.add(path.name, data[:len(data) * 2 // 3])
                self.check(photo, r"It is (cut short\.|damaged: .*\.)")

    def test_file_of_no_kind(self):
        self.check(self.add("text.jpg", b"no picture"),
                   "It is no picture of a kind that is read: JPEG, .*, camera raw, .* or PNM.")

    def test_empty_file(self):
        self.check(self.add("a.heic", b""), "It is empty.")

    def test_missing_file(self):
        self.check(self.input / "none.heic", "It cannot be read: No such file or directory.")

    def test_folder(self):
        self.check(self.input, "It cannot be read: Is a directory.")

    def test_giant_in_a_tiny_file(self):
        head = struct.pack(">IIBBBBB", 16000, 16000, 8, 2, 0, 0, 0)
        rows = zlib.compress(bytes(1000))
        self.check(self.add("a.png", b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head)
                            + chunk(b"IDAT", rows) + chunk(b"IEND", b"")),
                   "It has 16000 x 16000 pixels, and at most 200 megapixels are read.")

    def test_batch_converts_the_others(self):
        self.add_all()
        self.add("cut.webp", (self.made / "webp.webp").read_bytes()[:40])
        self.add("text.dng", b"no picture")
        self.add("notes.txt", b"no picture")
        done = self.run_program("--batch", self.input, self.output)
        self.assertEqual(done.returncode, 1)
        lines = done.stderr.decode().splitlines()
        self.assertIn("Error: cut.webp: It is cut short.", lines)
        self.assertEqual(sum(line.startswith("Error: text.dng: It is no picture") for line in lines), 1)
        self.assertEqual(lines[-1], f"Converted {len(LOSSES) + 1} of {len(LOSSES) + 3}.")
        self.assertEqual(sorted(path.stem for path in self.output.iterdir()),
                         sorted(path.stem for path in self.made.iterdir()))


if __name__ == "__main__":
    main()
