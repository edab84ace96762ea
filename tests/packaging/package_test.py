#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The archive that users get: unpacked, installed, run, updated and taken away again."""

import hashlib
import json
import os
import platform
import re
import signal
import subprocess
import sys
import tarfile
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tests" / "end_to_end"))
from display import Display, wait_for  # noqa: E402
from session_bus import SessionBus  # noqa: E402

BINARIES = Path(os.environ["VISTREL_BIN"])
NAME = "org.vistrel.vistrel"
WINDOW = f"{NAME}.desktop"
RELIEF = "resources/relief/vistrel_relief_demo.onnx"
LIBRARIES_AND_PROGRAMS = {"vistrel", "vistrel-convert", "vistrel-fetch", "vistrel-render", "vistrel-share",
                          "WebView2Loader.dll", "libonnxruntime.so.1"}
MODULES = {"vistrel_http.so"} | {f"photos/{name}.so" for name in ("heif", "jxl", "raw", "tiff", "webp")}
SHARED = {f"share/icons/hicolor/{size}x{size}/apps/vistrel.png" for size in (16, 32, 48, 128, 256)} | {
    "share/icons/hicolor/scalable/apps/vistrel.svg", f"share/applications/{WINDOW}",
    "share/dbus-1/services/org.vistrel.vistrel.service",
    "share/applications/vistrel-make-scene.desktop",
    "share/metainfo/org.vistrel.vistrel.metainfo.xml", "share/mime/packages/vistrel.xml"} | {
    f"share/{place}" for name in ("vistrel-convert", "vistrel-fetch", "vistrel-render", "vistrel-share")
    for place in (f"bash-completion/completions/{name}", f"zsh/site-functions/_{name}", f"man/man1/{name}.1")} | {
    f"share/man/man1/{name}.1" for name in ("vistrel", "vistrel-make-scene")}
OTHERS = {"LICENSE", "README.md", "THIRD_PARTY_NOTICES", "common.sh", "docs/many_machines.md", "folders.sh",
          "install", "install-dependencies", "manifest", RELIEF, "resources/sample/autumn_lake.jpg",
          "openers.sh", "runtime_packages", "uninstall", "vistrel-make-scene"}


def files_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*") if not path.is_dir()}


def empty_folders_below(folder):
    return {str(path.relative_to(folder)) for path in folder.rglob("*")
            if path.is_dir() and not any(path.iterdir())}


def with_dependencies(packages):
    """The installed ones among them and among all that they depend on."""
    told = subprocess.run(["dpkg-query", "-W", "-f", "${Package}\t${Pre-Depends}, ${Depends}\n"], check=True,
                          capture_output=True, text=True).stdout
    depends = dict(line.split("\t") for line in told.splitlines())
    found, waiting = set(), list(packages)
    while waiting:
        package = waiting.pop()
        if package in depends and package not in found:
            found.add(package)
            waiting += re.findall(r"(?:^|[,|])\s*([a-z0-9][a-z0-9.+-]+)", depends[package])
    return found


def setUpModule():
    temporary = tempfile.TemporaryDirectory(prefix="vistrel packaging ")
    unittest.addModuleCleanup(temporary.cleanup)
    folder = PackageCase.folder = Path(temporary.name)
    subprocess.run([os.environ["VISTREL_CPACK"], "--config", BINARIES.parent / "CPackConfig.cmake",
                    "-B", folder / "archive"], check=True, capture_output=True)
    (PackageCase.archive,) = (folder / "archive").glob("*.tar.gz")
    with tarfile.open(PackageCase.archive) as tar:
        tar.extractall(folder / "un packed")
    (PackageCase.package,) = (folder / "un packed").iterdir()


