"""Signed packages that the correction really installs, upgrades and removes."""

import re
import uuid

import machines
import packages
import registry_rule
from cases import only_on
from pipeline import PackageCase


def expected_trace(command, operation, file):
    """All records of a run that succeeds, in their order, on a machine without marked products."""
    return [
        "ExecuteCorrectSetup]  begin",
        "detail::CheckSelfDefense]  begin",
        "detail::CheckSelfDefense]  end",
        f"{command}::{command}] call",
        "`anonymous-namespace'::CheckAllowList] call",
        "DropFilesystemObjects]  begin",
        "DropFilesystemObjects] <source> -> <drop>",
        "FileSystemActions::CreateSecureDirectory] dir = <drop>",
        "DropFilesystemObjects] copy input objects",
        f"CopyFilesystemObjects] objects = [ file:{file} ]",
        f"FileSystemActions::CopyFileT] <source>\\{file} -> <drop>\\{file}",
        "DropFilesystemObjects]  end",
        f"detail::CheckVerisignSignature] path = <drop>\\{file}",
        "detail::CheckVerisignSignature] certificate description = QUORVANTA Lab",
        "detail::DisableProtectiveMeasuresUpgrade]  begin",
        "detail::DisableProtectiveMeasuresUpgrade]  end",
        "detail::LaunchMsiPackage]  begin",
        "detail::CreateProcessAndWait] application name = C:\\windows\\system32\\msiexec.exe; arguments = "
        f"'/norestart {operation} <drop>\\{file} /qn SKIPREBOOTPENDING=1'",
        "detail::CreateProcessAndWait] created process: pid = <pid>",
        "detail::CreateProcessAndWait] process exit: code = 0x00000000",
        "detail::LaunchMsiPackage]  end",
        "detail::TryCorrectPendingOperations]  begin",
        # No such key under Wine: the stage ends here without a word.
        "detail::CorrectPendingOperations]  begin",
        "detail::CorrectPendingOperations]  end",
        "detail::TryCorrectPendingOperations]  end",
        "ExecuteCorrectSetup]  end",
    ]


