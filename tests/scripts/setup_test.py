#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""scripts/setup on machines of several kinds, which stand-ins for Debian's commands play."""

import os
import platform
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
LOGGED = '#!/bin/sh\necho "$(basename "$0") $*" >>"$LOG"\n'
APT = LOGGED + 'case "$*" in *download*) : >npm_1_all.deb;; esac\n'
DEFINITIONS = "define('other', {\n  default: 'https://other.test/',\n})\n" \
              "define('registry', {\n  default: 'https://packages.test/',\n  type: url,\n})\n"
AS_ROOT = '#!/bin/sh\n[ "$1" = -- ] && shift\nexec "$@"\n'
HELD = ("E: Could not get lock /var/lib/dpkg/lock-frontend. It is held by process 4711 (unattended-upgr)\\n"
        "E: Unable to acquire the dpkg frontend lock, is another process using it?\\n")
HELD_BY_NOBODY_KNOWN = "E: Could not get lock /var/lib/apt/lists/lock - open (11: Resource temporarily unavailable)\\n"


class Setup(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel setup ")
        self.addCleanup(temporary.cleanup)
        self.root = Path(temporary.name) / "tree"
        self.commands = Path(temporary.name) / "commands"
        self.log = Path(temporary.name) / "log"
        for folder in (self.root / "scripts", self.root / "node_modules", self.commands):
            folder.mkdir(parents=True)
        self.log.touch()
        for name in ("scripts/setup", "scripts/lib.sh", "package-lock.json"):
            shutil.copy(SOURCE / name, self.root / name)
        # Headers that no machine has, so that they are looked for.
        setup = self.root / "scripts/setup"
        setup.write_text(setup.read_text().replace("onnxruntime_cxx_api.h", "of_this_test.h"))
        self.command("apt-get", APT)
        self.provide_npm(DEFINITIONS)
        self.command("apt-cache", "#!/bin/sh\necho there is one\n")
        self.command("dpkg-query", "#!/bin/sh\necho amd64 installed\n")
        self.command("dpkg", "#!/bin/sh\necho amd64\n")
        self.command("sudo", AS_ROOT)
        self.command("node", LOGGED)
        self.provide_header()

    def command(self, name, script):
        (self.commands / name).write_text(script)
        (self.commands / name).chmod(0o755)

    def provide_npm(self, definitions):
        file = self.commands / "package/config/definitions.js"
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(definitions)
        self.command("dpkg-deb", f"#!/bin/sh\ntar -C '{self.commands}' -c package/config/definitions.js\n")

    def provide_header(self):
        for name in ("onnxruntime/of_this_test.h", "stb/stb_image_resize2.h"):
            path = self.root / "build/deps/usr/include" / name
            path.parent.mkdir(parents=True, exist_ok=True)
            path.touch()

    def miss(self, package):
        self.command("dpkg-query", f'#!/bin/sh\n[ "$4" != {package} ] && echo amd64 installed\n')

    def environment(self):
        own = {name: value for name, value in os.environ.items() if name != "npm_config_registry"}
        return own | {"PATH": f"{self.commands}:{os.environ['PATH']}", "LOG": str(self.log)}

    def run_script(self, status=0):
        done = subprocess.run([self.root / "scripts/setup"], env=self.environment(), capture_output=True,
                              text=True, timeout=60)
        self.assertEqual(done.returncode, status, done.stderr)
        return done.stderr

    def test_where_everything_is_there_nothing_is_installed(self):
        self.run_script()
        self.assertRegex(self.log.read_text(), f"^apt-get .* download npm\n"
                                               f"node {self.root}/scripts/fetch_packages.js https://packages.test/\n$")
        self.run_script()
        self.assertEqual(self.log.read_text().count("\n"), 2, "the packages are fetched once")

    def test_a_registry_that_is_not_found_is_told(self):
        self.provide_npm("")
        self.assertIn("Error: the address of npm's registry was not found", self.run_script(status=1))
        self.assertNotIn("node", self.log.read_text())

    def test_a_missing_package_is_installed(self):
        self.miss("ninja-build")
        self.run_script()
        self.assertRegex(self.log.read_text(), "apt-get .* update\n"
                                               "apt-get .* install -y --no-install-recommends ninja-build\n")

    def test_npm_is_not_needed(self):
        self.command("npm", LOGGED)
        self.run_script()
        self.assertNotRegex(self.log.read_text(), "(?m)^npm|install.* npm")
        self.assertNotIn(" npm", (self.root / "scripts/setup").read_text().split("with_tests=no")[0])

    def test_an_install_that_takes_long_is_told_meanwhile(self):
        self.miss("ninja-build")
        gate = self.commands / "gate"
        os.mkfifo(gate)
        self.command("apt-get", APT + f"case $* in *install*) cat '{gate}';; esac\n")
        process = subprocess.Popen([self.root / "scripts/setup"], env=self.environment(), text=True,
                                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)
        self.addCleanup(process.kill)
        self.assertRegex(process.stderr.readline(), "^    Installing packages: [5-9] s$")
        gate.write_text("")
        self.assertEqual(process.communicate(timeout=60)[1], "")
        self.assertEqual(process.returncode, 0)

    def test_where_sudo_refuses_that_is_told(self):
        self.miss("ninja-build")
        self.command("id", "#!/bin/sh\necho 1000\n")
        self.command("sudo", "#!/bin/sh\necho no >&2\nexit 1\n")
        self.assertEqual(self.run_script(status=1), "no\nError: this needs root, which was refused.\n")

    def refuse(self, word, errors):
        self.command("apt-get", LOGGED + f'case " $* " in *" {word} "*) printf "{errors}" >&2; exit 100;; esac\n')

    def test_apt_that_another_program_uses_is_told_with_its_holder(self):
        self.miss("ninja-build")
        for word in ("update", "install"):
            with self.subTest(word):
                self.refuse(word, HELD)
                told = self.run_script(status=1)
                self.assertIn("E: Could not get lock", told)
                self.assertEqual(told.splitlines()[-1], "Error: another program, process 4711 (unattended-upgr), is "
                                 "using apt. Wait until it has ended, then run this again.")
                self.assertIn("-o DPkg::Lock::Timeout=0", self.log.read_text())

    def test_apt_that_somebody_unknown_uses_is_told(self):
        self.miss("ninja-build")
        self.refuse("update", HELD_BY_NOBODY_KNOWN)
        self.assertIn("Error: another program is using apt.", self.run_script(status=1))

    def test_lists_that_cannot_be_read_are_told(self):
        self.miss("ninja-build")
        self.refuse("update", "E: no route\\n")
        self.assertIn("Error: the package lists could not be read", self.run_script(status=1))

    def check_refused(self, *packages):
        told = self.run_script(status=1)
        system = platform.freedesktop_os_release()["PRETTY_NAME"]
        self.assertEqual(told, f"Error: {system} has no {' '.join(packages)}. This works on Debian 12 and 13; "
                               "CONTRIBUTING.md says what is needed on another system.\n")
        self.assertNotIn(" install ", self.log.read_text())

    def test_a_system_without_some_packages_is_told_before_anything_is_installed(self):
        self.command("dpkg-query", "#!/bin/sh\nexit 1\n")
        self.command("apt-cache", '#!/bin/sh\ncase "$2" in libhwy-dev | qt6-*) ;; *) echo there is one;; esac\n')
        self.check_refused("libhwy-dev", "qt6-base-dev", "qt6-image-formats-plugins", "qt6-translations-l10n",
                           "qt6-webengine-dev")

    def test_a_system_without_the_newer_headers_is_told_before_anything_is_installed(self):
        self.miss("ninja-build")
        (self.root / "build/deps/usr/include/onnxruntime/of_this_test.h").unlink()
        self.command("apt-cache", '#!/bin/sh\n[ "$2" = libonnxruntime-dev ] || echo there is one\n')
        self.check_refused("libonnxruntime-dev")


if __name__ == "__main__":
    unittest.main(verbosity=2)
