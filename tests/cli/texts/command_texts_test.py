#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Tests of the manual pages and completions against the commands' own --help.

Usage: command_texts_test.py SHARE. $VISTREL_BIN is the folder of the programs.
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SHARE = Path(sys.argv[1])
BIN = Path(os.environ["VISTREL_BIN"])
COMMANDS = ["vistrel-convert", "vistrel-fetch", "vistrel-render", "vistrel-share"]
OPTION = re.compile(r"^  (-[\w-]+(?:,-[\w-]+)*)", re.MULTILINE)


def output_of(*command, **more):
    return subprocess.run(command, check=True, capture_output=True, text=True, timeout=60, **more).stdout


def helps(command):
    """--help of the command and of each of its subcommands."""
    text = output_of(BIN / command, "--help")
    yield text
    subcommands = re.search(r"^Subcommands:\n((?:  .*\n?)*)", text, re.MULTILINE)
    for name in re.findall(r"^  (\w+)", subcommands[1] if subcommands else "", re.MULTILINE):
        yield output_of(BIN / command, name, "--help")


def options(command):
    found = {name for text in helps(command) for names in OPTION.findall(text)
             for name in names.split(",")}
    assert "--help" in found and len(found) > 4, found
    return found


def bash_words(line, folder, command):
    """What bash offers when the cursor is at the end of `line`."""
    script = f"""source {SHARE}/bash-completion/completions/{command}
        compopt() {{ :; }}
        COMP_WORDS=({line}) COMP_CWORD=$((${{#COMP_WORDS[@]}} - 1))
        _{command.replace('-', '_')}
        printf '%s\\n' "${{COMPREPLY[@]}}" """
    return sorted(output_of("bash", "-c", script, cwd=folder).split())


def press_tabulator(line, folder, expected):
    """Types `line` and the tabulator in zsh, and waits until the terminal shows what is expected."""
    output_of("zsh", "-f", "-c", f"""zmodload zsh/zpty
        zpty shell 'TERM=dumb PS1= zsh -f -i'
        zpty -w shell 'fpath=({SHARE}/zsh/site-functions $fpath); autoload -U compinit; compinit -u -D'
        zpty -w shell 'COLUMNS=200; cd {folder}; print rea""dy'
        zpty -r -m shell seen '*ready*' || exit 1
        zpty -w -n shell '{line}'$'\\t'
        zpty -r -m shell seen '*{expected}*'""")


class CommandTextsTest(unittest.TestCase):
    def setUp(self):
        temporary = tempfile.TemporaryDirectory()
        self.addCleanup(temporary.cleanup)
        self.folder = Path(temporary.name)
        for name in ("one.ply", "Two.SPZ", "photo.jpg", "notes.txt"):
            (self.folder / name).touch()
        (self.folder / "scenes").mkdir()

    def test_page_has_every_option(self):
        for command in COMMANDS:
            page = (SHARE / f"man/man1/{command}.1").read_text().replace("\\-", "-")
            for name in options(command):
                self.assertIn(f"\\fB{name}\\fR", page, command)

    def test_bash_offers_every_option(self):
        for command in COMMANDS:
            offered = set(bash_words(f"{command} -", self.folder, command))
            for name in re.findall(r"^  (\w+) ", "".join(helps(command)), re.MULTILINE):
                offered.update(bash_words(f"{command} {name} -", self.folder, command))
            self.assertLessEqual(options(command), offered, command)

    def test_zsh_knows_every_option(self):
        for command in COMMANDS:
            script = (SHARE / f"zsh/site-functions/_{command}").read_text()
            output_of("zsh", "-n", SHARE / f"zsh/site-functions/_{command}")
            for name in options(command):
                self.assertRegex(script, re.escape(f"'{name}") + r"=?\[", command)

    def test_every_program_has_a_page_that_man_understands(self):
        for command in COMMANDS + ["vistrel", "vistrel-make-scene"]:
            page = SHARE / f"man/man1/{command}.1"
            self.assertEqual(output_of("mandoc", "-T", "lint", page), "")
            text = re.sub(".\b", "", output_of("mandoc", "-T", "ascii", page))
            for title in ("NAME", "SYNOPSIS", "DESCRIPTION", "EXIT STATUS", "SEE ALSO"):
                self.assertRegex(text, f"(?m)^{title}$")

    def test_examples_are_those_of_the_help(self):
        for command in COMMANDS:
            page = (SHARE / f"man/man1/{command}.1").read_text().replace("\\-", "-")
            examples = page.split(".nf\n")[1].split(".fi\n")[0]
            self.assertIn(examples.strip(), output_of(BIN / command, "--help"))

    def test_bash_completes_values_that_can_be_listed(self):
        self.assertEqual(bash_words("vistrel-convert --provider c", self.folder, "vistrel-convert"),
                         ["cpu", "cuda"])
        self.assertEqual(bash_words("vistrel-render --view = w", self.folder, "vistrel-render"),
                         ["window"])
        self.assertEqual(bash_words("vistrel-render --parallax ''", self.folder, "vistrel-render"), [])

    def test_bash_completes_files_by_their_endings_and_folders(self):
        self.assertEqual(bash_words("vistrel-share ''", self.folder, "vistrel-share"),
                         ["Two.SPZ", "one.ply", "scenes"])
        self.assertEqual(bash_words("vistrel-convert p", self.folder, "vistrel-convert"), ["photo.jpg"])

    def test_bash_completes_folders_alone_where_one_is_wanted(self):
        self.assertEqual(bash_words("vistrel-render --output-dir ''", self.folder, "vistrel-render"),
                         ["scenes"])

    def test_bash_completes_subcommands_and_what_belongs_to_them(self):
        self.assertEqual(bash_words("vistrel-fetch ''", self.folder, "vistrel-fetch"), ["gpu", "model"])
        offered = bash_words("vistrel-fetch model --", self.folder, "vistrel-fetch")
        self.assertIn("--accept-licence", offered)
        self.assertNotIn("--cuda", offered)

    def test_zsh_completes_an_option_and_its_value(self):
        press_tabulator("vistrel-render --out", self.folder, "--output-dir")
        press_tabulator("vistrel-render --view w", self.folder, "window")
        press_tabulator("vistrel-fetch mod", self.folder, "model")
        press_tabulator("vistrel-share on", self.folder, "one.ply")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
