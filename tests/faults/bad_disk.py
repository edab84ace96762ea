# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs a command on a disk that goes bad at a call of one's choice, and looks at what is left."""

import os
import random
import subprocess
from dataclasses import dataclass
from pathlib import Path

CANNOT_TRACE = 125

# What becomes of the call and of the later ones; faulty_files tells more.
FAULTS = {"write": ["once", "on", "full", "short", "part", "kill"], "read": ["once", "on", "part"]}
# Faults that only calls which move bytes can have.
HALVES = ["short", "part"]
MOVE_BYTES = ["write", "pwrite64", "read", "pread64"]


@dataclass(frozen=True)
class Fault:
    access: str
    kind: str
    number: int  # of the call, from 1 on; 0 for none

    def __str__(self):
        return f"{self.access} {self.kind} {self.number}"


@dataclass
class Run:
    status: int
    errors: str  # what it said on its standard error
    calls: list  # names of the calls that counted, with their paths


class BadDisk:
    def __init__(self, tracer, list_file):
        self.tracer, self.list_file = tracer, list_file

    def run(self, folder, command, fault, unnamed_files=True, **options):
        """With `fault` in the calls to `folder` and what lies below it, on a disk with or without
        unnamed files."""
        words = [self.tracer, os.path.realpath(folder), "unnamed" if unnamed_files else "named",
                 fault.access, fault.kind, fault.number, self.list_file, *command]
        options = {"stdout": subprocess.DEVNULL, "stderr": subprocess.PIPE, **options}
        done = subprocess.run(list(map(str, words)), timeout=120, check=False, **options)
        calls = [line.split("\t") for line in self.list_file.read_text().splitlines()]
        return Run(done.returncode, (done.stderr or b"").decode(errors="replace"), calls)


def choose_faults(access, calls, most, most_kills):
    """All faults in these calls; where `most` is not 0, so many of every kind at most: in different
    calls to different files first, and always the same ones."""
    chosen = []
    most_of = {"kill": most_kills}
    for kind in FAULTS[access]:
        numbers = [number for number, (name, _) in enumerate(calls, 1)
                   if kind not in HALVES or name in MOVE_BYTES]
        if most_of.get(kind, most):
            choice = random.Random(kind)
            choice.shuffle(numbers)
            first_of_its_like = {tuple(calls[number - 1]): number for number in numbers}
            numbers = [*first_of_its_like.values(),
                       *(set(numbers) - set(first_of_its_like.values()))]
            numbers = numbers[:most_of.get(kind, most)]
        chosen += [Fault(access, kind, number) for number in sorted(numbers)]
    return chosen


def tree(folder):
    """What lies below the folder: permissions and content by relative path."""
    found = {}
    for path in sorted(folder.rglob("*")):
        status = path.lstat()
        if path.is_symlink():
            content = os.readlink(path)
        else:
            content = None if path.is_dir() else path.read_bytes()
        found[str(path.relative_to(folder))] = (oct(status.st_mode), content)
    return found
