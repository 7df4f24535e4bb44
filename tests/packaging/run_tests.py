#!/usr/bin/env python3
"""Tests of the packages, as their users have them.

    run_tests.py --results FILE [NAME ...]    runs all cases or those named, and writes a line for each to FILE

All of them run in two processes at the same time, each on a Wine machine of its own. ZUM_DIST is the folder with the
packages (default: dist). The Windows helpers must be built. To be run with the system's own Python, which has the packages
of the system.
"""

import argparse
import os
import pathlib
import shutil
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
WORK = pathlib.Path(os.environ.get("ZUM_WORK", PROJECT / "build/packages/tests"))
os.environ |= {"ZUM_WORLD": "windows", "ZUM_PROGRAM": str(PROJECT / "build/windows/bin/zum_setup_util.exe"),
               "ZUM_HELPERS": str(PROJECT / "build/windows/tests/e2e"), "ZUM_WORK": str(WORK),
               "ZUM_DIST": os.environ.get("ZUM_DIST", str(PROJECT / "dist"))}
for _folder in ("tests/packaging", "tests/e2e", "tests/zum_setup_util"):
    sys.path.append(str(PROJECT / _folder))

# The checks for a Windows compare their machine before and after.
GROUPS = {"first": (["test_bill", "test_debian", "test_settling", "test_signing", "test_win32"], {}),
          "second": (["test_windows_check"], {"ZUM_WINE_MACHINE": "second"})}


class Results(unittest.TextTestResult):
    """Notes a line for each case, as scripts/lib/summarize.py reads them."""

    def __init__(self, *arguments, **options):
        super().__init__(*arguments, **options)
        self.lines = {}

    def stopTest(self, test):
        super().stopTest(test)
        name = ".".join(test.id().split(".")[-2:])
        bad = {failed for failed, _ in self.failures + self.errors}
        self.lines[name] = "fail" if test in bad else "pass"


def run_here(names, results):
    suite = unittest.TestLoader().loadTestsFromNames(names)
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2, resultclass=Results).run(suite)
    if result.testsRun != suite.countTestCases() or result.skipped:
        return 1
    # Only a run that came to its end has results.
    results.write_text("".join(f"{outcome} {name}\n" for name, outcome in result.lines.items()))
    return 0 if result.wasSuccessful() else 1


def run_groups(results):
    """The processes' output one after the other, and their results in one file."""
    running = []
    for name, (modules, environment) in GROUPS.items():
        part, log = WORK / f"{name}.results", WORK / f"{name}.log"
        with open(log, "wb") as output:
            running.append((part, log, subprocess.Popen(
                [sys.executable, __file__, "--results", part, *modules], stdin=subprocess.DEVNULL, stdout=output,
                stderr=subprocess.STDOUT, env=os.environ | {"ZUM_WORK": str(WORK / name)} | environment)))
    statuses = [process.wait() for _, _, process in running]
    for _, log, _ in running:
        sys.stdout.write(log.read_text(encoding="utf-8", errors="replace"))
    if all(part.exists() for part, _, _ in running):
        results.write_text("".join(part.read_text(encoding="utf-8") for part, _, _ in running))
    return max(statuses)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--results", type=pathlib.Path, required=True)
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)
    return run_here(options.names, options.results) if options.names else run_groups(options.results)


if __name__ == "__main__":
    sys.exit(main())
