#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""What full disks and read errors leave behind, wherever they come in.

Usage: faults_test.py BIN TRACER OPERATION... (classes of conversions.py and writers.py)

Tries a choice of the calls to files; with VISTREL_FAULTS=all every one. ShownScene, which starts a
browser for each, takes long and is not among the tests that are run by themselves.
"""

import os
import sys
import tempfile
import unittest
from pathlib import Path

import conversions
import writers
from bad_disk import CANNOT_TRACE, BadDisk, Fault
from operation import Trial

BIN, TRACER = Path(), Path()
ALL = os.environ.get("VISTREL_FAULTS") == "all"


class Faults(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.work = Path(folder.name) / "work"
        self.work.mkdir()
        self.disk = BadDisk(TRACER, Path(folder.name) / "calls")
        if self.disk.run(self.work, ["true"], Fault("read", "once", 0)).status == CANNOT_TRACE:
            self.skipTest("this system allows no tracing")

    def try_all(self, operation):
        trial = Trial(self, self.disk, operation(BIN), self.work)
        trial.run_all(0 if ALL else operation.usual, 0 if ALL else operation.usual_kills)
        print(f"{operation.__name__}: {trial.count} faults")


def add_test(name):
    operation = getattr(conversions, name, None) or getattr(writers, name)
    setattr(Faults, f"test_{name}", lambda self: self.try_all(operation))


if __name__ == "__main__":
    BIN, TRACER = map(Path, sys.argv[1:3])
    for operation_name in sys.argv[3:]:
        add_test(operation_name)
    unittest.main(argv=sys.argv[:1])
