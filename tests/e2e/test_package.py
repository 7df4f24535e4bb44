"""A really installed package: marked as the product's protection does, repaired, removed."""

import shutil
import subprocess

import machines
import registry_rule
from cases import MachineCase, only_on

CODE = "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}"
# The same code as the installer writes it in its keys: each of the first three groups backwards, each byte of the rest
# with its two digits swapped.
PACKED = "26F1C3B745A9D0E4C812D5E6F708192A"
INSTALL_PROPERTIES = f"{registry_rule.USER_DATA}\\{PACKED}\\InstallProperties"
SOURCE_LIST = f"{registry_rule.CLASSES}\\{PACKED}\\SourceList"
MSIEXEC = "C:\\windows\\system32\\msiexec.exe"  # as a 32-bit program sees it
SOURCE = machines.PROJECT / "scripts/demo/zum_win.wxs"


@only_on("windows")
class InstalledPackage(MachineCase):
    def setUp(self):
        super().setUp()
        self.package = self.machine.folder / "zum_win.msi"
        shutil.copyfile(SOURCE, self.machine.folder / "zum_win.wxs")
        (self.machine.folder / "zum.txt").write_text("The installed file.\n", encoding="ascii")
        subprocess.run(["wixl", "-o", self.package, "zum_win.wxs"], cwd=self.machine.folder, check=True,
                       capture_output=True)

    def msiexec(self, arguments):
        return int(self.machine.start(arguments, program=MSIEXEC)["exit"], 16)

    def installed_files(self):
        return list(self.machine.drive_c.glob("Program Files*/Quorvanta ZUM/*"))

    def install(self):
        self.assertEqual(self.msiexec(f"/norestart /i {self.machine.windows_path(self.package)} /qn"), 0)
        self.addCleanup(self.remove_what_is_left)
        self.assertEqual([file.name for file in self.installed_files()], ["zum.txt"])

    def remove_what_is_left(self):
        """After a failure in between: the package, by its own file."""
        if self.installed_files():
            self.msiexec(f"/norestart /i {self.machine.windows_path(self.package)} /qn")
            self.msiexec(f"/norestart /x {CODE} /qn")

    def testIsAPackageForTheMachineWithoutAnInstallScope(self):
        text = SOURCE.read_text(encoding="utf-8")
        self.assertIn('<Property Id="ALLUSERS" Value="1"/>', text)
        self.assertNotIn("InstallScope=", text)
        self.assertIn('Manufacturer="Quorvanta"', text)

    def testRemovalFailsWhileMarkedAndWorksAfterTheRepair(self):
        self.install()
        original = self.machine.dump()
        self.assertIn("LocalPackage", original[INSTALL_PROPERTIES])
        self.assertEqual(original[SOURCE_LIST]["PackageName"], (1, registry_rule.sz("zum_win.msi")))

        self.machine.rename_values([(INSTALL_PROPERTIES, "LocalPackage", "LocalPackageNotExist"),
                                    (SOURCE_LIST, "PackageName", "PackageNameNotExist")])
        marked = self.machine.dump()
        self.assertNotIn("LocalPackage", marked[INSTALL_PROPERTIES])
        self.assertEqual(self.msiexec(f"/norestart /x {CODE} /qn"), 1612)
        self.assertEqual([file.name for file in self.installed_files()], ["zum.txt"])

        self.check_completed(self.machine.run(f"zum_setup_util.exe {self.trace_option} /unblock"))
        repaired = self.machine.dump()
        self.check_branch(repaired, registry_rule.rewrite(marked)[0])
        self.check_branch(repaired, original)
        self.assertEqual(len([text for _, text in self.trace_records() if f"for key = {PACKED}" in text]), 2)

        self.assertEqual(self.msiexec(f"/norestart /x {CODE} /qn"), 0)
        self.assertEqual(self.installed_files(), [])
        self.assertNotIn(INSTALL_PROPERTIES, self.machine.dump())
