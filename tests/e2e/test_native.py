"""What only the native program has: a registry file that may be damaged, and a standard output that may be full."""

import os
import subprocess

import products
import registry_rule
from cases import COMPLETED, REWRITE_FAILED, REWRITE_FAILED_REPORT, MachineCase, only_on

MARKED_BRANCH = products.product("A1", products.MARKED, products.MARKED_NAME)


@only_on("native")
class Rehearsal(MachineCase):
    def testFileOfAnotherToolIsTaken(self):
        """As the registry editor writes it: strings as text, numbers, continued lines, UTF-16."""
        text = "\r\n".join([
            "Windows Registry Editor Version 5.00", "",
            f"[HKEY_LOCAL_MACHINE\\{registry_rule.USER_DATA}\\A1\\InstallProperties]",
            '"LocalPackageNotExist"="C:\\\\Windows\\\\Installer\\\\\\"1\\".msi"', '"Version"=dword:01000000',
            '"Blob"=hex:01,02,\\', "  03,04", '"Expand"=hex(2):25,00,58,00,25,00,00,00', "",
            f"[HKEY_LOCAL_MACHINE\\{registry_rule.CLASSES}\\A1\\SourceList]", '"PackageNameNotExist"="x"', ""])
        self.machine.file.write_bytes(b"\xff\xfe" + text.encode("utf-16-le"))
        self.check_completed(self.machine.run("tool.exe /unblock"))
        after = self.machine.dump()
        self.assertEqual(after[f"{registry_rule.USER_DATA}\\A1\\InstallProperties"], {
            "LocalPackage": (1, 'C:\\Windows\\Installer\\"1".msi\0'.encode("utf-16-le")),
            "Version": (4, b"\0\0\0\x01"), "Blob": (3, b"\1\2\3\4"), "Expand": (2, "%X%\0".encode("utf-16-le"))})
        self.assertEqual(after[f"{registry_rule.CLASSES}\\A1\\SourceList"],
                         {"PackageName": (1, "zum_win.msi\0".encode("utf-16-le"))})

    def testRunThatChangesNothingLeavesTheFileAsItIs(self):
        self.load(products.kinds()["NoMarks"])
        before = self.machine.file.read_bytes()
        self.check_completed(self.machine.run("tool.exe /unblock"))
        self.assertEqual(self.machine.file.read_bytes(), before)

    def testChangedFileIsReplacedAsAWhole(self):
        self.load(MARKED_BRANCH)
        old = self.machine.file.stat().st_ino
        self.check_completed(self.machine.run("tool.exe /unblock"))
        self.assertNotEqual(self.machine.file.stat().st_ino, old)
        leftovers = [name for name in os.listdir(self.machine.root) if "registry" in name and name != "registry.reg"
                     and not name.endswith("lock")]
        self.assertEqual(leftovers, [])

    def testMissingFileIsAnEmptyRegistry(self):
        self.machine.file.unlink()
        self.check_outcome(self.machine.run("tool.exe /unblock"), REWRITE_FAILED, REWRITE_FAILED_REPORT)

    def testExitStatusIsTheLowEightBits(self):
        self.machine.clear()
        self.assertEqual(self.machine.run("tool.exe /unblock").status, 3)


@only_on("native")
class LostChanges(MachineCase):
    """The corrected registry can't be written back: the run isn't done, whatever it printed."""

    def setUp(self):
        super().setUp()
        self.load(MARKED_BRANCH)
        self.before = self.machine.file.read_bytes()
        self.obstacle = self.machine.file.with_name("registry.reg.new")
        self.obstacle.mkdir()

    def check_lost(self, outcome):
        self.assertEqual((outcome.status, outcome.output), (1, COMPLETED))
        self.assertRegex(outcome.errors.decode(), r"registry\.reg: .*: the file stays as it was, without the last changes")
        self.assertEqual(self.machine.file.read_bytes(), self.before)

    def testRunThatChangesNothingHasNothingToLose(self):
        self.check_completed(self.machine.run("tool.exe"))

    def testStatusIsNotThatOfASuccess(self):
        self.check_lost(self.machine.run("tool.exe /unblock"))

    def testTraceIsWhole(self):
        self.check_lost(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        self.assertEqual(self.trace_records()[-1], ("INF", "zs_util\t[main] exit with result = 0x00000000"))


@only_on("native")
class LinkedFile(MachineCase):
    def testFileBehindALinkIsWrittenThere(self):
        self.load(MARKED_BRANCH)
        target = self.machine.file.with_name("elsewhere.reg")
        self.machine.file.rename(target)
        self.machine.file.symlink_to(target.name)
        before = self.machine.dump()
        self.check_completed(self.machine.run("tool.exe /unblock"))
        self.assertTrue(self.machine.file.is_symlink())
        self.assertFalse(target.is_symlink())
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])


