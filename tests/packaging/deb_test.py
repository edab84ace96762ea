#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The package for Debian: what dpkg says of it, and its programs where a user may not write."""

import gzip
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

BUILD = Path(os.environ["VISTREL_BIN"]).parent
CONSOLE = {"vistrel-convert", "vistrel-fetch", "vistrel-render", "vistrel-share"}
COMMANDS = CONSOLE | {"vistrel", "vistrel-make-scene"}
PROGRAM = {*COMMANDS, "WebView2Loader.dll", "common.sh", "help_en.html", "help_jp.html", "libonnxruntime.so.1",
           "resources/relief/vistrel_relief_demo.onnx", "resources/sample/autumn_lake.jpg", "vistrel_http.so",
           *(f"photos/{name}.so" for name in ("heif", "jxl", "raw", "tiff", "webp"))}
SHARED = {"applications/org.vistrel.vistrel.desktop", "applications/vistrel-make-scene.desktop",
          "dbus-1/services/org.vistrel.vistrel.service", "icons/hicolor/scalable/apps/vistrel.svg",
          *(f"icons/hicolor/{size}x{size}/apps/vistrel.png" for size in (16, 32, 48, 128, 256)),
          "lintian/overrides/vistrel", "metainfo/org.vistrel.vistrel.metainfo.xml", "mime/packages/vistrel.xml",
          *(f"bash-completion/completions/{name}" for name in CONSOLE),
          *(f"zsh/vendor-completions/_{name}" for name in CONSOLE),
          *(f"man/man1/{name}.1.gz" for name in COMMANDS),
          *(f"doc/vistrel/{name}" for name in ("THIRD_PARTY_NOTICES", "changelog.Debian.gz", "changelog.gz",
                                               "copyright", "many_machines.md"))}
# The user nobody, whom every Debian has.
NOBODY = 65534


def output(*command, **options):
    return subprocess.run(command, check=True, capture_output=True, text=True, **options).stdout


def setUpModule():
    temporary = tempfile.TemporaryDirectory(prefix="vistrel-deb-")
    unittest.addModuleCleanup(temporary.cleanup)
    folder = Package.folder = Path(temporary.name)
    folder.chmod(0o755)
    # What users get is compressed, which takes long. The mask must not show.
    output(os.environ["VISTREL_CPACK"], "--config", BUILD / "CPackConfig.cmake", "-G", "DEB",
           "-D", "CPACK_DEBIAN_COMPRESSION_TYPE=none", "-B", folder / "made", umask=0o077)
    (Package.deb,) = (folder / "made").glob("*.deb")
    Package.root = folder / "root"
    output("dpkg-deb", "-x", Package.deb, Package.root)


