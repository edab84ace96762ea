#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""scripts/run in a tree whose programs only write down how they were called."""

import json
import os
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
NOTHING = "#!/bin/sh\n"
# Its words, a line each; the last one is what it writes.
PROGRAM = '#!/bin/sh\nprintf "%s\\n" "$(basename "$0")" "$@" >>"$LOG"\nfor last; do :; done\n[ $# -eq 0 ] || : >"$last"\n'
RELIEF = "resources/relief/vistrel_relief_demo.onnx"


class Run(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel run ")
        self.addCleanup(temporary.cleanup)
        self.root = Path(temporary.name) / "tree"
        self.home = Path(temporary.name) / "home"
        self.log = Path(temporary.name) / "log"
        self.photo = self.home / "my photo.jpg"
        self.home.mkdir()
        self.photo.touch()
        for name in ("scripts/run", "scripts/lib.sh"):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(SOURCE / name, self.root / name)
        for name, text in (("scripts/setup", NOTHING), ("scripts/build", NOTHING),
                           ("build/release/bin/vistrel", PROGRAM),
                           ("build/release/bin/vistrel-convert", PROGRAM),
                           ("build/release/bin/vistrel-render", PROGRAM),
                           (RELIEF, ""), ("resources/sample/autumn_lake.jpg", "")):
            (self.root / name).parent.mkdir(parents=True, exist_ok=True)
            (self.root / name).write_text(text)
            (self.root / name).chmod(0o755)
        self.environment = {k: v for k, v in os.environ.items()
                            if k not in ("DISPLAY", "WAYLAND_DISPLAY", "XDG_CONFIG_HOME")}
        self.environment |= {"HOME": str(self.home), "LOG": str(self.log)}

    def run_script(self, *words):
        done = subprocess.run([self.root / "scripts/run", *words], env=self.environment, capture_output=True,
                              timeout=60)
        self.assertEqual(done.returncode, 0, done.stderr)
        return os.fsdecode(done.stdout)

    def calls(self):
        return os.fsdecode(self.log.read_bytes()).splitlines()

    def network(self):
        """What the converter was given."""
        calls = self.calls()
        self.assertEqual(calls[:2], ["vistrel-convert", "--model"])
        return calls[2]

    def choose(self, text, config=".config"):
        settings = self.home / config / "Vistrel/settings.json"
        settings.parent.mkdir(parents=True)
        settings.write_text(text)

    def chosen(self, name="net.onnx"):
        path = os.fsencode(self.home) + b"/" + name if isinstance(name, bytes) else self.home / name
        with open(path, "w", encoding="ascii"):
            return os.fsdecode(path)

    # The network

    def test_without_settings_the_relief_demo_is_used_and_named(self):
        told = self.run_script(self.photo)
        self.assertEqual(self.network(), str(self.root / RELIEF))
        self.assertIn("with the relief demo", told)

    def test_the_network_of_the_settings_is_used_and_named(self):
        network = self.chosen()
        self.choose("\ufeff" + json.dumps({"modelPath": network, "focus": "0"}))
        told = self.run_script(self.photo)
        self.assertEqual(self.network(), network)
        self.assertIn(f"with the network of your settings, {network}\n", told)

    def test_a_name_that_is_no_utf8_is_found(self):
        network = self.chosen(b"\xff \xe5\x86\x99.onnx")
        self.choose(json.dumps({"modelPath": network}))  # writes the byte as the program does
        self.run_script(self.photo)
        self.assertEqual(self.network(), network)

    def test_settings_elsewhere_are_found_and_a_relative_place_does_not_count(self):
        network = self.chosen()
        self.choose(json.dumps({"modelPath": network}), "elsewhere")
        self.environment["XDG_CONFIG_HOME"] = str(self.home / "elsewhere")
        self.run_script(self.photo)
        self.assertEqual(self.network(), network)
        self.log.unlink()
        self.environment["XDG_CONFIG_HOME"] = "elsewhere"
        self.run_script(self.photo)
        self.assertEqual(self.network(), str(self.root / RELIEF))

    def test_a_network_that_is_gone_is_told_and_the_relief_demo_used(self):
        self.choose(json.dumps({"modelPath": "/gone.onnx"}))
        told = self.run_script(self.photo)
        self.assertEqual(self.network(), str(self.root / RELIEF))
        self.assertIn("The network of your settings is not there: /gone.onnx", told)
        self.assertIn("with the relief demo", told)

    def test_settings_without_a_network_leave_the_relief_demo(self):
        for i, text in enumerate(("{", "[]", "null", '{"modelPath": 1}', '{"modelPath": ""}', "{}")):
            with self.subTest(text):
                self.environment["XDG_CONFIG_HOME"] = str(self.home / str(i))
                self.choose(text, str(i))
                self.run_script(self.photo)
                self.assertEqual(self.network(), str(self.root / RELIEF))
                self.log.unlink()

    # What is done

    def test_a_photo_leaves_a_scene_and_two_pictures_beside_it_with_and_without_a_display(self):
        for display, stem in ((None, "my photo"), (":7", "my photo-2")):
            with self.subTest(display):
                if display:
                    self.environment["DISPLAY"] = display
                self.run_script(self.photo)
                self.assertTrue((self.home / f"{stem}.ply").exists())
                self.assertTrue((self.home / f"{stem}-scene.png").exists())
                self.assertTrue((self.home / f"{stem}_sbs.jpg").exists())

    def test_no_file_of_the_users_is_overwritten(self):
        for i, ending in enumerate((".ply", "-scene.png", "_sbs.jpg")):
            with self.subTest(ending):
                photo = self.home / f"photo {i}.jpg"
                photo.touch()
                taken = self.home / f"photo {i}{ending}"
                taken.write_text("the user's")
                self.run_script(photo)
                self.assertEqual(taken.read_text(), "the user's")
                self.assertTrue((self.home / f"photo {i}-2.ply").exists())

    def test_without_a_display_the_sample_is_converted_by_the_chosen_network(self):
        network = self.chosen()
        self.choose(json.dumps({"modelPath": network}))
        self.run_script()
        self.assertEqual(self.network(), network)
        self.assertIn(str(self.root / "build/release/sample/autumn_lake.ply"), self.calls())

    def test_with_a_display_the_window_opens_and_has_the_relief_demo_at_first(self):
        self.environment["DISPLAY"] = ":7"
        self.run_script()
        self.assertEqual(self.calls(), ["vistrel"])
        settings = json.loads((self.home / ".config/Vistrel/settings.json").read_text())
        self.assertEqual(settings, {"modelPath": str(self.root / RELIEF)})

    def test_a_photo_that_is_not_there_is_told_before_anything_is_installed(self):
        (self.root / "scripts/setup").write_text("#!/bin/sh\necho setup >>$LOG\n")
        done = subprocess.run([self.root / "scripts/run", "none.jpg"], env=self.environment, text=True,
                              capture_output=True, timeout=60)
        self.assertEqual((done.returncode, done.stderr), (1, "Error: there is no file none.jpg\n"))
        self.assertFalse(self.log.exists())


if __name__ == "__main__":
    unittest.main(verbosity=2)
