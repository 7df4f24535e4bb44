"""The whole correction's outcomes that need no signature, on both machines, and the line of its caller."""

import os
import re
import shutil

import pipeline
import products
from pipeline import PipelineCase

BRANCH = products.product("A1", products.MARKED, products.MARKED_NAME)
QUIET = "/qn"


class Refusals(PipelineCase):
    """Each failure by its code; none of them changes a record or starts the installer."""

    def check_refusal(self, arguments, failure, dropped=False):
        before = self.load(BRANCH)
        outcome = self.correct(arguments)
        self.check_code(outcome, failure)
        self.check_branch(self.machine.dump(), before)
        self.check_no_installer()
        self.assertEqual(self.records()[0], "ExecuteCorrectSetup]  begin")
        self.assertEqual(self.records()[-1], "ExecuteCorrectSetup]  end")
        if dropped:
            self.check_drop_directory_is_gone()
        else:
            self.assertIsNone(self.drop_directory())
        self.assertEqual(os.listdir(self.data) if self.data.is_dir() else [], [])

    def file(self, name):
        path = self.folder / name
        path.write_bytes(b"not a package\n")
        return self.path_on_c(path)

    def testMissingDataDirectoryComesFirst(self):
        self.data.rmdir()
        self.check_refusal("/no-operation", pipeline.INVALID_SELF_DEFENSE)
        self.assertIn("path is not exists: path = c:\\ProgramData\\Quorvanta\\ZUM\\Data", self.errors())

    def testFileInPlaceOfTheDataDirectory(self):
        self.data.rmdir()
        self.data.write_bytes(b"")
        self.addCleanup(self.data.unlink)
        self.check_refusal(f"/installmsi {self.file('p.msi')} {QUIET}", pipeline.INVALID_SELF_DEFENSE)

    def testLinkInPlaceOfTheDataDirectory(self):
        elsewhere = self.folder / "elsewhere"
        elsewhere.mkdir()
        self.data.rmdir()
        self.data.symlink_to(elsewhere)
        self.addCleanup(self.data.unlink)
        self.check_refusal("/no-operation", pipeline.INVALID_SELF_DEFENSE)
        self.assertIn("path is not exists: path = c:\\ProgramData\\Quorvanta\\ZUM\\Data", self.errors())
        self.assertEqual(os.listdir(elsewhere), [])

    def testNoArguments(self):
        self.check_refusal("", pipeline.OPERATION_INVALID)

    def testOperationAlone(self):
        self.check_refusal("/installmsi", pipeline.INVALID_ARGUMENT)

    def testUnknownOperation(self):
        self.check_refusal(f"/unblock {self.file('p.msi')} {QUIET}", pipeline.OPERATION_INVALID)

    def testSilentSwitchMissing(self):
        self.check_refusal(f"/installmsi {self.file('p.msi')} EULA=1", pipeline.SILENT_ARGUMENT_MISSING)

    def testArgumentThatIsNotAllowed(self):
        self.check_refusal(f"/installmsi {self.file('p.msi')} {QUIET} FOO=1 /l*v", pipeline.ARGUMENT_NOT_ALLOWED)
        self.assertIn("not allowed args = [ FOO=1,/l*v ]", self.errors())

    def testPatchRemovalWithAWrongCode(self):
        self.check_refusal(f"/uninstallmsp {self.file('p.msp')} 1234 {QUIET}", pipeline.GUID_SYNTAX_INVALID)

    def testDirectoryOfAnotherAlphabetBesideThePackage(self):
        package = self.file("p.msi")
        (self.folder / "\u041f\u0430\u043f\u043a\u0430").mkdir()
        self.check_refusal(f"/installmsi {package} {QUIET}", pipeline.DROP_FILES_FAILED, dropped=True)
        self.assertRegex(self.errors(), "^" + re.escape(pipeline.PREFIX) + r"detail::DropFiles\] ")

    def testDirectoryOfLatinLettersBesideThePackage(self):
        """The same without what fails: the next stage sees the copy."""
        package = self.file("p.msi")
        (self.folder / "gr\u00fcn").mkdir()
        self.check_refusal(f"/installmsi {package} {QUIET}", pipeline.SIGNATURE_CHECK_FAILED, dropped=True)
        self.assertEqual(len([text for text in self.records() if "CopyFileT" in text]), 1)

    def testNotAPackageAtAll(self):
        self.check_refusal(f"/installmsi {self.file('p.msi')} {QUIET}", pipeline.SIGNATURE_CHECK_FAILED, dropped=True)

    def testReadOnlyPackageLeavesItsCopy(self):
        """Settled so: the copy has the package's attributes, and a read-only file isn't deleted."""
        package = self.folder / "read-only.msi"
        package.write_bytes(b"not a package\n")
        package.chmod(0o444)
        self.load(BRANCH)
        self.check_code(self.correct(f"/installmsi {self.path_on_c(package)} {QUIET}"), pipeline.SIGNATURE_CHECK_FAILED)
        dropped = self.unix_path(self.drop_directory())
        self.addCleanup(shutil.rmtree, dropped)
        self.assertEqual(os.listdir(dropped), ["read-only.msi"])
        self.assertEqual(self.records()[-2].split("]")[0], "ScopedRemoveDirectory::~ScopedRemoveDirectory")

    def testMissingPackage(self):
        missing = self.path_on_c(self.folder / "missing.msi")
        self.check_refusal(f"/installmsi {missing} {QUIET}", pipeline.SIGNATURE_CHECK_FAILED, dropped=True)
        self.assertEqual([text for text in self.records() if "CopyFileT" in text], [])

    def testMissingPackageDirectory(self):
        missing = self.path_on_c(self.folder / "missing/p.msi")
        self.check_refusal(f"/installmsi {missing} {QUIET}", pipeline.SIGNATURE_CHECK_FAILED, dropped=True)


class Caller(PipelineCase):
    """What is the caller's own: its line, its status, the trace option."""

    def testTraceOptionIsTakenOutWhereverItStands(self):
        path = self.path_on_c(self.folder / "missing.msi")
        outcome = self.machine.run(f"correct_setup_run.exe /installmsi {self.trace_option} {path} /qn",
                                   program=self.caller)
        self.check_code(outcome, pipeline.SIGNATURE_CHECK_FAILED)
        self.assertIn(f"detail::CheckVerisignSignature] path = {self.drop_directory()}\\missing.msi", self.records())

    def testNoTraceWithoutTheOption(self):
        outcome = self.machine.run("correct_setup_run.exe", program=self.caller)
        self.check_code(outcome, pipeline.OPERATION_INVALID)
        self.assertEqual(self.trace_files(), [])

    def testFirstTokenIsThrownAway(self):
        self.check_code(self.machine.run("/installmsi", program=self.caller), pipeline.OPERATION_INVALID)

    def testShippedProgramHasNoWayToTheCorrection(self):
        self.machine.load(BRANCH)
        before = self.machine.dump()
        missing = self.path_on_c(self.folder / "missing.msi")
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /installmsi {missing} /qn"))
        self.check_branch(self.machine.dump(), before)
        self.assertEqual([text for _, text in self.trace_records() if "correct_setup" in text], [])
