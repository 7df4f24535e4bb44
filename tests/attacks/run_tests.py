#!/usr/bin/env python3
"""Runs attacks in the world that the environment names.

    run_tests.py --list         the names of all cases of this world, a line each
    run_tests.py NAME ...       runs those

The end-to-end suite's variables are needed, and ZUM_REHEARSE. attack_cases.py tells how much is done.
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

import case_runner  # noqa: E402
import attack_cases  # noqa: E402
import test_killed_on_windows  # noqa: E402
import test_killed_rehearsal  # noqa: E402
import test_killed_tool  # noqa: E402
import test_limits  # noqa: E402
import test_two_at_once  # noqa: E402

MODULES = [test_killed_on_windows, test_killed_rehearsal, test_killed_tool, test_limits, test_two_at_once]


if __name__ == "__main__":
    sys.exit(case_runner.main(MODULES, attack_cases.is_listed, __doc__))
