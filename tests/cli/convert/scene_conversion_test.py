#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert from one format of scenes to another, and from a photograph to each.

Usage: scene_conversion_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import os
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import numpy as np

PROGRAM, MODELS, PHOTO = "", Path(), Path()

FLOATS = ["x", "y", "z", "f_dc_0", "f_dc_1", "f_dc_2", "opacity", "scale_0", "scale_1", "scale_2",
          "rot_0", "rot_1", "rot_2", "rot_3"]
OTHERS = ["a.compressed.ply", "a.splat", "a.spz", "a.sog", "a.glb"]
STAGES = ["Reading the scene…", "Saving the scene…"]
# The most that a format may change of centre, standard deviations (in logarithms), opacity and colour
# (0 to 1) and rotation (as a distance of unit quaternions), of a scene that is 4 wide.
LOSS = {"a.ply": (0, 0, 0, 0, 0), "a.compressed.ply": (0.003, 0.01, 0.01, 0.01, 0.01),
        "a.splat": (0, 1e-5, 0.01, 0.01, 0.05), "a.spz": (0.001, 0.04, 0.01, 0.02, 0.01),
        "a.sog": (0.001, 0.05, 0.01, 0.05, 0.02), "a.glb": (0, 1e-5, 1e-5, 1e-5, 1e-5)}


def run(*arguments, **options):
    return subprocess.run([PROGRAM, *map(os.fsencode, arguments)], capture_output=True, timeout=120,
                          check=False, **options)


def values(seed=1, count=300):
    """Rows of random Gaussians in the order of FLOATS, the first ones the least important."""
    random = np.random.default_rng(seed)
    rows = np.zeros((count, len(FLOATS)), "<f4")
    rows[:, 0:3] = random.uniform([-2, -1, 1], [2, 1, 5], (count, 3))
    rows[:, 3:6] = random.uniform(-1.5, 1.5, (count, 3))
    rows[:, 6] = random.uniform(-2, 4, count)
    rows[:, 7:10] = np.linspace(-5, -1, count)[:, None] + random.uniform(-0.2, 0.2, (count, 3))
    rows[:, 10:14] = random.normal(size=(count, 4))
    return rows


def ply(rows, size=(400, 300)):
    """A file with the camera of a photograph of this size; None: without one."""
    lines = ["ply", "format binary_little_endian 1.0", f"element vertex {len(rows)}",
             *(f"property float {name}" for name in FLOATS)]
    camera = b""
    if size is not None:
        lines += ["element intrinsic 9", "property float intrinsic",
                  "element image_size 2", "property uint image_size"]
        camera = struct.pack("<9f2I", 500, 0, size[0] / 2, 0, 500, size[1] / 2, 0, 0, 1, *size)
    return ("\n".join([*lines, "end_header"]) + "\n").encode() + rows.tobytes() + camera


def read_ply(path):
    """Rows in the order of FLOATS, and what stands behind them."""
    data = path.read_bytes()
    end = data.index(b"end_header\n") + len(b"end_header\n")
    lines = data[:end].decode().split("\n")
    first = next(i for i, line in enumerate(lines) if line.startswith("element vertex"))
    names = []
    for line in lines[first + 1:]:
        if not line.startswith("property float "):
            break
        names.append(line.split()[2])
    count = int(lines[first].split()[2])
    rows = np.frombuffer(data, "<f4", count * len(names), end).reshape(count, len(names))
    return rows[:, [names.index(name) for name in FLOATS]], data[end + rows.nbytes:]


def opacities(rows):
    return 1 / (1 + np.exp(-rows[:, 6]))


def turned(rows):
    """Unit quaternions with a positive scalar part."""
    rotations = rows[:, 10:14] / np.linalg.norm(rows[:, 10:14], axis=1, keepdims=True)
    return rotations * np.where(rotations[:, :1] < 0, -1, 1)


def in_order_of(found, expected):
    """The rows of `found` as they stand in `expected`: formats may reorder."""
    distances = np.linalg.norm(found[None, :, :3] - expected[:, None, :3], axis=2)
    places = distances.argmin(axis=1)
    assert len(set(places)) == len(expected)
    return found[places]


class SceneTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(dir="/dev/shm")  # where no write waits for a disk
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.scene = self.folder / "scene.ply"
        self.rows = values()
        self.scene.write_bytes(ply(self.rows))

    def convert(self, scene, name, *options):
        output = self.folder / name
        result = run(*options, scene, output)
        self.assertEqual(result.returncode, 0, result.stderr)
        return output

    def names(self):
        return sorted(path.name for path in self.folder.iterdir())

    def check_refusal(self, result, status, *texts):
        """One line of its own that holds the texts."""
        message = result.stderr.decode(errors="replace")
        self.assertEqual(result.returncode, status, message)
        for text in texts:
            self.assertIn(text, message)


class Formats(SceneTest):
    def test_every_format_keeps_the_scene_there_and_back(self):
        for name, (centre, scale, opacity, colour, rotation) in LOSS.items():
            with self.subTest(name):
                back, _ = read_ply(self.convert(self.convert(self.scene, name), "back.ply"))
                back = in_order_of(back, self.rows)
                self.assertLessEqual(np.abs(back[:, :3] - self.rows[:, :3]).max(), centre)
                self.assertLessEqual(np.abs(back[:, 7:10] - self.rows[:, 7:10]).max(), scale)
                self.assertLessEqual(np.abs(opacities(back) - opacities(self.rows)).max(), opacity)
                off = np.abs(back[:, 3:6] - self.rows[:, 3:6]).max() * 0.2821
                self.assertLessEqual(off, colour)
                off = np.linalg.norm(turned(back) - turned(self.rows), axis=1)
                off = np.minimum(off, np.linalg.norm(turned(back) + turned(self.rows), axis=1))
                self.assertLessEqual(off.max(), rotation + 1e-6)

    def test_ply_file_is_that_of_other_programs(self):
        data = self.convert(self.scene, "a.ply").read_bytes()
        names = [line.split()[2] for line in data[:data.index(b"element intrinsic")].decode().split("\n")
                 if line.startswith("property ")]
        self.assertEqual(names[:6], ["x", "y", "z", "nx", "ny", "nz"])

    def test_camera_stays_where_the_format_knows_it(self):
        _, expected = read_ply(self.convert(self.scene, "a.ply"))
        _, found = read_ply(self.convert(self.convert(self.scene, "a.glb"), "b.ply"))
        self.assertEqual(found, expected)
        self.assertIn(struct.pack("<2I", 400, 300), expected)
        self.assertEqual(read_ply(self.convert(self.convert(self.scene, "a.spz"), "c.ply"))[1], b"")

    def test_input_is_known_by_its_content(self):
        for name in ("a.compressed.ply", "a.spz", "a.sog", "a.glb"):
            scene = self.convert(self.scene, name).rename(self.folder / "photo.jpg")
            self.assertEqual(len(read_ply(self.convert(scene, "b.ply"))[0]), len(self.rows), name)

    def test_ending_in_capitals_counts(self):
        self.assertEqual(self.convert(self.scene, "A.SPZ").read_bytes(), self.convert(self.scene, "a.spz").read_bytes())

    def test_name_of_no_format_becomes_a_ply_file(self):
        for name in ("scene", "scene.txt"):
            self.assertEqual(self.convert(self.scene, name).read_bytes(),
                             self.convert(self.scene, "a.ply").read_bytes())

    def test_versions_of_spz(self):
        self.assertEqual(self.convert(self.scene, "a.spz").read_bytes()[:2], b"\x1f\x8b")
        four = self.convert(self.scene, "b.spz", "--spz-version", "4")
        self.assertEqual(four.read_bytes()[:8], b"NGSP\4\0\0\0")
        three, four = (read_ply(self.convert(self.folder / name, "c.ply"))[0] for name in ("a.spz", "b.spz"))
        np.testing.assert_array_equal(three, four)

    def test_frame_of_spz(self):
        turned_over = self.convert(self.scene, "a.spz", "--spz-frame", "rub")
        upright, _ = read_ply(self.convert(turned_over, "a.ply", "--spz-frame", "rub"))
        as_it_lies, _ = read_ply(self.convert(turned_over, "b.ply"))
        np.testing.assert_allclose(upright[:, :3], self.rows[:, :3], atol=0.001)
        np.testing.assert_array_equal(as_it_lies[:, :3], upright[:, :3] * [1, -1, -1])

    def test_largest_and_most_opaque_gaussians_are_kept(self):
        for name in ("a.ply", "a.spz"):
            kept, _ = read_ply(self.convert(self.convert(self.scene, name, "--keep-ratio", "0.1"), "b.ply"))
            self.assertEqual(len(kept), 30)
            importance = self.rows[:, 7:10].sum(axis=1) + np.log(opacities(self.rows))
            expected = self.rows[np.sort(np.argsort(importance)[-30:])]
            np.testing.assert_allclose(in_order_of(kept, expected)[:, :3], expected[:, :3], atol=0.001)

    def test_gaussians_that_cannot_be_written_are_left_out(self):
        self.rows[7, 2] = np.nan
        self.rows[9, 11] = np.inf
        self.scene.write_bytes(ply(self.rows))
        for name in LOSS:
            result = run(self.scene, self.folder / name)
            self.assertEqual(result.returncode, 0, result.stderr)
            self.assertIn(b"  Leaving out 2 Gaussians", result.stdout)
            self.assertEqual(len(read_ply(self.convert(self.folder / name, "b.ply"))[0]), 298)

    def test_tells_what_it_does_and_what_it_wrote(self):
        result = run(self.scene, self.folder / "a.spz")
        self.assertEqual(result.stderr.decode().splitlines(), STAGES)
        size = (self.folder / "a.spz").stat().st_size
        self.assertIn(f"  Saved scene with 300 Gaussians in {size} bytes to {self.folder}/a.spz\n",
                      result.stdout.decode())

    def test_output_goes_where_it_is_told_to(self):
        self.convert(self.scene, "new/one/a.spz")
        self.assertEqual(run(self.scene, "b.spz", cwd=self.folder).returncode, 0)
        self.assertTrue((self.folder / "b.spz").exists())
        self.assertEqual(run(self.scene, "/dev/null").returncode, 0)

    def test_names_that_are_no_utf8(self):
        scene = os.fsencode(self.folder) + b"/\xff #\xe5\x86\x99.ply"
        self.scene.rename(os.fsdecode(scene))
        output = os.fsencode(self.folder) + b"/\xfe.spz"
        self.assertEqual(run(scene, output).returncode, 0)
        self.assertTrue(os.path.exists(output))


