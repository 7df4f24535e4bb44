"""What is said of products of every kind, and that it is what the rule makes of them."""

import products
import reg_file
import registry_rule
from products import MARKED, MARKED_NAME, ORDINARY, ORDINARY_NAME, key_name, product
from rehearsal_cases import COMPLETED, FAILED, NATIVE, PROGRAM, RehearsalCase, only_on
from registry_rule import CLASSES, DWORD, SZ, USER_DATA, sz

# Whether the package is there is looked up on Windows only.
REPAIRED = ["would-be-repaired"] if NATIVE else ["package-missing"]
PACKAGE = ["package-not-known-here"] if NATIVE else []
HALF = ["half-marked"]
OVERWRITES = ["overwrites-ordinary-value"]
LOST = ["package-name-lost"]
WRONG_TYPE = ["left-alone-not-a-string"]

# Kind of the product -> its verdicts. Products without a LocalPackage afterwards name no package.
EXPECTED = {
    "NoMarks": ["ordinary"],
    "NoValuesAtAll": ["ordinary"],
    "NeitherKey": ["ordinary"],
    "PackageMarked": [*REPAIRED, *HALF, *PACKAGE],
    "NameMarked": [*REPAIRED, *HALF, *LOST, *PACKAGE],
    "BothMarked": [*REPAIRED, *LOST, *PACKAGE],
    "BothMarkedBothThere": [*REPAIRED, *OVERWRITES, *LOST, *PACKAGE],
    "OrdinaryOfOtherTypes": [*REPAIRED, *OVERWRITES, *LOST, *PACKAGE],
    "NoInstallProperties": ["left-alone-no-install-properties"],
    "NoSourceList": [*REPAIRED, *HALF, *PACKAGE],
    "ClassesOnly": ["left-alone-source-list-only"],
    "NamesInOtherCase": [*REPAIRED, *OVERWRITES, *LOST, *PACKAGE],
    "NamesThatBeginLikeTheMarks": ["ordinary"],
    "MarksOnTheProductsOwnKeys": ["ordinary"],
    "PackageOfTypeExpandSz": [*REPAIRED, *WRONG_TYPE, *LOST, *PACKAGE],
    "NameOfTypeBinary": [*REPAIRED, *WRONG_TYPE, *PACKAGE],
    "PackageTerminatorOnly": [*REPAIRED, *HALF, "empty-path", *PACKAGE],
    "PackageEmbeddedZero": [*REPAIRED, *HALF, *PACKAGE],
    "NameLength64": ["would-be-repaired", *HALF, *LOST],
    "LongestName": [*REPAIRED, *LOST, *PACKAGE],
}


