"""One thing that a program does to files, and what a bad disk may make of it."""

import os
import shutil

from bad_disk import Fault, choose_faults, tree

FAILED = 1


class Operation:
    """What holds for all of them: files are as they were or as they shall be, nothing else is
    there, a failure is told, and the next attempt works. Subclasses say what they do, and where
    more is allowed."""

    # Faults of every kind to try, unless all are wanted.
    usual = 6
    # The exit status without a fault.
    good_status = 0
    # A failure's last line, a pattern.
    message = ".+"
    # Files that may be gone after a failure.
    may_be_lost = ()
    # Files that may hold anything.
    does_not_count = ()
    # Whether the exit status tells of failures.
    tells = True

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

    def run_all(self, most):
        """`most`: of every kind of fault; 0 for all."""
        for access in ("write", "read"):
            _, good_run = self.attempt(Fault(access, "once", 0))
            good = self.tree()
            self.test.assertEqual(good_run.status, self.operation.good_status, good_run.errors)
            for fault in choose_faults(access, good_run.calls, most):
                with self.test.subTest(fault=str(fault), call=good_run.calls[fault.number - 1]):
                    self.count += 1
                    before, run = self.attempt(fault)
                    self.judge(fault, run, before, good)

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
                                 **options)
        finally:
            for option in options.values():
                if hasattr(option, "close"):
                    option.close()

    def judge(self, fault, run, before, good):
        test, operation = self.test, self.operation
        after = self.tree()
        test.assertGreaterEqual(len(run.calls), fault.number, "the fault never came")
        test.assertIn(run.status, (operation.good_status, FAILED), run.errors)
        if run.status == FAILED:
            lines = run.errors.rstrip("\n").split("\n")
            test.assertRegex(lines[-1], operation.message)
            test.assertTrue(before == good or not operation.is_good(after, good), "no failure")
        elif operation.tells:
            test.assertTrue(operation.is_good(after, good), f"no failure was told: {run.errors}")
        if fault.kind == "part":
            test.assertEqual(run.status, operation.good_status, run.errors)
            test.assertEqual(after, good, "half of a call is no failure")
        self.check_files(fault, run, before, after, good)
        if after in (before, good):
            return  # from there, runs were seen to work
        again = self.start(Fault(fault.access, "once", 0))
        test.assertEqual(again.status, operation.good_status, again.errors)
        operation.check_again(test, self.tree(), good)

    def check_files(self, fault, run, before, after, good):
        for name in sorted({*before, *after, *good}):
            entry = after.get(name)
            if entry in (before.get(name), good.get(name)):
                continue
            if entry is None:
                allowed = (run.status == FAILED and name in self.operation.may_be_lost
                           and not self.was_never_opened(name, fault, run))
            elif name in good:
                allowed = self.operation.is_good(after, good)
            else:
                allowed = self.operation.may_be_left(name, entry, run)
            what = "nothing" if entry is None else f"{entry[0]} {len(entry[1] or '')} bytes"
            self.test.assertTrue(allowed, f"{name}: {what}; {run.errors}")

    def was_never_opened(self, name, fault, run):
        """Whether the fault kept the file from being emptied."""
        before, after = run.calls[:fault.number - 1], run.calls[fault.number:]
        passed = {"once": before + after, "on": before}.get(fault.kind, run.calls)
        path = os.path.realpath(self.folder / name)
        return fault.access == "write" and path not in [place for _, place in passed]
