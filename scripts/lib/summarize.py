#!/usr/bin/env python3
"""Adds up the results of a test run.

    summarize.py FILE ...

FILE is what ctest wrote as JUnit XML (.xml) or a list of lines "pass NAME" and "fail NAME" (.checks). A file that
isn't there or holds no result counts as one failure: that part did not run. Prints the failures, the skips with their
reasons, a line for each file, and last "N passed, N failed, N skipped". Exits with 1 when anything failed.
"""

import pathlib
import re
import sys
import xml.etree.ElementTree as ElementTree


def skip_reason(text):
    """The text that a test printed when it skipped itself."""
    match = re.search(r": Skipped\r?\n(.*?)\r?\n\r?\n?\[", text, re.S)
    return " ".join(match.group(1).split()) if match else "no reason printed"


def read_junit(path):
    for case in ElementTree.parse(path).getroot().iter("testcase"):
        name = case.get("name")
        output = case.findtext("system-out") or ""
        if case.find("failure") is not None or case.get("status") == "fail":
            yield "failed", name, ""
        elif case.find("skipped") is not None or case.get("status") in ("notrun", "disabled"):
            reason = skip_reason(output)
            yield ("skipped" if reason != "no reason printed" else "failed"), name, reason
        else:
            yield "passed", name, ""


def read_checks(path):
    for line in path.read_text().splitlines():
        outcome, _, name = line.partition(" ")
        yield ("passed" if outcome == "pass" else "failed"), name, ""


def read(path):
    if not path.exists():
        return [("failed", f"{path.stem}: did not run", "")]
    results = list(read_junit(path) if path.suffix == ".xml" else read_checks(path))
    return results or [("failed", f"{path.stem}: ran no test", "")]


def main():
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
