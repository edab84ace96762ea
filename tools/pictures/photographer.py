# SPDX-License-Identifier: GPL-3.0-or-later
"""A user who takes pictures of what the program shows."""

import json
import time

from display import wait_for
from page_state import free_port, page_state
from user import User

# Nothing has moved for so long when a picture is taken.
STILL_SECONDS = 0.5
# A scene that the processor draws takes a minute on a quiet machine.
SCENE_SECONDS = 1800
LANGUAGES = {"en": "en_US.UTF-8", "ja": "ja_JP.UTF-8"}


class Photographer(User):
    def __init__(self, display, binaries, home):
        home.mkdir()
        self.sit_down(display, binaries, home)
        self.port = free_port()

    def set_up(self, language, size, settings=None, **environment):
        """Starts the program with a window of this size."""
        if settings:
            file = self.home / "config" / "Vistrel" / "settings.json"
            file.parent.mkdir(parents=True)
            file.write_text(json.dumps(settings))
        debugging = {"QTWEBENGINE_REMOTE_DEBUGGING": f"127.0.0.1:{self.port}"}
        self.start(language=LANGUAGES[language], environment=debugging | environment)
        self.resize(*size)

    # What is done

    def change_view(self, *keys, **viewer):
        """Presses these keys in the viewer and waits for what they make of the scene."""
        before = self.display.picture(self.viewer(**viewer))
        self.focus_viewer()
        self.display.key(*keys)
        self.wait_for_scene(before, **viewer)

    def wait_for_scene(self, before, **viewer):
        """Until there is a whole picture of a scene in the viewer, where `before` was."""
        left, top, right, bottom = box = self.viewer(**viewer)
        shown = [right - left, bottom - top, "shown"]
        wait_for(lambda: self.display.picture(box).tobytes() != before.tobytes(),
                 "another picture in the viewer", SCENE_SECONDS)
        wait_for(lambda: page_state(self.port) == shown, "the scene", SCENE_SECONDS)

    # What is seen

    def window(self, window=None):
        """A window and its frame, the main window if none is told."""
        return self._still(self.display.frame_box(window or self.main))

    def corner(self, width, height):
        """As much of the main window from the top left corner of its frame."""
        left, top, _, _ = self.display.frame_box(self.main)
        return self._still((left, top, left + width, top + height))

    def _still(self, box):
        self.display.point_away()
        last, since = None, None

        def unchanged():
            nonlocal last, since
            picture = self.display.picture(box)
            if last is None or picture.tobytes() != last.tobytes():
                last, since = picture, time.monotonic()
            return picture if time.monotonic() - since > STILL_SECONDS else None
        return wait_for(unchanged, "the screen to be still")
