#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Tests of vistrel-convert --report-problem.

Usage: problem_report_test.py VISTREL_CONVERT MODELS PICTURE.
"""

import json
import os
import platform
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CONVERT = sys.argv[1]


class ProblemReportTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.home = Path(temporary.name) / "Zebedee Quux"
        self.home.mkdir()

    def run_convert(self, *arguments, **more):
        environment = {"HOME": str(self.home), "USER": "zquux", "LANG": "C.UTF-8", **more}
        return subprocess.run([CONVERT, *map(str, arguments)], env=environment, timeout=60,
                              capture_output=True, text=True, check=False)

    def report(self, **more):
        result = self.run_convert("--report-problem", **more)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        return result.stdout

    def choose(self, model):
        settings = self.home / ".config/Vistrel/settings.json"
        settings.parent.mkdir(parents=True)
        settings.write_text(json.dumps({"modelPath": str(model)}))

    def test_machine_and_libraries_are_told(self):
        report = self.report()
        for text in (platform.release(), "\nProcessor: ", " threads, ", "\nMemory: ", "\nGraphics: ",
                     "\nONNX Runtime: 1.", ", the one of the program\n", "\nDecoder of JPEG XL: opens\n",
                     "\nlibcuda.so.1: ", "\nNetwork: none chosen\n", "\nLanguage: C.UTF-8\n",
                     "\nLast failure: none\n"):
            self.assertIn(text, report)

    def test_no_name_of_the_user_his_files_or_his_machine_is_in_it(self):
        model = self.home / "Private network.onnx"
        model.write_bytes(b"no network")
        self.choose(model)
        picture = self.home / "Aunt Petunia in Rome.jpg"
        picture.write_bytes(b"no picture")
        self.assertEqual(self.run_convert(picture, self.home / "Secret scene.ply").returncode, 1)
        report = self.report()
        self.assertIn("\nNetwork: of another name, 10 bytes\n", report)
        self.assertIn(" vistrel-convert: <file>: It is no picture of a kind", report)
        for name in ("Zebedee", "Quux", "zquux", "Private", "Petunia", "Rome", "Secret", "/tmp",
                     str(Path(CONVERT).parent), platform.node() + "\n"):
            self.assertNotIn(name, report)

    def test_network_of_the_usual_name_is_told_by_it(self):
        self.choose(self.home / "sharp_fp16.onnx")
        self.assertIn("\nNetwork: sharp_fp16.onnx, missing\n", self.report())

    def test_runtime_of_the_users_own_that_is_broken_is_told_without_its_place(self):
        runtime = self.home / ".local/share/Vistrel/Runtime/libonnxruntime.so.1"
        runtime.parent.mkdir(parents=True)
        runtime.write_text("no library")
        report = self.report()
        line = next(line for line in report.splitlines() if line.startswith("ONNX Runtime: "))
        self.assertIn("cannot be opened", line)
        self.assertNotIn("Zebedee", report)

    def test_without_a_home_it_is_told_all_the_same(self):
        self.assertIn("\nNetwork: none chosen\n", self.report(HOME="/nonexistent"))

    def test_beside_other_arguments_it_is_refused(self):
        result = self.run_convert("--report-problem", "in.jpg", "out.ply")
        self.assertEqual(result.returncode, 2)
        self.assertIn("--report-problem: stands alone", result.stderr + result.stdout)


if __name__ == "__main__":
    os.environ.clear()
    unittest.main(argv=sys.argv[:1])
