#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the taking of pictures stands on: the album, the server, and the question to the page."""

import json
import sys
import tempfile
import threading
import unittest
import urllib.error
import urllib.request
from http.server import BaseHTTPRequestHandler, HTTPServer
from pathlib import Path

from PIL import Image

SOURCE = Path(__file__).resolve().parents[2]
sys.path.insert(0, str(SOURCE / "tools" / "pictures"))
import local_server  # noqa: E402
from album import Album  # noqa: E402
from page_state import free_port, page_state  # noqa: E402


class AlbumTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.album = Album(self.folder, ["a.png", "b.jpg"])

    def test_pictures_are_saved_as_their_names_say(self):
        self.album.add("a.png", Image.new("RGB", (30, 20), "red"))
        self.album.add("b.jpg", Image.new("RGB", (30, 20), "red"))
        for name, kind in ("a.png", "PNG"), ("b.jpg", "JPEG"):
            with Image.open(self.folder / name) as picture:
                self.assertEqual(picture.format, kind)
        self.assertEqual(self.album.missing, set())

    def test_a_picture_is_made_smaller_in_its_proportions(self):
        self.album.add("a.png", Image.new("RGB", (300, 200), "red"), 150)
        with Image.open(self.folder / "a.png") as picture:
            self.assertEqual(picture.size, (150, 100))

    def test_a_picture_without_a_place_is_refused(self):
        with self.assertRaises(KeyError):
            self.album.add("c.png", Image.new("RGB", (3, 2)))


class LocalServerTest(unittest.TestCase):
    def setUp(self):
        self.server = local_server.LocalServer()
        self.addCleanup(self.server.close)

    def test_there_is_no_file_at_first(self):
        with self.assertRaises(urllib.error.HTTPError) as failure:
            urllib.request.urlopen(self.server.address)
        self.assertEqual(failure.exception.code, 404)
        self.assertTrue(self.server.has_answered.wait(10))

    def test_a_part_of_the_file_comes_and_no_more(self):
        self.server.has_file = True
        with urllib.request.urlopen(self.server.address) as answer:
            self.assertEqual(int(answer.headers["Content-Length"]), local_server.WHOLE)
            left = local_server.SENT
            while left > 0:
                left -= len(answer.read1(local_server.MEGABYTE))
            self.assertEqual(left, 0)
            self.assertTrue(self.server.has_answered.wait(10))


class Debugger(BaseHTTPRequestHandler):
    """A browser's port for debuggers, with one page that answers with what the server holds."""

    def do_GET(self):
        if self.path == "/json/list":
            port = self.server.server_port
            pages = [{"type": "page", "webSocketDebuggerUrl": f"ws://127.0.0.1:{port}/page/1"}]
            self.send_response(200)
            self.end_headers()
            self.wfile.write(json.dumps(pages).encode())
            return
        self.send_response_only(101)
        self.end_headers()
        self.server.asked = self.unmasked()
        answer = json.dumps({"id": 1, "result": {"result": self.server.answer}}).encode()
        length = bytes([len(answer)]) if len(answer) < 126 else b"\x7e" + len(answer).to_bytes(2, "big")
        self.wfile.write(b"\x81" + length + answer)

    def unmasked(self):
        kind, short, *length = self.rfile.read(4)
        assert (kind, short) == (0x81, 0xFE), "not one masked text with a length in 16 bits"
        mask, masked = self.rfile.read(4), self.rfile.read(int.from_bytes(length, "big"))
        return json.loads(bytes(byte ^ mask[i % 4] for i, byte in enumerate(masked)))

    def log_message(self, *_):
        pass


class PageStateTest(unittest.TestCase):
    def ask(self, answer):
        with HTTPServer(("127.0.0.1", 0), Debugger) as self.server:
            self.server.answer = answer
            threading.Thread(target=self.server.serve_forever, daemon=True).start()
            try:
                return page_state(self.server.server_port)
            finally:
                self.server.shutdown()

    def test_the_page_is_asked_for_its_size_and_its_scene(self):
        self.assertEqual(self.ask({"value": [1110, 616, "shown"]}), [1110, 616, "shown"])
        self.assertEqual(self.server.asked["method"], "Runtime.evaluate")
        self.assertIn("SceneStateFromNative()", self.server.asked["params"]["expression"])

    def test_a_page_without_a_viewer_has_no_state(self):
        self.assertIsNone(self.ask({"subtype": "error", "description": "ReferenceError " * 20}))

    def test_a_browser_that_is_not_there_yet_has_no_state(self):
        self.assertIsNone(page_state(free_port()))


if __name__ == "__main__":
    unittest.main()