class PackageCase(unittest.TestCase):
    folder, archive, package = Path(), Path(), Path()

    def setUp(self):
        self.use_home(self._testMethodName)

    def use_home(self, name):
        # A name that a menu entry and JSON have to quote.
        self.home = self.folder / f'ho me "$5" {name}'
        self.home.mkdir(exist_ok=True)
        self.program = self.home / ".local/opt/vistrel"
        self.environment = {k: v for k, v in os.environ.items() if not k.startswith("XDG_")}
        self.environment |= {"HOME": str(self.home), "TMPDIR": str(self.home), "LC_ALL": "C.UTF-8"}

    def run_script(self, script):
        done = subprocess.run([script], env=self.environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done.stdout

    def install(self):
        return self.run_script(self.package / "install")

    def uninstall(self):
        return self.run_script(self.program / "uninstall")

    def settings(self):
        return self.home / ".config/Vistrel/settings.json"


class Contents(PackageCase):
    def test_the_package_holds_what_a_user_needs_and_no_more(self):
        self.assertEqual(files_below(self.package), LIBRARIES_AND_PROGRAMS | MODULES | SHARED | OTHERS)

    def test_programs_are_stripped_and_find_their_libraries_beside_themselves(self):
        for name in LIBRARIES_AND_PROGRAMS:
            with self.subTest(name):
                told = subprocess.run(["readelf", "-W", "-S", "-d", self.package / name], check=True,
                                      capture_output=True, text=True).stdout
                self.assertNotIn(".symtab", told)
                self.assertIn("runpath: [$ORIGIN]", told)

    def test_modules_are_stripped_and_need_nothing_of_the_package(self):
        for name in MODULES:
            with self.subTest(name):
                told = subprocess.run(["readelf", "-W", "-S", "-d", self.package / name], check=True,
                                      capture_output=True, text=True).stdout
                self.assertNotIn(".symtab", told)
                self.assertNotIn("libonnxruntime", told)

    def test_the_archive_tells_its_release_and_processor(self):
        release = platform.freedesktop_os_release()
        processor = subprocess.run(["dpkg", "--print-architecture"], check=True, capture_output=True,
                                   text=True).stdout.strip()
        self.assertRegex(self.archive.name, r"^vistrel-\d+\.\d+\.\d+-"
                         f"{release['ID']}{release['VERSION_ID']}-{processor}.tar.gz$")
        self.assertEqual((self.package / "runtime_packages").read_text().split("\n")[0],
                         f"# {release['PRETTY_NAME']}")

    def packages(self):
        return (self.package / "runtime_packages").read_text().split("\n", 1)[1].split()

    def test_the_named_packages_are_those_of_this_release(self):
        told = subprocess.run(["dpkg-query", "-W", "-f", "${Package} ${db:Status-Status}\n", *self.packages()],
                              capture_output=True, text=True)
        self.assertEqual(told.returncode, 0, told.stderr)

    def test_the_named_packages_bring_every_library(self):
        needed = set()
        for name in LIBRARIES_AND_PROGRAMS | MODULES:
            told = subprocess.run(["readelf", "-W", "-d", self.package / name], check=True,
                                  capture_output=True, text=True).stdout
            needed |= set(re.findall(r"\(NEEDED\).*\[(.+)\]", told)) - LIBRARIES_AND_PROGRAMS
        owners = {name: set() for name in needed}
        told = subprocess.run(["dpkg-query", "-S", *(f"*/{name}" for name in needed)], check=True,
                              capture_output=True, text=True).stdout
        for package, path in re.findall(r"^([^:, ]+)(?::\w+)?: (\S+)$", told, re.MULTILINE):
            owners[Path(path).name].add(package)
        brought = with_dependencies(self.packages())
        self.assertEqual([name for name in sorted(needed) if not owners[name] & brought], [])

    def test_cmake_installs_the_same_into_a_folder_with_a_relative_name(self):
        subprocess.run([os.environ["VISTREL_CMAKE"], "--install", BINARIES.parent, "--prefix", "any folder"],
                       cwd=self.home, check=True, capture_output=True)
        self.assertEqual(files_below(self.home / "any folder"), files_below(self.package))
        self.assertEqual((self.home / "any folder/manifest").read_text(),
                         (self.package / "manifest").read_text())


class Installed(PackageCase):
    """One installation, at which the tests only look."""

    is_done = False

    def setUp(self):
        self.use_home("installed")
        if not Installed.is_done:
            self.install()
        Installed.is_done = True

    def command_of(self, entry):
        lines = (self.home / ".local/share/applications" / entry).read_text().splitlines()
        (line,) = [line for line in lines if line.startswith("Exec=")]
        command = line.removeprefix("Exec=").replace("\\\\", "\\")
        for character in '"$`\\':
            command = command.replace("\\" + character, character)
        return command

    def test_validators_find_nothing_in_what_the_desktop_reads(self):
        share = self.home / ".local/share"
        for entry in (WINDOW, "vistrel-make-scene.desktop"):
            desktop = subprocess.run(["desktop-file-validate", share / "applications" / entry],
                                     capture_output=True, text=True, env=self.environment)
            self.assertEqual((desktop.returncode, desktop.stdout + desktop.stderr), (0, ""))
        told = subprocess.run(["appstreamcli", "validate", "--no-net", "--pedantic",
                               share / "metainfo/org.vistrel.vistrel.metainfo.xml"],
                              capture_output=True, text=True, env=self.environment).stdout
        self.assertIn("Validation ", told)
        found = re.findall(r"^[EW]: .*", told, re.MULTILINE)
        # There is no homepage yet, which newer validators warn of.
        self.assertEqual([line for line in found if not line.endswith(" url-homepage-missing")], [])

    def test_file_types_are_known_after_the_install(self):
        globs = (self.home / ".local/share/mime/globs").read_text()
        for ending in ("ply", "spz", "splat", "ksplat"):
            self.assertIn(f"application/vnd.{ending}:*.{ending}\n", globs)

    def test_the_menu_entry_starts_the_program_which_ends_on_a_signal(self):
        command = self.command_of(WINDOW)
        self.assertEqual(command, f'"{self.program}/vistrel"')
        display = Display(self.home / "display")
        self.addCleanup(display.close)
        environment = self.environment | {"DISPLAY": display.environment["DISPLAY"],
                                          "QT_QPA_PLATFORM": "xcb"}
        if os.geteuid() == 0:
            environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        with open(self.home / "output.log", "wb") as log:
            process = subprocess.Popen([command.strip('"')], env=environment, stdout=log, stderr=log)
        self.addCleanup(lambda: process.poll() is None and process.kill())
        wait_for(lambda: process.poll() is not None or display.windows(process.pid), "its window", 30)
        process.send_signal(signal.SIGTERM)
        status = process.wait(20)
        self.assertEqual(status, 0, (self.home / "output.log").read_text(errors="replace"))
        # The network of a first start.
        self.assertEqual(json.loads(self.settings().read_text())["modelPath"], str(self.program / RELIEF))

    def test_the_session_bus_knows_how_to_start_the_program(self):
        display = Display(self.home / "display of the bus")
        self.addCleanup(display.close)
        # The bus takes the home that the system knows, unless it is told.
        environment = self.environment | {"XDG_DATA_HOME": str(self.home / ".local/share"),
                                          "DISPLAY": display.environment["DISPLAY"],
                                          "QT_QPA_PLATFORM": "xcb", "QTWEBENGINE_DISABLE_SANDBOX": "1"}
        with open(self.home / "bus.log", "wb") as log:
            bus = SessionBus(environment, log)
        self.addCleanup(bus.close)
        bus.call(NAME, "/org/vistrel/vistrel", "org.freedesktop.Application.Activate", "@a{sv} {}")
        process = bus.owner(NAME)
        self.addCleanup(os.kill, process, signal.SIGKILL)
        self.assertEqual(os.readlink(f"/proc/{process}/exe"), str(self.program / "vistrel"))

    def test_the_converter_converts_with_what_is_in_the_package(self):
        photo = self.program / "resources/sample/autumn_lake.jpg"
        scene = self.home / "scenes" / "a lake.ply"
        done = subprocess.run([self.program / "vistrel-convert", photo, scene],
                              env=self.environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertTrue(scene.read_bytes().startswith(b"ply\n"))
        self.assertEqual(os.listdir(scene.parent), ["a lake.ply"])

    def test_the_links_lead_to_the_programs(self):
        link = self.home / ".local/bin/vistrel-convert"
        told = subprocess.run([link, "--version"], env=self.environment, capture_output=True, text=True)
        self.assertRegex(told.stdout, r"^vistrel-convert \d+\.\d+")

    def test_the_entry_for_photographs_names_the_whole_path(self):
        self.assertEqual(self.command_of("vistrel-make-scene.desktop"), f'"{self.program}/vistrel-make-scene" %F')


class Installing(PackageCase):
    # Install

    def test_commands_of_the_same_name_stay(self):
        other = self.home / ".local/bin/vistrel"
        other.parent.mkdir(parents=True)
        other.write_text("mine")
        self.assertIn("Kept:", self.install())
        self.uninstall()
        self.assertEqual(other.read_text(), "mine")

    def test_a_package_that_is_not_whole_installs_nothing(self):
        damaged = self.home / "damaged"
        damaged.mkdir()
        for name in ("install", "common.sh", "folders.sh", "openers.sh", "manifest"):
            os.link(self.package / name, damaged / name)
        done = subprocess.run([damaged / "install"], env=self.environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn("is missing", done.stderr)
        self.assertFalse((self.home / ".local").exists())

    def test_an_install_that_cannot_start_ends_with_an_error_that_names_what_is_missing(self):
        commands = self.home / "commands"
        commands.mkdir()
        (commands / "ldd").write_text("#!/bin/sh\n"
                                      "printf '\\tlibc.so.6 => /lib/libc.so.6 (0x7f)\\n'\n"
                                      "printf '\\tlibexiv2.so.0 => not found\\n'\n"
                                      "printf \"%s: /lib/libc.so.6: version \\`GLIBC_9.9' not found (required by x)\\n\" \"$1\"\n")
        (commands / "ldd").chmod(0o755)
        self.environment["PATH"] = f"{commands}:{os.environ['PATH']}"
        done = subprocess.run([self.package / "install"], env=self.environment, capture_output=True, text=True)
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "Error: Vistrel cannot start: there is no GLIBC_9.9, libexiv2.so.0.\n")
        self.assertTrue((self.program / "vistrel").exists())

    # Make a 3D scene

    def add_viewers(self, types, folder=None):
        """Makes programs of the system, or in another folder, that open types: name -> types."""
        applications = (folder or self.home / "system") / "applications"
        applications.mkdir(parents=True, exist_ok=True)
        for name, its_types in types.items():
            (applications / f"{name}.desktop").write_text(
                f"[Desktop Entry]\nType=Application\nName={name}\nExec=/bin/true %F\nMimeType={its_types}\n")
        subprocess.run(["update-desktop-database", applications], check=True)
        self.environment["XDG_DATA_DIRS"] = f"{self.home}/system:/usr/share"

    def opener(self, of_type):
        """What opens a type on a double click, and what else is offered for it."""
        told = subprocess.run(["gio", "mime", of_type], env=self.environment, check=True, capture_output=True,
                              text=True).stdout.splitlines()
        offered = [line.strip() for line in told if line.startswith("\t")]
        return re.sub(".*: ", "", told[0]), set(offered)

    def test_it_is_offered_for_photographs_and_opens_none_that_another_program_opens(self):
        self.add_viewers({"viewer": "image/jpeg;image/png;", "painter": "image/jpeg;image/x-adobe-dng;"})
        before = {of_type: self.opener(of_type)[0] for of_type in ("image/jpeg", "image/png", "image/x-adobe-dng")}
        self.install()
        self.install()
        for of_type, opener in before.items():
            now, offered = self.opener(of_type)
            self.assertEqual(now, opener)
            self.assertIn("vistrel-make-scene.desktop", offered)

    def test_the_window_opens_what_no_other_program_does(self):
        self.add_viewers({"viewer": "image/jpeg;", "meshes": "application/vnd.spz;"})
        self.install()
        self.assertEqual(self.opener("image/jpeg"),
                         ("viewer.desktop", {"viewer.desktop", WINDOW, "vistrel-make-scene.desktop"}))
        self.assertEqual(self.opener("application/vnd.spz"), ("meshes.desktop", {"meshes.desktop", WINDOW}))
        self.assertEqual(self.opener("image/bmp")[0], WINDOW)
        self.assertEqual(self.opener("application/vnd.ply"), (WINDOW, {WINDOW}))

    def test_choices_of_the_system_and_of_the_user_hold(self):
        self.add_viewers({"viewer": "image/jpeg;image/png;", "painter": "image/jpeg;image/png;"})
        (self.home / "system/applications/mimeapps.list").write_text(
            "[Default Applications]\nimage/jpeg=gone.desktop;viewer.desktop\nimage/png=painter.desktop\n")
        self.install()
        self.assertEqual(self.opener("image/jpeg")[0], "viewer.desktop")
        self.assertEqual(self.opener("image/png")[0], "painter.desktop")
        (self.home / ".config").mkdir()
        (self.home / ".config/mimeapps.list").write_text(
            "[Default Applications]\nimage/jpeg=vistrel-make-scene.desktop\n")
        self.assertEqual(self.opener("image/jpeg")[0], "vistrel-make-scene.desktop")

    def test_a_list_of_the_users_own_and_its_folder_stay_as_they_are(self):
        self.add_viewers({"viewer": "image/jpeg;"})
        mine = self.home / ".local/share/applications/defaults.list"
        mine.parent.mkdir(parents=True)
        mine.write_text("[Default Applications]\n")
        self.install()
        self.assertEqual(self.opener("image/jpeg")[0], "viewer.desktop")
        self.uninstall()
        self.assertEqual(mine.read_text(), "[Default Applications]\n")

    def test_entries_of_others_stay(self):
        self.add_viewers({"mine": "image/jpeg;"}, self.home / ".local/share")
        self.install()
        self.uninstall()
        self.assertEqual(self.opener("image/jpeg"), ("mine.desktop", {"mine.desktop"}))
        self.assertEqual(sorted(os.listdir(self.home / ".local/share/applications")),
                         ["mimeinfo.cache", "mine.desktop"])

    # Update

    def make_old_installation(self):
        """One whose loader library and help page have changed since, with a file that is no more."""
        self.install()
        manifest = (self.program / "manifest").read_text()
        (self.program / "gone").write_text("old")
        manifest += f"{hashlib.sha256(b'old').hexdigest()}  gone\n"
        (self.program / "manifest").write_text(manifest)
        (self.program / "WebView2Loader.dll").write_text("old")

    def test_an_update_replaces_the_loader_library_and_drops_old_files(self):
        self.make_old_installation()
        self.install()
        self.assertEqual((self.program / "WebView2Loader.dll").read_bytes(),
                         (self.package / "WebView2Loader.dll").read_bytes())
        self.assertEqual(files_below(self.program), files_below(self.package))

    def test_an_update_keeps_settings_and_what_the_user_has_put_in_place(self):
        self.install()
        self.settings().parent.mkdir(parents=True)
        self.settings().write_text('{"modelPath": "/mine"}')
        runtime = self.program / "libonnxruntime.so.1"
        runtime.write_text("with CUDA")
        self.assertIn("Kept:", self.install())
        self.assertEqual(runtime.read_text(), "with CUDA")
        self.assertEqual(self.settings().read_text(), '{"modelPath": "/mine"}')
        self.assertIn("Kept:", self.install())

    # Uninstall

    def test_nothing_but_the_users_own_is_left(self):
        model = self.home / ".local/share/Vistrel/Models/sharp_fp16.onnx"
        model.parent.mkdir(parents=True)
        model.write_text("model")
        self.install()
        (self.program / "help_en.html").write_text("written at every start")
        self.uninstall()
        self.assertEqual(files_below(self.home), {".local/share/Vistrel/Models/sharp_fp16.onnx"})
        self.assertEqual(empty_folders_below(self.home), set())

    def test_file_types_of_others_stay(self):
        other = self.home / ".local/share/mime/packages/other.xml"
        other.parent.mkdir(parents=True)
        other.write_text((SOURCE / "resources/desktop/vistrel.xml").read_text()
                         .replace("vnd.", "x-other-"))
        self.install()
        self.uninstall()
        globs = (self.home / ".local/share/mime/globs").read_text()
        self.assertIn("application/x-other-ply:", globs)
        self.assertNotIn("vnd.ply", globs)

    def test_a_file_of_the_user_in_the_programs_folder_stays(self):
        self.install()
        mine = self.program / "libonnxruntime_providers_cuda.so"
        mine.write_text("mine")
        self.uninstall()
        self.assertEqual(files_below(self.program), {mine.name})


if __name__ == "__main__":
    unittest.main(verbosity=2)
