#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""However busy it is, Vistrel ends at once, and its settings are saved."""

import socket
import unittest

import scenes
from display import wait_for
from session import Session
from user import SOURCE

PHOTOGRAPH = SOURCE / "resources" / "sample" / "autumn_lake.jpg"


class ClosingTest(Session):
    def close(self):
        self.display.close_window(self.main)
        self.expect_end()

    def wait_for_inference(self):
        wait_for(lambda: "Running inference" in self.program.text(), "the network to run")

    def test_as_soon_as_there_is_a_window(self):
        self.start()
        self.close()

    def test_while_a_photograph_is_converted(self):
        self.start()
        self.choose_model()
        self.open_photograph(PHOTOGRAPH)
        self.press("generate")
        self.enter_file(self.home / "scene.ply")
        self.wait_for_inference()
        self.close()

    def test_while_the_network_is_fetched(self):
        with socket.create_server(("127.0.0.1", 0)) as silent:
            silent.settimeout(20)
            proxy = f"http://127.0.0.1:{silent.getsockname()[1]}"
            self.start(environment={"https_proxy": proxy})
            self.press("download")
            question = self.dialog()
            self.display.activate(question)
            self.display.key("alt+y")
            connection, _ = silent.accept()
            with connection:
                self.close()

    def test_with_an_open_menu(self):
        self.start()
        self.open_menu(0)
        self.close()

    def test_with_an_open_list(self):
        self.start()
        self.press("provider")
        wait_for(self.popups, "the list")
        self.close()

    def test_with_an_open_question(self):
        self.start()
        self.press("download")
        self.dialog()
        self.display.key("q")
        self.expect_end()

    def test_with_an_open_file_dialog(self):
        self.start()
        self.press("select file")
        dialog = self.dialog()
        self.display.close_window(dialog)
        self.wait_for_closing(dialog)
        self.close()

    def test_while_a_scene_is_loaded(self):
        scene = self.home / "wall.ply"
        scenes.write_scene(scene)
        self.start()
        self.open_file(scene)
        self.close()

    def test_while_a_batch_runs(self):
        photographs = self.home / "photographs"
        photographs.mkdir()
        for number in range(3):
            scenes.write_photograph(photographs / f"{number}.png")
        self.start()
        self.choose_model()
        batch = self.open_batch()
        batch.choose_input(photographs)
        batch.start()
        self.wait_for_inference()
        self.display.key("q")
        self.expect_end()


if __name__ == "__main__":
    unittest.main(verbosity=2)
