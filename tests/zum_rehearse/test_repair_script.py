"""The batch file that engines without a control node run (deploy/configuration-manager/repair.cmd)."""

import os
import shutil

import registry_rule
from products import MARKED_NAME, ORDINARY, ORDINARY_NAME, key_name, product
from registry_rule import SZ, sz
from rehearsal_cases import PROJECT, UnpackedCase, only_on

SCRIPT = PROJECT / "deploy/configuration-manager/repair.cmd"
KEPT = ["installer-1.reg", "installer-2.reg", "output.txt", "undo.reg"]


def marked(path):
    return product(key_name(1), {"LocalPackageNotExist": (SZ, sz(path))}, MARKED_NAME)


@only_on("windows")
class RepairScript(UnpackedCase):
    def setUp(self):
        super().setUp()
        shutil.copy(SCRIPT, self.package)

    def repair(self, branch):
        """Status, and the branch before."""
        self.machine.clear()
        before = self.load(branch)
        return self.run_script(), before

    def run_script(self):
        """By the 32-bit prompt, as from a 32-bit client."""
        script = self.machine.windows_path(self.package / "repair.cmd")
        outcome = self.machine.run(f'cmd.exe /c ""{script}""', program="C:\\windows\\syswow64\\cmd.exe")
        self.assertEqual(outcome.output, b"")
        return outcome.status

    def kept(self, number):
        return sorted(os.listdir(self.zum / f"repair-{number}"))

    def test_repairs_what_the_rehearsal_names(self):
        status, before = self.repair(marked("C:\\windows\\zum\\zum_rehearse.exe"))
        self.assertEqual(status, 0)
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])
        self.assertEqual([name for name in self.kept(1) if name in KEPT], KEPT)
        for file, mark in (("installer-1.reg", "LocalPackageNotExist"), ("installer-2.reg", "PackageNameNotExist")):
            self.assertIn(f'"{mark}"', (self.zum / "repair-1" / file).read_bytes().decode("utf-16"))
        self.assertEqual((self.zum / "repair-1/output.txt").read_bytes(), b"Completed")
        for file, status in (("before.json", 1), ("repair-1/after.json", 0)):
            report, = self.parse((self.zum / file).read_bytes())
            self.assertEqual(report["status"], status)
        self.assertEqual(len(list((self.zum / "repair-1").glob("*.log"))), 1)

    def test_leaves_a_machine_alone_that_needs_no_repair(self):
        status, before = self.repair(product(key_name(1), ORDINARY, ORDINARY_NAME))
        self.assertEqual(status, 0)
        self.check_branch(self.machine.dump(), before)
        self.assertFalse((self.zum / "repair-1").exists())

    def test_tells_that_a_package_is_missing(self):
        status, before = self.repair(marked("C:\\no\\such.msi"))
        self.assertEqual(status, 4)
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])

    def test_does_not_run_where_the_correction_would_fail(self):
        self.machine.clear()  # no list of products
        self.assertEqual(self.run_script(), 3)
        self.assertFalse((self.zum / "repair-1").exists())

    def test_does_not_run_without_the_rights(self):
        path = f"{registry_rule.USER_DATA}\\{key_name(1)}\\InstallProperties"
        branch = marked("C:\\windows\\zum\\zum_rehearse.exe")
        self.load(branch)
        self.machine.protect([path])
        self.addCleanup(self.machine.unprotect, [path])
        self.assertEqual(self.run_script(), 5)
        self.assertFalse((self.zum / "repair-1").exists())

    def test_writes_no_earlier_undo_file_over(self):
        branch = marked("C:\\windows\\zum\\zum_rehearse.exe")
        self.repair(branch)
        first = (self.zum / "repair-1/undo.reg").read_bytes()
        self.assertEqual(self.repair(branch)[0], 0)
        self.assertEqual((self.zum / "repair-1/undo.reg").read_bytes(), first)
        self.assertEqual([name for name in self.kept(2) if name in KEPT], KEPT)

    def test_ends_with_1_without_the_tool(self):
        (self.package / self.machine.program.name).unlink()
        status, before = self.repair(marked("C:\\windows\\zum\\zum_rehearse.exe"))
        self.assertEqual(status, 1)
        self.check_branch(self.machine.dump(), before)
