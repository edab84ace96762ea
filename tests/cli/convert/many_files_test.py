#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert with trees and lists of files: which scenes they get, and what is told about them.

Usage: many_files_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import os
import random
import signal
import subprocess
import sys
import unittest
from pathlib import Path

from conversion import ConversionTest, main

PHOTO = Path(sys.argv[3]).read_bytes()
HEADINGS = "input\toutput\tseconds\tGaussians\terror"


class ManyFilesTest(ConversionTest):
    def add_photographs(self, *names):
        for name in names:
            (self.input / name).parent.mkdir(parents=True, exist_ok=True)
            self.add(name, PHOTO)

    def run_tree(self, *options, **how):
        return self.run_program("--batch", "--recursive", *options, self.input, self.output, **how)

    def run_list(self, *words, **how):
        return self.run_program("--output-dir", self.output, *words, **how)

    def outputs(self):
        """Without what killed processes leave where the file system has no unnamed files."""
        return [path for path in self.output.rglob("*")
                if path.is_file() and not path.name.startswith(".vistrel-")]

    def scenes(self):
        return sorted(str(path.relative_to(self.output)) for path in self.outputs())

    def check(self, result, status, last_line):
        said = os.fsdecode(result.stderr)
        self.assertEqual((result.returncode, said.splitlines()[-1]), (status, last_line), said)


class Tree(ManyFilesTest):
    def test_is_kept(self):
        self.add_photographs("a.jpg", "trip/b.jpg", "trip/day 2/c.jpg")
        self.check(self.run_tree(), 0, "Converted 3 of 3.")
        self.assertEqual(self.scenes(), ["a.ply", "trip/b.ply", "trip/day 2/c.ply"])

    def test_is_left_alone_without_the_option(self):
        self.add_photographs("a.jpg", "trip/b.jpg")
        self.check(self.run_program("--batch", self.input, self.output), 0, "Converted 1 of 1.")

    def test_files_come_in_the_order_of_their_names(self):
        self.add_photographs("c.jpg", "b/z.jpg", "a.jpg", "b/d.jpg")
        told = os.fsdecode(self.run_tree().stderr).splitlines()
        self.assertEqual([line.split(" (")[0] for line in told[:-1:4]],
                         [f"Processing {i + 1} / 4: {name}"
                          for i, name in enumerate(["a.jpg", "b/d.jpg", "b/z.jpg", "c.jpg"])])

    def test_folders_in_brackets(self):
        self.add_photographs("[day]/[a].jpg")
        self.output = self.folder / "[scenes]"
        result = self.run_program("--batch", "--recursive", "[in]", "[scenes]",
                                  cwd=self.input.rename(self.folder / "[in]").parent)
        self.check(result, 0, "Converted 1 of 1.")
        self.assertEqual(self.scenes(), ["[day]/[a].ply"])

    def test_links_to_folders_are_not_followed(self):
        self.add_photographs("trip/a.jpg")
        (self.input / "trip" / "up").symlink_to("..")
        (self.input / "other").symlink_to("trip")
        (self.input / "linked.jpg").symlink_to("trip/a.jpg")
        self.check(self.run_tree(), 0, "Converted 2 of 2.")
        self.assertEqual(self.scenes(), ["linked.ply", "trip/a.ply"])

    def test_output_inside_of_it_is_not_read(self):
        self.add_photographs("a.jpg", "scenes/picture of a scene.jpg", "trip/scenes/b.jpg")
        self.output = self.input / "scenes"
        self.check(self.run_tree(), 0, "Converted 2 of 2.")
        self.assertEqual(self.scenes(), ["a.ply", "picture of a scene.jpg", "trip/scenes/b.ply"])

    def test_folder_that_cannot_be_read_is_named_and_the_rest_goes_on(self):
        self.add_photographs("a.jpg", "secret/b.jpg")
        (self.input / "loop.jpg").symlink_to("loop.jpg")
        secret = self.input / "secret"
        secret.chmod(0)
        self.addCleanup(secret.chmod, 0o755)
        report = self.folder / "report"
        result = self.run_tree("--report", report, **self.as_plain_user())
        self.check(result, 1, "Converted 1 of 1.")
        said = os.fsdecode(result.stderr)
        self.assertIn(f"Error: {secret}: Permission denied\n", said)
        self.assertIn(f"Error: {self.input}/loop.jpg: Too many levels of symbolic links\n", said)
        self.assertIn(f"\n{secret}\t\t\t\tPermission denied\n", report.read_text())
        self.assertEqual(self.scenes(), ["a.ply"])

    def as_plain_user(self):
        """Root may read everything."""
        if os.geteuid() != 0:
            return {}
        nobody = 65534
        self.folder.chmod(0o777)
        environment = {**os.environ, "HOME": str(self.folder)}
        return {"user": nobody, "group": nobody, "extra_groups": [], "env": environment}

    def test_parts_make_all_of_it_together(self):
        self.add_photographs("a.jpg", "b.png", "b.jpg", "trip/c.jpg", "trip/d.jpg")
        for part, count in (("1/2", 3), ("2/2", 2)):
            self.check(self.run_tree("--part", part), 0, f"Converted {count} of {count}.")
        self.assertEqual(self.scenes(), ["a.ply", "b.jpg.ply", "b.png.ply", "trip/c.ply", "trip/d.ply"])