DAMAGES = {
    "OtherHeader": ("REGEDIT9\r\n", 1),
    "ValueOutsideAKey": ("Windows Registry Editor Version 5.00\r\n\r\n\"a\"=\"b\"\r\n", 3),
    "UnfinishedKey": ("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\X\r\n", 3),
    "BadHexadecimal": ("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\X]\r\n\"a\"=hex:0g\r\n", 4),
    "UnfinishedString": ("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\X]\r\n\"a\"=\"b\r\n", 4),
    "UnknownKind": ("Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\X]\r\n\"a\"=word:1\r\n", 4),
}


@only_on("native")
class DamagedFile(MachineCase):
    def check_damage(self, text, line):
        data = text.encode()
        self.machine.file.write_bytes(data)
        outcome = self.machine.run(f"tool.exe {self.trace_option} /unblock")
        self.check_outcome(outcome, REWRITE_FAILED, REWRITE_FAILED_REPORT)
        self.assertRegex(outcome.errors.decode(), rf"registry\.reg\D*\b{line}\b\D.*\w", "no line or no reason")
        self.assertEqual(self.machine.file.read_bytes(), data)
        self.assertIn("system result code: 1009: ", "".join(text for _, text in self.trace_records()))

    def testRunThatDoesNotLookAtItIsCompleted(self):
        self.machine.file.write_bytes(b"damaged")
        self.check_completed(self.machine.run("tool.exe"))
        self.assertEqual(self.machine.file.read_bytes(), b"damaged")


def add_damage(name, text, line):
    def test(self):
        self.check_damage(text, line)

    setattr(DamagedFile, f"test{name}", test)


for _name, (_text, _line) in DAMAGES.items():
    add_damage(_name, _text, _line)


@only_on("native")
class StandardOutput(MachineCase):
    def status_on_full_device(self, command_line):
        with open("/dev/full", "wb") as full:
            return self.machine.run(command_line, output=full).status

    def testFullDeviceLeavesASuccess(self):
        self.load(MARKED_BRANCH)
        before = self.machine.dump()
        self.assertEqual(self.status_on_full_device("tool.exe /unblock"), 0)
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])

    def testFullDeviceLeavesAFailure(self):
        self.machine.clear()
        self.assertEqual(self.status_on_full_device("tool.exe /unblock"), 3)

    def testFullDeviceLeavesTheTrace(self):
        self.machine.clear()
        self.status_on_full_device(f"tool.exe {self.trace_option} /unblock")
        self.assertEqual(self.trace_records()[-1], ("INF", "zs_util\t[main] exit with result = 0xa1780003"))

    def testClosedOutputLeavesTheStatus(self):
        self.load({})
        environment = os.environ | {"ZUM_HOST_ROOT": str(self.machine.root)}
        done = subprocess.run(["/bin/sh", "-c", 'exec "$0" /unblock >&-', str(self.machine.program)], env=environment,
                              stderr=subprocess.PIPE, check=False)
        self.assertEqual(done.returncode, 0)

    def testNothingGoesToTheErrorStream(self):
        self.load(MARKED_BRANCH)
        outcome = self.machine.run("tool.exe /unblock")
        self.assertEqual((outcome.output, outcome.errors), (COMPLETED, b""))
