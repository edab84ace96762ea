"""A test case with a display, a program on it, and words for what a user does there."""

import os
import shutil
import tempfile
import unittest
from pathlib import Path

import layout
from display import Display, Timeout, wait_for
from program import Program
from scenes import LEFT, RIGHT, is_near

BINARIES = Path(os.environ["VISTREL_BIN"])
# Screens and output of what failed.
KEPT = BINARIES.parent / "tests" / "end_to_end"
SOURCE = Path(__file__).resolve().parents[2]
# Two seconds are what a user may be asked to wait; the rest is for a busy machine.
SECONDS_TO_END = 60
RELIEF = SOURCE / "resources" / "relief" / "vistrel_relief_demo.onnx"


class Session(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = Path(tempfile.mkdtemp(prefix="vistrel-end-to-end-"))
        cls.addClassCleanup(shutil.rmtree, cls.folder, ignore_errors=True)
        cls.display = Display(cls.folder / "display")
        cls.addClassCleanup(cls.display.close)

    def setUp(self):
        self.home = self.folder / self._testMethodName
        self.home.mkdir()
        self.program = None
        self.addCleanup(self._end)

    def start(self, **options):
        """Starts Vistrel, again where it ran before, and waits for the empty viewer page."""
        self.launch(**options)
        wait_for(lambda: self.program.page_processes() and self.find_window()
                 and self.color_at(0.5) == (0, 0, 0), "the viewer page")

    def launch(self, **options):
        """Starts Vistrel and waits until it has a window."""
        if self.program:
            self.program.kill()
        self.program = Program(self.display, BINARIES, self.home, **options)
        self.main = self.program.window("Vistrel")

    def make_window_small(self):
        """As small as the panel allows: pictures of scenes are there sooner."""
        self.display.resize(self.main, 760, 640)
        wait_for(lambda: self.find_window() and self.main.width == 760, "the smaller window")

    def _end(self):
        if not self.program:
            return
        result = self._outcome.result
        if any(test is self for test, _ in result.failures + result.errors):
            self._keep()
        self.program.kill()

    def _keep(self):
        KEPT.mkdir(parents=True, exist_ok=True)
        name = f"{type(self).__name__}.{self._testMethodName}"
        self.display.picture().save(KEPT / f"{name}.png")
        (KEPT / f"{name}.log").write_text(self.program.text())
        print(f"{name}: {self.display.windows()}; screen and output are kept in {KEPT}\n"
              f"{self.program.text()}")

    def expect_end(self):
        """The program ends in time, by itself and without complaint, and its settings are there."""
        self.assertEqual(self.program.wait(SECONDS_TO_END), 0)
        self.assertEqual(self.program.faults(), [])
        self.assertIn("stereoMode", self.program.settings())

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

    def shows_sides(self, *wanted, **options):
        """Whether the places at 1/8, 3/8, 5/8 and 7/8 of the width have these colours."""
        return all(is_near(self.color_at((2 * i + 1) / 8, **options), color)
                   for i, color in enumerate(wanted))

    def shows_two_pictures(self, **options):
        return self.shows_sides(LEFT, RIGHT, LEFT, RIGHT, **options)

    def shows_one_picture(self, **options):
        return self.shows_sides(LEFT, LEFT, RIGHT, RIGHT, **options)

    # What a user does

    def press(self, control, **shown):
        x, y = layout.controls(**shown)[control]
        self.display.click(self.panel[0] + x, self.panel[1] + y)

    def dialog(self):
        """The newest window of the program beside its main one."""
        def found():
            others = [w for w in self.program.windows() if w.id != self.main.id]
            return others[-1] if others else None
        return wait_for(found, "a dialog")

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
        self.press("select model")
        self.enter_file(path)
        # The download button goes, and what is below it moves up.
        x, y = layout.controls(download=True)["download"]
        place = (self.panel[0] + x + 125, self.panel[1] + y)
        wait_for(lambda: self.display.picture().getpixel(place) == layout.SIDEBAR_COLOR,
                 "the download button to go")

    def open_batch(self):
        self.press("batch")
        return BatchDialog(self, self.dialog())

    def open_file(self, path, **shown):
        self.press("select file", **shown)
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


class BatchDialog:
    """The dialog for a folder of photographs; places are in its own units."""

    SIZE = (320, 180)
    PLACES = {"browse input": (288, 17), "browse output": (288, 37), "start": (220, 162),
              "close": (282, 162)}
    INPUT = (80, 12, 255, 22)
    OUTPUT = (80, 32, 255, 42)

    def __init__(self, session, window):
        self.session = session
        self.window = window

    def press(self, name):
        self.session.display.click(*self._on_screen(*self.PLACES[name]))

    def choose_input(self, folder):
        self._choose("browse input", self.INPUT, folder)

    def choose_output(self, folder):
        self._choose("browse output", self.OUTPUT, folder)

    def _choose(self, button, field, folder):
        display = self.session.display
        box = (*self._on_screen(*field[:2]), *self._on_screen(*field[2:]))
        before = display.picture(box).tobytes()
        self.press(button)
        wait_for(lambda: self.session.dialog().id != self.window.id, "the question for the folder")
        self.session.enter_file(folder)
        wait_for(lambda: display.picture(box).tobytes() != before, "the folder's name")

    def _on_screen(self, x, y):
        return (self.window.x + self.window.width * x // self.SIZE[0],
                self.window.y + self.window.height * y // self.SIZE[1])
