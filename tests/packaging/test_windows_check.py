"""The package for an owner of a Windows machine, under Wine: that it judges, asks, and leaves nothing behind."""

import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import zipfile

import machines
from package_files import DIST, PROJECT, VERSION, WORK, digests_in_notes, run, unpacked

sys.path.append(str(PROJECT / "packaging"))

import linked_in  # noqa: E402
from pieces import PARTS  # noqa: E402

NAME = f"zum_setup_util-{VERSION}-win32-check"
SOURCES = PROJECT / "tests/windows_check"
PREFIX = machines.wine_prefix()
WINE = os.environ.get("ZUM_SYSTEM", "wine-8").removeprefix("wine-")
ELEVATED = WINE == "8"  # as programs start in Wine 10, and on Windows, they aren't: what needs it isn't asked for
NO_RIGHTS = "it needs administrator's rights, which this run hasn't"
RESULT = "windows-check-result.txt"
PROGRAMS = ["check_contract.exe", "check_contract_registry.exe", "check_stages.exe", "check_time.exe", "check_trace.exe",
            "check_wrappers.exe", "check_wrappers_registry.exe", "launch_probe.exe", "windows_check.exe",
            "zum_rehearse.exe"]
FILES = ["LICENCE.txt", "REBUILD.txt", "SHA256SUMS", "THIRD-PARTY.txt", "programs.json", "refused.msi", "run-checks.cmd", "windows-check.html", "windows-check.txt",
         *PROGRAMS]


def wine(program, *arguments, given="", cwd=WORK):
    """Status and output. The streams are files: what Wine starts beside a program may live on."""
    with tempfile.TemporaryFile() as source, tempfile.TemporaryFile() as output:
        source.write(given.encode("ascii"))
        source.seek(0)
        done = subprocess.run([PROJECT / "scripts/wine-run.sh", program, *arguments], stdin=source, stdout=output,
                              stderr=subprocess.STDOUT, cwd=cwd, timeout=300, check=False)
        output.seek(0)
        return done.returncode, output.read().decode("utf-8", "replace").replace("\r\n", "\n")


BRANCHES = {"software": r"HKLM\SOFTWARE", "system": r"HKLM\SYSTEM", "users": "HKU"}
# Wine notes the displays when a program first asks for one.
WINES_OWN = re.compile(r"\[HKEY_LOCAL_MACHINE\\SYSTEM\\(Current)?ControlSet(001)?\\(Control\\(Video|Class)|Enum)\\", re.IGNORECASE)
CANARY = r"HKLM\SOFTWARE\ZumContract"
MACHINE_KEY = r"HKLM\SYSTEM\ZumWindowsCheck"


def reg(*words):
    """As the 64-bit view has it, of which the other is a part."""
    status, printed = wine("reg", *words, "/reg:64")
    if status != 0:
        raise RuntimeError(f"reg {words} ended with {status}: {printed}")


def registry():
    """All keys of the machine and of its users, and their values, each with its key; only what Wine itself notes on the
    way is left out."""
    found = set()
    for name, branch in BRANCHES.items():
        key, file = "", WORK / f"{name}.reg"
        reg("export", branch, f"Z:{file}", "/y")
        for line in file.read_text(encoding="utf-16").splitlines():
            key = line if line.startswith("[") else key
            found.add((key, line))
    return {entry for entry in found if not WINES_OWN.match(entry[0])}


def drive():
    """The files of drive C: with size and time, and its folders."""
    found = {}
    for folder, names, files in os.walk(PREFIX / "drive_c"):
        found |= {os.path.join(folder, name): None for name in names}
        for name in files:
            path = os.path.join(folder, name)
            status = os.lstat(path)
            found[path] = (status.st_size, status.st_mtime_ns)
    return found


def lines_of(text):
    """Name -> (verdict, the rest), of the lines of checks."""
    found = re.findall(r"(?m)^(ok|DIFFERS|noted|skipped) +(.*?): (.*)$", text.partition("\n---- ")[0])
    return {name: (verdict, rest) for verdict, name, rest in found}


