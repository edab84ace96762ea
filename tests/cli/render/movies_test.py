#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Movies that vistrel-render makes: how the camera moves, and what is left where there are none."""

import json
import os
import pty
import signal
import subprocess
import time
import unittest

import numpy

import render_scenes
from program import PROGRAM, RenderTest
from command import without_steps  # found by program
from render_scenes import HEIGHT, WIDTH, ball, hills, ply

FORMER = b"what was there before"
SHORT = ("--seconds", "0.8", "--fps", "10")  # 8 frames


def decoded(movie):
    """The frames: number, rows, columns, red, green and blue."""
    told = subprocess.run(["ffprobe", "-v", "error", "-of", "json", "-show_streams", movie], check=True,
                          capture_output=True)
    stream = json.loads(told.stdout)["streams"][0]
    raw = subprocess.run(["ffmpeg", "-v", "error", "-i", movie, "-fps_mode", "passthrough", "-f", "rawvideo",
                          "-pix_fmt", "rgb24", "-"], check=True, capture_output=True).stdout
    return numpy.frombuffer(raw, numpy.uint8).reshape(-1, stream["height"], stream["width"], 3).astype(int)


class Movies(RenderTest):
    def setUp(self):
        super().setUp()
        self.movie = self.folder / "movie.mp4"

    def make(self, *options, name="movie.mp4", length=SHORT):
        movie = self.folder / name
        result = self.run_program(*length, *options, self.scene, movie)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, b"", b""))
        return decoded(movie)

    def place(self, frame):
        """Column and row of what is bright, from the middle."""
        part = frame.sum(axis=2)
        rows, columns = numpy.indices(part.shape) + 0.5
        return ((columns * part).sum() / part.sum() - frame.shape[1] / 2,
                (rows * part).sum() / part.sum() - frame.shape[0] / 2)


class Motion(Movies):
    """Two balls: the near one moves against the camera, the far one with it."""

    def balls(self, *depths):
        self.scene.write_bytes(ply([ball((0, 0, depth), 0.05 * depth) for depth in depths]))

    def test_sway_moves_to_both_sides_and_ends_where_it_begins(self):
        # The middle of the depths 2 and 8 lies at 3.2; the camera moves by a tenth of it.
        self.scene.write_bytes(ply([ball((0, 0, 2), 0.1), ball((3.2, 0, 8), 0.2)]))
        frames = self.make("--no-crop", "--motion", "sway", "--amount", "0.1")
        self.assertEqual(len(frames), 8)
        near = [self.place(frame[:, :300])[0] + 150 for frame in frames]
        way = near[6] - near[2]
        # 400 * 0.32 * (1 / 2 - 1 / 3.2) to either side
        self.assertAlmostEqual(way, 2 * 24, delta=3)
        self.assertAlmostEqual(near[0], WIDTH / 2, delta=1)
        self.assertAlmostEqual(near[4], near[0], delta=1)
        self.assertAlmostEqual(near[1], near[3], delta=1)

    def test_orbit_keeps_what_is_in_the_middle_there(self):
        self.balls(4)
        for frame in self.make("--no-crop", "--motion", "orbit", "--amount", "0.3"):
            column, row = self.place(frame)
            self.assertAlmostEqual(column, 0, delta=1)
            self.assertAlmostEqual(row, 0, delta=1)

    def test_dolly_comes_nearer_and_goes_back(self):
        self.balls(4)
        sums = [int(frame.sum()) for frame in
                self.make("--no-crop", "--motion", "dolly", "--amount", "0.3")]
        self.assertEqual(sums.index(max(sums)), 4)
        self.assertGreater(sums[4], 1.5 * sums[0])
        self.assertAlmostEqual(sums[1] / sums[7], 1, delta=0.05)

    def test_no_amount_is_a_still(self):
        self.scene.write_bytes(ply(hills()))
        frames = self.make("--amount", "0")
        self.assertLess(abs(frames - frames[0]).mean(), 1)

    def test_end_leads_into_the_beginning(self):
        self.scene.write_bytes(ply(hills()))
        for motion in ("sway", "circle", "dolly", "orbit"):
            frames = self.make("--motion", motion, name=f"{motion}.gif")
            steps = [abs(frames[i] - frames[i - 1]).mean() for i in range(8)]  # the first from the last
            self.assertLess(steps[0], 1.3 * max(steps[1:]), motion)
            self.assertGreater(max(steps), 1, motion)

    def test_nothing_empty_comes_into_the_picture(self):
        self.scene.write_bytes(ply(hills(reach=1.02)))
        for motion in ("sway", "circle", "orbit"):
            for frame in self.make("--motion", motion, "--amount", "0.1"):
                covered = frame.sum(axis=2) > 20
                for edge in (covered[:, 4], covered[:, -5], covered[4], covered[-5]):
                    self.assertGreater(edge.mean(), 0.97, motion)


