# SPDX-License-Identifier: GPL-3.0-or-later
"""Vistrel as a new user has it: own home, own settings, own copy of the program."""

import json
import os
import shutil
import signal
import subprocess
import time
from pathlib import Path

from display import Timeout, wait_for

# Lines on standard error that tell of a fault of ours.
FAULTS = ("Sanitizer", "runtime error:", "terminate called", "Segmentation", "ASSERT",
          "pure virtual", "QObject::", "QThread:", "QEventLoop", "QBasicTimer", "QPaint", "QWidget::",
          "Release of profile requested", "undefined symbol", "double free", "corrupted")


class Program:
    """`home` is made where it is missing and stays what it was else, as for a second start."""

    def __init__(self, display, binaries, home, language="en_US.UTF-8", environment=None):
        self.display = display
        self.home = Path(home)
        self.folder = self.home / "program"
        self._install(Path(binaries))
        self.output = open(self.home / "output.log", "ab")
        self.output_start = self.output.tell()
        self.process = subprocess.Popen(
            # Each line of its log is there as soon as it is written.
            ["stdbuf", "-oL", str(self.folder / "vistrel")], stdin=subprocess.DEVNULL,
            stdout=self.output, stderr=self.output, start_new_session=True, cwd=self.home,
            env=self._environment(language) | (environment or {}))

    def _install(self, binaries):
        """No loader library and no help pages are there: the program brings them itself."""
        self.folder.mkdir(parents=True, exist_ok=True)
        if not (self.folder / "vistrel").exists():
            shutil.copy2(binaries / "vistrel", self.folder)
            for library in (*binaries.glob("lib*.so*"), *binaries.glob("vistrel_*.so")):
                (self.folder / library.name).symlink_to(library)

    def _environment(self, language):
        folders = {"HOME": "home", "XDG_CONFIG_HOME": "config", "XDG_DATA_HOME": "data",
                   "XDG_CACHE_HOME": "cache", "XDG_RUNTIME_DIR": "runtime", "TMPDIR": "temp"}
        kept = {k: v for k, v in self.display.environment.items()
                if k in ("PATH", "DISPLAY", "LD_LIBRARY_PATH") or "SAN_OPTIONS" in k}
        for name, folder in folders.items():
            path = self.home / folder
            path.mkdir(mode=0o700, exist_ok=True)
            kept[name] = str(path)
        kept |= {"LANG": language, "QT_QPA_PLATFORM": "xcb", "NO_AT_BRIDGE": "1",
                 # Without an address, Qt starts a bus that outlives the program.
                 "DBUS_SESSION_BUS_ADDRESS": "unix:path=/nowhere"}
        if os.geteuid() == 0:
            kept["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        return kept

    # What it does

    @property
    def identifier(self):
        return self.process.pid

    def windows(self):
        if self.process.poll() is not None:
            raise Timeout(f"the program ended with {self.process.returncode}: {self.text()}")
        return self.display.windows(self.identifier)

    def window(self, title=None, seconds=60.0):
        """The newest of its windows, once there is one with this title."""
        def found():
            matching = [w for w in self.windows() if title in (None, w.title)]
            return matching[-1] if matching else None
        return wait_for(found, f"a window '{title}'", seconds)

    def text(self):
        """What it has written since it was started."""
        self.output.flush()
        with open(self.home / "output.log", "rb") as log:
            log.seek(self.output_start)
            return log.read().decode(errors="replace")

    def settings_file(self):
        return self.home / "config" / "Vistrel" / "settings.json"

    def settings(self):
        return json.loads(self.settings_file().read_text())

    # How it ends

    def wait(self, seconds):
        """Its exit status. Nothing of it runs any longer."""
        end = time.monotonic() + seconds
        try:
            status = self.process.wait(seconds)
        except subprocess.TimeoutExpired:
            raise Timeout(f"the program does not end within {seconds:g} s") from None
        wait_for(lambda: not self.others(), "the browser's processes to end",
                 max(1.0, end - time.monotonic()))
        return status

    def others(self):
        """Processes that were started by it, directly or not, and the parent of each."""
        found = {}
        for entry in Path("/proc").iterdir():
            if entry.name.isdigit() and int(entry.name) != self.identifier:
                try:
                    fields = (entry / "stat").read_text().rsplit(")", 1)[1].split()
                except (OSError, IndexError):
                    continue
                state, parent, _, session = fields[:4]
                if int(session) == self.identifier and state != "Z":
                    found[int(entry.name)] = int(parent)
        return found

    def page_processes(self):
        """Those in which the browser draws pages: children of one of its helpers. Once there is
        one, its view is in the window, which may have been made anew for it."""
        others = self.others()
        return [process for process, parent in others.items() if parent in others]

    def faults(self):
        return [line for line in self.text().splitlines() if any(f in line for f in FAULTS)]

    def kill(self):
        try:
            os.killpg(self.identifier, signal.SIGKILL)
        except ProcessLookupError:
            pass
        for other in self.others():
            os.kill(other, signal.SIGKILL)
        self.process.wait()
        self.output.close()
