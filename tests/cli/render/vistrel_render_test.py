#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-render from outside: options, exit status, messages, files, and what is left on disk."""

import os
import signal
import subprocess
import time
import unittest
from pathlib import Path

from PIL import Image

import render_scenes
from program import PROGRAM, RenderTest
from render_scenes import ball, ply

SMALL = ply([ball((0, 0, 3), 0.5)], size=(40, 30))


class Files(RenderTest):
    def setUp(self):
        super().setUp()
        self.scene.write_bytes(SMALL)

    def make(self, name, *options):
        output = self.folder / name
        result = self.run_program("--no-crop", *options, self.scene, output)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))
        return output

    def test_ending_says_what_is_made(self):
        for name, kind in (("a.png", "PNG"), ("a.PNG", "PNG"), ("a.jpg", "JPEG"), ("a.jpeg", "JPEG"),
                           ("a.jps", "JPEG"), ("a.mpo", "MPO"), ("a.webp", "WEBP")):
            with Image.open(self.make(name)) as image:
                self.assertEqual(image.format, kind, name)

    def test_stereo_files_hold_both_eyes(self):
        with Image.open(self.make("a.jps")) as image:
            self.assertEqual(image.size, (80, 30))
        with Image.open(self.make("a.mpo")) as image:
            self.assertEqual((image.size, image.n_frames), ((40, 30), 2))

    def test_stereo_jpeg_has_the_crossed_eyes_order(self):
        self.scene.write_bytes(ply(render_scenes.hills(columns=40, rows=30)))
        with Image.open(self.make("a.jps", "--quality", "100")) as first, \
                Image.open(self.make("a.png", "--stereo", "crossed")) as second:
            pixels = list(zip(first.convert("RGB").getdata(), second.getdata()))
        off = sum(abs(a - b) for one, other in pixels for a, b in zip(one, other)) / len(pixels)
        self.assertLess(off, 6)

    def test_halves_are_told_in_png(self):
        for layout, mode in (("sbs", b"\1"), ("crossed", b"\0")):
            data = self.make("a.png", "--stereo", layout).read_bytes()
            self.assertIn(b"sTER" + mode, data)
        self.assertNotIn(b"sTER", self.make("a.png", "--stereo", "dubois").read_bytes())

    def test_quality_changes_the_size(self):
        self.scene.write_bytes(ply(render_scenes.hills(columns=40, rows=30)))
        sizes = [self.make("a.jpg", "--quality", quality).stat().st_size for quality in ("20", "95")]
        self.assertLess(2 * sizes[0], sizes[1])

    def test_two_runs_give_the_same_bytes_and_replace_the_picture(self):
        self.picture.write_bytes(b"former")
        first = self.make("picture.png").read_bytes()
        self.assertTrue(first.startswith(b"\x89PNG"))
        self.assertEqual(self.make("picture.png").read_bytes(), first)

    def test_folder_of_the_picture_is_created(self):
        self.make("new/one/a.png")

    def test_names_of_all_kinds(self):
        for name in (b"a #&+%41'\" \xe5\x86\x99.ply", b"\xff\xfe.PLY"):
            scene = os.path.join(os.fsencode(self.folder), name)
            with open(scene, "wb") as file:
                file.write(SMALL)
            output = os.path.join(os.fsencode(self.folder), b"new\xff", name + b".png")
            self.assertEqual(self.run_program(scene, output).returncode, 0)
            self.assertTrue(os.path.exists(output))

    def test_names_that_look_like_options(self):
        (self.folder / "-a.ply").write_bytes(SMALL)
        self.assertEqual(self.run_program("--", "-a.ply", "-b.png", cwd=self.folder).returncode, 0)
        self.assertTrue((self.folder / "-b.png").exists())