class Package(unittest.TestCase):
    folder, deb, root = Path(), Path(), Path()

    def field(self, name):
        return output("dpkg-deb", "-f", self.deb, name).strip()

    def test_the_name_tells_release_and_processor(self):
        release = platform.freedesktop_os_release()
        self.assertRegex(self.deb.name, r"^vistrel_\d+\.\d+\.\d+-1~"
                         f"{release['ID']}{release['VERSION_ID']}_{self.field('Architecture')}\\.deb$")

    def test_everything_has_its_place_and_nothing_else_is_there(self):
        files = {str(path.relative_to(self.root)) for path in self.root.rglob("*") if not path.is_dir()}
        self.assertEqual(files, {f"usr/lib/vistrel/{name}" for name in PROGRAM}
                         | {f"usr/share/{name}" for name in SHARED} | {f"usr/bin/{name}" for name in COMMANDS})

    def test_all_is_roots_and_everybody_may_read_it(self):
        archive = subprocess.run(["dpkg-deb", "--fsys-tarfile", self.deb], check=True, capture_output=True).stdout
        with tempfile.TemporaryFile() as file:
            file.write(archive)
            file.seek(0)
            with tarfile.open(fileobj=file) as tar:
                for entry in tar:
                    with self.subTest(entry.name):
                        self.assertEqual((entry.uid, entry.gid), (0, 0))
                        self.assertIn(entry.mode, (0o777,) if entry.issym() else (0o755,) if entry.isdir()
                                      else (0o644, 0o755))

    def test_commands_are_links_that_lead_to_the_programs(self):
        for name in COMMANDS:
            with self.subTest(name):
                link = self.root / "usr/bin" / name
                self.assertEqual(os.readlink(link), f"../lib/vistrel/{name}")
                self.assertTrue(os.access(link, os.X_OK))

    def test_it_depends_on_packages_of_this_release(self):
        named = re.findall(r"(?:^|, )([a-z0-9.+-]+)", self.field("Depends"))
        self.assertEqual(sorted(set(named)), sorted(named))
        for library in ("libcurl4", "libexiv2-", "libqt6webenginewidgets6", "libraw", "libstdc++6"):
            self.assertTrue(any(name.startswith(library) for name in named), library)
        output("dpkg-query", "-W", *named)

    def test_libraries_need_versions_and_fonts_are_recommended(self):
        self.assertRegex(self.field("Depends"), r"libc6 \(>= [0-9.]+\)")
        self.assertEqual(self.field("Recommends"), "ffmpeg, fonts-noto-cjk, fonts-noto-core")

    def test_nothing_names_the_folder_it_was_built_in(self):
        for path in (self.root / "usr").rglob("*"):
            if path.is_file() and not path.is_symlink():
                self.assertNotIn(os.fsencode(SOURCE), path.read_bytes(), path)

    def test_copyright_names_every_work_that_is_inside(self):
        notices = (SOURCE / "THIRD_PARTY_NOTICES").read_text().split("\nFor tests and benchmarks only")[0]
        copyright_file = (self.root / "usr/share/doc/vistrel/copyright").read_text()
        held = [work for work in notices.split("\n\n") if "Copyright" in work and "library of the system" not in work
                and "libraries of the system" not in work]
        self.assertGreater(len(held), 8)
        for work in held:
            holder = re.search(r"Copyright (?:\(c\) )?((?:[\d-]+ )?[^.,]+)", work)[1]
            with self.subTest(work.split("\n")[0]):
                self.assertIn(" ".join(holder.split()), " ".join(copyright_file.split()))

    def test_the_changelog_has_the_packages_version_first(self):
        changelog = gzip.open(self.root / "usr/share/doc/vistrel/changelog.Debian.gz", "rt").read()
        self.assertTrue(changelog.startswith(f"vistrel ({self.field('Version')}) "), changelog)


class Programs(unittest.TestCase):
    def setUp(self):
        self.home = Package.folder / self._testMethodName
        self.home.mkdir()
        os.chmod(self.home, 0o777)
        self.environment = {k: v for k, v in os.environ.items() if not k.startswith("XDG_")}
        self.environment |= {"HOME": str(self.home), "TMPDIR": str(self.home), "LC_ALL": "C.UTF-8"}
        self.user = {"env": self.environment, "cwd": self.home}
        if os.geteuid() == 0:
            self.user |= {"user": NOBODY, "group": NOBODY, "extra_groups": []}
        for folder in (Package.root / "usr/lib/vistrel", Package.root):
            folder.chmod(0o555)
            self.addCleanup(folder.chmod, 0o755)

    def test_each_tells_its_version(self):
        for name in sorted(CONSOLE):
            with self.subTest(name):
                told = output(Package.root / "usr/bin" / name, "--version", **self.user)
                self.assertRegex(told, rf"^{name} \d+\.\d+")

    def test_scenes_are_made_by_the_relief_demo_before_any_network_is_chosen(self):
        (self.home / "lake.jpg").write_bytes(
            (Package.root / "usr/lib/vistrel/resources/sample/autumn_lake.jpg").read_bytes())
        done = subprocess.run([Package.root / "usr/bin/vistrel-make-scene", self.home / "lake.jpg"],
                              capture_output=True, text=True, **self.user)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertTrue((self.home / "lake.ply").read_bytes().startswith(b"ply\n"))

    def test_the_window_starts_and_ends_on_a_signal(self):
        display = Display(Package.folder / "display")
        self.addCleanup(display.close)
        # Where programs run in a folder that they take for the root, there is no sandbox.
        self.environment |= {"DISPLAY": display.environment["DISPLAY"], "QT_QPA_PLATFORM": "xcb",
                             "QTWEBENGINE_DISABLE_SANDBOX": "1"}
        with open(Package.folder / "output.log", "wb") as log:
            process = subprocess.Popen([Package.root / "usr/bin/vistrel"], stdout=log, stderr=log, **self.user)
        self.addCleanup(lambda: process.poll() is None and process.kill())
        wait_for(lambda: process.poll() is not None or display.windows(process.pid), "its window", 30)
        process.send_signal(signal.SIGTERM)
        status = process.wait(20)
        self.assertEqual(status, 0, (Package.folder / "output.log").read_text(errors="replace"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