class List(ManyFilesTest):
    def test_photographs_and_scenes_of_all_folders(self):
        self.add_photographs("a.jpg", "trip/b.jpg")
        self.check(self.run_list(self.input / "a.jpg", self.input / "trip/b.jpg"), 0, "Converted 2 of 2.")
        scene = self.output / "a.ply"
        result = self.run_list("--format", "compressed.ply", scene, self.input / "trip/b.jpg")
        self.check(result, 0, "Converted 2 of 2.")
        self.assertEqual(self.scenes(), ["a.compressed.ply", "a.ply", "b.compressed.ply", "b.ply"])
        again = self.run_list("--format", "spz", self.output / "a.compressed.ply", "-")
        self.assertEqual(again.returncode, 2)

    def test_scenes_need_no_network(self):
        self.add_photographs("a.jpg")
        self.run_list(self.input / "a.jpg")
        words = [self.program, "--output-dir", self.folder / "other", "--format", "sog", self.output / "a.ply"]
        environment = {**os.environ, "XDG_CONFIG_HOME": str(self.folder)}
        result = subprocess.run(words, env=environment, capture_output=True, timeout=120, check=False)
        self.check(result, 0, "Converted 1 of 1.")

    def test_names_are_the_same_in_every_list(self):
        self.add_photographs("a.jpg", "a.png")
        for name in ("a.png", "a.jpg"):
            self.check(self.run_list("--on-conflict", "skip", self.input / name), 0, "Converted 1 of 1.")
        self.assertEqual(self.scenes(), ["a.jpg.ply", "a.png.ply"])

    def test_scenes_that_would_meet_are_refused(self):
        self.add_photographs("a.jpg", "trip/a.jpg")
        words = [self.input / "a.jpg", self.input / "trip/a.jpg"]
        self.check(self.run_list(*words), 2,
                   f"{words[1]} and a file before it would both become {self.output}/a.ply.")
        self.assertFalse(self.output.exists())
        self.check(self.run_list("--on-conflict", "rename", *words), 0, "Converted 2 of 2.")
        self.assertEqual(self.scenes(), ["a(1).ply", "a.ply"])

    def test_scene_in_its_own_place_is_kept(self):
        self.add_photographs("a.jpg")
        self.run_list(self.input / "a.jpg")
        scene = self.output / "a.ply"
        before = scene.read_bytes()
        self.check(self.run_list("--on-conflict", "overwrite", scene), 2,
                   f"{scene} would overwrite a photograph, a scene or the MODEL.")
        self.check(self.run_list("--on-conflict", "skip", scene), 0, "All 1 are there already.")
        self.assertEqual(scene.read_bytes(), before)

    def test_file_that_fails_is_named(self):
        self.add_photographs("a.jpg")
        missing = self.input / "none.jpg"
        result = self.run_list(missing, self.input, self.input / "a.jpg")
        self.check(result, 1, "Converted 1 of 3.")
        for file in (missing, self.input):
            self.assertIn(f"\nError: {file}: ", os.fsdecode(result.stderr))


