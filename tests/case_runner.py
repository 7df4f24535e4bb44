"""Runs cases of unittest for ctest, which shows a skip as one only when it has an exit status of its own."""

import sys
import unittest

SKIPPED = 77  # SKIP_RETURN_CODE of the tests in CMakeLists.txt


def run(cases):
    """The exit status. The reason of a skip stands in a line of its own, where the summary of all tests finds it."""
    cases = list(cases)
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(unittest.TestSuite(cases))
    if not cases or not result.wasSuccessful() or result.testsRun != len(cases):
        return 1
    for _, reason in result.skipped:
        print(f"skipped: {reason}")
    return SKIPPED if result.skipped else 0
