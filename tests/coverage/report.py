#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Says which lines ran, by folder and file, and lists those that did not.

Usage: report.py BUILD LLVM NODE. BUILD is a build tree with VISTREL_COVERAGE whose tests have run,
LLVM the folder of llvm-profdata and llvm-cov, NODE the program.
"""

import collections
import itertools
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
FOLDERS = ["base", "engine", "download", "batch", "ui", "viewer", "shell", "cli", "web/src"]
COUNTING_SECTION = b"__llvm_covmap"


def run(*command):
    return subprocess.run(command, check=True, stdout=subprocess.PIPE, text=True).stdout


def parse(lcov, base, files):
    """Adds what a tracefile in LCOV's format says to files: name -> line -> count. Its places may be
    relative to base."""
    for line in lcov.splitlines():
        key, _, value = line.partition(":")
        if key == "SF":
            name = str((base / value).resolve()).removeprefix(f"{ROOT}/")
        elif key == "DA":
            number, count = value.split(",")[:2]
            files[name][int(number)] += int(count)


def program_lines(build, llvm):
    """What the programs and libraries counted."""
    merged = build / "counters" / "merged.profdata"
    counters = sorted((build / "counters").glob("*.profraw"))
    # A process that was killed as it started leaves a file without counters.
    run(llvm / "llvm-profdata", "merge", "-sparse", "-failure-mode=all", "-o", merged, *counters)
    places = [place for folder in ("bin", "tests") for place in sorted((build / folder).iterdir())]
    programs = [place for place in places
                if place.is_file() and COUNTING_SECTION in place.read_bytes()]
    others = itertools.chain.from_iterable(("-object", program) for program in programs[1:])
    return run(llvm / "llvm-cov", "export", "-format=lcov", f"-instr-profile={merged}", programs[0],
               *others)


def page_lines(build, node):
    """What the page's tests counted, in Node.js and in the browser."""
    return run(node, ROOT / "tests/web/coverage/collect.js", ROOT / "web/src",
               build / "counters/node", build / "counters/page")


def folder_of(name):
    return next((folder for folder in FOLDERS if name.startswith(folder + "/")), None)


def ranges(lines):
    """Not covered lines as ranges; lines without code between two of them do not part them."""
    numbers = sorted(lines)
    for is_covered, group in itertools.groupby(numbers, key=lambda number: lines[number] > 0):
        group = list(group)
        if not is_covered:
            yield group[0], group[-1]


def row(name, lines):
    covered = sum(count > 0 for count in lines)
    return f"| {name} | {len(lines)} | {len(lines) - covered} | {100 * covered / len(lines):.1f} % |"


def print_table(title, groups):
    print(f"| {title} | lines | not covered | covered |")
    print("|---|--:|--:|--:|")
    for name, lines in groups.items():
        print(row(name, lines))
    print()


def main():
    build, llvm, node = Path(sys.argv[1]), Path(sys.argv[2]), sys.argv[3]
    files = collections.defaultdict(collections.Counter)
    parse(program_lines(build, llvm), build, files)
    parse(page_lines(build, node), ROOT, files)
    files = {name: lines for name, lines in files.items() if folder_of(name)}

    counts = {name: list(files[name].values()) for name in sorted(files)}
    folders = {folder: [] for folder in FOLDERS}
    for name, lines in counts.items():
        folders[folder_of(name)] += lines
    for name in sorted(files):
        text = (ROOT / name).read_text().splitlines()
        for first, last in ranges(files[name]):
            place = f"{name}:{first}" if first == last else f"{name}:{first}-{last}"
            print(f"{place}: {text[first - 1].strip()}")
    print()
    print_table("file", counts)
    print_table("folder", folders)


if __name__ == "__main__":
    main()