class Options(ManyFilesTest):
    def test_that_do_not_go_together_are_refused(self):
        self.add_photographs("a.jpg")
        photo = self.input / "a.jpg"
        for words in (["--recursive", photo, "x.ply"], ["--part", "1/2", photo, "x.ply"], ["--then", "true", photo, "x.ply"],
                      ["--report", "x", photo, "x.ply"], ["--format", "spz", photo, "x.ply"],
                      ["--batch", "--output-dir", "x", self.input, "y"], ["--batch", self.input], ["--batch", "", "y"],
                      *(["--batch", "--part", part, self.input, "x"] for part in ("0/2", "3/2", "2", "1/2x", "/", "-1/2"))):
            with self.subTest(words=words):
                before = self.everything()
                self.assertEqual(self.run_program(*words, cwd=self.folder).returncode, 2)
                self.assertEqual(self.everything(), before)

    def test_report_tells_what_became_of_each_file(self):
        self.add_photographs("a\tb.jpg", "c.jpg")
        self.add("broken.jpg", b"")
        report = self.folder / "report.tsv"
        for _ in range(2):
            self.run_tree("--on-conflict", "skip", "--keep-ratio", "0.5", "--report", report)
        lines = [line.split("\t") for line in report.read_text().splitlines()]
        self.assertEqual("\t".join(lines[0]), HEADINGS)
        self.assertEqual([(Path(line[0]).name, Path(line[1]).name, line[3], line[4]) for line in lines[1:]],
                         [("a\\tb.jpg", "a\\tb.ply", "2", ""), ("broken.jpg", "broken.ply", "", "It is empty."),
                          ("c.jpg", "c.ply", "2", ""), ("broken.jpg", "broken.ply", "", "It is empty.")])
        self.assertTrue(all(0 <= float(line[2]) < 100 for line in lines[1:]))

    def test_report_that_cannot_be_written_ends_it_before_it_begins(self):
        self.add_photographs("a.jpg")
        result = self.run_tree("--report", self.folder / "none" / "report")
        self.check(result, 1, f"Error: Cannot write {self.folder}/none/report: No such file or directory")
        self.assertEqual(self.scenes(), [])

    def test_command_follows_with_the_counts(self):
        self.add_photographs("a.jpg", "b.jpg")
        self.add("broken.jpg", b"")
        self.run_list(self.input / "b.jpg")
        command = 'echo $VISTREL_CONVERTED $VISTREL_FAILED $VISTREL_SKIPPED "$VISTREL_OUTPUT_DIR" >&2'
        result = self.run_tree("--on-conflict", "skip", "--then", command)
        self.check(result, 1, f"1 1 1 {self.output}")

    def test_command_that_fails_fails_all(self):
        for command, how in (("exit 7", "has exit status 7"), ("kill -TERM $$", "was ended by a signal: Terminated")):
            self.check(self.run_tree("--then", command), 1, f"Error: the command of --then {how}")

    def test_signal_ends_the_command(self):
        command = "trap 'exit 5' TERM; kill -TERM $PPID; while :; do sleep 0.01; done"
        self.check(self.run_tree("--then", command), 1, "Error: the command of --then has exit status 5")


class Killed(ManyFilesTest):
    KILLS = 50
    LINES = 4  # that tell of a photograph, each as a stage begins

    def facts(self):
        return {path: (path.stat().st_ino, path.stat().st_mtime_ns) for path in self.outputs()}

    def kill_at(self, words, line):
        """Whether the program was killed and had not ended by itself."""
        process = subprocess.Popen(words, stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        for _ in range(line):
            process.stderr.readline()
        process.kill()
        process.stderr.close()
        status = process.wait(timeout=60)
        self.assertIn(status, (0, -signal.SIGKILL))
        return status != 0

    def test_at_any_moment_and_begun_again_it_makes_each_scene_once(self):
        names = []
        moments = random.Random(16)
        report = self.folder / "report"
        words = [*self.words, "--batch", "--recursive", "--on-conflict", "skip", "--report", report, self.input,
                 self.output]
        done, kills = {}, 0
        while kills < self.KILLS:
            if len(done) == len(names):
                names += [f"{folder}{len(names)}.{ending}" for folder in ("", "trip/") for ending in ("jpg", "png")]
                self.add_photographs(*names[-4:])
            kills += self.kill_at(words, moments.randint(0, self.LINES))
            now = self.facts()
            self.assertEqual({path: now.get(path) for path in done}, done)
            done = now
        last = subprocess.run(words, capture_output=True, timeout=60, check=False)
        self.assertEqual(last.returncode, 0, last.stderr)
        now = self.facts()
        self.assertEqual({path: now.get(path) for path in done}, done)
        self.assertEqual(self.scenes(), sorted(f"{name}.ply" for name in names))
        self.assertEqual(len({path.read_bytes() for path in now}), 1)  # the photographs are the same
        headings, *lines = [line.split("\t") for line in report.read_text().splitlines()]
        self.assertEqual("\t".join(headings), HEADINGS)
        self.assertEqual({len(line) for line in lines}, {len(headings)})
        inputs = [line[0] for line in lines]
        self.assertEqual(len(inputs), len(set(inputs)))


class Memory(ManyFilesTest):
    def peak(self, photographs):
        """In bytes."""
        command = "grep VmHWM /proc/$PPID/status >&2"
        result = self.run_list("--on-conflict", "overwrite", "--then", command, *photographs)
        self.assertEqual(result.returncode, 0, result.stderr)
        return int(result.stderr.split()[-2]) * 1024

    def test_does_not_grow_with_the_number_of_photographs(self):
        names = [f"{number}.jpg" for number in range(14)]
        self.add_photographs(*names)
        photographs = [self.input / name for name in names]
        self.assertLess(self.peak(photographs) - self.peak(photographs[:4]), 8 << 20)


if __name__ == "__main__":
    main()
