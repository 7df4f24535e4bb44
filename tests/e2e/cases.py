"""The base of all test cases: a machine that is empty at the start, and what several of them ask."""

import os
import re
import unittest

import machines
import registry_rule

COMPLETED = b"Completed"
REWRITE_FAILED = 0xA1780003
REWRITE_FAILED_REPORT = b"Failed: 0xa1780003 (Problem in disable protective upgrade registry)"


def only_on(world):
    """Marks a case or a class of cases that exists on one machine only; the others don't list it."""

    def mark(target):
        target.only_world = world
        return target

    return mark


def is_listed(case, method):
    world = getattr(method, "only_world", getattr(case, "only_world", None))
    return world in (None, os.environ["ZUM_WORLD"])


class MachineCase(unittest.TestCase):
    maxDiff = None

    def setUp(self):
        self.machine = machines.make_machine()
        self.addCleanup(self.machine.close)
        self.traces = self.machine.folder / "traces"
        self.traces.mkdir()

    @property
    def trace_option(self):
        return "--trace-output=" + self.machine.windows_path(self.traces)

    def check_outcome(self, outcome, code, report):
        self.assertEqual(outcome.output, report)
        self.assertEqual(f"{outcome.status:#010x}", f"{self.machine.status_of(code):#010x}")

    def check_completed(self, outcome):
        self.check_outcome(outcome, 0, COMPLETED)

    def check_branch(self, found, expected):
        """Compares two branches key by key, so that a difference shows where it is."""
        self.assertEqual(sorted(found), sorted(expected))
        for path, values in expected.items():
            self.assertEqual(found[path], values, path)

    def load(self, branch):
        """Loads a branch and gives it as the machine has it, with the products' two keys in any case."""
        self.machine.load({registry_rule.USER_DATA: {}, registry_rule.CLASSES: {}} | branch)
        return self.machine.dump()

    def trace_files(self):
        return sorted(self.traces.iterdir())

    def trace_bytes(self):
        files = self.trace_files()
        self.assertEqual(len(files), 1, files)
        return files[0].read_bytes()

    def trace_records(self, text=None):
        """Level and text of each record of the one trace file, its whole form checked on the way."""
        lines = (self.trace_bytes() if text is None else text).split(b"\r\n")
        self.assertEqual(lines[-1], b"", "the file doesn't end in a line end")
        self.assertRegex(lines[0], rb"^TVX TRACE FILE\tTime: \d\d\.\d\d\.\d{4} \d\d:\d\d  PID: \d+\(0x[0-9a-f]+\)$")
        decimal, hexadecimal = re.search(rb"PID: (\d+)\(0x([0-9a-f]+)\)", lines[0]).groups()
        self.assertEqual(int(decimal), int(hexadecimal, 16))
        self.assertTrue(lines[1].startswith(b"Command line: Command line: "), lines[1])
        self.assertRegex(lines[2], rb"^Time\(UTC\) : \d\d\.\d\d\.\d{4} \d\d:\d\d  $")
        self.assertEqual(lines[3:5], [b"", b""])
        self.assertRegex(lines[-2], rb"^End of trace file, time: \d\d\.\d\d\.\d{4} \d\d:\d\d:\d\d$")
        records = []
        for line in lines[5:-2]:
            match = re.match(rb"^\d\d:\d\d:\d\d\.\d{3}\t0x[0-9a-f]+\t(INF|ERR)\t(.*)$", line)
            self.assertIsNotNone(match, line)
            records.append((match.group(1).decode(), match.group(2).decode("utf-8", "surrogatepass")))
        return records
