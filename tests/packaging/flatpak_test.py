#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The Flatpak manifest takes nothing from the network whose checksum it does not have."""

import base64
import json
import re
import subprocess
import unittest
from pathlib import Path

SOURCE = Path(__file__).resolve().parents[2]
FOLDER = SOURCE / "packaging/flatpak"
MANIFEST = (FOLDER / "org.vistrel.vistrel.yml").read_text()


def imported_packages():
    """What the scripts that build the pages and the pages' modules import from npm."""
    scripts = [*(SOURCE / "web").glob("*.js"), *(SOURCE / "web/src").rglob("*.js")]
    names = {name for script in scripts
             for name in re.findall(r'(?:from|import|resolve\() ?"((?:@[\w-]+/)?[\w-]+)["/]', script.read_text())}
    return {name for name in names if (SOURCE / "node_modules" / name / "package.json").exists()}


class Flatpak(unittest.TestCase):
    def npm_sources(self):
        told = subprocess.run(["node", FOLDER / "npm_sources.js", "https://registry.example/"], check=True,
                              capture_output=True, text=True).stdout
        return json.loads(told)

    def test_every_address_has_its_checksum(self):
        sources = re.split(r"\n      - ", MANIFEST)
        fetched = [source for source in sources if "\n        url: " in source]
        self.assertGreater(len(fetched), 10)
        for source in fetched:
            with self.subTest(source.split("\n")[1]):
                self.assertRegex(source, r"\n        url: https://\S+\n")
                self.assertRegex(source, r"\n        sha256: [0-9a-f]{64}\b")

    def test_npms_packages_are_those_of_the_lock_file(self):
        packages = json.loads((SOURCE / "package-lock.json").read_text())["packages"]
        for source in self.npm_sources():
            with self.subTest(source["dest"]):
                package = packages[source["dest"]]
                self.assertEqual(base64.b64encode(bytes.fromhex(source["sha512"])).decode(),
                                 package["integrity"].removeprefix("sha512-"))
                name = source["dest"].removeprefix("node_modules/")
                self.assertEqual(source["url"], f"https://registry.example/{name}/-/{name.split('/')[-1]}"
                                                f"-{package['version']}.tgz")

    def test_the_pages_find_all_that_they_import(self):
        taken = {source["dest"].removeprefix("node_modules/") for source in self.npm_sources()}
        imported = imported_packages()
        self.assertIn("three", imported)
        self.assertEqual(imported - taken, set())


if __name__ == "__main__":
    unittest.main(verbosity=2)
