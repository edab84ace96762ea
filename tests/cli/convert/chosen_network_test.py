#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-convert without --model: the network that is chosen in the window.

Usage: chosen_network_test.py PROGRAM MODELS PHOTO (then unittest's own arguments)
"""

import json
import os
import shutil
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

PROGRAM, MODELS, PHOTO = "", Path(), Path()


class ChosenNetwork(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.results = self.folder / "results"
        self.output = self.results / "out.ply"

    def choose(self, network):
        settings = self.folder / "config" / "Vistrel" / "settings.json"
        settings.parent.mkdir(parents=True, exist_ok=True)
        settings.write_text(json.dumps({"modelPath": str(network), "executionProvider": 1}))

    def run_it(self, *arguments):
        environment = {**os.environ, "HOME": str(self.folder), "XDG_CONFIG_HOME": str(self.folder / "config")}
        return subprocess.run([PROGRAM, *arguments], env=environment, capture_output=True, text=True,
                              timeout=120, check=False)

    def test_a_photograph_is_converted_with_it(self):
        self.choose(MODELS / "echo.onnx")
        result = self.run_it(PHOTO, self.output)
        self.assertEqual(result.returncode, 0, result.stderr)
        chosen = self.output.read_bytes()
        self.run_it("--model", MODELS / "echo.onnx", PHOTO, self.output)
        self.assertEqual(self.output.read_bytes(), chosen)

    def test_a_folder_is_converted_with_it(self):
        self.choose(MODELS / "echo.onnx")
        photographs = self.folder / "photographs"
        photographs.mkdir()
        shutil.copy(PHOTO, photographs / "a.jpg")
        self.assertEqual(self.run_it("--batch", photographs, self.results).returncode, 0)
        self.assertEqual(os.listdir(self.results), ["a.ply"])

    def test_the_one_that_is_named_goes_first(self):
        self.choose(self.folder / "none.onnx")
        result = self.run_it("--model", MODELS / "echo.onnx", PHOTO, self.output)
        self.assertEqual(result.returncode, 0, result.stderr)

    def test_without_any_it_tells_how_to_choose(self):
        result = self.run_it(PHOTO, self.output)
        self.assertEqual(result.returncode, 2)
        self.assertEqual(result.stderr, "No network is chosen: name one with --model, or choose one in the "
                                        "window of Vistrel.\n")
        self.assertFalse(self.results.exists())

    def test_where_its_file_is_missing_it_tells_how_to_choose(self):
        self.choose(self.folder / "none.onnx")
        shutil.copy(PHOTO, self.folder / "a.jpg")
        for arguments in ((PHOTO, self.output), ("--batch", self.folder, self.results)):
            result = self.run_it(*arguments)
            self.assertEqual(result.returncode, 1)
            self.assertEqual(result.stderr, f"Error: {self.folder}/none.onnx, the network that is chosen in the "
                                            "window, is missing: name another with --model, or choose one there.\n")
            self.assertFalse(self.results.exists())

    def test_it_is_not_written_over(self):
        network = self.folder / "network.onnx"
        shutil.copy(MODELS / "echo.onnx", network)
        self.choose(network)
        self.assertEqual(self.run_it(PHOTO, network).returncode, 2)
        self.assertEqual(network.read_bytes(), (MODELS / "echo.onnx").read_bytes())


if __name__ == "__main__":
    PROGRAM, MODELS, PHOTO = sys.argv[1], Path(sys.argv[2]), Path(sys.argv[3])
    unittest.main(argv=[sys.argv[0], *sys.argv[4:]], verbosity=2)
