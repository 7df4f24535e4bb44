#!/usr/bin/env python3
"""Adds up the results of a test run.

    summarize.py FILE ...
    summarize.py --self-test    adds up planted results of each kind

FILE is what ctest wrote as JUnit XML (.xml) or a list of lines "pass NAME", "fail NAME" and "skip NAME: REASON" (.checks).
A file that isn't there or holds no result counts as one failure: that part did not run. A test of ctest's that is a program of many
cases has the program's own report, NAME.xml in the folder FILE without ".xml": its cases are counted in its place. Another
one is skipped where ctest says so and its output has a line "skipped: REASON". A skip without a reason counts as a failure. Prints the failures, the skips with their reasons, a line for each file, and
last "N passed, N failed, N skipped". Exits with 1 when anything failed.
"""

import pathlib
import re
import sys
import tempfile
import xml.etree.ElementTree as ElementTree


def cases_of(report):
    """The cases of a program's own report (tests/run_program.py)."""
    for case in ElementTree.parse(report).getroot().iter("testcase"):
        skip = case.find("skipped")
        if case.find("failure") is not None:
            yield "failed", case.get("name"), ""
        elif skip is not None:
            reason = skip.get("message")
            yield ("skipped" if reason else "failed"), case.get("name"), reason or "no reason printed"
        else:
            yield "passed", case.get("name"), ""


def reason_of_skip(test):
    """Why ctest left a test out that said so itself; None for every other test."""
    if test.find("skipped") is None or not test.find("skipped").get("message", "").startswith("SKIP_"):
        return None
    told = re.search(r"^skipped: (.+)$", test.findtext("system-out") or "", re.M)
    return told.group(1) if told else None


def read_junit(path):
    for test in ElementTree.parse(path).getroot().iter("testcase"):
        name = test.get("name")
        passed = test.get("status") == "run" and test.find("failure") is None
        report = path.with_suffix("") / f"{name}.xml"
        cases = list(cases_of(report)) if report.exists() else []
        yield from ((outcome, f"{name}: {case}", reason) for outcome, case, reason in cases)
        # A test that has failed though none of its cases has was cut off; one that ctest left out is no success.
        reason = reason_of_skip(test)
        if reason and not cases:
            yield "skipped", name, reason
        elif not cases or (not passed and all(outcome != "failed" for outcome, _, _ in cases)):
            yield ("passed" if passed else "failed"), name, "" if passed else f"ctest: {test.get('status')}"


def read_checks(path):
    for line in path.read_text().splitlines():
        outcome, _, name = line.partition(" ")
        name, _, reason = name.partition(": ")
        if outcome == "skip" and reason:
            yield "skipped", name, reason
        else:
            yield ("passed" if outcome == "pass" else "failed"), name, ""


def read(path):
    if not path.exists():
        return [("failed", f"{path.stem}: did not run", "")]
    results = list(read_junit(path) if path.suffix == ".xml" else read_checks(path))
    return results or [("failed", f"{path.stem}: ran no test", "")]


# What ctest writes, and what must be made of it.
PLANTED = """<testsuite>
<testcase name="good" status="run"><system-out>skipped: only a word in the output</system-out></testcase>
<testcase name="bad" status="fail"><failure message=""/><system-out></system-out></testcase>
<testcase name="told" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/><system-out>... ok
skipped: too dark here
</system-out></testcase>
<testcase name="silent" status="notrun"><skipped message="SKIP_RETURN_CODE=77"/><system-out></system-out></testcase>
<testcase name="missing" status="notrun"><skipped message="Unable to find executable"/><system-out>skipped: not by itself
</system-out></testcase>
<testcase name="disabled" status="disabled"><system-out>Disabled</system-out></testcase>
</testsuite>
"""
PLANTED_OUTCOMES = [
    ("passed", "good", ""), ("failed", "bad", "ctest: fail"), ("skipped", "told", "too dark here"),
    ("failed", "silent", "ctest: notrun"), ("failed", "missing", "ctest: notrun"),
    ("failed", "disabled", "ctest: disabled"),
]


def self_test():
    with tempfile.TemporaryDirectory() as folder:
        planted = pathlib.Path(folder) / "planted.xml"
        planted.write_text(PLANTED, encoding="utf-8")
        checks = pathlib.Path(folder) / "planted.checks"
        checks.write_text("pass one\nfail two\nskip three: too dark\nskip four\n", encoding="utf-8")
        found = [*read(planted), *read(checks), *read(pathlib.Path(folder) / "no-such.xml")]
    expected = [*PLANTED_OUTCOMES, ("passed", "one", ""), ("failed", "two", ""),
                ("skipped", "three", "too dark"), ("failed", "four", ""), ("failed", "no-such: did not run", "")]
    for line in found:
        print(line)
    return 0 if found == expected else 1


def main():
    if sys.argv[1:] == ["--self-test"]:
        return self_test()
    total = {"passed": 0, "failed": 0, "skipped": 0}
    lines = []
    for path in map(pathlib.Path, sys.argv[1:]):
        counts = dict.fromkeys(total, 0)
        for outcome, name, reason in read(path):
            counts[outcome] += 1
            if outcome != "passed":
                print(f"   {outcome}: [{path.stem}] {name}" + (f" ({reason})" if reason else ""))
        lines.append(f"   {path.name}: {counts['passed']} passed, {counts['failed']} failed, {counts['skipped']} skipped")
        for outcome, count in counts.items():
            total[outcome] += count
    print("\n".join(lines))
    print(f"\n{total['passed']} passed, {total['failed']} failed, {total['skipped']} skipped")
    return 1 if total["failed"] or not total["passed"] else 0


if __name__ == "__main__":
    sys.exit(main())
