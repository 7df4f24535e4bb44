"""Runs cases of unittest for ctest, which shows a skip as one only when it has an exit status of its own."""

import os
import sys
import unittest

SKIPPED = 77  # SKIP_RETURN_CODE of the tests in CMakeLists.txt


def run(cases):
    """The exit status. The reason of a skip stands in a line of its own, where the summary of all tests finds it.
    With ZUM_FAIL_FAST set, the first that fails is the last."""
    cases = list(cases)
    runner = unittest.TextTestRunner(stream=sys.stdout, verbosity=2, failfast="ZUM_FAIL_FAST" in os.environ)
    result = runner.run(unittest.TestSuite(cases))
    if not cases or not result.wasSuccessful() or result.testsRun != len(cases):
        return 1
    for _, reason in result.skipped:
        print(f"skipped: {reason}")
    return SKIPPED if result.skipped else 0


def all_cases(modules, is_listed):
    """Name -> case, of the classes that the modules themselves define. `is_listed` takes a class and a method, and tells
    whether the method is a case of this world."""
    return {f"{case.__name__}.{name}": case(name)
            for module in modules for case in vars(module).values()
            if isinstance(case, type) and issubclass(case, unittest.TestCase) and case.__module__ == module.__name__
            for name in unittest.TestLoader().getTestCaseNames(case) if is_listed(case, getattr(case, name))}


def main(modules, is_listed, usage):
    """The exit status of a suite that is called with --list, or with the names of the cases to be run."""
    known = all_cases(modules, is_listed)
    if sys.argv[1:] == ["--list"]:
        print("\n".join(known))
        return 0
    if not sys.argv[1:]:
        print(usage, file=sys.stderr)
        return 2
    return run(known[name] for name in sys.argv[1:])