@only_on("windows")
class Installation(PackageCase):
    def check_trace(self, command, operation, file):
        source, drop = self.path_on_c(self.folder), self.drop_directory()
        found = [re.sub("pid = [1-9][0-9]*$", "pid = <pid>", text.replace(source, "<source>").replace(drop, "<drop>"))
                 for text in self.records()]
        self.assertEqual(found, expected_trace(command, operation, file))
        self.assertEqual(self.errors(), "")

    def install(self, package):
        self.check_value(self.correct(f"/installmsi {self.path_on_c(package)} /qn"), 0)

    def mark(self, code):
        self.machine.rename_values([(packages.install_properties(code), "LocalPackage", "LocalPackageNotExist"),
                                    (packages.source_list(code), "PackageName", "PackageNameNotExist")])

    def testPackageIsInstalledAndRemoved(self):
        package = self.package()
        self.install(package)
        self.check_trace("CommandInstallMsi", "/i", "zum.msi")
        self.check_drop_directory_is_gone()
        branch = self.machine.dump()
        local = branch[packages.install_properties(packages.OLD)]["LocalPackage"]
        self.assertRegex(local[1].decode("utf-16-le"), r"(?i)^C:\\windows\\Installer\\[^\\]+\.msi\0$")
        self.assertEqual(branch[packages.source_list(packages.OLD)]["PackageName"], (1, registry_rule.sz("zum.msi")))
        self.assertEqual(self.installed_files(), ["zum.txt"])
        text = next(self.machine.drive_c.glob("Program Files*/Quorvanta ZUM/zum.txt"))
        self.assertEqual(text.read_bytes(), b"The file zum.txt of version 1.0.0.\n")
        self.assertEqual(list(self.data.iterdir()), [])

        self.check_value(self.correct(f"/uninstallmsi {self.path_on_c(package)} /qn"), 0)
        self.check_trace("CommandUninstallMsi", "/x", "zum.msi")
        self.check_drop_directory_is_gone()
        self.assertFalse(packages.is_known(self.machine.dump(), packages.OLD))
        self.assertEqual(self.installed_files(), [])

    def testUserPackageStaysAsItWas(self):
        package = self.package()
        before = package.read_bytes()
        self.install(package)
        self.assertEqual(package.read_bytes(), before)

    def testMarkedProductIsRemoved(self):
        package = self.package()
        self.install(package)
        self.mark(packages.OLD)
        self.check_value(self.correct(f"/uninstallmsi {self.path_on_c(package)} /qn"), 0)
        name = packages.packed(packages.OLD)
        self.assertEqual([text for text in self.records() if "update " in text],
                         [f"detail::DisableProtectiveMeasuresUpgrade] update LocalPackageNotExist for key = {name}",
                          f"detail::DisableProtectiveMeasuresUpgrade] update PackageNameNotExist for key = {name}"])
        self.assertFalse(packages.is_known(self.machine.dump(), packages.OLD))
        self.assertEqual(self.installed_files(), [])

    def testUpgradeOfAMarkedProductNeedsTheRewrite(self):
        """With the installer alone the old product stays, though the exit code is the same."""
        old = self.package()
        new = self.package("new.msi", code=packages.NEW, version="2.0.0", file="new.txt", upgrades=True,
                           component="C0FFEE22-2233-4455-8677-8899AABBCCDD")
        for correction, left, files in ((False, True, ["new.txt", "zum.txt"]), (True, False, ["new.txt"])):
            with self.subTest(correction=correction):
                self.remove_products()
                self.load({})
                self.assertEqual(self.msiexec(f"/norestart /i {self.path_on_c(old)} /qn"), 0)
                self.mark(packages.OLD)
                if correction:
                    self.install(new)
                    self.check_drop_directory_is_gone()
                else:
                    self.assertEqual(self.msiexec(f"/norestart /i {self.path_on_c(new)} /qn"), 0)
                branch = self.machine.dump()
                self.assertTrue(packages.is_known(branch, packages.NEW))
                self.assertEqual(packages.is_known(branch, packages.OLD), left)
                for path in (packages.install_properties(packages.OLD), packages.source_list(packages.OLD)):
                    self.assertEqual(path in branch, left, path)
                self.assertEqual(self.installed_files(), files)

    def testInstallerReadsThePrivateCopy(self):
        """Behind the drop the user's package becomes another product's, which is signed just as well."""
        # A name of its own: what a killed run left isn't taken for this one's copy.
        package = self.package(f"{uuid.uuid4()}.msi")
        other = self.package("other.msi", code=packages.NEW, file="other.txt")
        self.correct(f"/installmsi {self.path_on_c(self.folder / 'missing.msi')} /qn")
        temporary = self.unix_path(self.drop_directory()).parent
        names = [machines.text_digits(self.path_on_c(path)) for path in (temporary, package, other)]
        self.traces = self.machine.folder / "swap"
        self.traces.mkdir()
        found = self.machine.start(
            f"correct_setup_run.exe {self.trace_option} /installmsi {self.path_on_c(package)} /qn", "swap", *names,
            program=self.caller)
        self.assertEqual(machines.text_from(found["copy"]).decode("utf-16-le"),
                         f"{self.drop_directory()}\\{package.name}")
        self.assertEqual(found["children"], "0", "the installer had been started already")
        self.assertEqual(found["exit"], "00000000")
        self.assertEqual(package.read_bytes(), other.read_bytes())
        branch = self.machine.dump()
        self.assertTrue(packages.is_known(branch, packages.OLD))
        self.assertFalse(packages.is_known(branch, packages.NEW))
        self.assertEqual(self.installed_files(), ["zum.txt"])
        self.check_drop_directory_is_gone()
