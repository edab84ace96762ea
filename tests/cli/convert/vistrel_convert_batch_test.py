#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert --batch from outside: exit status, messages, signals, and what is left on disk.

Usage: vistrel_convert_batch_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import os
import pty
import re
import resource
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, MODELS, PHOTO = "", Path(), Path()

STAGES = 4


class Batch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.input, self.output = self.folder / "in", self.folder / "out"
        self.input.mkdir()

    def add(self, *names):
        for name in names:
            (self.input / name).write_bytes(PHOTO.read_bytes())

    def add_output(self, name, text="former scene"):
        self.output.mkdir(exist_ok=True)
        (self.output / name).write_text(text)

    def command(self, *options, model="echo.onnx"):
        words = [PROGRAM, "--batch", "--model", MODELS / model, *options, self.input, self.output]
        return list(map(os.fsencode, words))

    def run_batch(self, *options, model="echo.onnx", **how):
        return subprocess.run(self.command(*options, model=model), capture_output=True, timeout=120,
                              check=False, **how)

    def start(self, *options, model="echo.onnx"):
        process = subprocess.Popen(self.command(*options, model=model), stdout=subprocess.DEVNULL,
                                   stderr=subprocess.PIPE)
        self.addCleanup(process.stderr.close)
        self.addCleanup(process.kill)
        return process

    def wait_until_writing(self, process):
        """Returns the name of the first file, whose output is being written."""
        for _ in range(STAGES):
            line = process.stderr.readline().decode()
        return re.match(r"Processing 1 / \d+: (.*) \(", line)[1]

    def outputs(self):
        """Names; those of former files in brackets."""
        def name(path):
            is_new = path.read_bytes().startswith(b"ply\n")
            return path.name if is_new else f"({path.name})"
        return sorted(map(name, self.output.iterdir()))


class GoodBatch(Batch):
    def test_converts_every_picture_and_reports_every_stage(self):
        self.add("a.jpg", "B.JPEG")
        (self.input / "notes.txt").write_text("no picture")
        result = self.run_batch()
        self.assertEqual(result.returncode, 0)
        self.assertEqual(self.outputs(), ["B.ply", "a.ply"])
        lines = result.stderr.decode().splitlines()
        self.assertEqual(len(lines), 2 * STAGES + 1)
        for i, line in enumerate(lines[:-1]):
            self.assertRegex(line, rf"^Processing {i // STAGES + 1} / 2: (a.jpg|B.JPEG) \(\d+ s\)(, about \d+ \w+ left)?$")
        self.assertEqual(lines[-1], "Converted 2 of 2.")
        self.assertIn(b"Using CPU Execution Provider", result.stdout)

    def test_scene_is_that_of_a_single_conversion(self):
        self.add("a.jpg")
        self.run_batch()
        single = self.folder / "single.ply"
        subprocess.run([PROGRAM, "--model", MODELS / "echo.onnx", self.input / "a.jpg", single],
                       capture_output=True, check=True)
        self.assertEqual((self.output / "a.ply").read_bytes(), single.read_bytes())

    def test_empty_folder_says_so(self):
        result = self.run_batch()
        self.assertEqual(result.returncode, 0)
        self.assertEqual(result.stderr.decode(), f"There are no photographs in {self.input}.\n")

    def test_output_folder_is_made_with_its_ancestors(self):
        self.add("a.jpg")
        self.output = self.folder / "x" / "y"
        self.assertEqual(self.run_batch().returncode, 0)
        self.assertEqual(self.outputs(), ["a.ply"])

    def test_output_folder_may_be_the_input_folder(self):
        self.add("a.jpg")
        self.output = self.input
        self.assertEqual(self.run_batch().returncode, 0)
        self.assertEqual((self.input / "a.jpg").read_bytes(), PHOTO.read_bytes())
        self.assertTrue((self.input / "a.ply").exists())

    def test_names_that_are_no_utf8(self):
        self.add(os.fsdecode(b"\xff \xe5\x86\x99 #%s.jpg"))
        result = self.run_batch()
        self.assertEqual(result.returncode, 0)
        self.assertTrue(os.path.exists(os.fsencode(self.output) + b"/\xff \xe5\x86\x99 #%s.ply"))
        self.assertIn(b": \xff \xe5\x86\x99 #%s.jpg (", result.stderr)

    def test_pictures_of_one_stem_get_scenes_of_their_own(self):
        self.add("a.jpg", "a.png", "b.png")
        for policy in ("cancel", "overwrite", "skip"):
            self.assertEqual(self.run_batch("--on-conflict", policy).returncode, 0)
            self.assertEqual(self.outputs(), ["a.jpg.ply", "a.png.ply", "b.ply"])
            if policy == "cancel":
                for scene in self.output.iterdir():
                    scene.unlink()
        self.output = self.folder / "renamed"
        self.assertEqual(self.run_batch("--on-conflict", "rename").returncode, 0)
        self.assertEqual(self.outputs(), ["a(1).ply", "a.ply", "b.ply"])

    def test_share_of_the_gaussians(self):
        self.add("a.jpg")
        self.assertEqual(self.run_batch("--keep-ratio", "0.5").returncode, 0)
        self.assertIn(b"element vertex 2\n", (self.output / "a.ply").read_bytes())

    def test_folders_that_look_like_options(self):
        (self.folder / "-in").mkdir()
        (self.folder / "-in" / "a.jpg").write_bytes(PHOTO.read_bytes())
        result = subprocess.run([PROGRAM, "--batch", "--model", MODELS / "echo.onnx", "--", "-in",
                                 "-out"], cwd=self.folder, capture_output=True, check=False)
        self.assertEqual(result.returncode, 0)
        self.assertTrue((self.folder / "-out" / "a.ply").exists())


