#!/usr/bin/env python3
"""Runs the runner on a program whose cases end in every way (tests/support/runner_probe.cpp).

    run_program_test.py FOLDER PROGRAM [EMULATOR]

FOLDER takes what the runner writes. Exits with 1, and says what is wrong, unless each case came out as it must.
"""

import pathlib
import subprocess
import sys
import xml.etree.ElementTree as ElementTree

# A part of the text that the report must have; None: passed.
EXPECTED = {
    "RunnerProbe.Passes": None,
    "RunnerProbe.Fails": "planted",
    "RunnerProbe.SkipsWithReason": "a planted reason",
    "RunnerProbe.SkipsWithoutReason": "skipped without a reason",
    "RunnerProbe.Exits": "the process ended with status 0",
    "RunnerProbe.Crashes": "the process ",
    "RunnerProbe.Hangs": "the process hung",
    "RunnerProbe.Reports": 'the check "unmarked" reported in a process that cases share',
    "RunnerProbeOwnProcess.Reports": None,
    "RunnerProbeOwnProcess.ReportsAgain": None,
    "RunnerProbeOwnProcess.Crashes": "the process ",
    "RunnerProbeOwnProcess.Notes": None,
    "AnyOrder/RunnerProbeState.IsFresh/0": None,
    "AnyOrder/RunnerProbeState.IsFresh/1": None,
}
SKIPPED = {"RunnerProbe.SkipsWithReason"}
NOTED = {"a planted property": "its value"}  # of the case Notes


def run(folder, arguments, part, expected_status):
    report = folder / "report.xml"
    runner = pathlib.Path(__file__).with_name("run_program.py")
    status = subprocess.run([sys.executable, runner, "--report", report, "--limit", "5", *part, *arguments]).returncode
    if status != expected_status:
        sys.exit(f"the runner ended with {status} in place of {expected_status}")
    return {case.get("name"): case for case in ElementTree.parse(report).getroot().iter("testcase")}


def complaints(cases):
    for name in EXPECTED.keys() ^ cases.keys():
        yield f"{name}: " + ("isn't in the report" if name in EXPECTED else "wasn't expected")
    for name, case in cases.items():
        text = EXPECTED.get(name)
        kind = "skipped" if name in SKIPPED else "failure"
        told = case.find(kind)
        if text is None and (case.find("failure") is not None or case.find("skipped") is not None):
            yield f"{name}: didn't pass"
        elif text is not None and (told is None or text not in told.get("message")):
            yield f"{name}: isn't told as {kind} with: {text}"
        noted = {found.get("name"): found.get("value") for found in case.iter("property")}
        if noted != (NOTED if name.endswith(".Notes") else {}):
            yield f"{name}: has the properties {noted}"


def main():
    folder = pathlib.Path(sys.argv[1])
    folder.mkdir(parents=True, exist_ok=True)
    arguments = [f"--emulator={sys.argv[3]}"] if len(sys.argv) > 3 and sys.argv[3] else []
    arguments.append(sys.argv[2])
    cases = {}
    for shard in ("1/2", "2/2"):
        cases.update(run(folder, arguments, ["--shard", shard], 1))
    # Without the crashes around them, so that they share a process.
    run(folder, arguments, ["--filter", "AnyOrder/*"], 0)
    wrong = list(complaints(cases))
    print("\n".join(wrong) if wrong else f"all {len(cases)} cases came out as they must")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
