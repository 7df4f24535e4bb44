#!/usr/bin/env python3
"""Runs cases of this suite on the machine that the environment names.

    run_tests.py --list         the names of all cases of this machine, a line each
    run_tests.py NAME ...       runs those

ZUM_WORLD is "windows" or "native", ZUM_PROGRAM the program under test, ZUM_HELPERS the folder of the Windows helpers.
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

import case_runner  # noqa: E402
import cases  # noqa: E402
import test_command_lines  # noqa: E402
import test_correct_setup  # noqa: E402
import test_installation  # noqa: E402
import test_native  # noqa: E402
import test_package  # noqa: E402
import test_planting  # noqa: E402
import test_rewrite  # noqa: E402
import test_signers  # noqa: E402
import test_trace  # noqa: E402

MODULES = [test_command_lines, test_correct_setup, test_installation, test_native, test_package, test_planting,
           test_rewrite, test_signers, test_trace]


if __name__ == "__main__":
    sys.exit(case_runner.main(MODULES, cases.is_listed, __doc__))
