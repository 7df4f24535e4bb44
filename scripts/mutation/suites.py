"""The native tests, as the build names them: a suite is a GoogleTest program with its environment, or the cases of a
black-box suite. Each tells what has to be built for it, and which case fails."""

import dataclasses
import json
import re
import subprocess
import time

from mutation import sandbox

OWN_PROCESS = re.compile(r"^[^.]*OwnProcess[/.]")
MEMORY = 4 << 30
MOST_CASES = 1000  # named to one process
ENDLESS = " (endless)"
# What the black-box cases start.
_SCRIPTED = {"e2e": ("zum_setup_util", "correct_setup_run"), "rehearsal": ("zum_rehearse", "zum_setup_util")}
# The tests of the runner and of winapi/host, neither of which is broken, what kills a program over and over, and what a
# sandbox doesn't let pass: a browser, and a build.
_LEFT_OUT = re.compile(r"^(run_program_test$|winapi_host_test$|attacks\.|rehearsal\.(InBrowser|ManyRows|Demo)\.)")


@dataclasses.dataclass
class Suite:
    name: str
    folder: str  # below tests/
    targets: tuple
    command: list
    environment: dict
    cases: list = dataclasses.field(default_factory=list)
    seconds: float = 60.0  # of a run of sound code

    def run(self, workshop, cases=None):
        """None when all is well, or the name of a case that fails."""
        raise NotImplementedError

    def _start(self, workshop, command, environment, memory):
        limit = 5 + 4 * self.seconds
        return sandbox.run(command, {**self.environment, **environment}, workshop.folder, limit, 60 + 5 * limit, memory)


class Program(Suite):
    def list_cases(self):
        run = subprocess.run([*self.command, "--gtest_list_tests"], stdout=subprocess.PIPE, text=True, check=True)
        self.cases, suite = [], ""
        for line in run.stdout.splitlines():
            line = line.split("#")[0].rstrip()
            if line.startswith("  "):
                self.cases.append(suite + line.strip())
            elif line.endswith("."):
                suite = line
        self.cases = [case for case in self.cases if "DISABLED_" not in case]

    def run(self, workshop, cases=None):
        """The cases share a process as far as they may."""
        wanted = self.cases if cases is None else cases
        shared = [case for case in wanted if not OWN_PROCESS.search(case)]
        groups = [shared[first:first + MOST_CASES] for first in range(0, len(shared), MOST_CASES)]
        for group in groups + [[case] for case in wanted if OWN_PROCESS.search(case)]:
            ended = self._start(workshop, [*self.command, "--gtest_fail_fast"], {"GTEST_FILTER": ":".join(group)}, MEMORY)
            if ended.status != 0:
                return _culprit(ended, group)
        return None


def _culprit(ended, group):
    if ended.endless and (started := re.findall(r"^\[ RUN      \] (\S+)", ended.output, re.M)):
        return started[-1] + ENDLESS
    failed = re.search(r"^\[  FAILED  \] (\S+?)(?:, where|$| \()", ended.output, re.M)
    started = re.findall(r"^\[ RUN      \] (\S+)", ended.output, re.M)
    if failed:
        return failed[1]
    return started[-1] if started else group[0]


class Script(Suite):
    def run(self, workshop, cases=None):
        wanted = self.cases if cases is None else cases
        if not wanted:
            return None
        ended = self._start(workshop, [*self.command, *wanted], {"ZUM_FAIL_FAST": "1"}, None)
        if ended.status in (0, 77):
            return None
        failed = re.search(r"^(?:FAIL|ERROR): (\w+) \((?:\w+\.)?(\w+)", ended.output, re.M)
        if failed:
            return f"{failed[2]}.{failed[1]}"
        started = re.findall(r"^(\w+) \((?:\w+\.)?(\w+)[.\w]*\) ", ended.output, re.M)
        return f"{started[-1][1]}.{started[-1][0]}" if started else wanted[0]


def load(workshop):
    """All native suites. Cases of programs are listed when their program has been built."""
    listed = json.loads(subprocess.run(["ctest", "--show-only=json-v1"], cwd=workshop.build, check=True,
                                       stdout=subprocess.PIPE, text=True).stdout)["tests"]
    found = {}
    for test in listed:
        if _LEFT_OUT.search(test["name"]):
            continue
        properties = {entry["name"]: entry["value"] for entry in test.get("properties", [])}
        environment = dict(entry.split("=", 1) for entry in properties.get("ENVIRONMENT", []))
        group, case = test["name"].split(".", 1) if "." in test["name"] else (test["name"], "")
        if group in _SCRIPTED:
            folder = "zum_rehearse" if group == "rehearsal" else group
            suite = found.setdefault(group, Script(group, folder, _SCRIPTED[group], test["command"][:2], environment))
            suite.cases.append(case)
        elif any(part.endswith("run_program.py") for part in test["command"]):
            name = test["name"] if environment else group  # shards are parts of one, zones are not
            program = test["command"][-1]
            found.setdefault(name, Program(name, properties.get("LABELS", [""])[0], (program.rsplit("/", 1)[1],), [program],
                                           environment))
        else:
            raise ValueError(f"a native test of an unknown kind: {test['name']}")
    return list(found.values())


def see_them_pass(suites, workshop):
    """Lists the cases and measures the suites, the short ones twice, unless this was done with what is built now. Returns
    what fails."""
    known = json.loads(workshop.measured.read_text()) if workshop.measured.exists() else {}
    failing = []
    for suite in suites:
        if isinstance(suite, Program):
            suite.list_cases()
        seconds, version = known.get(suite.name, (0, ""))
        if version != (now := _version(suite, workshop)):
            if failed := _measure(suite, workshop):
                failing.append(f"{suite.name}: {failed}")
                continue
            known[suite.name] = suite.seconds, now
            workshop.measured.write_text(json.dumps(known))
        else:
            suite.seconds = seconds
    return failing


def _version(suite, workshop):
    files = [workshop.build / "bin" / target for target in suite.targets]
    if isinstance(suite, Script):
        files += (workshop.tree / "tests").rglob("*.py")
    return str(max(file.stat().st_mtime_ns for file in files))


def _measure(suite, workshop):
    for _ in range(2):
        began = time.monotonic()
        if failed := suite.run(workshop):
            return failed
        suite.seconds = time.monotonic() - began
        if suite.seconds > 10:
            return None
    return None
