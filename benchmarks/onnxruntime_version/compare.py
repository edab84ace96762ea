#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Measures several versions of ONNX Runtime on a network of the real one's size.

A session lives for one picture, so creating it counts as much as running it. Every version gets a
process of its own; the versions take turns, and each turn's figures are divided by those of the
pinned version in the same turn, so that a machine busy with other work changes the ratios little.
The packages and the network (1.3 GB) go into a temporary folder that is removed at the end.

Needs the program `onnxruntime_session` of a built tree, npm, and Python with the onnx package.
"""

import argparse
import json
import os
import statistics
import subprocess
import sys
import tempfile
from pathlib import Path

import transformer

ROOT = Path(__file__).resolve().parents[2]
PACKAGE = "onnxruntime-node"
FIGURES = [("create", "create s"), ("createCpu", "cpu s"), ("run", "run s"), ("runCpu", "cpu s"),
           ("total", "both s"), ("totalCpu", "cpu s"), ("createPeak", "MiB made"),
           ("peak", "MiB peak")]


def install(folder, version):
    target = folder / version
    target.mkdir()
    subprocess.run(["npm", "install", "--prefix", target, "--ignore-scripts", "--no-save",
                    "--no-package-lock", "--no-audit", "--no-fund", "--loglevel=error",
                    f"{PACKAGE}@{version}"], check=True, stdout=subprocess.DEVNULL)
    binaries = target / "node_modules" / PACKAGE / "bin"
    libraries = sorted(binaries.glob("napi-v*/linux/x64/libonnxruntime.so*"))
    if not libraries:
        raise SystemExit(f"{PACKAGE} {version} has no library for Linux")
    return libraries[0]


def measure(program, library, model):
    """What one process measures, or None where the version cannot run the network."""
    done = subprocess.run([program, library, model], stdout=subprocess.PIPE, text=True)
    if done.returncode != 0:
        return None
    figures = json.loads(done.stdout)
    figures["total"] = figures["create"] + figures["run"]
    figures["totalCpu"] = figures["createCpu"] + figures["runCpu"]
    return figures


def print_table(rounds, pinned):
    print(f"\nMedians of {len(rounds)} rounds; in brackets the median ratio to {pinned}.\n")
    print("version".ljust(10) + "".join(title.rjust(17) for _, title in FIGURES))
    for version in rounds[0]:
        line = version.ljust(10)
        if any(turn[version] is None for turn in rounds):
            print(line + "  failed")
            continue
        for key, _ in FIGURES:
            value = statistics.median(turn[version][key] for turn in rounds)
            ratio = statistics.median(turn[version][key] / turn[pinned][key] for turn in rounds)
            line += f"{value:.5g} ({ratio:.2f})".rjust(17)
        print(line)


def arguments(pinned):
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("versions", nargs="*",
                        default=["1.20.1", "1.21.0", "1.23.2", "1.24.3", "1.30.0"],
                        help=f"versions to compare with the pinned one, {pinned}")
    parser.add_argument("--rounds", type=int, default=3)
    parser.add_argument("--blocks", type=int, default=32,
                        help="of the network; 32 make 1.3 GB")
    parser.add_argument("--patch", type=int, default=32, choices=[32, 48, 64],
                        help="pixels on a side per token; larger ones shorten the run")
    parser.add_argument("--folder", help="where the temporary folder is made")
    parser.add_argument("--program", default=ROOT / "build/release/benchmarks/onnxruntime_session")
    return parser.parse_args()


def main():
    pinned = json.loads((ROOT / "package.json").read_text())["devDependencies"][PACKAGE]
    options = arguments(pinned)
    versions = [pinned] + [version for version in options.versions if version != pinned]
    with tempfile.TemporaryDirectory(prefix="onnxruntime-version-", dir=options.folder) as name:
        folder = Path(name)
        libraries = {version: install(folder, version) for version in versions}
        model = folder / "transformer.onnx"
        transformer.write(model, blocks=options.blocks, patch=options.patch)
        print(f"network: {model.stat().st_size / 1e9:.2f} GB; "
              f"processors: {len(os.sched_getaffinity(0))}", flush=True)
        rounds = []
        for number in range(options.rounds):
            turn = {}
            # Backwards every other time, so that a load that grows or fades favours nobody.
            for version in versions if number % 2 == 0 else reversed(versions):
                turn[version] = measure(options.program, libraries[version], model)
                print(f"{number + 1}/{options.rounds} load {os.getloadavg()[0]:.1f} "
                      f"{version}: {json.dumps(turn[version])}", file=sys.stderr, flush=True)
            rounds.append({version: turn[version] for version in versions})
        print_table(rounds, pinned)


if __name__ == "__main__":
    main()