class Conflict(Batch):
    def setUp(self):
        super().setUp()
        self.add("a.jpg", "b.jpg")
        self.add_output("a.ply")

    def test_by_default_nothing_is_converted_and_the_option_is_named(self):
        for options in ([], ["--on-conflict", "cancel"]):
            result = self.run_batch(*options)
            self.assertEqual(result.returncode, 1)
            self.assertIn("--on-conflict", result.stderr.decode())
            self.assertEqual(self.outputs(), ["(a.ply)"])

    def test_overwrite_replaces(self):
        self.assertEqual(self.run_batch("--on-conflict", "overwrite").returncode, 0)
        self.assertEqual(self.outputs(), ["a.ply", "b.ply"])

    def test_rename_keeps_both(self):
        self.assertEqual(self.run_batch("--on-conflict", "rename").returncode, 0)
        self.assertEqual(self.outputs(), ["(a.ply)", "a(1).ply", "b.ply"])

    def test_scenes_of_another_format_have_their_own_names(self):
        (self.input / "b.jpg").unlink()
        for ending in ("ply", "compressed.ply", "spz"):
            self.add_output("a." + ending)
            for policy in ("overwrite", "rename", "cancel"):
                self.run_batch("--format", ending, "--on-conflict", policy)
            self.assertNotEqual((self.output / f"a.{ending}").read_bytes(), b"former scene")
        self.assertEqual(sorted(path.name for path in self.output.iterdir()),
                         ["a(1).compressed.ply", "a(1).ply", "a(1).spz", "a.compressed.ply", "a.ply", "a.spz"])
        self.assertEqual((self.output / "a.spz").read_bytes(), (self.output / "a(1).spz").read_bytes())
        self.assertEqual((self.output / "a.spz").read_bytes()[:2], b"\x1f\x8b")

    def test_output_that_is_a_link_to_an_input_is_refused(self):
        for make in (os.symlink, os.link):
            with self.subTest(make=make):
                (self.output / "a.ply").unlink()
                make(self.input / "b.jpg", self.output / "a.ply")
                result = self.run_batch("--on-conflict", "overwrite")
                self.assertEqual(result.returncode, 2)
                self.assertIn(f"{self.output}/a.ply would overwrite", result.stderr.decode())
                self.assertEqual((self.input / "b.jpg").read_bytes(), PHOTO.read_bytes())
                self.assertFalse((self.output / "b.ply").exists())

    def test_output_that_is_the_model_is_refused(self):
        model = self.output / "a.ply"
        model.write_bytes((MODELS / "echo.onnx").read_bytes())
        result = self.run_batch("--on-conflict", "overwrite", model=model)
        self.assertEqual(result.returncode, 2)
        self.assertEqual(model.read_bytes(), (MODELS / "echo.onnx").read_bytes())


