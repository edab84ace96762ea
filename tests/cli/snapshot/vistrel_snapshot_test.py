#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-snapshot from outside: exit status, messages, pictures, and what is left on disk.

Usage: vistrel_snapshot_test.py PROGRAM (then unittest's own arguments)
"""

import os
import resource
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from PIL import Image

import splat_scenes

PROGRAM = Path()
RED, GREEN, BLUE = (1.0, 0.0, 0.0), (0.0, 1.0, 0.0), (0.0, 0.0, 1.0)


class Snapshot(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.home = self.folder / "home"
        self.temporary = self.folder / "tmp"
        self.home.mkdir()
        self.temporary.mkdir()
        self.scene = self.folder / "scene.ply"
        self.picture = self.folder / "picture.png"
        self.environment = {
            "HOME": str(self.home), "PATH": os.environ["PATH"], "TMPDIR": str(self.temporary)}
        if os.geteuid() == 0:
            self.environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"

    def run_program(self, *arguments, program=None, preexec_fn=None, **environment):
        # Where the length of files is limited, a write beyond it fails; the signal that would end
        # the program stays ignored, as it is in Python.
        result = subprocess.run(
            [program or PROGRAM, *map(os.fsencode, arguments)], capture_output=True, timeout=500,
            check=False, env={**self.environment, **environment}, preexec_fn=preexec_fn,
            restore_signals=preexec_fn is None)
        # Whatever happens: the user's own files are left alone and nothing stays behind.
        self.assertEqual([*self.home.iterdir(), *self.temporary.iterdir()], [])
        return result

    def take(self, *options, scene=None, picture=None):
        """The picture's pixels."""
        picture = picture or self.picture
        result = self.run_program("--timeout", "400", "--size", "200x100", *options,
                                  scene or self.scene, picture)
        self.assertEqual((result.returncode, result.stdout), (0, b""), result.stderr)
        with Image.open(picture) as image:
            self.assertEqual((image.format, image.size), ("PNG", (200, 100)))
            return image.convert("RGB")

    def check_failure(self, result, *texts):
        self.assertEqual(result.returncode, 1, result.stderr)
        for text in ["Error: ", *texts]:
            self.assertIn(text, result.stderr.decode())
        self.assertFalse(self.picture.exists())


class Pictures(Snapshot):
    def strength(self, image, box):
        """Mean red, green and blue of a part of the picture."""
        pixels = list(image.crop(box).getdata())
        return [sum(pixel[i] for pixel in pixels) / len(pixels) for i in range(3)]

    def check_colour(self, image, box, red, green, blue):
        found = self.strength(image, box)
        for got, wanted in zip(found, (red, green, blue)):
            self.assertAlmostEqual(got, wanted, delta=8, msg=str(found))

    def test_all_modes_show_the_scenes_colours(self):
        self.scene.write_bytes(splat_scenes.wall((1.0, 0.5, 0.0)))
        whole = (60, 30, 140, 70)
        self.check_colour(self.take("--mode", "0"), whole, 255, 128, 0)
        self.check_colour(self.take("--mode", "3"), whole, 255, 128, 0)
        grey = 255 * 0.299 + 128 * 0.587
        self.check_colour(self.take("--mode", "4"), whole, grey, grey, grey)
        self.check_colour(self.take("--mode", "5"), whole, 255, 128, 0)
        left = [255 * a + 128 * b for a, b in
                ((0.4561, 0.500484), (-0.0400822, -0.0378246), (-0.0152161, -0.0205971))]
        right = [255 * a + 128 * b for a, b in
                 ((-0.0434706, -0.0879388), (0.378476, 0.73364), (-0.0721527, -0.112961))]
        dubois = [min(255, max(0, a + b)) for a, b in zip(left, right)]
        self.check_colour(self.take("--mode", "2"), whole, *dubois)
        grid = self.take("--mode", "1")
        self.check_colour(grid, (20, 10, 80, 40), 255, 128, 0)
        self.assertEqual(grid.getpixel((100, 50)), (0, 0, 0))
        self.assertEqual(grid.getpixel((0, 0)), (0, 0, 0))

    def test_swap_exchanges_the_halves(self):
        self.scene.write_bytes(splat_scenes.ply([((0, 0, 0), -2.5, RED), ((0.3, 0, 1), -2.5, GREEN)]))
        plain, swapped = self.take(), self.take("--swap")
        left, right = (0, 0, 100, 100), (100, 0, 200, 100)
        self.assertNotEqual(plain.crop(left).tobytes(), plain.crop(right).tobytes())
        self.assertEqual(plain.crop(left).tobytes(), swapped.crop(right).tobytes())
        self.assertEqual(plain.crop(right).tobytes(), swapped.crop(left).tobytes())

    def test_focus_depth_and_general_mode_change_the_view(self):
        self.scene.write_bytes(splat_scenes.ply([((0, 0, 0), -2.5, RED)]))
        pictures = [self.take(*options).tobytes() for options in
                    ([], ["--focus", "40"], ["--depth", "60"], ["--general"])]
        self.assertEqual(len(set(pictures)), 4)

    def test_defaults_are_the_programs(self):
        self.scene.write_bytes(splat_scenes.ply([((0, 0, 0), -2.5, RED)]))
        told = self.take("--mode", "0", "--focus", "0", "--depth", "30")
        self.assertEqual(self.take().tobytes(), told.tobytes())

    def test_two_runs_give_the_same_bytes_and_replace_the_picture(self):
        self.scene.write_bytes(splat_scenes.ply(
            [((0.1 * i, 0.05 * i, 0.1 * i), -2.5, (RED, GREEN, BLUE)[i % 3]) for i in range(-9, 9)]))
        self.picture.write_bytes(b"former")
        self.take()
        first = self.picture.read_bytes()
        self.take()
        self.assertEqual(self.picture.read_bytes(), first)

    def test_names_of_all_kinds(self):
        for name in (b"a #&+%41'\" \xe5\x86\x99\xe7\x9c\x9f.ply", b"\xff\xfe.PLY"):
            folder = os.path.join(os.fsencode(self.folder), b"#&\xff")
            os.makedirs(folder, exist_ok=True)
            scene = os.path.join(folder, name)
            with open(scene, "wb") as file:
                file.write(splat_scenes.wall())
            picture = os.path.join(folder, b"new", name + b".png")
            self.check_colour(self.take(scene=scene, picture=picture), (60, 30, 140, 70), 255, 0, 0)

    def test_names_that_look_like_options(self):
        (self.folder / "-a.ply").write_bytes(splat_scenes.wall())
        result = subprocess.run([PROGRAM, "--size", "64x48", "--", "-a.ply", "-b.png"], check=False,
                                cwd=self.folder, env=self.environment, capture_output=True)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue((self.folder / "-b.png").exists())


class Failures(Snapshot):
    def test_broken_file_is_told_in_the_pages_words(self):
        self.scene.write_bytes(b"ply, but no more than that")
        self.check_failure(self.run_program(self.scene, self.picture),
                           str(self.scene), "Cannot show the scene")

    def test_scene_without_gaussians(self):
        self.scene.write_bytes(splat_scenes.ply([]))
        self.check_failure(self.run_program(self.scene, self.picture), "Gaussians")

    def test_missing_scene(self):
        self.check_failure(self.run_program(self.scene, self.picture),
                           f"there is no file {self.scene}")

    def test_unknown_type(self):
        scene = self.folder / "scene.obj"
        scene.write_bytes(b"o")
        self.check_failure(self.run_program(scene, self.picture), "is no scene")

    def test_time_that_is_too_short(self):
        self.scene.write_bytes(splat_scenes.wall())
        result = self.run_program("--timeout", "1", "--size", "8000x8000", self.scene, self.picture)
        self.check_failure(result, "after 1 seconds")

    def test_missing_loader(self):
        program = self.folder / "bin" / PROGRAM.name
        program.parent.mkdir()
        shutil.copy(PROGRAM, program)
        (program.parent / "libonnxruntime.so.1").symlink_to(PROGRAM.parent / "libonnxruntime.so.1")
        self.scene.write_bytes(splat_scenes.wall())
        self.check_failure(self.run_program(self.scene, self.picture, program=program),
                           "WebView2Loader.dll")

    def test_output_that_cannot_be_written_keeps_what_is_there(self):
        self.scene.write_bytes(splat_scenes.wall())
        (self.folder / "file").write_bytes(b"kept")
        result = self.run_program("--size", "64x48", self.scene, self.folder / "file" / "a.png")
        self.check_failure(result, "file")
        self.assertEqual((self.folder / "file").read_bytes(), b"kept")
        self.check_failure(self.run_program(self.scene, self.folder), "is a folder")

    def test_disk_without_room_for_the_picture(self):
        self.scene.write_bytes(splat_scenes.wall())
        result = self.run_program("--size", "64x48", self.scene, "/dev/full")
        self.check_failure(result, "/dev/full could not be written")

    def test_disk_without_room_for_the_page(self):
        self.scene.write_bytes(splat_scenes.wall())
        limit = (1_000_000, 1_000_000)
        result = self.run_program(
            self.scene, self.picture,
            preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, limit))
        self.check_failure(result, "the viewer page could not be written", str(self.temporary))

    def test_display_that_cannot_be_reached(self):
        self.scene.write_bytes(splat_scenes.wall())
        self.check_failure(self.run_program(self.scene, self.picture, DISPLAY=":98765"), "display")

    def test_machine_without_any_display(self):
        self.scene.write_bytes(splat_scenes.wall())
        self.check_failure(self.run_program(self.scene, self.picture, PATH="/none"), "Xvfb")

    if os.geteuid() == 0:
        def test_root_is_told_about_the_sandbox(self):
            self.scene.write_bytes(splat_scenes.wall())
            self.check_failure(
                self.run_program(self.scene, self.picture, QTWEBENGINE_DISABLE_SANDBOX=""),
                "QTWEBENGINE_DISABLE_SANDBOX=1")

    def test_interrupted_program_cleans_up(self):
        self.scene.write_bytes(splat_scenes.wall())
        process = subprocess.Popen([PROGRAM, "--size", "4000x4000", self.scene, self.picture],
                                   env=self.environment, stderr=subprocess.DEVNULL)
        while not list(self.temporary.glob("*/OrbitControls3d.js")):
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(timeout=120), -signal.SIGTERM)
        self.assertEqual(list(self.temporary.iterdir()), [])
        self.assertFalse(self.picture.exists())


