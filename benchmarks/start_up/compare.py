#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Start of the program against that of an empty browser window, both several times in turn.

Usage: tests/support/with_display benchmarks/start_up/compare.py BIN_FOLDER [ROUNDS]
Prints the medians in seconds from process start to window shown and to page ready, and the ratios.
The empty window loads an empty page from a file, because the program's page is a file too and the
browser starts a helper process for it.
"""

import os
import statistics
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROGRAMS = {"Vistrel": "start_up_observed_program", "empty": "start_up_empty_window"}
SWITCHES = "--allow-file-access-from-files --disable-web-security --ignore-gpu-blocklist"


def start(program, page, home):
    environment = dict(os.environ, HOME=home, TMPDIR=home, QTWEBENGINE_CHROMIUM_FLAGS=SWITCHES,
                       VISTREL_STARTED=str(time.monotonic_ns()))
    for name in ("XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"):
        environment.pop(name, None)
    if os.getuid() == 0:
        environment["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
    output = subprocess.run([program, page], env=environment, check=True, timeout=120,
                            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True).stdout
    lines = [line.split() for line in output.splitlines()]
    return {words[0]: float(words[1]) for words in lines if words[0] in ("shown", "ready")}


def main():
    folder = Path(sys.argv[1])
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 15
    seconds = {name: {"shown": [], "ready": []} for name in PROGRAMS}
    with tempfile.TemporaryDirectory() as home:
        page = Path(home) / "empty.html"
        page.write_text("<!doctype html><title>Empty</title>", encoding="utf-8")
        for number in range(rounds + 1):
            for name, program in PROGRAMS.items():
                times = start(folder / program, page, home)
                if number > 0:  # the first start fills the caches
                    for milestone, value in times.items():
                        seconds[name][milestone].append(value)
    for milestone in ("shown", "ready"):
        ours, theirs = (seconds[name][milestone] for name in PROGRAMS)
        ratios = [one / other for one, other in zip(ours, theirs)]
        print(f"{milestone}: Vistrel {statistics.median(ours):.3f} s, empty window "
              f"{statistics.median(theirs):.3f} s, ratio {statistics.median(ratios):.3f} "
              f"({min(ratios):.3f} to {max(ratios):.3f})")


if __name__ == "__main__":
    main()
