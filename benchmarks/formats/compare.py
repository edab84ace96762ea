#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Scenes into every format by vistrel-convert and by splat-transform, in turn.

Usage: benchmarks/formats/compare.py BIN_FOLDER SCENE.ply [ROUNDS [ENDING...]]
BIN_FOLDER holds vistrel-convert, built as releases are. Without an ENDING, all that either of both
writes. Prints a table of the files' sizes, each command's best time over the rounds (3) from its
start to its end, and the ratios of ours to theirs.
"""

import subprocess
import sys
import tempfile
import time
from pathlib import Path

SPLAT_TRANSFORM = Path(__file__).resolve().parents[2] / "tests" / "support" / "splat_transform.js"

# Ending -> what each command needs to be told, and whether splat-transform writes it.
FORMATS = {
    ".ply": ([], [], True),
    ".compressed.ply": ([], [], True),
    ".splat": ([], [], False),
    ".spz": (["--spz-version", "4"], ["--spz-version", "4"], True),
    ".sog": ([], [], True),
    ".glb": ([], [], True),
}


def seconds_of(command):
    start = time.monotonic()
    subprocess.run(command, check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.monotonic() - start


def commands(convert, scene, ending, folder):
    ours, theirs, both = FORMATS[ending]
    made = {"ours": folder / f"ours{ending}"}
    lines = {"ours": [convert, *ours, scene, made["ours"]]}
    if both:
        made["theirs"] = folder / f"theirs{ending}"
        lines["theirs"] = ["node", SPLAT_TRANSFORM, "--overwrite", "--gpu", "cpu", *theirs, scene,
                           made["theirs"]]
    return lines, made


def measure(convert, scene, ending, folder, rounds):
    lines, made = commands(convert, scene, ending, folder)
    best = dict.fromkeys(lines, float("inf"))
    for _ in range(rounds):
        for name, line in lines.items():
            best[name] = min(best[name], seconds_of(line))
    return best, {name: path.stat().st_size for name, path in made.items()}


def row(ending, best, sizes):
    cells = [ending, f"{sizes['ours'] / 1e6:.1f} MB", f"{best['ours']:.2f} s"]
    if "theirs" in best:
        cells += [f"{sizes['theirs'] / 1e6:.1f} MB", f"{best['theirs']:.2f} s",
                  f"{sizes['ours'] / sizes['theirs']:.2f}", f"{best['ours'] / best['theirs']:.2f}"]
    else:
        cells += ["", "", "", ""]
    return "| " + " | ".join(cells) + " |"


def main():
    convert, scene = Path(sys.argv[1]) / "vistrel-convert", Path(sys.argv[2])
    rounds = int(sys.argv[3]) if len(sys.argv) > 3 else 3
    print("| format | vistrel-convert | time | splat-transform | time | sizes' ratio "
          "| times' ratio |")
    print("|---|---|---|---|---|---|---|")
    with tempfile.TemporaryDirectory() as folder:
        for ending in sys.argv[4:] or FORMATS:
            print(row(ending, *measure(convert, scene, ending, Path(folder), rounds)), flush=True)


if __name__ == "__main__":
    main()
