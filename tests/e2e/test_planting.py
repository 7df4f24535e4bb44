"""Modules and an installer that are planted beside the program, in the current directory and in the search path.

Wine loads a planted module in place of its own only where it is told to, by WINEDLLOVERRIDES; a program with static
imports, which starts the installer by its bare name, shows in each case that the planting would work.
"""

import shutil

from cases import only_on
from pipeline import PackageCase

MODULES = ("wintrust", "crypt32", "ktmw32")
OVERRIDES = "mscoree,mshtml=;winedbg.exe=d;" + ",".join(MODULES) + ",msiexec.exe=n,b"


@only_on("windows")
class Planting(PackageCase):
    def setUp(self):
        super().setUp()
        self.planted = self.machine.folder / "planted"
        self.planted.mkdir()
        for module in MODULES:
            shutil.copyfile(self.machine.helpers / "lookalike.dll", self.planted / f"{module}.dll")
        shutil.copyfile(self.machine.helpers / "planted_installer.exe", self.planted / "msiexec.exe")
        self.report = self.machine.folder / "planted.txt"
        self.environment = {"ZUM_PLANTED": self.machine.windows_path(self.report),
                            "ZUM_WINEDLLOVERRIDES": OVERRIDES}

    def copy_of(self, program, folder):
        path = folder / program.name
        shutil.copyfile(program, path)
        return path

    def what_ran(self):
        """The names of what was loaded or started out of the planted folder."""
        if not self.report.exists():
            return []
        paths = self.report.read_text(encoding="utf-8").splitlines()
        return sorted({path.replace("/", "\\").rpartition("\\")[2].lower() for path in paths})

    def check_works(self, folder, cwd):
        """The correction installs and removes, and nothing planted runs; with the control program all of it does."""
        caller = self.copy_of(self.caller, folder)
        package = self.path_on_c(self.package())
        self.caller = caller
        for operation, installed in (("/installmsi", ["zum.txt"]), ("/uninstallmsi", [])):
            outcome = self.correct(f"{operation} {package} /qn", cwd=cwd, environment=self.environment)
            self.check_value(outcome, 0)
            self.assertIn("detail::CheckVerisignSignature] certificate description = QUORVANTA Lab", self.records())
            self.assertEqual(self.installed_files(), installed)
            self.assertEqual(self.what_ran(), [])

    def check_control(self, folder, cwd, expected, command_line="gullible.exe"):
        control = self.copy_of(self.machine.helpers / "gullible.exe", folder)
        found = self.machine.start(command_line, program=control, cwd=cwd, environment=self.environment)
        self.assertEqual(found["exit"], "00000000")
        self.assertEqual(self.what_ran(), expected)

    def testBesideTheProgram(self):
        self.check_works(self.planted, cwd=self.machine.folder)
        self.check_control(self.planted, self.machine.folder,
                           ["crypt32.dll", "ktmw32.dll", "msiexec.exe", "wintrust.dll"])

    def testBesideTheProgramAndInTheCurrentDirectory(self):
        self.check_works(self.planted, cwd=self.planted)
        self.check_control(self.planted, self.planted,
                           ["crypt32.dll", "ktmw32.dll", "msiexec.exe", "wintrust.dll"])

    def testInTheCurrentDirectory(self):
        elsewhere = self.machine.folder / "elsewhere"
        elsewhere.mkdir()
        self.check_works(elsewhere, cwd=self.planted)
        # The system's own modules come before those of the current directory for any program.
        self.check_control(elsewhere, self.planted, ["msiexec.exe"])

    def testInTheSearchPath(self):
        elsewhere = self.machine.folder / "elsewhere"
        elsewhere.mkdir()
        self.environment["WINEPATH"] = self.machine.windows_path(self.planted)
        self.check_works(elsewhere, cwd=self.machine.folder)
        # A bare name is looked for in the system's directory first, so this control asks the search path alone.
        self.check_control(elsewhere, self.machine.folder, ["msiexec.exe"], "gullible.exe search-path")
