#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The pictures of the documents and the manuals: they are there, they are shown, and
scripts/pictures takes them."""

import re
import subprocess
import unittest
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
IMAGES = ROOT / "docs" / "images"
PICTURE = re.compile(r'!\[[^\]]*\]\(([^)]+)\)|<img src="([^"]+)"')


def pictures_of(text):
    """The addresses of the pictures that Markdown or HTML shows."""
    return [markdown or html for markdown, html in PICTURE.findall(text)]


def shown_pictures():
    """Each as (document, picture)."""
    documents = [*ROOT.glob("*.md"), *ROOT.glob("docs/*.md"), *ROOT.glob("packaging/*.md"),
                 *ROOT.glob("web/manual/*.html")]
    return [(document, (document.parent / address).resolve())
            for document in documents for address in pictures_of(document.read_text())]


class Pictures(unittest.TestCase):
    def test_pictures_of_both_kinds_of_document_are_seen(self):
        self.assertEqual(pictures_of('![A](a.png) [b](b.md)\n<p><img src="c/d.jpg" alt="D"></p>'),
                         ["a.png", "c/d.jpg"])
        self.assertIn((ROOT / "README.md", IMAGES / "scene_en.jpg"), shown_pictures())
        self.assertIn((ROOT / "web/manual/ja.html", IMAGES / "scene_ja.jpg"), shown_pictures())

    def test_every_picture_that_is_shown_is_there(self):
        lost = [f"{document}: {picture}" for document, picture in shown_pictures()
                if not picture.is_file()]
        self.assertEqual(lost, [])

    def test_every_picture_is_shown(self):
        shown = {picture for _, picture in shown_pictures()}
        self.assertEqual([picture for picture in IMAGES.iterdir() if picture not in shown], [])

    def test_every_picture_is_taken_by_the_script(self):
        listed = subprocess.run([ROOT / "scripts" / "pictures", "--list"], check=True,
                                capture_output=True, text=True).stdout.split()
        self.assertCountEqual(listed, [picture.name for picture in IMAGES.iterdir()])


if __name__ == "__main__":
    unittest.main()
