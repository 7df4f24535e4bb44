#!/usr/bin/env python3
"""Runs cases of this suite in the world that the environment names.

    run_tests.py --list         the names of all cases of this world, a line each
    run_tests.py NAME ...       runs those

ZUM_WORLD is "windows" or "native", ZUM_REHEARSE the program under test; the end-to-end suite's variables are needed too.
"""

import pathlib
import sys

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent))

import case_runner  # noqa: E402
import rehearsal_cases  # noqa: E402
import test_browser  # noqa: E402
import test_csv  # noqa: E402
import test_demo  # noqa: E402
import test_documents  # noqa: E402
import test_files  # noqa: E402
import test_hives  # noqa: E402
import test_html  # noqa: E402
import test_inputs  # noqa: E402
import test_lists  # noqa: E402
import test_outputs  # noqa: E402
import test_repair_script  # noqa: E402
import test_replaced_files  # noqa: E402
import test_scale  # noqa: E402
import test_table  # noqa: E402
import test_verdicts  # noqa: E402

MODULES = [test_browser, test_csv, test_demo, test_documents, test_files, test_hives, test_html, test_inputs,
           test_lists, test_outputs, test_repair_script, test_replaced_files, test_scale, test_table, test_verdicts]


if __name__ == "__main__":
    sys.exit(case_runner.main(MODULES, rehearsal_cases.is_listed, __doc__))
