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