class Verdicts(RehearsalCase):
    def test_values_are_what_the_rule_makes_of_them(self):
        branch = products.everything()
        report = self.report(branch, "--all")
        after, _ = registry_rule.rewrite(branch)
        found = self.products_of(report)
        keys = set(registry_rule.sub_keys(branch, USER_DATA)) | set(registry_rule.sub_keys(branch, CLASSES))
        self.assertEqual(set(found), keys)
        for each in found.values():
            self.check_values(each, branch, after)
        self.assertEqual(report["outcome"], COMPLETED)
        self.assertIsNone(report["as_run"])

    def test_each_kind_has_its_verdicts(self):
        kinds = products.kinds()
        for kind, expected in EXPECTED.items():
            with self.subTest(kind):
                report = self.report(kinds[kind], "--all")
                self.assertEqual([each["verdicts"] for each in report["products"]], [expected])
                changes = report["products"][0]["changes"]
                self.assertEqual(report["summary"]["changed"], int(changes))
                missing = "package-missing" in expected
                self.assertEqual(report["status"], 0 if not changes else 4 if missing else 1)

    def test_ordinary_products_are_left_out(self):
        kinds = products.kinds()
        report = self.report(kinds["NoMarks"] | kinds["BothMarked"])
        self.assertEqual([each["verdicts"][0] for each in report["products"]], REPAIRED)
        self.assertEqual(report["summary"]["products"], 2)

    def test_a_package_name_that_differs_in_case_only_is_not_lost(self):
        branch = product(key_name(1), MARKED, {"PackageNameNotExist": (SZ, sz("ZUM_Win.MSI"))})
        self.assertEqual(self.report(branch)["products"][0]["verdicts"], [*REPAIRED, *PACKAGE])

    def test_code_name_and_version_are_told(self):
        branch = product("26F1C3B745A9D0E4C812D5E6F708192A",
                         MARKED | {"DisplayName": (SZ, sz("ZUM \u20ac")), "DisplayVersion": (SZ, sz("5.1"))}, {})
        branch |= product("lower", MARKED, {})
        branch |= product(key_name(2), MARKED | {"DisplayName": (DWORD, b"abcd")}, None)
        found = self.products_of(self.report(branch))
        first = found["26F1C3B745A9D0E4C812D5E6F708192A"]
        self.assertEqual((first["code"], first["name"], first["version"]),
                         ("{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}", "ZUM \u20ac", "5.1"))
        self.assertEqual((found["lower"]["code"], found["lower"]["name"]), (None, "Something"))
        self.assertEqual(found[key_name(2)]["name"], None)

    def test_a_machine_without_products_needs_nothing(self):
        report = self.report({})
        self.assertEqual((report["status"], report["products"], report["outcome"]), (0, [], COMPLETED))

    def test_marks_of_other_users_are_nothing_to_the_correction(self):
        other = USER_DATA.replace("S-1-5-18", "S-1-5-21-1-2-3-1001")
        report = self.report({f"{other}\\{key_name(1)}\\InstallProperties": MARKED})
        self.assertEqual(report["status"], 0)

    @only_on("native")
    def test_a_machine_without_the_list_fails(self):
        file = self.machine.folder / "machine.reg"
        reg_file.write(file, {"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer": {}, CLASSES: {}})
        done = self.call(file, "--json")
        self.assertEqual(done.returncode, 3)
        report, = self.parse(done.stdout)
        self.assertEqual((report["outcome"], report["as_run"]), (FAILED, None))
        missing = f"the list of products, HKLM\\{USER_DATA}, isn't in the export: /unblock fails without it; "
        self.assertEqual([note[:len(missing)] for note in report["notes"]], [missing])
        wide = self.call(file, environment={"COLUMNS": "400"}).stdout.decode("utf-8")
        self.assertIn(f"  note: {missing}", wide)

    @only_on("native")
    def test_classes_without_their_products_judge_nothing(self):
        # Torn behind an earlier key of the branch, say.
        file = self.machine.folder / "machine.reg"
        above = CLASSES.rpartition("\\")[0]
        marked = {path: values for path, values in product(key_name(1), MARKED, None).items() if "UserData" in path}
        reg_file.write(file, {USER_DATA: {}, f"{above}\\Features": {}} | marked)
        report, = self.parse(self.call(file, "--json").stdout)
        self.assertEqual(report["notes"], [f"the export holds no HKLM\\{CLASSES}; the second value (PackageName) can't be "
                                           "judged"])
        self.assertEqual([each["verdicts"] for each in report["products"]],
                         [["would-be-repaired", "second-value-unknown", "package-not-known-here"]])

    @only_on("native")
    def test_a_list_that_ends_early_is_told(self):
        branch = product("A", MARKED, MARKED_NAME) | product("B" * 300, MARKED, None) | product("C", MARKED, None)
        report = self.report(branch)
        found = self.products_of(report)
        self.assertEqual(found["A"]["verdicts"], ["would-be-repaired", *LOST, *PACKAGE])
        self.assertEqual(found["C"]["verdicts"], ["not-listed"])
        self.assertEqual(found["B" * 300]["verdicts"], ["not-listed"])
        self.assertEqual(len(report["notes"]), 1)
        self.assertIn("ends early", report["notes"][0])
        self.assertEqual(report["outcome"], COMPLETED)

    @only_on("windows")
    def test_a_package_that_is_there_is_found(self):
        package = self.machine.drive_c / "zum-rehearsal-package-\u20ac.msi"
        package.write_bytes(b"")
        self.addCleanup(package.unlink)
        there = {"LocalPackageNotExist": (SZ, sz("C:\\zum-rehearsal-package-\u20ac.msi"))}
        report = self.report(product(key_name(1), there, {}) | product(key_name(2), MARKED, {}))
        found = self.products_of(report)
        self.assertEqual(found[key_name(1)]["package"]["state"], "present")
        self.assertEqual(found[key_name(1)]["verdicts"], ["would-be-repaired", *HALF])
        self.assertEqual(found[key_name(2)]["package"]["state"], "missing")
        self.assertEqual((report["status"], report["summary"]["packages_missing"]), (4, 1))

    @only_on("windows")
    def test_a_package_that_can_not_be_looked_at_is_not_missing(self):
        path = "\\\\zum-rehearsal.invalid\\share\\a.msi"
        report = self.report(product(key_name(1), {"LocalPackageNotExist": (SZ, sz(path))}, {}))
        found, = report["products"]
        self.assertEqual((found["package"]["path"], found["package"]["state"]), (path, "unreadable"))
        self.assertIn(found["package"]["error"], (53, 66, 67))  # no such server or share; Wine: no such device
        self.assertEqual(found["verdicts"], ["would-be-repaired", *HALF, "package-unreadable"])
        self.assertEqual((report["status"], report["summary"]["packages_missing"]), (1, 0))

    @only_on("windows")
    def test_products_that_may_not_be_written_are_named(self):
        branch = product("A", MARKED, MARKED_NAME) | product("B", MARKED, MARKED_NAME) | product("C", MARKED, {})
        keys = [f"{USER_DATA}\\A\\InstallProperties", f"{CLASSES}\\B\\SourceList"]
        before = self.load(branch)
        self.machine.protect(keys)
        self.addCleanup(self.machine.unprotect, keys)
        report, = self.parse(self.machine.run("zum_rehearse.exe --json", program=PROGRAM).output)
        found = self.products_of(report)
        self.assertEqual([found[key]["verdicts"][0] for key in "ABC"], ["passed-over", "passed-over", "package-missing"])
        self.assertEqual((report["status"], report["outcome"], report["as_run"]), (5, COMPLETED, COMPLETED))
        table = self.machine.run("zum_rehearse.exe", program=PROGRAM)
        told = " ".join(table.output.decode("utf-8").split())
        self.assertIn('with this run\'s rights /unblock would print "Completed" and end with 0, and leave unrepaired: A B '
                      'with the rights it needs', told)
        self.assertEqual(table.status, 5)
        self.check_branch(self.machine.dump(), before)
        # And so it is.
        self.check_completed(self.machine.run("zum_setup_util.exe /unblock"))
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before, read_only=keys)[0])

    @only_on("windows")
    def test_the_tool_then_does_what_was_foretold(self):
        branch = products.everything()
        before = self.load(branch)
        outcome = self.machine.run("zum_rehearse.exe --json --all", program=PROGRAM)
        self.check_branch(self.machine.dump(), before)
        report = self.parse(outcome.output)[0]
        done = self.machine.run("zum_setup_util.exe /unblock")
        self.assertEqual(done.output.decode("ascii"), report["outcome"]["line"])
        after = self.machine.dump()
        for each in report["products"]:
            self.check_values(each, before, after)
