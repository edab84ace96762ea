#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The tree keeps its rules, and the checker sees a tree that does not."""

import subprocess
import tempfile
import unittest
from pathlib import Path

import check_tree


class ThisTree(unittest.TestCase):
    def test_keeps_its_rules(self):
        self.assertEqual(check_tree.check_tree(Path(__file__).resolve().parents[2]), [])


class BrokenTree(unittest.TestCase):
    def findings(self, name, text, licence=check_tree.LICENCE):
        """What the checker says of a tree with just this file."""
        with tempfile.TemporaryDirectory() as folder:
            root = Path(folder)
            subprocess.run(["git", "init", "-q", folder], check=True)
            (root / name).parent.mkdir(parents=True, exist_ok=True)
            comment = "#" if name.endswith(".txt") else "//"
            (root / name).write_text(f"{comment} {licence}\n{text}")
            return check_tree.check_tree(root)

    def test_allowed_file_has_no_finding(self):
        self.assertEqual(self.findings("engine/a.cpp", '#include <vector>\n#include "engine/b.h"\n'), [])

    def test_engine_including_the_shell(self):
        self.assertTrue(self.findings("engine/a.cpp", '#include "ui/settings.h"\n'))

    def test_engine_using_qt(self):
        self.assertTrue(self.findings("engine/a.cpp", "#include <QString>\n"))

    def test_engine_header_showing_a_third_party(self):
        self.assertTrue(self.findings("engine/a.h", "#include <exiv2/exiv2.hpp>\n"))
        self.assertTrue(self.findings("download/a.h", "#include <curl/curl.h>\n"))

    def test_download_taking_more_of_the_engine_than_it_may(self):
        self.assertEqual(self.findings("download/a.cpp", '#include "base/text_encoding.h"\n'), [])
        self.assertTrue(self.findings("download/a.cpp", '#include "engine/splat_ply.h"\n'))

    def test_batch_converter_using_qt_that_only_its_dialogs_may(self):
        self.assertTrue(self.findings("batch/a.cpp", "#include <QDialog>\n"))
        self.assertEqual(self.findings("batch/dialogs/a.cpp", "#include <QDialog>\n"), [])

    def test_shell_including_the_loader(self):
        self.assertTrue(self.findings("shell/window/a.cpp", '#include "viewer/loader/a.h"\n'))

    def test_viewer_using_the_browser_engine(self):
        self.assertTrue(self.findings("viewer/a.cpp", "#include <QWebEngineView>\n"))
        self.assertEqual(self.findings("viewer/loader/a.cpp", "#include <QWebEngineView>\n"), [])

    def test_third_party_in_two_files(self):
        for place, header in (("engine", "exiv2/exiv2.hpp"), ("render/pictures", "png.h"),
                              ("shell/start", "xcb/xcb.h")):
            with self.subTest(place), tempfile.TemporaryDirectory() as folder:
                root = Path(folder)
                subprocess.run(["git", "init", "-q", folder], check=True)
                (root / place).mkdir(parents=True)
                for name in ("a.cpp", "b.cpp"):
                    (root / place / name).write_text(f"// {check_tree.LICENCE}\n#include <{header}>\n")
                self.assertEqual(len(check_tree.check_tree(root)), 1)

    def test_engine_linking_what_it_may_not(self):
        self.assertTrue(self.findings(
            "engine/CMakeLists.txt", "target_link_libraries(vistrel_engine PRIVATE Qt6::Core)\n"))

    def test_target_that_no_rule_knows(self):
        self.assertTrue(self.findings(
            "engine/CMakeLists.txt", "target_link_libraries(vistrel_new PRIVATE vistrel_base)\n"))
        self.assertEqual(self.findings(
            "tests/engine/CMakeLists.txt", "target_link_libraries(new_test PRIVATE Qt6::Test)\n"), [])

    def test_file_in_a_folder_without_a_rule(self):
        self.assertTrue(self.findings("novel/a.cpp", "#include <vector>\n"))
        self.assertTrue(self.findings("shell/a.h", "#include <vector>\n"))

    def test_source_that_does_not_name_its_licence(self):
        self.assertTrue(self.findings("engine/a.cpp", "", licence="All rights reserved"))
        self.assertEqual(self.findings("engine/a.cpp", ""), [])

    def test_words_that_no_file_may_hold(self):
        self.assertTrue(self.findings("docs/a.txt", "see spec" + ".md for this\n"))
        self.assertTrue(self.findings("docs/a.txt", "see Part" + " 1.2 for this\n"))
        self.assertTrue(self.findings("docs/spec" + ".md", ""))


if __name__ == "__main__":
    unittest.main()
