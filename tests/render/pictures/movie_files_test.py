#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Movies of every kind, as ffprobe, ffmpeg and Pillow read them, and movies that come to nothing."""

import json
import os
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

import numpy as np
from PIL import Image

WRITER = sys.argv.pop(1)
FORMER = b"what was there before"


class Movies(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel movies ")
        self.addCleanup(temporary.cleanup)
        self.commands = Path(temporary.name) / "commands"
        self.folder = Path(temporary.name) / "movies"
        self.commands.mkdir()
        self.folder.mkdir()
        self.environment = dict(os.environ)

    def play_ffmpeg(self, script):
        """Lets a shell script stand in for ffmpeg."""
        (self.commands / "ffmpeg").write_text(f"#!/bin/sh\n{script}\n")
        (self.commands / "ffmpeg").chmod(0o755)
        self.environment["PATH"] = f"{self.commands}:{os.environ['PATH']}"

    def arguments(self, name, layout="none", size=(64, 48), frames=5):
        return [WRITER, name.rsplit(".", 1)[1], layout, *map(str, size), str(frames), self.folder / name]

    def write(self, name, *more, **options):
        done = subprocess.run(self.arguments(name, *more, **options), env=self.environment,
                              capture_output=True, text=True)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        return self.folder / name

    def refused(self, name, *more, before=None, **options):
        """What is said where no movie comes of it."""
        (self.folder / name).write_bytes(FORMER)
        done = subprocess.run(self.arguments(name, *more, **options), env=self.environment,
                              preexec_fn=before, capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assert_only_former(name)
        self.assertEqual(done.stderr.count("\n"), 1, done.stderr)
        return done.stderr

    def assert_only_former(self, name):
        self.assertEqual([path.name for path in self.folder.iterdir()], [name])
        self.assertEqual((self.folder / name).read_bytes(), FORMER)

    def probe(self, path, what="streams"):
        told = subprocess.run(
            ["ffprobe", "-v", "error", "-of", "json", f"-show_{what}", "-count_frames", path],
            check=True, capture_output=True, text=True)
        self.assertEqual(told.stderr, "")
        return json.loads(told.stdout)[what][0]

    def stereo(self, path, what="streams"):
        """(type, inverted) of the stereo side data; nothing where there is none."""
        for data in self.probe(path, what).get("side_data_list", []):
            if data["side_data_type"] == "Stereo 3D":
                return data.get("type"), data.get("inverted")
        return None

    def frames(self, path, width=64, height=48):
        told = subprocess.run(["ffmpeg", "-v", "error", "-i", path, "-f", "rawvideo", "-pix_fmt",
                               "rgb24", "-"], check=True, capture_output=True)
        return np.frombuffer(told.stdout, np.uint8).reshape(-1, height, width, 3)

    def assert_grows_brighter(self, frames, count, tolerance):
        self.assertEqual(len(frames), count)
        for number, frame in enumerate(frames):
            expected = [20 * number, 10 * number + 30, 10 * number + 30]
            difference = np.abs(frame.reshape(-1, 3).mean(axis=0) - expected)
            self.assertLess(difference.max(), tolerance, number)

    # What is in them

    def test_mp4_is_what_every_player_knows(self):
        told = self.probe(self.write("a.mp4"))
        self.assertEqual((told["codec_name"], told["pix_fmt"]), ("h264", "yuv420p"))
        self.assertEqual((told["width"], told["height"]), (64, 48))
        self.assertEqual((told["r_frame_rate"], told["nb_read_frames"]), ("10/1", "5"))
        self.assertEqual((told["color_space"], told["color_range"]), ("bt709", "tv"))

    def test_mp4_plays_before_all_of_it_is_there(self):
        content = self.write("a.mp4").read_bytes()
        self.assertLess(content.index(b"moov"), content.index(b"mdat"))

    def test_frames_of_mp4_are_those_that_were_drawn(self):
        self.assert_grows_brighter(self.frames(self.write("a.mp4")), 5, 4)

    def test_webm_is_vp9(self):
        told = self.probe(self.write("a.webm"))
        self.assertEqual((told["codec_name"], told["pix_fmt"]), ("vp9", "yuv420p"))
        self.assertEqual((told["r_frame_rate"], told["nb_read_frames"]), ("10/1", "5"))

    def test_frames_of_webm_are_those_that_were_drawn(self):
        self.assert_grows_brighter(self.frames(self.write("a.webm")), 5, 5)

    def test_gif_plays_for_ever(self):
        with Image.open(self.write("a.gif", size=(33, 21))) as picture:
            self.assertEqual((picture.size, picture.n_frames), ((33, 21), 5))
            self.assertEqual((picture.info["loop"], picture.info["duration"]), (0, 100))

    def test_frames_of_gif_are_those_that_were_drawn(self):
        self.assert_grows_brighter(self.frames(self.write("a.gif")), 5, 2)

    def test_movie_of_one_frame(self):
        for name in ("a.mp4", "a.webm", "a.gif"):
            self.assertEqual(self.probe(self.write(name, frames=1))["nb_read_frames"], "1")

    def test_movie_of_many_frames_keeps_their_order(self):
        frames = self.frames(self.write("a.mp4", frames=12))
        self.assert_grows_brighter(frames, 12, 4)

    # Stereo

    def test_mp4_tells_how_the_eyes_lie(self):
        for layout, kind in (("sbs", "side by side"), ("half-sbs", "side by side"),
                             ("over-under", "top and bottom"), ("rows", "interleaved lines"),
                             ("columns", "interleaved columns"), ("checkerboard", "checkerboard")):
            path = self.write("a.mp4", layout)
            words = subprocess.run(["ffmpeg", "-hide_banner", "-i", path, "-vf", "showinfo", "-frames:v",
                                    "1", "-f", "null", "-"], capture_output=True, text=True).stderr
            self.assertIn(f"type - {kind}", words, layout)
            self.assertNotIn("inverted", words, layout)

    def test_mp4_of_one_eye_tells_of_none(self):
        for layout in ("none", "dubois", "crossed"):
            self.assertIsNone(self.stereo(self.write("a.mp4", layout), "frames"), layout)

    def test_webm_tells_how_the_eyes_lie(self):
        for layout, told in (("sbs", ("side by side", 0)), ("crossed", ("side by side", 1)),
                             ("over-under", ("top and bottom", 0))):
            self.assertEqual(self.stereo(self.write("a.webm", layout)), told, layout)

    def test_webm_tells_nothing_that_it_has_no_word_for(self):
        for layout in ("none", "dubois", "rows"):
            self.assertIsNone(self.stereo(self.write("a.webm", layout)), layout)

    def test_squeezed_eyes_of_webm_have_wide_pixels(self):
        for layout, shape in (("sbs", "1:1"), ("half-sbs", "2:1"), ("half-over-under", "1:2")):
            told = self.probe(self.write("a.webm", layout))
            self.assertEqual(told["sample_aspect_ratio"], shape, layout)

    # Movies that come to nothing

    def test_odd_sides_are_refused(self):
        for name, size in (("a.mp4", (63, 48)), ("a.webm", (64, 47))):
            with self.subTest(name):
                self.assertIn("even", self.refused(name, size=size))
                (self.folder / name).unlink()

    def test_missing_ffmpeg_is_told_with_debians_package(self):
        self.environment["PATH"] = str(self.commands)
        self.assertIn("on Debian, it comes with the package ffmpeg", self.refused("a.mp4"))

    def test_ffmpegs_own_words_are_told(self):
        self.play_ffmpeg("echo '[libx264 @ 0x1] no way' >&2; echo file:/proc/self/fd/3: bad >&2; exit 1")
        self.assertEqual(self.refused("a.mp4"), "ffmpeg failed: no way; the movie: bad\n")

    def test_ffmpeg_that_says_nothing(self):
        self.play_ffmpeg("cat >/dev/null; exit 7")
        self.assertEqual(self.refused("a.mp4"), "ffmpeg failed: its exit status is 7\n")

    def test_ffmpeg_that_is_killed(self):
        self.play_ffmpeg("kill -9 $$")
        self.assertEqual(self.refused("a.mp4"), "ffmpeg failed: it was ended by a signal: Killed\n")

    def test_ffmpeg_that_ends_too_early(self):
        self.play_ffmpeg("exit 0")
        self.assertEqual(self.refused("a.mp4", frames=50, size=(640, 480)),
                         "ffmpeg has ended before the movie did\n")

    def test_ffmpeg_without_the_encoder(self):
        self.play_ffmpeg('exec /usr/bin/ffmpeg -v error -f lavfi -i color -c:v nothing -f null -')
        self.assertIn("Unknown encoder 'nothing'", self.refused("a.mp4"))

    def test_disk_that_takes_no_more(self):
        limit = lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (1000, 1000))
        self.assertIn("ffmpeg failed", self.refused("a.mp4", before=limit))

    def test_folder_that_is_not_there(self):
        self.folder.rmdir()
        done = subprocess.run(self.arguments("a.mp4"), capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn("No such file or directory", done.stderr)

    def test_interruption_ends_ffmpeg_and_leaves_the_former_file(self):
        self.play_ffmpeg(f"echo $$ >'{self.commands}/process'; cat >/dev/null; sleep 60")
        (self.folder / "a.mp4").write_bytes(FORMER)
        subprocess.run(self.arguments("a.mp4", frames=-3, size=(640, 480)), env=self.environment,
                       check=True, capture_output=True)
        self.assert_only_former("a.mp4")
        self.assert_ends(int((self.commands / "process").read_text()))

    def test_death_leaves_the_former_file(self):
        (self.folder / "a.mp4").write_bytes(FORMER)
        with subprocess.Popen(self.arguments("a.mp4", frames=100000), env=self.environment,
                              stdout=subprocess.PIPE, text=True) as writer:
            self.assertEqual(writer.stdout.readline(), "frame\n")
            writer.send_signal(signal.SIGKILL)
            writer.stdout.read()
        self.assert_only_former("a.mp4")

    def assert_ends(self, process):
        """It belongs to nobody by now; whoever has it may need a moment to take note of its end."""
        for _ in range(500):
            try:
                state = Path(f"/proc/{process}/stat").read_text().rsplit(")", 1)[1].split()[0]
            except (FileNotFoundError, ProcessLookupError):
                return
            if state == "Z":
                return
            time.sleep(0.01)
        self.fail("ffmpeg goes on")


if __name__ == "__main__":
    unittest.main()