class Photographs(SceneTest):
    def photo(self, name, *options):
        output = self.folder / name
        result = run("--model", MODELS / "echo.onnx", *options, PHOTO, output)
        self.assertEqual(result.returncode, 0, result.stderr)
        return output, result

    def test_photograph_becomes_what_its_ply_file_would(self):
        plain, _ = self.photo("photo.ply")
        for name in OTHERS:
            direct, _ = self.photo(name)
            self.assertEqual(direct.read_bytes(), self.convert(plain, "by_way_" + name).read_bytes(), name)

    def test_last_stage_and_log_tell_of_the_scene(self):
        _, result = self.photo("a.spz")
        self.assertEqual(result.stderr.decode().splitlines()[-1], "Saving the scene…")
        self.assertIn("  Saved scene with 4 Gaussians in ", result.stdout.decode())

    def test_keep_ratio_thins_every_format(self):
        for name in OTHERS:
            output, _ = self.photo(name, "--keep-ratio", "0.5")
            self.assertEqual(len(read_ply(self.convert(output, "b.ply"))[0]), 2, name)

    def test_frame_of_spz_goes_with_a_photograph_too(self):
        turned_over, _ = self.photo("a.spz", "--spz-frame", "rub")
        upright, _ = self.photo("b.spz")
        self.assertNotEqual(turned_over.read_bytes(), upright.read_bytes())

    def test_photograph_that_is_named_like_a_scene_is_a_photograph(self):
        photo = self.folder / "photo.ply"
        photo.write_bytes(PHOTO.read_bytes())
        self.assertEqual(run("--model", MODELS / "echo.onnx", photo, self.folder / "a.spz").returncode, 0)


