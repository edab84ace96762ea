#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What the programs were compiled and linked with against the abuse of errors in them."""

import os
import re
import subprocess
import unittest
from pathlib import Path

BINARIES = Path(os.environ["VISTREL_BIN"])
PROGRAMS = ("vistrel", "vistrel-convert", "vistrel-fetch", "vistrel-render", "vistrel-share")
LOADER = "WebView2Loader.dll"
DECODERS = tuple(f"photos/{name}.so" for name in ("heif", "jxl", "raw", "tiff", "webp"))
CODECS = r"lib(heif|de265|dav1d|aom|jxl\w*|raw(_r)?|tiff|webp\w*|lcms2)\.so"
MODULES = ("vistrel_http.so", *DECODERS)
ENDBR64 = b"\xf3\x0f\x1e\xfa"
BUILD_TYPE = re.search(r"^CMAKE_BUILD_TYPE:\w+=(.*)$",
                       (BINARIES.parent / "CMakeCache.txt").read_text(), re.MULTILINE)[1]


def readelf(option, name):
    return subprocess.run(["readelf", "-W", option, str(BINARIES / name)], check=True,
                          capture_output=True, text=True, env={**os.environ, "LC_ALL": "C"}).stdout


class Hardening(unittest.TestCase):
    def test_the_programs_are_position_independent(self):
        for name in PROGRAMS:
            with self.subTest(name):
                self.assertRegex(readelf("-h", name), r"Type:\s+DYN")
                self.assertRegex(readelf("-d", name), r"FLAGS_1.*\bPIE\b")

    def test_addresses_of_functions_are_read_only_once_all_are_bound(self):
        for name in (*PROGRAMS, LOADER, *MODULES):
            with self.subTest(name):
                self.assertIn("GNU_RELRO", readelf("-l", name))
                self.assertRegex(readelf("-d", name), r"FLAGS_1.*\bNOW\b")

    def test_the_stack_is_not_executable(self):
        for name in (*PROGRAMS, LOADER, *MODULES):
            with self.subTest(name):
                self.assertRegex(readelf("-l", name), r"GNU_STACK .* RW +0x")

    def test_places_that_may_be_jumped_to_are_marked(self):
        # The note that says so of a whole program is lost to the start files of the C library.
        for name in (*PROGRAMS, LOADER):
            with self.subTest(name):
                self.assertGreater((BINARIES / name).read_bytes().count(ENDBR64), 100)

    def test_an_overwritten_stack_is_noticed(self):
        for name in (*PROGRAMS, LOADER, *MODULES):
            with self.subTest(name):
                self.assertIn("__stack_chk_fail", readelf("--dyn-syms", name))

    @unittest.skipUnless(BUILD_TYPE in ("Release", "RelWithDebInfo"), "needs an optimised build")
    def test_copies_into_buffers_are_checked(self):
        for name in PROGRAMS:
            with self.subTest(name):
                self.assertRegex(readelf("--dyn-syms", name), r"__\w+_chk@GLIBC")

    def test_every_file_is_compiled_against_clashes_of_stack_and_heap(self):
        commands = (BINARIES.parent / "compile_commands.json").read_text()
        entries = re.findall(r'"command": "(.*)"', commands)
        self.assertTrue(entries)
        for command in entries:
            self.assertIn("-fstack-clash-protection", command)


class Transfer(unittest.TestCase):
    def test_the_main_program_needs_no_library_that_fetches_files(self):
        for name in ("vistrel", LOADER):
            with self.subTest(name):
                self.assertNotRegex(readelf("-d", name), r"lib(curl|ssl|crypto)\b")


class Codecs(unittest.TestCase):
    def test_the_main_program_needs_no_library_that_decodes_photographs(self):
        for name in ("vistrel", LOADER):
            with self.subTest(name):
                self.assertNotRegex(readelf("-d", name), CODECS)

    def test_each_decoder_needs_the_library_of_its_kind_alone(self):
        for name in DECODERS:
            with self.subTest(name):
                kind = Path(name).stem
                needed = set(re.findall(CODECS, readelf("-d", name)))
                self.assertTrue(needed)
                self.assertEqual([library for library, _ in needed if not library.startswith(kind)], [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
