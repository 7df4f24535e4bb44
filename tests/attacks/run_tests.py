#!/usr/bin/env python3
"""Runs attacks in the world that the environment names.

    run_tests.py --list         the names of all cases of this world, a line each
    run_tests.py NAME ...       runs those

The end-to-end suite's variables are needed, and ZUM_REHEARSE. attack_cases.py tells how much is done.
"""

import pathlib
import sys
import unittest

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


def all_cases():
    for module in MODULES:
        for case in vars(module).values():
            if isinstance(case, type) and issubclass(case, unittest.TestCase) and case.__module__ == module.__name__:
                for name in unittest.TestLoader().getTestCaseNames(case):
                    if attack_cases.is_listed(case, getattr(case, name)):
                        yield f"{case.__name__}.{name}", case(name)


def main():
    known = dict(all_cases())
    if sys.argv[1:] == ["--list"]:
        print("\n".join(known))
        return 0
    if not sys.argv[1:]:
        print(__doc__, file=sys.stderr)
        return 2
    return case_runner.run(known[name] for name in sys.argv[1:])


if __name__ == "__main__":
    sys.exit(main())
