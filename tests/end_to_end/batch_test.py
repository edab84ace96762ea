# SPDX-License-Identifier: GPL-3.0-or-later
"""A folder of photographs becomes scenes, with the dialog's own buttons."""

import unittest

import scenes
from display import wait_for
from session import Session


class BatchTest(Session):
    def wait_for_scenes(self, number):
        wait_for(lambda: self.program.text().count("Saved PLY") == number, f"{number} scenes", 300)

    def names(self):
        return sorted(file.name for file in self.output.iterdir())

    def test_conflicts_are_asked_for_once_and_both_scenes_kept(self):
        photographs = self.home / "photographs"
        self.output = self.home / "scenes"
        photographs.mkdir()
        self.output.mkdir()
        for name in ("first.png", "second.PNG"):
            scenes.write_photograph(photographs / name)
        (photographs / "notes.txt").write_text("no photograph")
        self.start()
        self.choose_model()
        batch = self.open_batch()
        batch.choose_input(photographs)
        batch.choose_output(self.output)
        batch.start()
        self.wait_for_scenes(2)
        self.assertEqual(self.names(), ["first.ply", "second.ply"])

        def question():
            batch.press("start")  # nothing happens while the first batch is about to end
            newest = self.dialog()
            return newest if newest.id != batch.window.id else None
        conflict = wait_for(question, "the question about the scenes that are there")
        # The middle one of its buttons, in a dialog of 250 x 100 units.
        self.display.click(conflict.x + conflict.width * 125 // 250,
                           conflict.y + conflict.height * 72 // 100)
        self.wait_for_closing(conflict)
        self.wait_for_scenes(4)
        self.assertEqual(self.names(),
                         ["first(1).ply", "first.ply", "second(1).ply", "second.ply"])
        wait_for(self.has_ended(batch), "the dialog to close")
        self.display.key("q")
        self.expect_end()

    def has_ended(self, batch):
        """The button that closes the dialog comes with the end of the batch."""
        def closed():
            if all(window.id != batch.window.id for window in self.program.windows()):
                return True
            batch.press("close")
            return False
        return closed


if __name__ == "__main__":
    unittest.main(verbosity=2)