class FailedBatch(Batch):
    def test_failed_file_is_named_and_the_others_are_converted(self):
        self.add("a.jpg", "c.jpg")
        (self.input / "b.webp").write_bytes(b"RIFF\x1a\0\0\0WEBPVP8L")
        result = self.run_batch()
        self.assertEqual(result.returncode, 1)
        lines = result.stderr.decode().splitlines()
        self.assertIn("Error: b.webp: It is cut short.", lines)
        self.assertEqual(lines[-1], "Converted 2 of 3.")
        self.assertEqual(self.outputs(), ["a.ply", "c.ply"])

    def test_missing_input_folder_makes_no_output_folder(self):
        self.input.rmdir()
        result = self.run_batch()
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.decode(), f"Error: {self.input}: No such file or directory\n")
        self.assertFalse(self.output.exists())

    def test_output_folder_that_cannot_be_made(self):
        self.add("a.jpg")
        self.output.write_text("kept")
        result = self.run_batch()
        self.assertEqual(result.returncode, 1)
        self.assertRegex(result.stderr.decode(), "^Error: create_directories: ")
        self.assertEqual(self.output.read_text(), "kept")

    def check_network_fails(self, reason, *options, model="echo.onnx"):
        """One photograph is looked at, and one line tells why there is no second."""
        self.add("a.jpg", "b.jpg", "c.jpg")
        result = self.run_batch(*options, model=model)
        self.assertEqual(result.returncode, 1)
        *lines, error = result.stderr.decode().splitlines()
        self.assertRegex(error, f"^Error: the network cannot be used: {reason}")
        stages = [line.split(":")[0] for line in lines if line.startswith("Processing")]
        self.assertEqual(stages, ["Processing 1 / 3"] * 2)
        self.assertEqual(self.outputs(), [])

    def test_missing_model_ends_the_batch(self):
        self.check_network_fails(r".*none\.onnx", model="none.onnx")

    def test_broken_model_ends_the_batch(self):
        self.check_network_fails(".*cut", model="cut.onnx")

    def test_model_of_another_kind_ends_the_batch(self):
        self.check_network_fails("Unexpected number of model outputs: 3", model="three_outputs.onnx")

    def test_cuda_that_is_not_there_ends_the_batch(self):
        self.check_network_fails("", "--provider", "cuda")

    def test_scene_that_cannot_be_opened_is_told_before_the_photograph_is_looked_at(self):
        self.add("a.jpg", "b.jpg")
        (self.output / "a.ply").mkdir(parents=True)
        result = self.run_batch("--on-conflict", "overwrite")
        self.assertEqual(result.returncode, 1)
        lines = result.stderr.decode().splitlines()
        self.assertIn("Error: a.jpg: Cannot open output file: Is a directory", lines)
        self.assertEqual(sum(": a.jpg (" in line for line in lines), 1)
        self.assertEqual(lines[-1], "Converted 1 of 2.")

    def test_full_disk_leaves_no_half_file(self):
        self.add("a.jpg", "b.jpg")
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100))
        result = self.run_batch(preexec_fn=limit)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.decode().count("Cannot write output file: File too large"), 2)
        self.assertEqual(self.outputs(), [])

    def test_reader_of_the_messages_that_went_away(self):
        self.add("a.jpg")
        reader, writer = os.pipe()
        os.close(reader)
        process = subprocess.run(self.command(), stdout=writer, stderr=writer, timeout=120,
                                 check=False)
        os.close(writer)
        self.assertEqual(process.returncode, 1)
        self.assertEqual(self.outputs(), ["a.ply"])


class WrongUsage(Batch):
    def test_is_told_with_status_2_and_touches_nothing(self):
        self.add("a.jpg")
        folders = [self.input, self.output]
        model = ["--model", MODELS / "echo.onnx"]
        for arguments in (["--batch", *folders], ["--batch", *model, self.input],
                          ["--batch", *model, *folders, "more"],
                          ["--batch", "--keep-ratio", "1.5", *model, *folders],
                          ["--batch", "--on-conflict", "ask", *model, *folders],
                          ["--on-conflict", "rename", *model, self.input / "a.jpg", self.output]):
            with self.subTest(arguments=arguments):
                result = subprocess.run([PROGRAM, *map(os.fsencode, arguments)],
                                        capture_output=True, timeout=120, check=False)
                self.assertEqual(result.returncode, 2)
                self.assertNotEqual(result.stderr, b"")
                self.assertFalse(self.output.exists())


