# SPDX-License-Identifier: GPL-3.0-or-later
"""A session's message bus of a test's own."""

import subprocess
import tempfile


class SessionBus:
    """Programs that it starts have `environment`, whose data folder describes them as services."""

    def __init__(self, environment, log):
        # A socket's name is short and without blanks.
        self.folder = tempfile.TemporaryDirectory(prefix="vistrel-bus-")
        self.process = subprocess.Popen(
            ["dbus-daemon", "--session", "--nofork", "--nosyslog", "--print-address",
             f"--address=unix:dir={self.folder.name}"],
            env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=log, text=True)
        self.address = self.process.stdout.readline().strip()
        if not self.address:
            self.close()
            raise RuntimeError("dbus-daemon ended")

    def call(self, *arguments):
        """What a method answers, as gdbus writes it: call(NAME, PATH, METHOD, ARGUMENT...)."""
        name, path, method, *rest = map(str, arguments)
        done = subprocess.run(
            ["gdbus", "call", "--address", self.address, "--timeout", "60", "--dest", name,
             "--object-path", path, "--method", method, *rest], capture_output=True, text=True)
        if done.returncode != 0:
            raise RuntimeError(done.stderr)
        return done.stdout.strip()

    def owner(self, name):
        """The process that has a name."""
        told = self.call("org.freedesktop.DBus", "/org/freedesktop/DBus",
                         "org.freedesktop.DBus.GetConnectionUnixProcessID", name)
        return int(told.strip("(,)").split()[-1])

    def close(self):
        self.process.kill()
        self.process.wait()
        self.process.stdout.close()
        self.folder.cleanup()
