"""Who may have signed what the installer gets: each verdict by the code and the trace, on really signed files.

What Wine can't tell: the content of a package isn't compared with its signature there, so that an altered package
passes. The signature itself is checked, and so is the content of a program file.

Where Wine refuses a certificate or the signature's own value, it leaves the file open; the check closes it, else the
private directory could not be removed.
"""

import packages
import products
import signing
from cases import only_on
from pipeline import SIGNATURE_CHECK_FAILED, PackageCase

MARKED_BRANCH = products.product("A1", products.MARKED, products.MARKED_NAME)


@only_on("windows")
class Signers(PackageCase):
    def check_passes(self, package, description):
        self.load(MARKED_BRANCH)
        self.check_value(self.correct(f"/installmsi {self.path_on_c(package)} /qn"), 0)
        self.assertIn(f"detail::CheckVerisignSignature] certificate description = {description}", self.records())
        self.assertEqual(self.errors(), "")
        self.assertTrue(packages.is_known(self.machine.dump(), packages.OLD))
        self.assertEqual(self.installed_files(), ["zum.txt"])
        self.check_drop_directory_is_gone()

    def check_refused(self, package, cause, description=None):
        before = self.load(MARKED_BRANCH)
        self.check_code(self.correct(f"/installmsi {self.path_on_c(package)} /qn"), SIGNATURE_CHECK_FAILED)
        self.assertIn(cause, self.errors())
        self.assertEqual([text for text in self.records() if "certificate description" in text],
                         [] if description is None else
                         [f"detail::CheckVerisignSignature] certificate description = {description}"])
        self.check_branch(self.machine.dump(), before)
        self.assertEqual(self.installed_files(), [])
        self.check_no_installer()
        self.check_drop_directory_is_gone()

    def testRightName(self):
        self.check_passes(self.package(), "QUORVANTA Lab")

    def testNameInsideALongerWord(self):
        self.check_passes(self.package(signer="inside"), "Subquorvantas Werkzeuge")

    def testOtherName(self):
        self.check_refused(self.package(signer="other"), "not correct cert information", "Probe Signer GmbH")

    def testNoDisplayName(self):
        self.check_refused(self.package(signer="nameless"), "not correct cert information", "")

    def testExpired(self):
        self.check_refused(self.package(signer="expired"), "System error: 0x800b0101")

    def testNotYetValid(self):
        self.check_refused(self.package(signer="early"), "System error: 0x800b0101")

    def testUnknownRoot(self):
        self.check_refused(self.package(signer="stranger"), "System error: 0x800b0109")

    def testUnsigned(self):
        self.check_refused(self.package(signer=None), "System error: 0x800b0100")

    def testDamagedSignature(self):
        package = self.package()
        signing.damage_signature(package)
        self.check_refused(package, "System error: 0x80096004")

    def testAlteredPackageWhichWineTakesForUnaltered(self):
        package = self.package()
        data = package.read_bytes()
        self.assertIn(b"ZUM Workstation", data)
        package.write_bytes(data.replace(b"ZUM Workstation", b"ZUM Forkstation"))
        self.check_passes(package, "QUORVANTA Lab")
        name = self.machine.dump()[f"{packages.registry_rule.CLASSES}\\{packages.packed(packages.OLD)}"]["ProductName"]
        self.assertEqual(name, (1, packages.registry_rule.sz("ZUM Forkstation")))

    def program(self):
        """A signed program file: no package, but the check of the signer doesn't ask for that."""
        path = self.folder / "program.exe"
        path.write_bytes((self.machine.helpers / "planted_installer.exe").read_bytes())
        signing.sign(path, "right")
        return path

    def testProgramFilePassesAndTheInstallerRefusesIt(self):
        outcome = self.correct(f"/installmsi {self.path_on_c(self.program())} /qn")
        self.assertNotEqual(outcome.status, 0)
        self.check_value(outcome, outcome.status)
        self.assertEqual(self.records()[-2:], ["ExecuteCorrectSetup] msi package exit with failed code, skip pending",
                                               "ExecuteCorrectSetup]  end"])
        self.assertIn(f"detail::CreateProcessAndWait] process exit: code = 0x{outcome.status:08x}", self.records())
        self.check_drop_directory_is_gone()

    def testAlteredProgramFile(self):
        program = self.program()
        data = program.read_bytes()
        self.assertEqual(data.count(b"ZUM_PLANTED"), 1)
        program.write_bytes(data.replace(b"ZUM_PLANTED", b"ZUM_ALTERED"))
        self.check_refused(program, "System error: 0x80096010")

    def testNotAPackageAtAll(self):
        package = self.folder / "p.msi"
        package.write_bytes(b"neither a package nor a program\n")
        self.check_refused(package, "System error: 0x800b0003")

    def testMissingFilePassesWineAndFailsForWantOfASigner(self):
        """A result of zero or above passes, and Wine gives the plain system error 2."""
        self.check_refused(self.folder / "missing.msi", "WTHelperGetProvSignerFromChain fail")
        self.assertNotIn("WinVerifyTrust", self.errors())
