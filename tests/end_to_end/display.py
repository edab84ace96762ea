# SPDX-License-Identifier: GPL-3.0-or-later
"""A screen of its own for a test: X server in memory, window manager, mouse, keyboard, pictures."""

import os
import select
import struct
import subprocess
import time
from pathlib import Path

from PIL import Image

WIDTH, HEIGHT = 1280, 1024
# No key of the window manager's own comes between the test and the program.
WINDOW_MANAGER_SETTINGS = '<openbox_config xmlns="http://openbox.org/3.4/rc"></openbox_config>\n'


class Timeout(Exception):
    """What was waited for did not come."""


def wait_for(condition, what, seconds=60.0):
    """The first true answer of condition(), which is asked until the time is over."""
    end = time.monotonic() + seconds
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > end:
            raise Timeout(f"waited {seconds:g} s in vain for {what}")
        time.sleep(0.02)


class Window:
    """A window without its frame; positions on the screen."""

    def __init__(self, identifier, x, y, width, height, title):
        self.id, self.title = identifier, title
        self.x, self.y, self.width, self.height = x, y, width, height

    def __repr__(self):
        return f"'{self.title}' {self.width}x{self.height}+{self.x}+{self.y}"


class Display:
    """One thread. `close` ends the server and with it everything that is shown on it."""

    def __init__(self, folder, size=(WIDTH, HEIGHT), window_manager=WINDOW_MANAGER_SETTINGS):
        self.size, self.window_manager = size, window_manager
        self.folder = Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        self.log = open(self.folder / "display.log", "wb")
        self.processes = []
        self.environment = {k: v for k, v in os.environ.items()
                            if k not in ("WAYLAND_DISPLAY", "XAUTHORITY")}
        try:
            self._start_server()
            self._start_window_manager()
        except BaseException:
            self.close()
            raise

    def _start(self, command, **options):
        process = subprocess.Popen(command, stdout=self.log, stderr=self.log,
                                   stdin=subprocess.DEVNULL, **options)
        self.processes.append(process)
        return process

    def _start_server(self):
        reading, writing = os.pipe()
        try:
            self._start(["Xvfb", "-displayfd", str(writing), "-screen", "0",
                         "{}x{}x24".format(*self.size), "-nolisten", "tcp", "-noreset",
                         "-fbdir", str(self.folder)], pass_fds=[writing])
        finally:
            os.close(writing)
        with os.fdopen(reading) as pipe:
            if not select.select([pipe], [], [], 20)[0]:
                raise Timeout("Xvfb does not start")
            number = pipe.readline().strip()
        if not number:
            raise RuntimeError("Xvfb ended: " + (self.folder / "display.log").read_text())
        self.environment["DISPLAY"] = f":{number}"

    def _start_window_manager(self):
        settings = self.folder / "openbox.xml"
        settings.write_text(self.window_manager)
        home = self.folder / "window_manager"
        home.mkdir(exist_ok=True)
        environment = self.environment | {"HOME": str(home), "XDG_CACHE_HOME": str(home),
                                          "XDG_CONFIG_HOME": str(home), "XDG_DATA_HOME": str(home)}
        self._start(["openbox", "--sm-disable", "--config-file", str(settings)], env=environment)
        wait_for(lambda: self._run("wmctrl", "-m").returncode == 0, "the window manager")

    def close(self):
        for process in reversed(self.processes):
            process.kill()
            process.wait()
        self.log.close()
        (self.folder / "Xvfb_screen0").unlink(missing_ok=True)

    def _run(self, *command):
        return subprocess.run(command, env=self.environment, stdout=subprocess.PIPE,
                              stderr=subprocess.DEVNULL, text=True, errors="replace", timeout=30)

    # What is to be seen

    def picture(self, box=None):
        """The screen as it is now, or its part (left, top, right, bottom)."""
        data = (self.folder / "Xvfb_screen0").read_bytes()
        fields = struct.unpack(">25I", data[:100])
        size, width, height, row, colors = (fields[i] for i in (0, 4, 5, 12, 19))
        screen = Image.frombuffer("RGB", (width, height), data[size + 12 * colors:], "raw", "BGRX",
                                  row, 1)
        return screen.crop(box) if box else screen

    def windows(self, process=None):
        """Those with a frame, of one process or of all; the newest is the last."""
        found = []
        for line in self._run("wmctrl", "-lp").stdout.splitlines():
            identifier, _, owner, _, *title = line.split(None, 4)
            box = self._box(identifier)
            if box and process in (None, int(owner)):
                found.append(Window(identifier, *box, "".join(title)))
        return found

    def popups(self, process):
        """The visible windows of a process that have no frame: open menus and lists."""
        framed = {int(window.id, 16) for window in self.windows(process)}
        ids = self._run("xdotool", "search", "--onlyvisible", "--pid", str(process)).stdout.split()
        boxes = {i: self._box(i) for i in ids if int(i) not in framed}
        return [Window(i, *box, "") for i, box in boxes.items() if box and box[2] > 10]

    def _box(self, identifier):
        """Left, top, width and height without frame; nothing when the window has gone."""
        values = {}
        for line in self._run("xwininfo", "-id", identifier).stdout.splitlines():
            name, _, value = line.strip().partition(":")
            values[name] = value.strip()
        names = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
        return tuple(int(values[name]) for name in names) if "Width" in values else None

    def frame_box(self, window):
        """Left, top, right and bottom of a window with its frame."""
        told = self._run("xprop", "-id", window.id, "_NET_FRAME_EXTENTS").stdout
        left, right, top, bottom = map(int, told.partition("=")[2].split(","))
        return (window.x - left, window.y - top,
                window.x + window.width + right, window.y + window.height + bottom)

    def active_window(self):
        text = self._run("xdotool", "getactivewindow").stdout.strip()
        return f"0x{int(text):08x}" if text else ""

    # What a user does

    def activate(self, window):
        self._run("wmctrl", "-ia", window.id)
        wait_for(lambda: self.active_window() == window.id, f"{window} to become active")

    def close_window(self, window):
        """As the close box of its frame does."""
        self._run("wmctrl", "-ic", window.id)

    def resize(self, window, width, height):
        self._run("wmctrl", "-ir", window.id, "-e", f"0,-1,-1,{width},{height}")

    def click(self, x, y, button=1):
        self._run("xdotool", "mousemove", str(x), str(y), "click", str(button))

    def set_keyboard(self, layout):
        self._run("setxkbmap", layout)

    def point(self, x, y):
        self._run("xdotool", "mousemove", str(x), str(y))

    def point_away(self):
        """Moves the pointer into the corner of the screen, off every window."""
        self._run("xdotool", "mousemove", *(str(side - 1) for side in self.size))

    def drag(self, start, end, button=1):
        (x, y), (to_x, to_y) = start, end
        middle = ((x + to_x) // 2, (y + to_y) // 2)
        moves = [word for point in (middle, end) for word in ("mousemove", *map(str, point))]
        self._run("xdotool", "mousemove", str(x), str(y), "mousedown", str(button), *moves,
                  "mouseup", str(button))

    def key(self, *names):
        self._run("xdotool", "key", "--clearmodifiers", *names)

    def type(self, text):
        self._run("xdotool", "type", "--delay", "2", text)