class Folders(RenderTest):
    def setUp(self):
        super().setUp()
        self.output = self.folder / "pictures"
        self.scenes = [self.folder / name for name in ("one.ply", "two.ply")]
        for scene in self.scenes:
            scene.write_bytes(SMALL)

    def make(self, *options):
        result = self.run_program("--no-crop", "--output-dir", self.output, *options, *self.scenes)
        return result, sorted(path.name for path in self.output.iterdir())

    def test_names_tell_players_the_layout(self):
        for layout, suffix in (
                ("none", "_view"), ("sbs", "_sbs"), ("half-sbs", "_half_sbs"), ("over-under", "_ou"),
                ("half-over-under", "_half_ou"), ("crossed", "_crossed"), ("color", "_anaglyph")):
            result, names = self.make("--as", "png", "--stereo", layout)
            self.assertEqual((result.returncode, result.stderr), (0, b""))
            for name in (f"one{suffix}.png", f"two{suffix}.png"):
                self.assertIn(name, names)

    def test_kinds_that_tell_it_themselves_have_plain_names(self):
        self.assertEqual(self.make("--as", ".JPS")[1], ["one.jps", "two.jps"])

    def test_failed_scenes_are_named_and_the_others_made(self):
        self.scenes.insert(1, self.folder / "broken.ply")
        self.scenes[1].write_bytes(b"ply, but no more than that")
        self.scenes.append(self.folder / "missing.ply")
        result, names = self.make("--as", "png", "--stereo", "sbs")
        self.assertEqual(names, ["one_sbs.png", "two_sbs.png"])
        self.assertEqual(result.returncode, 1)
        lines = result.stderr.decode().splitlines()
        self.assertEqual(len(lines), 2, lines)
        self.assertTrue(lines[0].startswith(f"Error: {self.scenes[1]}: "), lines)
        self.assertTrue(lines[1].startswith(f"Error: {self.scenes[3]}: "), lines)

    def test_scenes_of_one_name_are_refused(self):
        twin = self.folder / "other" / "one.ply"
        twin.parent.mkdir()
        twin.write_bytes(SMALL)
        result = self.run_program("--output-dir", self.output, "--as", "png", *self.scenes, twin)
        self.assertEqual(result.returncode, 2)
        self.assertIn(b"one_view.png", result.stderr)
        self.assertFalse(self.output.exists())


class Failures(RenderTest):
    def setUp(self):
        super().setUp()
        self.scene.write_bytes(SMALL)

    def test_missing_scene(self):
        self.scene.unlink()
        self.check_failure(self.run_program(self.scene, self.picture), str(self.scene))

    def test_nothing_is_made_for_what_is_no_scene(self):
        self.scene.unlink()
        for _ in ("no file", "a photograph"):
            self.check_failure(self.run_program(self.scene, self.folder / "new" / "a.png"), str(self.scene))
            self.assertFalse((self.folder / "new").exists())
            Image.new("RGB", (20, 20)).save(self.scene, "PNG")

    def test_photograph_in_place_of_the_scene(self):
        for kind in ("PNG", "JPEG", "BMP", "WEBP", "TIFF", "GIF"):
            Image.new("RGB", (20, 20)).save(self.scene, kind)
            self.check_failure(self.run_program(self.scene, self.picture), str(self.scene), "is a photograph",
                               "vistrel-convert")

    def test_name_of_a_scene_around_something_else(self):
        for ending in (".splat", ".spz", ".ksplat", ".sog", ".glb", ".gltf"):
            for content in (b"something", b"PK\3\4 and no scene", b"glTF and no scene", b"\x1f\x8b and no scene"):
                scene = self.scene.with_suffix(ending)
                scene.write_bytes(content)
                self.check_failure(self.run_program(scene, self.picture), str(scene))

    def test_wrong_file(self):
        for content in (b"", b"no scene at all", b"ply\nformat ascii 1.0\nend_header\n"):
            self.scene.write_bytes(content)
            self.check_failure(self.run_program(self.scene, self.picture), str(self.scene))

    def test_cut_file(self):
        for length in (10, 100, len(SMALL) - 1):
            self.scene.write_bytes(SMALL[:length])
            self.check_failure(self.run_program(self.scene, self.picture), str(self.scene))

    def test_scene_without_gaussians(self):
        self.scene.write_bytes(ply([]))
        self.check_failure(self.run_program(self.scene, self.picture), "no Gaussians")

    def test_folder_as_scene(self):
        self.check_failure(self.run_program(self.folder, self.picture), "not a regular file")

    def test_enormous_photograph_needs_a_size(self):
        self.scene.write_bytes(ply([ball((0, 0, 3), 0.5)], size=(4294967295, 4294967295)))
        self.check_failure(self.run_program(self.scene, self.picture), "--size")

    def test_output_that_cannot_be_written_is_told_before_the_scene_is_read(self):
        self.scene.write_bytes(b"broken")
        (self.folder / "file").write_bytes(b"kept")
        wrong = self.folder / "file" / "a.png"
        self.check_failure(self.run_program(self.scene, wrong), str(wrong), "Cannot open output file")
        self.assertEqual((self.folder / "file").read_bytes(), b"kept")
        folder = self.folder / "a.png"
        folder.mkdir()
        self.check_failure(self.run_program(self.scene, folder), str(folder))

    def test_full_disk_keeps_the_former_picture(self):
        noise = render_scenes.hills(columns=60, rows=45)
        self.scene.write_bytes(ply(noise))
        output = self.folder / "kept.png"
        output.write_bytes(b"former")
        result = self.run_program(self.scene, output, largest_file=4096)
        self.check_failure(result, str(output), "could not be written")
        self.assertEqual(output.read_bytes(), b"former")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["kept.png", "scene.ply"])

    def test_device_without_room(self):
        link = self.folder / "full.png"
        link.symlink_to("/dev/full")
        self.check_failure(self.run_program(self.scene, link), "could not be written")

    def test_interrupted_program_leaves_the_former_picture(self):
        self.scene.write_bytes(ply(render_scenes.hills()))
        output = self.folder / "kept.png"
        output.write_bytes(b"former")
        for stop in (signal.SIGINT, signal.SIGTERM):
            process = subprocess.Popen([PROGRAM, "--size", "8000x8000", self.scene, output],
                                       stderr=subprocess.PIPE)
            # It draws on a second thread, from which on it can be interrupted.
            while len(list(Path(f"/proc/{process.pid}/task").glob("*"))) < 2:
                self.assertIsNone(process.poll())
                time.sleep(0.002)
            process.send_signal(stop)
            message = process.communicate(timeout=120)[1]
            self.assertEqual((process.returncode, message), (1, b"Error: interrupted\n"))
            self.assertEqual(output.read_bytes(), b"former")
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["kept.png", "scene.ply"])


