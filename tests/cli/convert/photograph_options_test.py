#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert told how long the focal length is, and with a photograph on standard input.

Usage: photograph_options_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import os
import pty
import shutil
import subprocess

import numpy as np
from PIL import Image

from conversion import HEIGHT, NETWORK_SIDE, WIDTH, ConversionTest, main, run_quietly
from conversion import png, soft_picture

NOTE = "It tells no focal length; the width is taken."
READING = "Reading standard input…"


class WithPhoto(ConversionTest):
    def setUp(self):
        super().setUp()
        self.photo = self.add("photo.png", png(soft_picture(WIDTH, HEIGHT)))


class FocalLength(WithPhoto):
    def check(self, scene, focal):
        """It reaches the network, the unprojection and the file."""
        self.assertAlmostEqual(scene.focal, focal, 4)
        self.assertAlmostEqual(scene.disparity_factor, min(focal / WIDTH, 1 - 1e-6), 5)
        plain, _ = self.convert(self.photo)
        ratio = WIDTH / focal
        np.testing.assert_allclose(scene.means, plain.means * [ratio, ratio, 1], rtol=1e-5)

    def with_exif(self, *tags):
        """The photograph with these tags."""
        photo = self.input / "exif.jpg"
        Image.fromarray(soft_picture(WIDTH, HEIGHT)).save(photo, quality=95)
        run_quietly("exiftool", "-overwrite_original", *(f"-{tag}" for tag in tags), photo)
        return photo

    def focal_by_exif(self, *tags):
        scene, done = self.convert(self.with_exif(*tags), "--focal", "auto")
        self.assertNotIn(NOTE, done.stderr.decode())
        return scene.focal

    def test_by_default_it_is_the_width(self):
        by_default, _ = self.convert(self.photo)
        told, _ = self.convert(self.photo, "--focal", "width")
        self.assertEqual(by_default.focal, WIDTH)
        self.assertEqual(by_default.ply, told.ply)

    def test_in_millimetres_on_film(self):
        scene, done = self.convert(self.photo, "--focal", "26mm")
        self.check(scene, 26 * np.hypot(WIDTH, HEIGHT) / np.hypot(36, 24))
        scale = NETWORK_SIDE / (2 * scene.focal * NETWORK_SIDE / WIDTH)
        self.assertIn(f"Unprojection scales: sx={scale:.6f}", done.stdout.decode())

    def test_in_pixels(self):
        scene, _ = self.convert(self.photo, "--focal", "30.5px")
        self.check(scene, 30.5)

    def test_auto_by_the_equivalent_on_film(self):
        self.assertAlmostEqual(self.focal_by_exif("FocalLengthIn35mmFormat=20", "FocalLength=500"),
                               20 * np.hypot(WIDTH, HEIGHT) / np.hypot(36, 24), 4)

    def test_auto_by_the_sensor(self):
        """Of which the picture is a reduced part: 36 mm are 4800 pixels, of which there are 48."""
        focal = self.focal_by_exif("FocalLength=30", "FocalPlaneXResolution=1333.3333",
                                   "FocalPlaneYResolution=1333.3333",
                                   "FocalPlaneResolutionUnit#=3", "ExifImageWidth=4800",
                                   "ExifImageHeight=3200")
        self.assertAlmostEqual(focal, 30 / 36 * WIDTH, 3)

    def test_auto_without_any_is_the_width_and_a_note(self):
        for photo in (self.photo, self.with_exif("FocalLength=30"),
                      self.with_exif("FocalLengthIn35mmFormat=0")):
            scene, done = self.convert(photo, "--focal", "auto")
            self.assertEqual(scene.focal, WIDTH)
            self.assertIn(f"{photo}: {NOTE}", done.stderr.decode().splitlines())

    def test_of_a_folder(self):
        self.with_exif("FocalLengthIn35mmFormat=20")
        done = self.run_program("--batch", "--focal", "auto", self.input, self.output)
        self.assertEqual(done.returncode, 0)
        self.assertEqual([line for line in done.stderr.decode().splitlines() if NOTE in line],
                         [f"photo.png: {NOTE}"])
        scenes = self.convert_all("--focal", "30px")
        self.assertEqual({scene.focal for scene in scenes.values()}, {30})

    def test_what_it_cannot_be_is_wrong_usage(self):
        for what in ("", "26", "wide", "-26mm", "0px", "nanmm", "infpx", "26 mm", "1e9px"):
            with self.subTest(what):
                done = self.run_program("--focal", what, self.photo, self.output)
                self.assertEqual(done.returncode, 2)
                self.assertIn(b"--focal", done.stderr)
        self.assertFalse(self.output.exists())


class StandardInput(WithPhoto):
    def setUp(self):
        super().setUp()
        self.expected, _ = self.convert(self.photo)

    def refuse(self, status, reason, **how):
        before = self.everything()
        done = self.run_program("-", self.output / "scene.ply", **how)
        self.assertEqual(done.returncode, status)
        self.assertEqual(done.stderr.decode().splitlines()[-1], f"Error: standard input: {reason}")
        self.assertEqual(self.everything(), before)

    def test_file(self):
        with self.photo.open("rb") as photo:
            scene, done = self.convert("-", stdin=photo)
        self.assertEqual(scene.ply, self.expected.ply)
        self.assertIn("Loaded image: standard input  orig=48x32", done.stdout.decode())
        self.assertEqual(done.stderr.decode().splitlines()[0], READING)

    def test_pipe_with_options_behind_it(self):
        done = self.run_program("-", self.folder / "scene.ply", "--focal", "30px",
                                input=self.photo.read_bytes())
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_writer_that_takes_its_time(self):
        """Kinds that need a library, too."""
        webp = self.input / "photo.webp"
        Image.fromarray(soft_picture(WIDTH, HEIGHT)).save(webp, lossless=True)
        output = self.folder / "slow.ply"
        with subprocess.Popen([*self.words, "-", output], stdin=subprocess.PIPE,
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as process:
            data = webp.read_bytes()
            self.assertEqual(process.stderr.readline().decode(), READING + "\n")
            for start in range(0, len(data), 50):
                process.stdin.write(data[start:start + 50])
                process.stdin.flush()
            _, errors = process.communicate()
        self.assertEqual(process.returncode, 0, errors)
        self.assertEqual(output.read_bytes(), self.expected.ply)

    def test_empty_one(self):
        self.refuse(1, "It is empty.", stdin=subprocess.DEVNULL)

    def test_photograph_that_is_cut(self):
        self.refuse(1, "It is cut short.", input=self.photo.read_bytes()[:200])

    def test_terminal(self):
        ours, theirs = pty.openpty()
        self.addCleanup(os.close, ours)
        self.refuse(1, "It is a terminal, where no photograph comes from.", stdin=theirs)
        os.close(theirs)

    def test_output_over_it_is_refused(self):
        copy = self.folder / "copy.png"
        shutil.copy(self.photo, copy)
        with copy.open("rb") as photo:
            done = self.run_program("-", copy, stdin=photo)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(copy.read_bytes(), self.photo.read_bytes())

    def test_file_of_its_name(self):
        shutil.copy(self.photo, self.input / "-")
        done = self.run_program("./-", self.folder / "scene.ply", cwd=self.input)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual((self.folder / "scene.ply").read_bytes(), self.expected.ply)


if __name__ == "__main__":
    main()
