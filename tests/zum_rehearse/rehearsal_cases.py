"""The base of the program's black-box cases: a machine to rehearse, and what several of them ask.

The machines, the products and the rule of the rewrite are the end-to-end suite's own.
"""

import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(PROJECT / "tests/e2e"))

import reg_file  # noqa: E402
import registry_rule  # noqa: E402
from cases import MachineCase, is_listed, only_on  # noqa: E402,F401
from registry_rule import CLASSES, USER_DATA  # noqa: E402

PROGRAM = pathlib.Path(os.environ["ZUM_REHEARSE"]) if "ZUM_REHEARSE" in os.environ else None
SCHEMA = json.loads((PROJECT / "docs/rehearsal.schema.json").read_text(encoding="utf-8"))
NATIVE = os.environ.get("ZUM_WORLD") == "native"
NOBODY = 65534  # the number of a user without rights
COMPLETED = {"code": "0x00000000", "line": "Completed"}
FAILED = {"code": "0xa1780003", "line": "Failed: 0xa1780003 (Problem in disable protective upgrade registry)"}


def is_sanitized():
    """The program is that of the build with the address sanitizer."""
    return b"__asan_init" in PROGRAM.read_bytes()


def is_instrumented():
    """The program is that of the coverage build, which writes its counters at its end."""
    return b"__gcov_dump" in PROGRAM.read_bytes()


def value_json(value):
    """Type and bytes of a value of a branch, as they stand in JSON."""
    return None if value is None else (value[0], value[1].hex())


def slot_of(branch, path, name):
    values = branch.get(registry_rule.same_name(branch, path), {})
    found = registry_rule.same_name(values, name)
    return None if found is None else values[found]


class RehearsalCase(MachineCase):
    """Runs the program on a branch: natively on an export of it, under Wine on the registry."""

    def export(self, branch, name="machine.reg"):
        """An export of the branch, with the installer's two keys in any case."""
        path = self.machine.folder / name
        path.parent.mkdir(parents=True, exist_ok=True)
        reg_file.write(path, {USER_DATA: {}, CLASSES: {}} | branch)
        return path

    def call(self, *arguments, cwd=None, environment=None):
        """The native program; arguments are text or bytes."""
        return subprocess.run([PROGRAM, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              cwd=cwd or self.machine.folder, timeout=240, check=False,
                              env={name: value for name, value in os.environ.items() if name != "COLUMNS"}
                              | {"ZUM_HOST_ROOT": "/nonexistent/host"} | (environment or {}))

    def call_without_rights(self, *arguments):
        """The native program as a user to whom something can be forbidden, and who finds it, and the files that are
        given, where he may look."""
        folder = pathlib.Path(tempfile.mkdtemp(prefix="zum-rehearse-", dir="/tmp"))
        self.addCleanup(shutil.rmtree, folder)
        folder.chmod(0o755)
        command = []
        for argument in (PROGRAM, *arguments):
            source = pathlib.Path(argument)
            if source.is_relative_to(self.machine.folder) and source.is_file() or source == PROGRAM:
                source = pathlib.Path(shutil.copy(source, folder))
                source.chmod(0o555)
            command.append(source)
        user = {"user": NOBODY, "group": NOBODY, "extra_groups": []} if os.geteuid() == 0 else {}
        return subprocess.run(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False, timeout=60, **user)

    def rehearse(self, branch, *arguments):
        """Status and standard output of a run on the branch; the machine must be the same afterwards."""
        if NATIVE:
            file = self.export(branch)
            before = file.read_bytes()
            file.chmod(0o444)
            done = self.call(file, *arguments)
            self.assertEqual(done.stderr, b"")
            self.assertEqual(file.read_bytes(), before)
            return done.returncode, done.stdout
        self.machine.clear()
        before = self.load(branch)
        outcome = self.machine.run(" ".join(["zum_rehearse.exe", *arguments]), program=PROGRAM)
        self.check_branch(self.machine.dump(), before)
        return outcome.status, outcome.output

    def parse(self, output):
        """The objects of an output, each held against the schema."""
        import jsonschema  # here, since a build lists the cases and needs no more of them
        found = [json.loads(line) for line in output.decode("utf-8").splitlines()]
        for each in found:
            jsonschema.validate(each, SCHEMA)
        return found

    def report(self, branch, *arguments):
        """The one object of a run, whose status must be the run's."""
        status, output = self.rehearse(branch, "--json", *arguments)
        found = self.parse(output)
        self.assertEqual(len(found), 1)
        self.assertEqual(found[0]["status"], status)
        return found[0]

    def products_of(self, report):
        return {product["key"]: product for product in report["products"]}

    def check_values(self, product, before, after):
        """The four values of a product, before and after, against two branches."""
        key = product["key"]
        for path, names in ((f"{USER_DATA}\\{key}\\InstallProperties", ("LocalPackage", "LocalPackageNotExist")),
                            (f"{CLASSES}\\{key}\\SourceList", ("PackageName", "PackageNameNotExist"))):
            for name in names:
                for when, branch in (("before", before), ("after", after)):
                    found = product["values"][name][when]
                    self.assertEqual(None if found is None else (found["type"], found["bytes"]),
                                     value_json(slot_of(branch, path, name)), (key, name, when))


def unescaped_controls(text):
    """The control characters of a text that a terminal would act on, but line ends."""
    return re.findall("[\x00-\x09\x0b-\x1f\x7f-\x9f\u200b-\u200f\u2028-\u202e\u2060-\u206f\ufeff]", text)


class UnpackedCase(RehearsalCase):
    """Under Wine: both programs in a package's folder, and the folder that they write to, which goes afterwards."""

    def setUp(self):
        super().setUp()
        self.zum = self.machine.drive_c / "windows/zum"
        self.addCleanup(shutil.rmtree, self.zum, ignore_errors=True)
        self.package = self.machine.folder / "a package's folder"
        self.package.mkdir()
        for program in (PROGRAM, self.machine.program):
            shutil.copy(program, self.package)
