#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""install-dependencies on machines of several kinds, which stand-ins for Debian's commands play."""

import platform
import shutil
import subprocess
import tempfile
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
PACKAGES = ["ca-certificates", "libcurl4", "libexiv2-27", "libqt6widgets6", "xdg-utils"]
LDD = "#!/bin/sh\n[ -e \"$LIBRARIES\" ] || printf '\\tlibexiv2.so.27 => not found\\n'\n"
LOGGED = '#!/bin/sh\necho "$(basename "$0") $*" >>"$LOG"\n'
THROUGH_SUDO = LOGGED + '[ "$1" = -- ] && shift\nexec "$@"\n'


class InstallDependencies(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory(prefix="vistrel packages ")
        self.addCleanup(temporary.cleanup)
        self.commands = Path(temporary.name)
        self.log = self.commands / "log"
        self.log.touch()
        self.libraries = self.commands / "libraries"
        self.libraries.touch()
        self.package = self.commands / "package"
        self.package.mkdir()
        for name in ("install-dependencies", "common.sh"):
            shutil.copy(SOURCE / "packaging" / name, self.package)
        self.made_for(platform.freedesktop_os_release()["PRETTY_NAME"])
        self.command("ldd", LDD)
        for tool in ("basename", "bash", "dirname", "env", "grep", "realpath", "sed", "sort", "touch"):
            (self.commands / tool).symlink_to(shutil.which(tool))
        self.command("apt-get", LOGGED)
        self.command("id", "#!/bin/sh\necho 1000\n")
        self.installed({package: "amd64 installed" for package in PACKAGES})

    def made_for(self, release):
        (self.package / "runtime_packages").write_text("\n".join([f"# {release}", *PACKAGES, ""]))

    def command(self, name, script):
        (self.commands / name).write_text(script)
        (self.commands / name).chmod(0o755)

    def installed(self, states):
        cases = "".join(f"{name}) printf '{state}\\n';;\n" for name, state in states.items())
        self.command("dpkg-query", f'#!/bin/sh\ncase "$4" in\n{cases}*) exit 1;;\nesac\n')

    def run_script(self, *arguments):
        return subprocess.run([self.package / "install-dependencies", *arguments], text=True,
                              env={"PATH": str(self.commands), "LOG": str(self.log),
                                   "LIBRARIES": str(self.libraries)}, capture_output=True)

    def test_nothing_is_done_where_everything_is_there(self):
        self.command("sudo", THROUGH_SUDO)
        self.assertEqual(self.run_script().returncode, 0)
        self.assertEqual(self.log.read_text(), "")

    def test_packages_of_any_architecture_and_in_two_of_them_are_there(self):
        self.installed({package: "i386 installed\\namd64 installed" for package in PACKAGES[:3]}
                       | {package: "all installed" for package in PACKAGES[3:]})
        self.assertEqual(self.run_script("--list").returncode, 0)

    def test_a_package_of_another_architecture_or_removed_but_for_its_settings_is_missing(self):
        self.installed({package: "amd64 installed" for package in PACKAGES}
                       | {PACKAGES[0]: "i386 installed", PACKAGES[1]: "amd64 config-files"})
        listed = self.run_script("--list")
        self.assertEqual(listed.returncode, 1)
        self.assertEqual(listed.stdout, f"Missing: {PACKAGES[0]} {PACKAGES[1]}\n")

    def test_missing_packages_are_installed_through_sudo(self):
        self.installed({package: "amd64 installed" for package in PACKAGES[2:]})
        self.command("sudo", THROUGH_SUDO)
        done = self.run_script()
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertRegex(self.log.read_text(),
                         f"\napt-get .*install -y --no-install-recommends {PACKAGES[0]} {PACKAGES[1]}\n")

    def test_without_root_and_sudo_the_command_for_root_is_told(self):
        self.installed({package: "amd64 installed" for package in PACKAGES[1:]})
        done = self.run_script()
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"apt-get install --no-install-recommends {PACKAGES[0]}\n", done.stderr)
        self.assertEqual(self.log.read_text(), "")

    def test_where_sudo_refuses_the_command_for_root_is_told(self):
        self.installed({package: "amd64 installed" for package in PACKAGES[1:]})
        self.command("sudo", "#!/bin/sh\nexit 1\n")
        done = self.run_script()
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"apt-get install --no-install-recommends {PACKAGES[0]}\n", done.stderr)

    # The programs

    def miss_a_library(self):
        self.libraries.unlink()
        self.installed({package: "amd64 installed" for package in PACKAGES if package != "libexiv2-27"})
        self.command("sudo", THROUGH_SUDO)

    def test_packages_that_bring_the_missing_library_are_enough(self):
        self.miss_a_library()
        self.command("apt-get", LOGGED + 'case "$*" in *install*) touch "$LIBRARIES";; esac\n')
        done = self.run_script()
        self.assertEqual(done.returncode, 0, done.stderr)

    def test_packages_with_which_nothing_can_start_are_an_error(self):
        self.miss_a_library()
        done = self.run_script()
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, "Error: Vistrel cannot start: there is no libexiv2.so.27.\n")

    def test_an_error_where_nothing_is_missing_but_nothing_can_start(self):
        self.libraries.unlink()
        done = self.run_script()
        self.assertEqual(done.returncode, 1)
        self.assertIn("there is no libexiv2.so.27.", done.stderr)

    def test_the_package_of_another_release_says_so(self):
        self.miss_a_library()
        self.made_for("Debian GNU/Linux 11 (bullseye)")
        self.command("apt-get", LOGGED + 'case "$*" in *install*) exit 100;; esac\n')
        done = self.run_script()
        self.assertEqual(done.returncode, 1)
        self.assertRegex(done.stderr,
                         r"This package is for Debian GNU/Linux 11 \(bullseye\), and here runs .+\.\n$")

    def test_apt_that_another_program_uses_is_not_waited_for_and_told(self):
        self.miss_a_library()
        self.command("apt-get", LOGGED + "exit 100\n")
        done = self.run_script()
        self.assertEqual(done.returncode, 1)
        self.assertIn("If another program is using apt, wait until it has ended.", done.stderr)
        self.assertIn("-o DPkg::Lock::Timeout=0", self.log.read_text())


if __name__ == "__main__":
    unittest.main(verbosity=2)
