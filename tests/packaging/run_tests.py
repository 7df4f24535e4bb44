#!/usr/bin/env python3
"""Tests of the packages, as their users have them.

    run_tests.py --results FILE [NAME ...]    runs all cases or those named, and writes a line for each to FILE

ZUM_DIST is the folder with the packages (default: dist). The Windows helpers must be built, and the Wine prefix of the
tests be ready. To be run with the system's own Python, which has the packages of the system.
"""

import argparse
import os
import pathlib
import shutil
import sys
import unittest

sys.dont_write_bytecode = True
PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
WORK = PROJECT / "build/packages/tests"
os.environ |= {"ZUM_WORLD": "windows", "ZUM_PROGRAM": str(PROJECT / "build/windows/bin/zum_setup_util.exe"),
               "ZUM_HELPERS": str(PROJECT / "build/windows/tests/e2e"), "ZUM_WORK": str(WORK),
               "ZUM_DIST": os.environ.get("ZUM_DIST", str(PROJECT / "dist"))}
for _folder in ("tests/packaging", "tests/e2e", "tests/zum_setup_util"):
    sys.path.append(str(PROJECT / _folder))

MODULES = ["test_bill", "test_debian", "test_settling", "test_signing", "test_win32",
           "test_windows_check"]


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


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--results", type=pathlib.Path, required=True)
    parser.add_argument("names", nargs="*")
    options = parser.parse_args()
    shutil.rmtree(WORK, ignore_errors=True)
    WORK.mkdir(parents=True)
    suite = unittest.TestLoader().loadTestsFromNames(options.names or MODULES)
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2, resultclass=Results).run(suite)
    if result.testsRun != suite.countTestCases() or result.skipped:
        return 1
    # Only a run that came to its end has results.
    options.results.write_text("".join(f"{outcome} {name}\n" for name, outcome in result.lines.items()))
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
