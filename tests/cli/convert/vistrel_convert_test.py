#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert from outside: exit status, streams, signals, and what is left on disk.

Usage: vistrel_convert_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import os
import re
import resource
import signal
import struct
import subprocess
import sys
import tempfile
import threading
import unittest
from pathlib import Path

PROGRAM, MODELS, PHOTO = "", Path(), Path()

READING = "Reading the pipe…"
STAGES = ["Preprocessing image…", "Running ONNX inference (CPU)…", "Unprojecting Gaussians…", "Saving PLY…"]


def run(*arguments, **options):
    return subprocess.run([PROGRAM, *map(os.fsencode, arguments)], capture_output=True, timeout=120,
                          check=False, **options)


def with_orientation(jpeg, orientation):
    tiff = b"MM\0*" + struct.pack(">LHHHLHHL", 8, 1, 0x0112, 3, 1, orientation, 0, 0)
    exif = b"Exif\0\0" + tiff
    return jpeg[:2] + b"\xff\xe1" + struct.pack(">H", 2 + len(exif)) + exif + jpeg[2:]


class Convert(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.output = self.folder / "out.ply"

    def model(self, name="echo.onnx"):
        return ["--model", MODELS / name]

    def start(self, photo, output, model="echo.onnx"):
        """Starts a conversion and leaves it running; its messages can be read line by line."""
        process = subprocess.Popen([PROGRAM, *self.model(model), photo, output],
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process

    def wait_for_stage(self, process, stage):
        for line in process.stderr:
            if line.decode().rstrip("\n") == stage:
                return
        self.fail(f"{stage} never came")


class GoodConversion(Convert):
    def test_leaves_the_ply_and_tells_on_the_right_streams(self):
        result = run(*self.model(), PHOTO, self.output)
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stderr.decode().splitlines(), STAGES)
        log = result.stdout.decode().splitlines()
        self.assertEqual(log[-1].split(" Gaussians to ")[1], str(self.output))
        stamp = r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d - INFO - "
        for line in log:
            self.assertRegex(line, f"^(INFO - |{stamp})  ")
        self.assertTrue(any(re.fullmatch(stamp + "  Using CPU Execution Provider.", line) for line in log))
        self.assertTrue(self.output.read_bytes().startswith(b"ply\nformat binary_little_endian 1.0\n"))

    def test_creates_the_folders_of_the_output(self):
        output = self.folder / "a" / "b" / "out.ply"
        self.assertEqual(run(*self.model(), PHOTO, output).returncode, 0)
        self.assertTrue(output.exists())

    def test_output_without_a_folder_goes_to_the_current_one(self):
        self.assertEqual(run(*self.model(), PHOTO, "out.ply", cwd=self.folder).returncode, 0)
        self.assertTrue(self.output.exists())

    def test_names_that_are_no_utf8(self):
        photo = os.fsencode(self.folder) + b"/\xff \xe5\x86\x99 #.jpg"
        output = os.fsencode(self.folder) + b"/\xfe.ply"
        Path(os.fsdecode(photo)).write_bytes(PHOTO.read_bytes())
        result = run(*self.model(), photo, output)
        self.assertEqual(result.returncode, 0)
        self.assertTrue(os.path.exists(output))
        self.assertIn(photo, result.stdout)

    def test_name_that_looks_like_an_option(self):
        (self.folder / "-photo.jpg").write_bytes(PHOTO.read_bytes())
        result = run(*self.model(), "--", "-photo.jpg", "out.ply", cwd=self.folder)
        self.assertEqual(result.returncode, 0)

    def test_keep_ratio_thins_the_scene(self):
        result = run(*self.model(), "--keep-ratio", "0", PHOTO, self.output)
        self.assertEqual(result.returncode, 0)
        self.assertIn(b"\nelement vertex 1\n", self.output.read_bytes())
        self.assertIn(b"  Decimating: keeping 1 of ", result.stdout)

    def test_output_that_is_no_file(self):
        self.assertEqual(run(*self.model(), PHOTO, "/dev/null").returncode, 0)
        self.assertTrue(Path("/dev/null").is_char_device())

    def test_photo_from_a_pipe_is_converted_as_from_a_file(self):
        turned = self.folder / "turned.jpg"  # its orientation is read apart from its pixels
        turned.write_bytes(with_orientation(PHOTO.read_bytes(), 6))
        from_file, pipe = self.folder / "file.ply", self.folder / "pipe.jpg"
        self.assertEqual(run(*self.model(), turned, from_file).returncode, 0)
        os.mkfifo(pipe)
        writer = threading.Thread(target=lambda: pipe.write_bytes(turned.read_bytes()), daemon=True)
        writer.start()
        result = run(*self.model(), pipe, self.output)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stderr.decode().splitlines(), [READING, *STAGES])
        self.assertEqual(self.output.read_bytes(), from_file.read_bytes())

    def test_photo_on_standard_input(self):
        result = run(*self.model(), "/dev/stdin", self.output, input=PHOTO.read_bytes())
        self.assertEqual(result.returncode, 0, result.stderr)