class Interrupted(Batch):
    def hold(self):
        """Two pictures whose outputs wait for a reader."""
        self.add("a.jpg", "b.jpg")
        self.output.mkdir()
        for name in ("a.ply", "b.ply"):
            os.mkfifo(self.output / name)

    def test_once_it_stops_after_the_current_file(self):
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            with self.subTest(number=number):
                self.setUp()
                self.hold()
                process = self.start("--on-conflict", "overwrite", "--then", "echo this follows >&2")
                name = self.wait_until_writing(process)
                process.send_signal(number)
                self.assertIn(b"Stopping after the current file", process.stderr.readline())
                ply = (self.output / name).with_suffix(".ply").read_bytes()
                self.assertEqual(process.wait(timeout=60), 1)
                self.assertEqual(process.stderr.read(), b"Converted 1 of 2, then stopped.\n")
                self.assertTrue(ply.startswith(b"ply\n"))

    def test_twice_it_stops_at_once(self):
        self.hold()
        process = self.start("--on-conflict", "overwrite")
        self.wait_until_writing(process)
        while process.poll() is None:  # equal signals that wait together count once
            process.send_signal(signal.SIGINT)
        self.assertEqual(process.returncode, -signal.SIGINT)

    def test_twice_while_writing_leaves_no_half_file(self):
        self.add("a.jpg", "b.jpg")
        process = self.start(model="full_size.onnx")
        self.wait_until_writing(process)
        while process.poll() is None:
            process.send_signal(signal.SIGINT)
        self.assertIn(process.returncode, (1, -signal.SIGINT))
        for path in self.output.iterdir():  # the writing may have been faster than the signals
            count = int(re.search(rb"element vertex (\d+)", path.read_bytes()[:1000])[1])
            self.assertGreater(path.stat().st_size, count * 14 * 4)


class OnATerminal(Batch):
    def start_on_terminal(self, stdout):
        """Returns the process and its terminal's other end."""
        ours, theirs = pty.openpty()
        self.addCleanup(os.close, ours)
        process = subprocess.Popen(self.command("--on-conflict", "overwrite"), stderr=theirs,
                                   stdout=theirs if stdout is None else stdout)
        os.close(theirs)
        self.addCleanup(process.kill)
        return process, ours

    def read_until(self, terminal, pattern=None):
        """What the terminal gets until `pattern` matches, or until its end."""
        text = b""
        while pattern is None or not re.search(pattern, text):
            try:
                piece = os.read(terminal, 4096)
            except OSError:  # the last user of the other end has gone
                break
            if not piece:
                break
            text += piece
        return text

    def test_bar_is_drawn_and_goes_away(self):
        self.add("a.jpg", "\x1b[2J b.jpg")
        process, terminal = self.start_on_terminal(None)
        text = self.read_until(terminal).decode()
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertRegex(text, r"\r\x1b\[K\x1b\[\?7l\[\.{30}\] 1 / 2, \d+ s: ")
        self.assertRegex(text, r"\r\x1b\[K\x1b\[\?7l\[#{15}\.{15}\] 2 / 2, \d+ s: ")
        self.assertIn("?[2J b.jpg\x1b[?7h", text)
        self.assertNotIn("\x1b[2J", text)
        self.assertNotIn("INFO", text)
        self.assertTrue(text.endswith("\r\x1b[KConverted 2 of 2.\r\n"))

    def test_log_that_goes_elsewhere_is_kept(self):
        self.add("a.jpg")
        with open(self.folder / "log", "wb") as log:
            process, terminal = self.start_on_terminal(log)
            self.read_until(terminal)
        self.assertEqual(process.wait(timeout=60), 0)
        self.assertIn("INFO", (self.folder / "log").read_text())

    def test_seconds_go_on_between_reports_and_tell_the_time_left(self):
        self.add("a.jpg", "b.jpg")
        self.output.mkdir()
        os.mkfifo(self.output / "a.ply")
        process, terminal = self.start_on_terminal(None)
        self.assertRegex(self.read_until(terminal, rb", [1-9]\d* s: a"), rb", [1-9]\d* s: a")
        (self.output / "a.ply").read_bytes()
        self.assertRegex(self.read_until(terminal), rb" 2 / 2, \d+ s, about [1-9]\d* s left: b.jpg")
        self.assertEqual(process.wait(timeout=60), 0)


if __name__ == "__main__":
    PROGRAM, MODELS, PHOTO = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]])
