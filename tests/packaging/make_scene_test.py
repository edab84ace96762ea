#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""vistrel-make-scene: what it runs, writes, shows and tells. Stand-ins play the desktop, and mostly the programs.

Usage: make_scene_test.py MODELS PHOTO (then unittest's own arguments)
"""

import json
import os
import shutil
import signal
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tests" / "end_to_end"))
from display import wait_for  # noqa: E402

BINARIES = Path(os.environ["VISTREL_BIN"])
MODELS, PHOTO = Path(), Path()

# Appends its arguments, each with a zero behind it, as one line to a file.
LOGGED = """#!/bin/sh
{ printf '%s\\0' "$@"; printf '\\0'; } >>"$LOGS/${0##*/}"
"""
NOTIFY = LOGGED + "echo 7\n"
CONVERT = LOGGED + """
echo log
echo 'Preprocessing image…' >&2
case $2 in
    *bad*) echo "Error: ${2##*/}: It is cut short." >&2; exit 1 ;;
esac
[ -e "$3" ] && [ ! -s "$3" ] && printf 'scene of %s' "$2" >"$3"
"""
RENDER = LOGGED + """
case $4 in
    *undrawn*) echo 'Error: No memory.' >&2; exit 1 ;;
esac
echo picture >"$5"
"""


class MakeScene(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel make scene ")
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        self.program, self.commands, self.logs, self.home, self.photos = (
            self.folder / name for name in ("program", "commands", "logs", "home", "pho tos"))
        for folder in (self.program, self.commands, self.logs, self.home, self.photos):
            folder.mkdir()
        for name in ("vistrel-make-scene", "common.sh"):
            shutil.copy(SOURCE / "packaging" / name, self.program)
        self.put(self.program / "vistrel-convert", CONVERT)
        self.put(self.program / "vistrel-render", RENDER)
        self.put(self.commands / "xdg-open", LOGGED)
        self.put(self.commands / "notify-send", NOTIFY)
        for tool in ("bash", "dirname", "env", "iconv", "realpath", "rm", "sed", "tr"):
            (self.commands / tool).symlink_to(shutil.which(tool))
        self.environment = {"PATH": str(self.commands), "HOME": str(self.home), "LOGS": str(self.logs),
                            "LANG": "C.UTF-8"}

    @staticmethod
    def put(path, script):
        path.write_text(script)
        path.chmod(0o755)

    def photo(self, name="photo.jpg"):
        path = os.path.join(os.fsencode(self.photos), os.fsencode(name))
        with open(path, "wb") as file:
            file.write(b"photograph")
        return os.fsdecode(path)

    def run_it(self, *photos, status=0):
        done = subprocess.run([self.program / "vistrel-make-scene", *photos], env=self.environment,
                              cwd=self.photos, capture_output=True, text=True, timeout=60, check=False)
        self.assertEqual(done.returncode, status, f"{done.stderr}{self.told()[-1:]}")
        return done

    def calls(self, command):
        """The arguments of each call of a stand-in."""
        log = self.logs / command
        if not log.exists():
            return []
        calls = log.read_bytes().split(b"\0\0")[:-1]
        return [[os.fsdecode(word) for word in call.split(b"\0")] for call in calls]

    def opened(self, count):
        """The files that were shown, which nobody waits for."""
        wait_for(lambda: len(self.calls("xdg-open")) == count, "the viewer", 20)
        return sorted(call[0] for call in self.calls("xdg-open"))

    def told(self):
        """Title and text of each notification."""
        return [call[-2:] for call in self.calls("notify-send")]

    def names(self, folder=None):
        return sorted(os.listdir(folder or self.photos))


class Scenes(MakeScene):
    def test_a_scene_and_its_picture_come_beside_the_photograph_and_the_picture_is_shown(self):
        photo = self.photo("a b.c.jpg")
        done = self.run_it(photo)
        self.assertEqual(self.names(), ["a b.c-scene.png", "a b.c.jpg", "a b.c.ply"])
        self.assertEqual(self.calls("vistrel-convert"), [["--", photo, f"{self.photos}/a b.c.ply"]])
        self.assertEqual(self.opened(1), [f"{self.photos}/a b.c-scene.png"])
        self.assertEqual((done.stdout, done.stderr), ("", ""))

    def test_nothing_is_overwritten(self):
        photo = self.photo()
        (self.photos / "photo.ply").write_text("mine")
        (self.photos / "photo(1)-scene.png").symlink_to("nowhere")
        self.run_it(photo)
        self.assertEqual(self.names(), ["photo(1)-scene.png", "photo(2)-scene.png", "photo(2).ply", "photo.jpg",
                                        "photo.ply"])
        self.assertEqual((self.photos / "photo.ply").read_text(), "mine")

    def test_one_scene_per_photograph_of_the_same_name(self):
        self.run_it(self.photo("a.jpg"), self.photo("a.png"))
        self.assertEqual((self.photos / "a.ply").read_text(), f"scene of {self.photos}/a.jpg")
        self.assertEqual((self.photos / "a(1).ply").read_text(), f"scene of {self.photos}/a.png")
        self.assertEqual(self.opened(2), [f"{self.photos}/a(1)-scene.png", f"{self.photos}/a-scene.png"])

    def test_the_picture_is_not_opened_by_vistrel_itself(self):
        for entry in ("org.vistrel.vistrel.desktop", "vistrel-make-scene.desktop"):
            self.put(self.commands / "xdg-mime", f"#!/bin/sh\necho {entry}\n")
            self.run_it(self.photo())
        self.assertEqual(self.calls("xdg-open"), [])

    def test_names_of_every_kind_work(self):
        names = ["-o.jpg", "-", "q\"'$`\\.jpg", "two\nlines.jpg", "\udce9.jpg", ".hidden", "100%.jpg", "(.jpg"]
        for name in names:
            self.photo(name)
        self.run_it(*names)
        stems = ["-o", "-", "q\"'$`\\", "two\nlines", "\udce9", ".hidden", "100%", "("]
        self.assertEqual(self.names(), sorted(set(names + [f"{stem}{end}" for stem in stems
                                                           for end in (".ply", "-scene.png")])))
        self.assertEqual(self.opened(len(names)), sorted(f"./{stem}-scene.png" for stem in stems))

    def test_where_the_folder_cannot_be_written_to_they_go_to_the_pictures_and_that_is_told(self):
        pictures = self.folder / "my pictures"
        pictures.mkdir()
        self.put(self.commands / "xdg-user-dir", f"#!/bin/sh\necho '{pictures}'\n")
        # A folder that even root cannot write to.
        self.run_it("/proc/photo.jpg")
        self.assertEqual(self.names(pictures), ["photo-scene.png", "photo.ply"])
        self.assertEqual(self.told()[-1][1], "The photograph's folder cannot be written to, so it is here: "
                                             f"{pictures}/photo.ply")

    def test_without_a_folder_for_pictures_they_go_home(self):
        for script in (None, "#!/bin/sh\necho /nowhere\n"):
            if script:
                self.put(self.commands / "xdg-user-dir", script)
            self.run_it("/proc/photo.jpg")
        self.assertEqual(self.names(self.home), ["photo(1)-scene.png", "photo(1).ply", "photo-scene.png", "photo.ply"])

    def test_where_nothing_can_be_written_that_is_told(self):
        self.environment["HOME"] = "/proc"
        self.run_it("/proc/photo.jpg", status=1)
        self.assertEqual(self.told()[-1], ["No 3D scene could be made", "photo.jpg: Neither the photograph's folder "
                                           "nor the home folder can be written to."])

    def test_stopped_it_leaves_nothing(self):
        os.mkfifo(self.folder / "started")
        self.put(self.program / "vistrel-convert",
                 f"#!/bin/sh\necho >'{self.folder}/started'\nexec sleep 60\n")
        (self.commands / "sleep").symlink_to(shutil.which("sleep"))
        process = subprocess.Popen([self.program / "vistrel-make-scene", self.photo()], env=self.environment,
                                   start_new_session=True)
        (self.folder / "started").read_text()
        self.assertEqual(self.names(), ["photo-scene.png", "photo.jpg", "photo.ply"])
        os.killpg(process.pid, signal.SIGTERM)
        process.wait(20)
        self.assertEqual(self.names(), ["photo.jpg"])

    def test_without_a_photograph_it_tells_how_it_is_used(self):
        self.assertIn("Usage: vistrel-make-scene PHOTO...\n", self.run_it(status=2).stdout)
        self.assertIn("Usage: vistrel-make-scene PHOTO...\n", self.run_it("--help").stdout)

    def test_the_real_programs_make_a_scene_of_the_chosen_network(self):
        for name in ("vistrel-convert", "vistrel-render"):
            (self.program / name).unlink()
            (self.program / name).symlink_to(BINARIES / name)
        settings = self.home / ".config/Vistrel/settings.json"
        settings.parent.mkdir(parents=True)
        settings.write_text(json.dumps({"modelPath": str(MODELS / "echo.onnx")}))
        shutil.copy(PHOTO, self.photos / "-photo.jpg")
        self.run_it("-photo.jpg")
        self.assertTrue((self.photos / "-photo.ply").read_bytes().startswith(b"ply\n"))
        self.assertTrue((self.photos / "-photo-scene.png").read_bytes().startswith(b"\x89PNG"))
        settings.unlink()
        self.run_it("-photo.jpg", status=1)
        self.assertRegex(self.told()[-1][1], "^-photo.jpg: No network is chosen: name one with --model, or ")


class Notifications(MakeScene):
    def test_beginning_and_end_are_one_notification(self):
        self.run_it(self.photo())
        self.assertEqual(self.told(), [["Making a 3D scene", "photo.jpg"],
                                       ["The 3D scene is ready", f"{self.photos}/photo.ply"]])
        ids = [word for call in self.calls("notify-send") for word in call if word.startswith("--replace-id")]
        self.assertEqual(ids, ["--replace-id=0", "--replace-id=7"])

    def test_of_several_photographs_each_has_its_number_and_a_failure_does_not_stop_the_rest(self):
        self.run_it(self.photo("bad.jpg"), self.photo("good.jpg"), status=1)
        self.assertEqual(self.told(), [["Making a 3D scene (1/2)", "bad.jpg"],
                                       ["No 3D scene could be made (1/2)", "bad.jpg: It is cut short."],
                                       ["Making a 3D scene (2/2)", "good.jpg"],
                                       ["The 3D scene is ready (2/2)", f"{self.photos}/good.ply"]])
        self.assertEqual(self.names(), ["bad.jpg", "good-scene.png", "good.jpg", "good.ply"])

    def test_where_only_the_picture_fails_the_scene_stays(self):
        self.run_it(self.photo("undrawn.jpg"), status=1)
        self.assertEqual(self.told()[-1], ["No picture of the 3D scene could be made",
                                           f"{self.photos}/undrawn.ply: No memory."])
        self.assertEqual(self.names(), ["undrawn.jpg", "undrawn.ply"])
        self.assertEqual(self.calls("xdg-open"), [])

    def test_japanese_users_read_japanese(self):
        for variables in ({"LANG": "ja_JP.UTF-8"}, {"LANG": "C", "LC_MESSAGES": "ja"}, {"LC_ALL": "ja_JP.utf8"}):
            self.environment |= {"LC_ALL": "", "LC_MESSAGES": "", "LANG": ""} | variables
            self.run_it(self.photo())
            self.assertEqual([title for title, _ in self.told()[-2:]],
                             ["3Dシーンを作成しています", "3Dシーンができました"])

    def test_names_are_no_markup_and_no_escapes(self):
        self.run_it(self.photo("<b>&amp;\\n\udce9\n.jpg"))
        self.assertEqual(self.told()[0][1], "&lt;b>&amp;amp;\\\\n .jpg")

    def test_without_notify_send_gdbus_notifies(self):
        (self.commands / "notify-send").unlink()
        self.put(self.commands / "gdbus", LOGGED + "echo '(uint32 9,)'\n")
        done = self.run_it(self.photo('"<\\.jpg'))
        first, second = self.calls("gdbus")
        self.assertEqual(first[-8:], ["Vistrel", "uint32 0", "vistrel", '"Making a 3D scene"', '"\\"&lt;\\\\.jpg"',
                                      "@as []", "@a{sv} {}", "int32 -1"])
        self.assertEqual(second[-7], "uint32 9")
        self.assertEqual(done.stderr, "")

    def test_without_notifications_standard_error_tells(self):
        self.put(self.commands / "notify-send", "#!/bin/sh\nexit 1\n")
        failing = self.run_it(self.photo(), self.photo("bad.jpg"), status=1).stderr
        (self.commands / "notify-send").unlink()
        missing = self.run_it(self.photo("bad.jpg"), status=1).stderr
        self.assertEqual(failing.splitlines(), ["Making a 3D scene (1/2): photo.jpg",
                                                f"The 3D scene is ready (1/2): {self.photos}/photo.ply",
                                                "Making a 3D scene (2/2): bad.jpg",
                                                "No 3D scene could be made (2/2): bad.jpg: It is cut short."])
        self.assertEqual(missing.splitlines(), ["Making a 3D scene: bad.jpg",
                                                "No 3D scene could be made: bad.jpg: It is cut short."])


if __name__ == "__main__":
    MODELS, PHOTO = Path(sys.argv[1]), Path(sys.argv[2])
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]], verbosity=2)