class Kinds(Movies):
    def setUp(self):
        super().setUp()
        self.scene.write_bytes(ply(hills(columns=40, rows=30)))

    def test_first_frame_is_the_picture(self):
        picture = self.draw("--no-crop")
        for name, tolerance in (("movie.mp4", 6), ("movie.webm", 6), ("movie.gif", 12)):
            frames = self.make("--no-crop", name=name)
            self.assertEqual(frames.shape, (8, HEIGHT, WIDTH, 3), name)
            self.assertLess(abs(frames[0] - picture).mean(), tolerance, name)

    def test_frames_have_the_layout(self):
        frames = self.make("--stereo", "sbs")
        self.assertEqual(frames.shape, (8, HEIGHT, 2 * WIDTH, 3))
        for frame in frames:
            self.assertGreater(abs(frame[:, :WIDTH] - frame[:, WIDTH:]).mean(), 2)

    def test_size_is_the_whole_pictures(self):
        self.assertEqual(self.make("--stereo", "sbs", "--size", "320x120").shape, (8, 120, 320, 3))

    def test_large_photographs_make_movies_that_play(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15), size=(4001, 3001), focal=4000))
        once = ("--seconds", "0.1", "--fps", "10")
        self.assertEqual(self.make("--no-crop", length=once).shape, (1, 1440, 1920, 3))
        self.assertEqual(self.make("--no-crop", length=once, name="movie.gif").shape, (1, 480, 640, 3))

    def test_odd_photographs_make_even_movies(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15), size=(201, 151), focal=200))
        for layout in ("none", "half-sbs", "over-under"):
            _, height, width, _ = self.make("--stereo", layout, "--no-crop").shape
            self.assertEqual((height % 2, width % 2), (0, 0), layout)

    def test_files_of_a_folder_are_named_after_layout(self):
        result = self.run_program(*SHORT, "--stereo", "half-sbs", "--output-dir", self.folder / "out", "--as",
                                  "mp4", self.scene)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(os.listdir(self.folder / "out"), ["scene_half_sbs.mp4"])


class WithoutAMovie(Movies):
    def setUp(self):
        super().setUp()
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        self.movie.write_bytes(FORMER)

    def check_former(self):
        self.assertEqual(self.movie.read_bytes(), FORMER)
        self.assertEqual(sorted(os.listdir(self.folder)), ["movie.mp4", "scene.ply"])

    def test_missing_ffmpeg_is_told_with_debians_package(self):
        result = self.run_program(self.scene, self.movie, env={"PATH": "/nothing"})
        self.check_failure(result, "with the package ffmpeg")
        self.check_former()

    def test_full_disk(self):
        result = self.run_program("--seconds", "0.1", self.scene, self.movie, largest_file=2000)
        self.check_failure(result, "ffmpeg failed")
        self.check_former()

    def test_interruption_keeps_the_former_file(self):
        with subprocess.Popen([PROGRAM, "--seconds", "600", self.scene, self.movie],
                              stderr=subprocess.PIPE) as program:
            ffmpeg = self.wait_for_ffmpeg(program)
            program.send_signal(signal.SIGINT)
            _, said = program.communicate(timeout=60)
        self.assertEqual((program.returncode, without_steps(said)), (1, b"Error: interrupted\n"))
        self.check_former()
        for _ in range(500):  # nobody waits for it by now, and it may need a moment
            if self.parent_of(ffmpeg) is None:
                return
            time.sleep(0.01)
        self.fail("ffmpeg goes on")

    def wait_for_ffmpeg(self, program):
        while program.poll() is None:
            for process in filter(str.isdigit, os.listdir("/proc")):
                if self.parent_of(process) == program.pid:
                    return process
        self.fail("the program has ended")

    def parent_of(self, process):
        """Nothing for one that has ended."""
        try:
            with open(f"/proc/{process}/stat", encoding="utf-8", errors="replace") as told:
                state, parent = told.read().rsplit(")", 1)[1].split()[:2]
            return None if state in "ZX" else int(parent)
        except (FileNotFoundError, ProcessLookupError):
            return None

    def test_wrong_usage(self):
        for options, output, text in (
                (("--motion", "jump"), "a.mp4", "jump"), (("--seconds", "0"), "a.mp4", "--seconds"),
                (("--seconds", "nan"), "a.mp4", "--seconds"), (("--seconds", "601"), "a.mp4", "--seconds"),
                (("--fps", "0"), "a.mp4", "--fps"), (("--fps", "60"), "a.gif", "--fps"),
                (("--amount", "0.6"), "a.mp4", "--amount"), (("--size", "321x240"), "a.mp4", "--size"),
                (("--motion", "sway"), "a.png", "--motion"), (("--seconds", "2"), "a.jpg", "--seconds")):
            result = self.run_program(*options, self.scene, self.folder / output)
            self.assertEqual(result.returncode, 2, options)
            self.assertIn(text, result.stderr.decode(), options)
            self.assertFalse((self.folder / output).exists())


class Progress(Movies):
    def test_is_a_line_that_changes_on_a_terminal(self):
        self.scene.write_bytes(ply(hills(columns=20, rows=15)))
        ours, theirs = pty.openpty()
        self.addCleanup(os.close, ours)
        done = subprocess.run([PROGRAM, *SHORT, self.scene, self.movie], stderr=theirs, check=True)
        os.close(theirs)
        said = os.read(ours, 100000).decode()
        self.assertEqual(done.returncode, 0)
        for frame in range(1, 9):
            self.assertIn(f"\rFrame {frame} of 8", said)
        self.assertTrue(said.endswith("\r\x1b[K"), said)
        self.assertNotIn("\n", said)


if __name__ == "__main__":
    unittest.main()