class WrongUsage(RenderTest):
    def test_is_told_with_status_2_and_touches_nothing(self):
        self.scene.write_bytes(SMALL)
        good = [self.scene, self.picture]
        for arguments in (
                [], [self.scene], [*good, "more"], ["--unknown", *good], ["--stereo", "both", *good],
                ["--view", "other", *good], ["--size", "64", *good], ["--size", "1x64", *good],
                ["--size", "64x40000", *good], ["--size", "64x48x", *good], ["--quality", "0", *good],
                ["--quality", "101", *good], ["--parallax", "-0.1", *good], ["--parallax", "nan", *good],
                ["--parallax", "2", *good], ["--view", "window", "--parallax", "0.1", *good],
                ["--focus", "1", *good], ["--depth", "1", *good], ["--general", *good],
                ["--view", "window", "--focus", "101", *good], ["--view", "window", "--depth", "-1", *good],
                ["--view", "window", "--depth", "nan", *good], [self.scene, "a.txt"], [self.scene, "png"],
                [self.scene, self.scene], ["--output-dir", self.folder, *good], ["--as", "png", *good],
                ["--output-dir", self.folder, "--as", "txt", self.scene],
                ["--stereo", "sbs", self.scene, "a.mpo"], ["--stereo", "color", self.scene, "a.jps"],
                ["--size", "33x20", self.scene, "a.jps"]):
            with self.subTest(arguments=arguments):
                result = self.run_program(*arguments, cwd=self.folder)
                self.assertEqual(result.returncode, 2, result.stderr)
                self.assertNotEqual(result.stderr, b"")
        self.assertEqual(self.scene.read_bytes(), SMALL)
        self.assertEqual(list(self.folder.iterdir()), [self.scene])

    def test_picture_that_is_the_scene_by_a_link(self):
        self.scene.write_bytes(SMALL)
        self.picture.symlink_to(self.scene)
        self.assertEqual(self.run_program(self.scene, self.picture).returncode, 2)
        self.assertEqual(self.scene.read_bytes(), SMALL)

    def test_help_and_version(self):
        self.check_help(b"half-over-under")

    def test_help_that_cannot_be_printed_ends_with_one(self):
        self.check_help_without_room()


if __name__ == "__main__":
    unittest.main()