class Refusals(SceneTest):
    def test_options_of_photographs_do_not_go_with_a_scene(self):
        for options in (["--model", "a.onnx"], ["--provider", "cpu"], ["--focal", "auto"], ["--no-icc"]):
            self.check_refusal(run(*options, self.scene, self.folder / "a.spz"), 2, options[0], "is a scene")
        self.assertEqual(self.names(), ["scene.ply"])

    def test_options_of_spz_go_with_spz_files(self):
        for options in (["--spz-version", "4"], ["--spz-version", "2"], ["--spz-frame", "up"]):
            self.check_refusal(run(*options, self.scene, self.folder / "a.ply"), 2, options[0])
        self.check_refusal(run("--spz-frame", "rub", PHOTO, self.folder / "a.ply"), 2, "--spz-frame")
        self.check_refusal(run("--batch", "--spz-frame", "rub", self.folder, self.folder), 2, "--spz-frame")
        self.check_refusal(run("--format", "spz", PHOTO, self.folder / "a.spz"), 2, "--format")
        self.assertEqual(self.names(), ["scene.ply"])

    def test_endings_of_what_is_not_written(self):
        for source in (self.scene, PHOTO):
            for name in ("a.ksplat", "a.gltf", "a.JPG", "a.png", "a.html"):
                self.check_refusal(run(source, self.folder / name), 2, name, ".compressed.ply, .splat, .spz")
        self.assertEqual(self.names(), ["scene.ply"])

    def test_output_over_the_scene(self):
        before = self.scene.read_bytes()
        link = self.folder / "link.spz"
        link.symlink_to(self.scene)
        for output in (self.scene, link):
            self.check_refusal(run(self.scene, output), 2, "OUTPUT would overwrite SCENE.")
        self.assertEqual(self.scene.read_bytes(), before)

    def test_scene_that_is_none_leaves_nothing(self):
        for name, content in (("a.ply", b"no scene"), ("a.ply", b""), ("a.ply", ply(self.rows)[:-1]),
                              ("a.spz", b"\x1f\x8b and more"), ("a.sog", b"PK\3\4"), ("a.glb", b"glTF"),
                              ("a.ksplat", b"\0"), ("a.splat", b"31 bytes"), ("a.gltf", b"{}")):
            with self.subTest((name, content[:10])):
                scene = self.folder / name
                scene.write_bytes(content)
                result = run(scene, self.folder / "new" / "a.spz")
                self.check_refusal(result, 1, f"Error: {scene}: ")
                scene.unlink()
                self.assertEqual(self.names(), ["scene.ply"])

    def test_scene_without_gaussians(self):
        self.scene.write_bytes(ply(self.rows[:0]))
        self.check_refusal(run(self.scene, self.folder / "a.spz"), 1, "Error: ", "no Gaussians")
        self.rows[:, 0] = np.nan
        self.scene.write_bytes(ply(self.rows))
        self.check_refusal(run(self.scene, self.folder / "a.spz"), 1, "Error: ", "no Gaussian")
        self.assertEqual(self.names(), ["scene.ply"])

    def test_scene_that_is_not_there(self):
        for scene in (self.folder / "none.spz", self.folder):
            (self.folder / "folder.ply").mkdir(exist_ok=True)
        for scene in (self.folder / "none.spz", self.folder / "folder.ply"):
            self.check_refusal(run(scene, self.folder / "a.spz"), 1, f"Error: {scene}: ")
        self.assertEqual(self.names(), ["folder.ply", "scene.ply"])

    def test_scene_does_not_come_through_a_pipe(self):
        for name in ("-", "/dev/stdin"):
            result = run("--model", MODELS / "echo.onnx", name, self.folder / "a.spz", input=self.scene.read_bytes())
            self.check_refusal(result, 1, "It is a scene, and scenes are read from files only.")
        self.assertEqual(self.names(), ["scene.ply"])

    def test_output_that_cannot_be_opened_is_told_before_the_scene_is_read(self):
        self.scene.write_bytes(b"broken")
        (self.folder / "a.spz").mkdir()
        self.check_refusal(run(self.scene, self.folder / "a.spz"), 1, "Error: Cannot open output file: Is a directory\n")

    def run_on_full_disk(self, output):
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))
        result = run(self.scene, output, preexec_fn=limit, restore_signals=False)
        self.check_refusal(result, 1, "Error: Cannot write output file: File too large")

    def test_full_disk_leaves_no_half_file_and_the_former_scene(self):
        for name in LOSS:
            self.run_on_full_disk(self.folder / name)
            self.assertEqual(self.names(), ["scene.ply"], name)
            (self.folder / name).write_text("former scene")
            self.run_on_full_disk(self.folder / name)
            self.assertEqual((self.folder / name).read_text(), "former scene", name)
            (self.folder / name).unlink()

    def test_device_that_is_full(self):
        (self.folder / "a.spz").symlink_to("/dev/full")
        self.check_refusal(run(self.scene, self.folder / "a.spz"), 1,
                           "Error: Cannot write output file: No space left on device\n")

    def test_interrupted_program_ends_of_the_signal(self):
        output = self.folder / "a.spz"
        os.mkfifo(output)  # nobody reads it
        process = subprocess.Popen([PROGRAM, self.scene, output], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.addCleanup(process.stderr.close)
        for stage in STAGES:
            self.assertEqual(process.stderr.readline().decode(), stage + "\n")
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), -signal.SIGINT)


if __name__ == "__main__":
    PROGRAM, MODELS, PHOTO = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
