# SPDX-License-Identifier: GPL-3.0-or-later
"""What a user sees of the program on a display, and does with it there."""

from pathlib import Path

import layout
from display import Timeout, wait_for
from program import Program

SOURCE = Path(__file__).resolve().parents[2]
RELIEF = SOURCE / "resources" / "relief" / "vistrel_relief_demo.onnx"


class User:
    """One user at one display, with one home."""

    def sit_down(self, display, binaries, home):
        self.display, self.binaries, self.home = display, binaries, home
        self.program = None

    def start(self, **options):
        """Starts Vistrel, again where it ran before, and waits for the empty viewer page."""
        self.launch(**options)
        wait_for(lambda: self.program.page_processes() and self.find_window()
                 and self.color_at(0.5) == (0, 0, 0), "the viewer page")

    def launch(self, **options):
        """Starts Vistrel and waits until it has a window."""
        if self.program:
            self.program.kill()
        self.program = Program(self.display, self.binaries, self.home, **options)
        self.main = self.program.window("Vistrel")

    def resize(self, width, height):
        menu_height = self.panel[1] - self.main.y
        self.display.resize(self.main, width, height)
        # The list of windows and the screen are not looked at in the same moment: while the window
        # moves, they do not fit together.
        wait_for(lambda: self.find_window() and (self.main.width, self.main.height)
                 == (width, height) and self.panel[1] - self.main.y == menu_height,
                 "the window's size")

    def make_window_small(self):
        """As small as the panel allows: pictures of scenes are there sooner."""
        self.resize(760, 640)

    # Where things are

    def find_window(self):
        """Looks for the window and its side panel's top left corner, below the menu bar."""
        windows = [w for w in self.program.windows() if w.title == "Vistrel"]
        picture = self.display.picture()
        for self.main in windows:
            x = self.main.x + 4
            for y in range(max(0, self.main.y), min(self.main.y + 60, picture.height - 5)):
                if all(picture.getpixel((x, y + i)) == layout.SIDEBAR_COLOR for i in range(5)):
                    self.panel = (self.main.x, y)
                    return True
        return False

    def viewer(self, sidebar=True):
        """The box of the viewer area on the screen."""
        left = self.main.x + (layout.SIDEBAR_WIDTH if sidebar else 0)
        return (left, self.panel[1], self.main.x + self.main.width, self.main.y + self.main.height)

    def color_at(self, x_part, y_part=0.45, **options):
        """The colour at a place of the viewer area, told in parts of its width and height."""
        left, top, right, bottom = self.viewer(**options)
        place = (int(left + (right - left) * x_part), int(top + (bottom - top) * y_part))
        return self.display.picture().getpixel(place)

    # What a user does

    def press(self, control, **shown):
        x, y = layout.controls(**shown)[control]
        self.display.click(self.panel[0] + x, self.panel[1] + y)

    def press_for_dialog(self, control, **shown):
        press_until(lambda: self.press(control, **shown), self.newest_dialog, "a dialog")

    def dialog(self):
        """The newest window of the program beside its main one."""
        return wait_for(self.newest_dialog, "a dialog")

    def newest_dialog(self):
        others = [w for w in self.program.windows() if w.id != self.main.id]
        return others[-1] if others else None

    def wait_for_closing(self, window, seconds=60):
        wait_for(lambda: all(w.id != window.id for w in self.program.windows()),
                 f"{window} to close", seconds)

    def enter_file(self, path):
        """Types a name into the file dialog that is open, and confirms it."""
        dialog = self.dialog()
        for attempt in range(3):
            self.display.activate(dialog)
            self.display.key("ctrl+a")
            self.display.type(str(path))
            self.display.key("Return")
            try:
                # No sooner is it taken for stuck: what is typed would go to the main window.
                return self.wait_for_closing(dialog, 15)
            except Timeout:
                # Where a list of completions is open, Enter may do no more than choose from it.
                if attempt == 2:
                    raise

    def choose_model(self, path=RELIEF):
        x, y = layout.controls()["model name"]
        left, top = self.panel[0] + x - 90, self.panel[1] + y - 8
        box = (left, top, left + 180, top + 16)
        before = self.display.picture(box).tobytes()
        self.press_for_dialog("select model")
        self.enter_file(path)
        wait_for(lambda: self.display.picture(box).tobytes() != before, "the network's name")

    def open_batch(self):
        self.press_for_dialog("batch")
        return BatchDialog(self, self.dialog())

    def open_file(self, path, **shown):
        self.press_for_dialog("select file", **shown)
        self.enter_file(path)

    def open_photograph(self, path, **shown):
        """One that fills the viewer area's width."""
        self.open_file(path, **shown)
        # At the side, where no dialog has been.
        wait_for(lambda: self.color_at(0.97) not in ((0, 0, 0), layout.WINDOW_COLOR), "the preview")

    def focus_viewer(self):
        left, top, right, bottom = self.viewer()
        self.display.click((left + right) // 2, (top + bottom) // 2)

    def open_menu(self, number):
        """Opens the menu with this number, from the left; its window."""
        self.display.click(self.main.x + 14, (self.main.y + self.panel[1]) // 2)
        menu = wait_for(self.popups, "a menu")[0]
        for _ in range(number):
            before = menu.id
            self.display.key("Right")
            menu = wait_for(lambda: [one for one in self.popups() if one.id != before],
                            "the next menu")[0]
        return menu

    def popups(self):
        return self.display.popups(self.program.identifier)


def press_until(press, condition, what):
    """A press is not heard while a dialog is about to close, although its window is gone."""
    def is_heard():
        press()
        try:
            return wait_for(condition, what, 5)
        except Timeout:
            return False
    return wait_for(is_heard, what)


class BatchDialog:
    """The dialog for a folder of photographs; places are in its own units."""

    SIZE = (320, 180)
    PLACES = {"browse input": (288, 17), "browse output": (288, 37), "start": (220, 162),
              "close": (282, 162)}
    INPUT = (80, 12, 255, 22)
    OUTPUT = (80, 32, 255, 42)
    BROWSE_FACE = (269, 17)
    PROGRESS = (11, 66, 309)  # left end, middle and right end of the bar

    def __init__(self, user, window):
        self.user = user
        self.window = window

    def press(self, name):
        self.user.display.click(*self._on_screen(*self.PLACES[name]))

    def choose_input(self, folder):
        self._choose("browse input", self.INPUT, folder)

    def choose_output(self, folder):
        self._choose("browse output", self.OUTPUT, folder)

    def _choose(self, button, field, folder):
        display = self.user.display
        box = (*self._on_screen(*field[:2]), *self._on_screen(*field[2:]))
        before = display.picture(box).tobytes()
        press_until(lambda: self.press(button), lambda: self.user.dialog().id != self.window.id,
                    "the question for the folder")
        question = self.user.dialog()
        self.user.enter_file(folder)
        # Until then it may hide what is looked at next.
        self.user.wait_for_closing(question)
        wait_for(lambda: display.picture(box).tobytes() != before, "the folder's name")

    def start(self):
        """Presses Start; then nothing can be chosen any more."""
        def color():
            return self.user.display.picture().getpixel(self._on_screen(*self.BROWSE_FACE))
        before = color()
        press_until(lambda: self.press("start"), lambda: color() != before, "the batch to begin")

    def progress_color(self, part):
        """The colour of the progress bar at this part of its width."""
        left, y, right = self.PROGRESS
        return self.user.display.picture().getpixel(self._on_screen(left + (right - left) * part, y))

    def _on_screen(self, x, y):
        return (int(self.window.x + self.window.width * x / self.SIZE[0]),
                int(self.window.y + self.window.height * y / self.SIZE[1]))