class WrongUsage(Snapshot):
    def test_is_told_with_status_2_and_touches_nothing(self):
        self.scene.write_bytes(splat_scenes.wall())
        good = [self.scene, self.picture]
        for arguments in ([], [self.scene], [*good, "more"], ["--unknown", *good],
                          ["--mode", "6", *good], ["--mode", "-1", *good], ["--mode", "x", *good],
                          ["--focus", "101", *good], ["--focus", "nan", *good],
                          ["--depth", "-1", *good], ["--depth", "201", *good],
                          ["--size", "64", *good], ["--size", "15x64", *good],
                          ["--size", "64x9000", *good], ["--size", "64x48x", *good],
                          ["--timeout", "0", *good], [self.scene, self.scene]):
            with self.subTest(arguments=arguments):
                result = self.run_program(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertNotEqual(result.stderr, b"")
        self.assertEqual(self.scene.read_bytes(), splat_scenes.wall())
        self.assertFalse(self.picture.exists())

    def test_help_and_version(self):
        for option, text in (("--help", b"--focus"), ("--version", b"vistrel-snapshot 1.0.0\n")):
            result = self.run_program(option)
            self.assertEqual(result.returncode, 0)
            self.assertIn(text, result.stdout)


if __name__ == "__main__":
    PROGRAM = Path(sys.argv[1])
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]])