class Package(unittest.TestCase):
    def testHoldsWhatBelongsIntoIt(self):
        names = zipfile.ZipFile(DIST / f"{NAME}.zip").namelist()
        self.assertEqual(names, [f"{NAME}/{name}" for name in sorted(FILES)])
        self.assertEqual(run("sha256sum", "-c", "SHA256SUMS", cwd=unpacked(NAME)).count(": OK\n"), len(FILES) - 1)

    def testNotesTellItsOwnPrograms(self):
        self.assertEqual(digests_in_notes(unpacked(NAME)), {
            name: hashlib.sha256((unpacked(NAME) / name).read_bytes()).hexdigest() for name in PROGRAMS})

    def testLicencesOfWhatIsLinkedInAreThere(self):
        """Whatever a program is made of belongs to a component whose licence is told."""
        build = PROJECT / "build/windows"
        used = set()
        for name in PROGRAMS:
            where = "bin" if (build / "bin" / name).exists() else "tests/windows_check"
            used |= linked_in.components_of(build, linked_in.sources(build, f"{where}/{name}"), PARTS["check"],
                                            name)
        self.assertLessEqual({"GoogleTest", "CLI11", "nlohmann-json", "libstdc++"}, used)
        text = (unpacked(NAME) / "THIRD-PARTY.txt").read_text(encoding="utf-8-sig")
        for name in used:
            self.assertRegex(text, rf"(?m)^{re.escape(name)}: ")
        for words in ("Copyright 2008, Google Inc.", "University of Cincinnati", "Niels Lohmann", "ZPL-2.1",
                      "GCC RUNTIME LIBRARY EXCEPTION"):
            self.assertIn(words, text)
        self.assertTrue((unpacked(NAME) / "LICENCE.txt").read_text(encoding="ascii").startswith("Licence of"))

    def testNamesNoFolderOfTheBuild(self):
        for name in PROGRAMS:
            self.assertNotIn(str(PROJECT).encode(), (unpacked(NAME) / name).read_bytes(), name)

    def testHoldsNothingThatCouldHarm(self):
        run("/usr/bin/python3", SOURCES / "check_list.py", "--wine", PROJECT / "scripts/wine-run.sh", unpacked(NAME))

    def testTheCheckOfTheListFindsPlantedOffences(self):
        found = run("/usr/bin/python3", SOURCES / "check_list.py", "--self-test", unpacked(NAME))
        self.assertEqual(found.count(": found\n"), 15)
        self.assertNotIn("MISSED", found)


