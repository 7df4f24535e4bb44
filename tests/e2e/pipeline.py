"""The base of the cases that run the whole correction, by the caller that is made for it."""

import os
import pathlib
import re
import shutil
import tempfile

import machines
import packages
import registry_rule
import signing
from cases import MachineCase

MSIEXEC = "C:\\windows\\system32\\msiexec.exe"  # as a 32-bit program sees it
# The part of a record's text that is the same for all of the correction.
PREFIX = "setup\t[correct_setup::"
GUID = "\\{[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}\\}"

LEFT_BY_THE_INSTALLER = [
    f"{registry_rule.ROOTS[0]}\\UserData\\S-1-5-18\\Components", f"{registry_rule.ROOTS[1]}\\Features",
    f"{registry_rule.ROOTS[1]}\\UpgradeCodes",
    # By these Wine's installer tells whether a product is there.
    *(f"SOFTWARE\\{view}Microsoft\\Windows\\CurrentVersion\\Uninstall\\{{{code}}}"
      for view in ("", "Wow6432Node\\") for code in (packages.OLD, packages.NEW))]

INVALID_SELF_DEFENSE = (0xA1780001, "Invalid self defense")
SILENT_ARGUMENT_MISSING = (0xA1780004, "Not exist require argument silent mode (/q, /qn, /quiet)")
SIGNATURE_CHECK_FAILED = (0xA1780007, "Problem with check signature")
DROP_FILES_FAILED = (0xA1780008, "Problem with drop files")
ARGUMENT_NOT_ALLOWED = (0xA1780009, "Exist not allowed arguments")
OPERATION_INVALID = (0xA178000A,
                     "Not correct operation, use (/installmsi, /installmsp, /uninstallmsi, /uninstallmsp)")
GUID_SYNTAX_INVALID = (0xA178000B, "Error in syntax guid (format guid {XXXXXXXX-XXXX-XXXX-XXXX-XXXXXXXXXXXX})")
INVALID_ARGUMENT = (0x80000046, "Invalid argument")


class PipelineCase(MachineCase):
    """A folder on C: for packages, and the product's data directory, by which the self-defence is tested."""

    def setUp(self):
        super().setUp()
        self.caller = pathlib.Path(os.environ["ZUM_CORRECT_SETUP_RUN"])
        self.data = self.machine.drive_c / "ProgramData/Quorvanta/ZUM/Data"
        if self.data.is_symlink() or self.data.is_file():  # what a killed run left
            self.data.unlink()
        self.data.mkdir(parents=True, exist_ok=True)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="zum-e2e-", dir=self.machine.drive_c))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)

    def path_on_c(self, path):
        return "C:\\" + str(path.relative_to(self.machine.drive_c)).replace("/", "\\")

    def correct(self, arguments, **options):
        """Runs the correction with a new folder for its trace."""
        self.traces = pathlib.Path(tempfile.mkdtemp(prefix="traces-", dir=self.machine.folder))
        line = f"correct_setup_run.exe {self.trace_option} {arguments}".rstrip()
        return self.machine.run(line, program=self.caller, **options)

    def check_line(self, outcome, number, line):
        self.assertEqual(outcome.output.decode("ascii").splitlines(), [line])
        self.assertEqual(f"{outcome.status:#010x}", f"{self.machine.status_of(number):#010x}")

    def check_value(self, outcome, value):
        self.check_line(outcome, value, f"value 0x{value:08x}")

    def check_code(self, outcome, failure):
        code, text = failure
        self.check_line(outcome, code, f"code 0x{code:08x} ({text})")

    def records(self):
        """The trace's records without what they begin with."""
        found = []
        for _, text in self.trace_records():
            self.assertTrue(text.startswith(PREFIX), text)
            found.append(text[len(PREFIX):])
        return found

    def errors(self):
        """The records of level 300, as one text."""
        return "\n".join(text for level, text in self.trace_records() if level == "ERR")

    def drop_directory(self):
        """The private directory of the traced run; None where there was none."""
        found = [match.group(1) for match in
                 (re.fullmatch(r"DropFilesystemObjects\] .* -> (.*)", text) for text in self.records()) if match]
        if not found:
            return None
        self.assertEqual(len(found), 1, found)
        # The last two folders of the temporary directory's path are those of Windows in Wine 10.
        self.assertRegex(found[0], r"^C:\\users\\[^\\]+\\(AppData\\Local\\)?Temp\\" + GUID + "$")
        return found[0]

    def unix_path(self, path):
        return self.machine.drive_c / path[len("C:\\"):].replace("\\", "/")

    def check_drop_directory_is_gone(self):
        dropped = self.drop_directory()
        self.assertIsNotNone(dropped, "no private directory was made")
        parent = self.unix_path(dropped).parent
        self.assertTrue(parent.is_dir(), parent)
        self.assertNotIn(self.unix_path(dropped).name, os.listdir(parent))

    def check_no_installer(self):
        """Neither tried nor started."""
        self.assertEqual([text for text in self.records() if "LaunchMsiPackage" in text or "CreateProcess" in text], [])


class PackageCase(PipelineCase):
    """Packages that are really signed, and a machine that trusts their root."""

    def setUp(self):
        super().setUp()
        self.addCleanup(self.remove_products)
        self.machine.helper("trustroot", machines.text_digits(self.machine.windows_path(signing.trusted_root())))
        self.remove_products()
        # The rewrite fails on a machine that has no products' key at all.
        self.load({})

    def package(self, name="zum.msi", signer="right", **product):
        path = self.folder / name
        packages.make(path, **product)
        if signer:
            signing.sign(path, signer)
        return path

    def installed_files(self):
        return sorted(file.name for file in self.machine.drive_c.glob("Program Files*/Quorvanta ZUM/*"))

    def msiexec(self, arguments):
        return int(self.machine.start(arguments, program=MSIEXEC)["exit"], 16)

    def remove_products(self):
        """Whatever a case left. By hand: the installer itself would refuse where the records are marked."""
        self.machine.clear()
        self.machine.registry([f"D {machines.text_digits(path)}" for path in LEFT_BY_THE_INSTALLER])
        for folder in self.machine.drive_c.glob("Program Files*/Quorvanta ZUM"):
            shutil.rmtree(folder)
        for cached in self.machine.drive_c.glob("windows/Installer/*.msi"):
            cached.unlink()
