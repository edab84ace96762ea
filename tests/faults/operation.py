# SPDX-License-Identifier: GPL-3.0-or-later
"""One thing that a program does to files, and what a bad disk may make of it."""

import re
import shutil

from bad_disk import Fault, choose_faults, tree

FAILED = 1
KILLED = 128 + 9


class Operation:
    """What holds for all of them: files are as they were or as they shall be, nothing else is
    there, a failure is told, and the next attempt works. Subclasses say what they do, and where
    more is allowed."""

    # Faults of every kind to try, and moments to kill it at (0: at every call), unless all are
    # wanted.
    usual = 6
    usual_kills = 0
    # Whether the disk has files without a name.
    unnamed_files = True
    # The exit status without a fault.
    good_status = 0
    # A failure's last line, a pattern.
    message = ".+"
    # Files that may hold anything.
    does_not_count = ()
    # Whether the exit status tells of failures.
    tells = True
    # Whether it also tells of failures after which all files are as they shall be.
    tells_of_more = False

    def __init__(self, programs):
        self.programs = programs  # the folder of the programs, and of the probe

    def prepare(self, folder):
        """Fills the empty folder."""

    def command(self, folder):
        raise NotImplementedError

    def options(self, _folder):
        """More arguments for subprocess.run."""
        return {}

    def watched(self, folder):
        """The folder that faults happen in."""
        return folder

    def may_be_left(self, _name, _entry, _run):
        """Whether a file of this name, which a run without fault does not leave, may be there."""
        return False

    def may_survive_a_kill(self, name, entry, call, good):
        """The same for a process that was killed before this call. Where files grow without a name,
        only one that was whole and about to replace another."""
        is_part = re.search(r"(^|/)\.vistrel-[0-9a-f]+\.part$", name)
        was_replacing = call == "rename" and entry in good.values()
        return is_part and (was_replacing or not self.unnamed_files)

    def is_good(self, after, good):
        """Whether everything is as after a good run."""
        return after == good

    def check_again(self, test, after, good):
        """After one more run, without fault."""
        left = {name: entry for name, entry in after.items() if name in good}
        test.assertTrue(self.is_good(left, good), "the next run")


class Trial:
    """Runs an operation once for every fault."""

    def __init__(self, test, disk, operation, folder):
        self.test, self.disk, self.operation, self.folder = test, disk, operation, folder
        self.count = 0

    def run_all(self, most, most_kills):
        """`most`: of every kind of fault; 0 for all."""
        for access in ("write", "read"):
            _, good_run = self.attempt(Fault(access, "once", 0))
            good = self.tree()
            self.test.assertEqual(good_run.status, self.operation.good_status, good_run.errors)
            for fault in choose_faults(access, good_run.calls, most, most_kills):
                with self.test.subTest(fault=str(fault), call=good_run.calls[fault.number - 1]):
                    self.count += 1
                    before, run = self.attempt(fault)
                    after = self.tree()
                    if fault.kind == "kill":
                        self.judge_kill(run, before, after, good)
                    else:
                        self.judge(fault, run, before, after, good)
                    self.judge_next_run(fault, before, after, good)

    def attempt(self, fault):
        shutil.rmtree(self.folder, ignore_errors=True)
        self.folder.mkdir()
        self.operation.prepare(self.folder)
        return self.tree(), self.start(fault)

    def tree(self):
        found = tree(self.folder)
        return {name: found[name] for name in found if name not in self.operation.does_not_count}

    def start(self, fault):
        operation, folder = self.operation, self.folder
        options = operation.options(folder)
        try:
            return self.disk.run(operation.watched(folder), operation.command(folder), fault,
                                 operation.unnamed_files, **options)
        finally:
            for option in options.values():
                if hasattr(option, "close"):
                    option.close()

    def judge(self, fault, run, before, after, good):
        test, operation = self.test, self.operation
        test.assertGreaterEqual(len(run.calls), fault.number, "the fault never came")
        test.assertIn(run.status, (operation.good_status, FAILED), run.errors)
        if run.status == FAILED:
            lines = run.errors.rstrip("\n").split("\n")
            test.assertRegex(lines[-1], operation.message)
            test.assertTrue(operation.tells_of_more or before == good
                            or not operation.is_good(after, good), "no failure")
        elif operation.tells:
            test.assertTrue(operation.is_good(after, good), f"no failure was told: {run.errors}")
        if fault.kind == "part":
            test.assertEqual(run.status, operation.good_status, run.errors)
            test.assertEqual(after, good, "half of a call is no failure")
        self.check_files(run, before, after, good,
                         lambda name, entry: operation.is_good(after, good) if name in good
                         else operation.may_be_left(name, entry, run))

    def judge_kill(self, run, before, after, good):
        self.test.assertEqual(run.status, KILLED, run.errors)
        call, _ = run.calls[-1]
        self.check_files(run, before, after, good, lambda name, entry:
                         self.operation.may_survive_a_kill(name, entry, call, good))

    def check_files(self, run, before, after, good, is_allowed):
        for name in sorted({*before, *after, *good}):
            entry = after.get(name)
            if entry in (before.get(name), good.get(name)):
                continue
            what = "nothing" if entry is None else f"{entry[0]} {len(entry[1] or '')} bytes"
            self.test.assertTrue(entry is not None and is_allowed(name, entry),
                                 f"{name}: {what}; {run.errors}")

    def judge_next_run(self, fault, before, after, good):
        if after in (before, good):
            return  # from there, runs were seen to work
        test, operation = self.test, self.operation
        again = self.start(Fault(fault.access, "once", 0))
        test.assertEqual(again.status, operation.good_status, again.errors)
        operation.check_again(test, self.tree(), good)
