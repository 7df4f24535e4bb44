#!/usr/bin/env python3
"""Runs the cases of a GoogleTest program, and sees to it that none is lost.

    run_program.py --report FILE [--emulator COMMAND] [--filter PATTERNS] [--shard I/N] [--seed N] [--limit SECONDS] PROGRAM

The cases of a program share one process, in a random order whose seed is printed; those whose suite's name ends with
"OwnProcess" (tests/support/own_process.h says which) have a process each. A case in which the process ends or hangs
has failed, and those behind it are run again in a new process. FILE gets one entry a case, as JUnit XML; what the
processes print stays beside it. The exit status is 0 when every case that the program lists has passed or said why it
was skipped.

PROGRAM's output goes to files: under Wine a pipe may be held open by services that outlive the program.
"""

import argparse
import dataclasses
import json
import os
import pathlib
import random
import re
import select
import signal
import subprocess
import sys
import time
import xml.etree.ElementTree as ElementTree

OWN_PROCESS = re.compile(r"^[^.]*OwnProcess[/.]")
SHOWN_LINES = 60
LOOKS_EVERY_MS = 50  # for new lines of output, while the process runs


@dataclasses.dataclass
class Outcome:
    status: str  # "passed", "failed" or "skipped"
    text: str = ""
    seconds: float = 0.0
    properties: dict = dataclasses.field(default_factory=dict)  # what the case noted with RecordProperty


class Program:
    """A test program, and the folder that its processes write to."""

    def __init__(self, options):
        self.command = ([options.emulator] if options.emulator else []) + [options.program]
        self.emulated = bool(options.emulator)
        self.limit = options.limit
        self.folder = pathlib.Path(options.report).with_suffix("")
        self.folder.mkdir(parents=True, exist_ok=True)
        self.log = self.folder / "output.txt"

    def path(self, file):
        """How the program itself names a file."""
        return ("Z:" if self.emulated else "") + str(file.resolve())

    def start(self, flags):
        flag_file = self.folder / "flags.txt"
        flag_file.write_text("".join(flag + "\n" for flag in flags))
        output = open(self.log, "wb")
        return subprocess.Popen(self.command + [f"--gtest_flagfile={self.path(flag_file)}"], stdin=subprocess.DEVNULL,
                                stdout=output, stderr=subprocess.STDOUT, start_new_session=True)

    def wait(self, process):
        """The exit status, or None after `limit` seconds without a new line of output."""
        size, since = -1, time.monotonic()
        ended = select.poll()
        with open(os.pidfd_open(process.pid), "rb", buffering=0) as descriptor:
            ended.register(descriptor, select.POLLIN)
            while not ended.poll(LOOKS_EVERY_MS):
                if (now := self.log.stat().st_size) != size:
                    size, since = now, time.monotonic()
                elif time.monotonic() - since > self.limit:
                    os.killpg(process.pid, signal.SIGKILL)
                    process.wait()
                    return None
        return process.wait()

    def run(self, flags):
        status = self.wait(self.start(flags))
        return status, self.log.read_bytes().decode("utf-8", "replace").replace("\r\n", "\n")

    def list_cases(self, patterns):
        listing = self.folder / "cases.json"
        listing.unlink(missing_ok=True)
        status, output = self.run(["--gtest_list_tests", f"--gtest_filter={patterns}",
                                   f"--gtest_output=json:{self.path(listing)}"])
        if status != 0 or not listing.exists():
            sys.exit(f"{self.command[-1]} can't list its cases (exit status {status}):\n{output}")
        suites = json.loads(listing.read_bytes().decode("utf-8", "replace"))["testsuites"]
        return [f"{suite['name']}.{case['name']}" for suite in suites for case in suite["testsuite"]]

    def run_cases(self, cases, seed):
        """Runs the cases in one process: exit status, output, and the outcomes of those that came to their end."""
        report = self.folder / "report.xml"
        report.unlink(missing_ok=True)
        flags = ["--gtest_filter=" + ":".join(cases), f"--gtest_output=xml:{self.path(report)}"]
        if len(cases) > 1:
            flags += ["--gtest_shuffle", f"--gtest_random_seed={seed}"]
        status, output = self.run(flags)
        outcomes = read_report(report) if report.exists() else read_output(output)
        return status, output, outcomes


def read_report(file):
    text = file.read_bytes().decode("utf-8", "replace")
    outcomes = {}
    for case in ElementTree.fromstring(text.partition("?>")[2]).iter("testcase"):
        name = f"{case.get('classname')}.{case.get('name')}"
        failures = [failure.text or failure.get("message") for failure in case.iter("failure")]
        skips = [skip.text or skip.get("message") or "" for skip in case.iter("skipped")]
        seconds = float(case.get("time"))
        if failures:
            outcomes[name] = Outcome("failed", "\n".join(failures), seconds)
        elif case.get("result") == "completed":
            outcomes[name] = Outcome("passed", "", seconds)
        elif case.get("result") == "skipped":
            outcomes[name] = skipped("\n".join(skips), seconds)
        if name in outcomes:
            outcomes[name].properties = {noted.get("name"): noted.get("value") for noted in case.iter("property")}
    return outcomes


