"""/unblock on products of every kind: the whole branch before and after, byte by byte."""

import products
import registry_rule
from cases import REWRITE_FAILED, REWRITE_FAILED_REPORT, MachineCase, only_on
from registry_rule import CLASSES, USER_DATA

STAGE = "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "


class Rewrite(MachineCase):
    def check_rewrite(self, branch, read_only=()):
        before = self.load(branch)
        expected, updates = registry_rule.rewrite(before, read_only)
        if read_only:
            self.machine.protect(read_only)
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        if read_only:
            self.machine.unprotect(read_only)
        self.check_branch(self.machine.dump(), expected)
        traced = [text for _, text in self.trace_records() if text.startswith(STAGE)]
        self.assertEqual([traced[0], traced[-1]], [STAGE + " begin", STAGE + " end"])
        # The order is the system's own; the host layer's file has an order of its own.
        order = list if self.machine.WORLD == "windows" else sorted
        self.assertEqual(order(text[len(STAGE):] for text in traced[1:-1]), order(updates))
        return before, expected, updates

    def testThereAreAtLeastFortyKinds(self):
        self.assertGreaterEqual(len(products.kinds()), 40)

    def testTheRuleItselfOnAWorkedExample(self):
        """The judge is judged: values typed in by hand."""
        data = "C:\\1.msi".encode("utf-16-le")
        before = {USER_DATA: {}, f"{USER_DATA}\\P": {}, f"{USER_DATA}\\P\\InstallProperties":
                  {"LocalPackageNotExist": (1, data + b"\0\0")}, f"{CLASSES}\\P\\SourceList":
                  {"PackageNameNotExist": (1, b"x\0\0\0"), "PackageName": (1, b"y\0\0\0")}}
        after, updates = registry_rule.rewrite(before)
        self.assertEqual(after[f"{USER_DATA}\\P\\InstallProperties"], {"LocalPackage": (1, data + b"\0\0")})
        self.assertEqual(after[f"{CLASSES}\\P\\SourceList"],
                         {"PackageName": (1, b"z\0u\0m\0_\0w\0i\0n\0.\0m\0s\0i\0\0\0")})
        self.assertEqual(updates, ["update LocalPackageNotExist for key = P",
                                   "update PackageNameNotExist for key = P"])

    def testEveryKindOnOneMachine(self):
        before, expected, updates = self.check_rewrite(products.everything())
        self.assertNotEqual(before, expected)
        self.assertGreater(len(updates), 60)
        # Each kind is there as it was described, so that none of them got lost on its way into the registry.
        for kind, branch in products.kinds().items():
            for path, values in branch.items():
                self.assertEqual(before[path], values, kind)

    def testSecondRunChangesNothing(self):
        self.load(products.everything())
        self.check_completed(self.machine.run("tool.exe /unblock"))
        after_first = self.machine.dump()
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        self.check_branch(self.machine.dump(), after_first)
        self.assertEqual([text for _, text in self.trace_records() if "update " in text], [])

    def testMachineWithoutMarksChangesNothing(self):
        self.load(products.kinds()["NoMarks"] | products.product("B", {}, products.ORDINARY_NAME))
        before = self.machine.dump()
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        self.check_branch(self.machine.dump(), before)
        self.assertEqual(self.trace_records(), [
            ("INF", "zs_util\t[main]  begin"), ("INF", STAGE + " begin"), ("INF", STAGE + " end"),
            ("INF", "zs_util\t[main]  end"), ("INF", "zs_util\t[main] exit with result = 0x00000000")])

    def testMachineWithoutProductsIsCompleted(self):
        self.load({})
        self.check_completed(self.machine.run("tool.exe /unblock"))

    def testMissingProductsKeyFails(self):
        self.machine.clear()
        outcome = self.machine.run(f"tool.exe {self.trace_option} /unblock")
        self.check_outcome(outcome, REWRITE_FAILED, REWRITE_FAILED_REPORT)
        records = self.trace_records()
        self.assertEqual([records[0], records[1]],
                         [("INF", "zs_util\t[main]  begin"), ("INF", STAGE + " begin")])
        # The cause first, then the stage's own failure without its text, each behind its scope's end.
        self.assertEqual([level for level, _ in records], ["INF", "INF", "ERR", "INF", "INF", "ERR", "INF"])
        self.assertRegex(records[2][1], r"^setup\t\[correct_setup::detail::DisableProtectiveMeasuresUpgrade\] "
                         r"CheckResultFailedException - system result code: 2: 0x80010102 \(File not found\)\. "
                         r"At zum_setup_util_lib/correct_setup\(\d+\) $")
        self.assertEqual(records[3][1], STAGE + " end")
        self.assertEqual(records[4][1], "zs_util\t[main]  end")
        self.assertRegex(records[5][1], r"^zs_util\t\[main\] CheckResultFailedException - 0xa1780003 "
                         r"\(Unknown result code\)\. At zum_setup_util_lib/correct_setup\(\d+\) $")
        self.assertEqual(records[6][1], "zs_util\t[main] exit with result = 0xa1780003")

    @only_on("windows")
    def testKeysThatCannotBeWrittenAreSkipped(self):
        """A refused "InstallProperties" keeps the "SourceList" too; a refused "SourceList" does not hold back the
        other."""
        branch = {}
        for name in ("A1", "B2", "C3"):
            branch |= products.product(name, products.MARKED, products.MARKED_NAME)
        refused = [f"{USER_DATA}\\A1\\InstallProperties", f"{CLASSES}\\B2\\SourceList"]
        _, _, updates = self.check_rewrite(branch, refused)
        self.assertEqual(updates, ["update LocalPackageNotExist for key = B2", "update LocalPackageNotExist for key = C3",
                                   "update PackageNameNotExist for key = C3"])

    @only_on("windows")
    def testRunWithoutRightsIsCompletedAndRepairsNothing(self):
        """As a plain user meets the keys: all of them can be read, and none may be written to."""
        branch = products.product("A1", products.MARKED, products.MARKED_NAME)
        branch |= products.product("B2", products.MARKED, products.MARKED_NAME)
        before, expected, updates = self.check_rewrite(branch, [USER_DATA, CLASSES, *branch])
        self.assertEqual((expected, updates), (before, []))

    @only_on("windows")
    def testManyProductsAreAllRewritten(self):
        branch = {}
        for number in range(300):
            branch |= products.product(products.key_name(number), products.MARKED if number % 5 == 0 else {},
                                       products.MARKED_NAME if number % 3 == 0 else {})
        self.check_rewrite(branch)


def add_kind(kind, branch):
    """A case for each kind alone. Under Wine, where each start of a program takes its time, they are checked together."""

    @only_on("native")
    def test(self):
        self.check_rewrite(branch)

    setattr(Rewrite, f"testKind{kind}", test)


for _kind, _branch in products.kinds().items():
    add_kind(_kind, _branch)