class FailedConversion(Convert):
    def check(self, result, last_line):
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.decode().splitlines()[-1], last_line)

    def test_missing_photo(self):
        self.check(run(*self.model(), self.folder / "none.jpg", self.output),
                   f"Error: {self.folder}/none.jpg: It cannot be read: No such file or directory.")
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_missing_model(self):
        result = run("--model", self.folder / "none.onnx", PHOTO, self.output)
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr.decode().splitlines()[-1], "^Error: .*none.onnx")
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_cuda_that_is_not_there(self):
        result = run(*self.model(), "--provider", "cuda", PHOTO, self.output)
        self.assertEqual(result.returncode, 1)
        self.assertIn("Running ONNX inference (CUDA)…", result.stderr.decode())
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_folder_that_cannot_be_made(self):
        (self.folder / "file").write_text("kept")
        result = run(*self.model(), PHOTO, self.folder / "file" / "sub" / "out.ply")
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr.decode().splitlines()[-1], "^Error: create_directories: ")
        self.assertEqual((self.folder / "file").read_text(), "kept")

    def test_output_that_is_a_folder(self):
        self.check(run(*self.model(), PHOTO, self.folder), "Error: Cannot open output file: Is a directory")

    def run_on_full_disk(self):
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))
        result = run(*self.model(), PHOTO, self.output, preexec_fn=limit)
        self.check(result, "Error: Cannot write output file: File too large")

    def test_full_disk_leaves_no_half_file(self):
        self.run_on_full_disk()
        self.assertEqual(list(self.folder.iterdir()), [])

    def test_full_disk_leaves_the_former_scene(self):
        self.output.write_text("former scene")
        self.run_on_full_disk()
        self.assertEqual(list(self.folder.iterdir()), [self.output])
        self.assertEqual(self.output.read_text(), "former scene")

    def test_device_that_is_full(self):
        self.check(run(*self.model(), PHOTO, "/dev/full"),
                   "Error: Cannot write output file: No space left on device")
        self.assertTrue(Path("/dev/full").is_char_device())


    def test_output_that_cannot_be_opened_is_told_before_the_photo_is_looked_at(self):
        result = run("--model", self.folder / "none.onnx", self.folder / "none.jpg", self.folder)
        self.assertEqual(result.stderr.decode(), "Error: Cannot open output file: Is a directory\n")
        self.assertEqual(result.returncode, 1)

    def test_output_into_a_pipe_whose_reader_left(self):
        reader, writer = os.pipe()
        process = subprocess.Popen([PROGRAM, *self.model("full_size.onnx"), PHOTO, f"/dev/fd/{writer}"],
                                   pass_fds=[writer], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        os.close(writer)
        os.read(reader, 1)
        os.close(reader)
        self.assertIn(b"Error: Cannot write output file: Broken pipe", process.communicate(timeout=120)[1])
        self.assertEqual(process.returncode, 1)

    def test_pipe_that_gives_nothing(self):
        self.check(run(*self.model(), "/dev/stdin", self.output, input=b""),
                   "Error: /dev/stdin: It is empty.")


class LongConversion(Convert):
    def test_what_takes_long_is_told_with_its_seconds(self):
        photo = self.folder / "photo.jpg"
        os.mkfifo(photo)  # nobody writes into it
        process = self.start(photo, self.output)
        self.assertEqual(process.stderr.readline().decode(), READING + "\n")
        self.assertRegex(process.stderr.readline().decode(), rf"^{READING} [5-9] s\n$")


class LostLog(Convert):
    """The scene is there, but what was printed is not."""

    def check(self, stdout):
        for arguments in ([*self.model(), PHOTO, self.output], ["--help"], ["--version"]):
            with self.subTest(arguments=arguments):
                result = subprocess.run([PROGRAM, *arguments], stdout=stdout, stderr=subprocess.PIPE,
                                        timeout=120, check=False)
                self.assertEqual(result.returncode, 1)
                self.assertEqual(result.stderr.decode().splitlines()[-1],
                                 "Error: standard output could not be written")
        self.assertTrue(self.output.exists())

    def test_device_that_is_full(self):
        with open("/dev/full", "wb") as full:
            self.check(full)

    def test_reader_that_went_away(self):
        reader, writer = os.pipe()
        os.close(reader)
        self.check(writer)
        os.close(writer)


class WrongUsage(Convert):
    def test_is_told_with_status_2_and_touches_nothing(self):
        good = [*self.model(), PHOTO, self.output]
        for arguments in ([], [*self.model(), PHOTO], [*good, "more"],
                          ["--unknown", *good], ["--provider", "gpu", *good],
                          ["--keep-ratio", "2", *good], ["--keep-ratio", "many", *good],
                          ["--keep-ratio", "nan", *good]):
            with self.subTest(arguments=arguments):
                result = run(*arguments)
                self.assertEqual(result.returncode, 2)
                self.assertNotEqual(result.stderr, b"")
                self.assertEqual(list(self.folder.iterdir()), [])

    def test_output_over_the_photo_or_the_model_is_refused(self):
        photo, model = self.folder / "photo.jpg", self.folder / "model.onnx"
        photo.write_bytes(PHOTO.read_bytes())
        model.write_bytes((MODELS / "echo.onnx").read_bytes())
        before = (photo.read_bytes(), model.read_bytes())
        for output in (photo, model):
            self.assertEqual(run("--model", model, photo, output).returncode, 2)
        self.assertEqual((photo.read_bytes(), model.read_bytes()), before)

    def test_help_and_version(self):
        for option, text in (("--help", b"--model"), ("--version", b"vistrel-convert 2.0.0\n")):
            result = run(option)
            self.assertEqual(result.returncode, 0)
            self.assertIn(text, result.stdout)


class Interrupted(Convert):
    def test_before_the_writing_it_stops_at_once_and_keeps_the_former_file(self):
        photo = self.folder / "photo.jpg"
        os.mkfifo(photo)  # nobody writes into it: the program waits for its picture
        self.output.write_text("former scene")
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                process = self.start(photo, self.output)
                self.wait_for_stage(process, READING)
                process.send_signal(number)
                self.assertEqual(process.wait(timeout=60), -number)
                self.assertEqual(self.output.read_text(), "former scene")

    def test_while_waiting_for_the_reader_of_a_pipe_it_stops_at_once(self):
        os.mkfifo(self.output)
        process = self.start(PHOTO, self.output)
        self.wait_for_stage(process, STAGES[-1])
        process.send_signal(signal.SIGINT)
        self.assertEqual(process.wait(timeout=60), -signal.SIGINT)

    def test_while_writing_the_former_scene_is_left_or_a_whole_one(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGKILL):
            with self.subTest(number=number):
                self.output.write_text("former scene")
                process = self.start(PHOTO, self.output, "full_size.onnx")
                self.wait_for_stage(process, STAGES[-1])
                process.send_signal(number)
                self.assertIn(process.wait(timeout=60), (0, -number))
                scene = self.output.read_bytes()
                self.assertTrue(scene == b"former scene" or self.is_whole(scene))
                self.assertEqual(list(self.folder.iterdir()), [self.output])

    def is_whole(self, scene):
        header = scene[:scene.index(b"end_header\n") + len(b"end_header\n")]
        count = int(re.search(rb"element vertex (\d+)", header)[1])
        return len(scene) == len(header) + count * 14 * 4 + 128

    def test_hang_up_that_the_caller_ignores_stays_ignored(self):
        photo = self.folder / "photo.jpg"
        os.mkfifo(photo)
        old = signal.signal(signal.SIGHUP, signal.SIG_IGN)
        process = self.start(photo, self.output)
        signal.signal(signal.SIGHUP, old)
        self.wait_for_stage(process, READING)
        process.send_signal(signal.SIGHUP)
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(timeout=60), -signal.SIGTERM)


if __name__ == "__main__":
    PROGRAM, MODELS, PHOTO = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