def skipped(text, seconds):
    """The first line is the place in the source."""
    reason = " ".join(text.partition("\n")[2].split())
    return Outcome("skipped", reason, seconds) if reason else Outcome("failed", "skipped without a reason", seconds)


def read_output(output):
    """Of a process that came to no report. A skipped case is run once more with the rest, for its reason."""
    ends = re.findall(r"\[( +OK |  FAILED  )\] (\S+?)(?:, where .*)? \((\d+) ms\)", output)
    return {name: Outcome("passed" if "OK" in mark else "failed", output_of(name, output), int(ms) / 1000)
            for mark, name, ms in ends}


def output_of(case, output):
    """What was printed between a case's start and its end, or the end of all."""
    start = output.rfind(f"[ RUN      ] {case}\n")
    end = re.compile(r"\[( +OK |  FAILED  )\] " + re.escape(case) + r"\b").search(output, max(start, 0))
    return output[max(start, 0):end.end() if end else None]


def running_case(output, outcomes):
    started = re.findall(r"\[ RUN      \] (\S+)", output)
    return started[-1] if started and started[-1] not in outcomes else None


def how_it_ended(status):
    if status is None:
        return "hung, and was ended"
    return f"was ended by signal {-status}" if status < 0 else f"ended with status {status}"


def run_shared(program, cases, seed):
    """All cases in one process, and in further ones what a crash or a hang has cut off."""
    outcomes, pending = {}, list(cases)
    while pending:
        status, output, ended = program.run_cases(pending, seed)
        outcomes.update((name, outcome) for name, outcome in ended.items() if name in pending)
        left = [name for name in pending if name not in outcomes]
        if left:
            culprit = running_case(output, ended)
            culprit = culprit if culprit in left else left[0]
            outcomes[culprit] = Outcome("failed", f"the process {how_it_ended(status)}\n{output_of(culprit, output)}")
            left.remove(culprit)
        elif status != 0 and not any(ended[name].status == "failed" for name in pending):
            outcomes["(end of the process)"] = Outcome("failed", f"the process {how_it_ended(status)}\n{output[-8000:]}")
        pending = left
    return outcomes


def write_report(file, name, outcomes):
    suite = ElementTree.Element("testsuite", name=name, tests=str(len(outcomes)))
    for case, outcome in outcomes.items():
        element = ElementTree.SubElement(suite, "testcase", name=case, classname=name, time=f"{outcome.seconds:.3f}")
        if outcome.properties:
            properties = ElementTree.SubElement(element, "properties")
            for noted, value in outcome.properties.items():
                ElementTree.SubElement(properties, "property", name=noted, value=printable(value))
        if outcome.status != "passed":
            tag = "failure" if outcome.status == "failed" else "skipped"
            ElementTree.SubElement(element, tag, message=printable(outcome.text))
    ElementTree.ElementTree(suite).write(file, encoding="utf-8", xml_declaration=True)


def printable(text):
    """XML has no place for control characters."""
    return re.sub(r"[^\t\n\x20-\ud7ff\ue000-\ufffd\U00010000-\U0010ffff]", "?", text)


def show(name, outcomes, seed):
    for case, outcome in outcomes.items():
        if outcome.status == "failed":
            lines = outcome.text.splitlines()
            cut = ["..."] if len(lines) > SHOWN_LINES else []
            print(f"FAILED: {case}\n" + "\n".join("  " + line for line in lines[:SHOWN_LINES] + cut))
        elif outcome.status == "skipped":
            print(f"skipped: {case}: {outcome.text}")
    counts = [sum(outcome.status == status for outcome in outcomes.values())
              for status in ("passed", "failed", "skipped")]
    print(f"{name}: {counts[0]} passed, {counts[1]} failed, {counts[2]} skipped (seed {seed})")
    return 1 if counts[1] else 0


def parse_options():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--report", required=True, help="the file to write, FILE.xml")
    parser.add_argument("--emulator", default="", help="what starts the program")
    parser.add_argument("--filter", default="*", help="which cases, in GoogleTest's form")
    parser.add_argument("--shard", default="1/1", help="the part of the cases to run, such as 2/3")
    parser.add_argument("--seed", type=int, default=0, help="of the order; 0: a new one")
    parser.add_argument("--limit", type=float, default=300, help="seconds that a case may be silent")
    parser.add_argument("program")
    return parser.parse_args()


def main():
    options = parse_options()
    report = pathlib.Path(options.report)
    report.unlink(missing_ok=True)
    seed = options.seed or random.randint(1, 99999)
    program = Program(options)
    shard, shards = map(int, options.shard.split("/"))
    cases = program.list_cases(options.filter)
    shared = [case for case in cases if not OWN_PROCESS.search(case)][shard - 1::shards]
    outcomes = run_shared(program, shared, seed)
    for case in [case for case in cases if OWN_PROCESS.search(case)][shard - 1::shards]:
        outcomes.update(run_shared(program, [case], seed))
    write_report(report, report.stem, outcomes)
    return show(report.stem, outcomes, seed)


if __name__ == "__main__":
    sys.exit(main())