class UnderWine(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        # In a fresh prefix Wine's installer makes folders of its own when it first runs, whatever the package: they are
        # made here, so that all that comes later counts.
        status, printed = wine("msiexec", "/i", f"Z:{SOURCES}/refused.msi", "/qn")
        if status != 1603 & 0xFF:  # the package's own refusal, as a shell sees it
            raise AssertionError(f"the installer ended with {status}: {printed}")

    def setUp(self):
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="a machine's owner ", dir=WORK)) / NAME
        shutil.copytree(unpacked(NAME), self.folder)

    def checks(self, answers, *options):
        """Status, screen and result of run-checks.cmd."""
        given = "".join(f"{answer}\n" for answer in answers)
        status, screen = wine("cmd", "/c", "run-checks.cmd", *options, given=given, cwd=self.folder)
        result = (self.folder / RESULT).read_bytes().decode("utf-8-sig")
        self.assertEqual(result.count("\n"), result.count("\r\n"))
        return status, screen, result.replace("\r\n", "\n")

    def changes_of(self, action):
        """What it returned, and what became another on the machine."""
        drive_before, registry_before = drive(), registry()
        returned = action()
        drive_after, registry_after = drive(), registry()
        return returned, sorted({path for path in drive_before.keys() | drive_after.keys()
                                 if drive_before.get(path, 0) != drive_after.get(path, 0)}), \
            sorted(registry_before ^ registry_after)

    def testTouchesNothingWithoutLeave(self):
        # What the suites use in the machine's registry elsewhere, and begin by deleting.
        reg("add", CANARY, "/v", "there", "/d", "x", "/f")
        self.addCleanup(reg, "delete", CANARY, "/f")
        (status, screen, result), files, keys = self.changes_of(lambda: self.checks(["no", "", "n"]))
        self.assertEqual((files, keys), ([], []))
        self.assertIn((r"[HKEY_LOCAL_MACHINE\SOFTWARE\ZumContract]", '"there"="x"'), registry())
        self.assertEqual(status, 0, result)
        self.assertIn(f"system:  Wine {WINE}.0", result)
        self.assertIn("answers: those listed for Wine are right\n", result)
        self.assertIn("rights:  " + ("administrator" if ELEVATED else "plain user, or not elevated") + "\n", result)
        self.assertEqual(screen.count("left out"), 3 if ELEVATED else 2)
        lines = lines_of(result)
        self.assertEqual([name for name, (verdict, _) in lines.items() if verdict == "DIFFERS"], [])
        for name in ("installer", "zum_rehearse"):
            self.assertEqual(lines[name], ("skipped", "it wasn't allowed"))
        self.assertEqual(lines["SYSTEM"], ("skipped", "it wasn't allowed" if ELEVATED else NO_RIGHTS))
        for program in json.loads((SOURCES / "programs.json").read_text(encoding="utf-8"))["test programs"]:
            ran = [name for name in lines if name.startswith(program["program"] + ", of ")]
            self.assertEqual(len(ran), 1, program["program"])
            self.assertGreater(int(ran[0].split(" of ")[1].split(" ")[0]), 20)
        self.assertEqual(lines["full path of nothing"][1],
                         "length 0, last error untouched   [Wine: length 0, last error untouched; "
                         "Windows: length 0, last error 123]")
        self.assertEqual(lines["package altered behind its signature, verdict"][1],
                         "0x800B0109   [Wine: 0x800B0109; Windows: 0x80096010]")
        self.assertEqual(lines["what was made is removed"][0], "ok")
        self.assertEqual(result.count("\n---- icacls "), 3)

    def testDoesWhatIsAllowedAndLeavesNothing(self):
        (status, screen, result), files, keys = self.changes_of(
            lambda: self.checks(["yes", "y", "Y"], "--own-checks-only"))
        self.assertEqual((files, keys), ([], []))
        self.assertEqual(status, 0, result)
        self.assertEqual(screen.count("allowed\n"), 3 if ELEVATED else 2)
        lines = lines_of(result)
        self.assertEqual(lines["test programs"], ("skipped", "left out by --own-checks-only"))
        if ELEVATED:
            self.assertEqual(lines["SYSTEM, a key is opened in a transaction"][0], "ok")
            self.assertEqual(lines["SYSTEM, the key is removed"][0], "ok")
        else:
            self.assertEqual(lines["SYSTEM"], ("skipped", NO_RIGHTS))
        for place in ("an ordinary folder", "the drop directory"):
            self.assertEqual(lines[f"package in {place}, the installer reads it"][0], "ok")
        self.assertEqual(lines["zum_rehearse"][0], "ok")
        self.assertIn("\n---- zum_rehearse --all\n", result)

    def testAKeyThatIsThereAlreadyIsLeftAsItIs(self):
        reg("add", MACHINE_KEY, "/v", "List", "/t", "REG_SZ", "/d", "somebody's", "/f")
        self.addCleanup(reg, "delete", MACHINE_KEY, "/f")
        answers = ["y", "n", "n"] if ELEVATED else ["n", "n"]
        (status, _, result), files, keys = self.changes_of(lambda: self.checks(answers, "--own-checks-only"))
        self.assertEqual((files, keys), ([], []))
        self.assertIn((r"[HKEY_LOCAL_MACHINE\SYSTEM\ZumWindowsCheck]", '"List"="somebody\'s"'), registry())
        lines = lines_of(result)
        if not ELEVATED:
            return self.assertEqual((status, lines["SYSTEM"]), (0, ("skipped", NO_RIGHTS)))
        self.assertEqual(status, 1)
        self.assertEqual({name: rest for name, (verdict, rest) in lines.items() if verdict == "DIFFERS"}, {
            r"Transactions below HKEY_LOCAL_MACHINE\SYSTEM":
                "the checks behind this can't be made: the key is there already, and is left as it is"})

    def testWhatIsWrongIsTold(self):
        (self.folder / "refused.msi").unlink()
        shutil.copy(self.folder / "zum_rehearse.exe", self.folder / "check_time.exe")  # no test program
        listed = json.loads((self.folder / "programs.json").read_text(encoding="utf-8"))
        listed["test programs"] = [entry for entry in listed["test programs"] if entry["program"] == "check_time.exe"]
        (self.folder / "programs.json").write_text(json.dumps(listed), encoding="utf-8")
        status, _, result = self.checks([])
        lines = lines_of(result)
        self.assertEqual(status, 1)
        self.assertEqual({name for name, (verdict, _) in lines.items() if verdict == "DIFFERS"},
                         {"Signatures", "check_time.exe"})
        self.assertIn("refused.msi isn't beside the program", lines["Signatures"][1])
        self.assertIn("can't list its cases", lines["check_time.exe"][1])
        self.assertRegex(result, r"\n\d+ ok, 2 differ, ")

    def testACaseThatFailsAndOneThatEndsTheProcessAreTold(self):
        shutil.copy(PROJECT / "build/windows/bin/runner_probe.exe", self.folder / "check_time.exe")
        listed = {"test programs": [{"program": "check_time.exe",
                                     "left out": [{"cases": "RunnerProbe.Hangs", "why": "takes too long"}]}]}
        (self.folder / "programs.json").write_text(json.dumps(listed), encoding="utf-8")
        status, _, result = self.checks([])
        self.assertEqual(status, 1)
        lines = lines_of(result)
        self.assertEqual(lines["check_time.exe RunnerProbe.Hangs"], ("skipped", "takes too long"))
        self.assertEqual(lines["check_time.exe RunnerProbe.SkipsWithReason"], ("skipped", "a planted reason"))
        for case in ("Fails", "Exits", "Crashes"):
            self.assertEqual(lines[f"check_time.exe RunnerProbe.{case}"], ("noted", "failed, see its text below"))
        told = dict(part.split("\n", 1) for part in result.split("\n---- ")[1:])
        self.assertIn("planted", told["check_time.exe RunnerProbe.Fails"])
        self.assertIn("the process ended with status 0x00000000", told["check_time.exe RunnerProbe.Exits"])

    def testAnotherOptionIsRefused(self):
        status, screen = wine("cmd", "/c", "run-checks.cmd", "/?", given="", cwd=self.folder)
        self.assertEqual(status, 2)
        self.assertIn("usage: windows_check.exe", screen)
        self.assertFalse((self.folder / RESULT).exists())
