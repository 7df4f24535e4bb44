"""What the native program takes: exports, folders and lists of them."""

import os
import pathlib
import subprocess
import tempfile

import reg_file
from products import MARKED, MARKED_NAME, ORDINARY, ORDINARY_NAME, key_name, product
from registry_rule import CLASSES, USER_DATA
from rehearsal_cases import COMPLETED, PROGRAM, RehearsalCase, is_instrumented, only_on

BOTH = product(key_name(1), MARKED, MARKED_NAME)
NOTHING = product(key_name(1), ORDINARY, ORDINARY_NAME)


def half(branch, root):
    return {path: values for path, values in branch.items() if path.startswith(root)}


@only_on("native")
class Inputs(RehearsalCase):
    def names(self, done):
        return [each["machine"] for each in self.parse(done.stdout)]

    def test_files_together_are_one_machine(self):
        for name, root in (("a/first.reg", USER_DATA), ("b/second.reg", CLASSES)):
            path = self.machine.folder / name
            path.parent.mkdir()
            reg_file.write(path, {root: {}} | half(BOTH, root))
        done = self.call("--json", "b/second.reg", "a/first.reg")
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["machine"], report["notes"]), (1, "b", []))
        self.assertEqual(report["sources"], ["b/second.reg", "a/first.reg"])
        self.assertEqual(report["products"][0]["values"]["PackageName"]["after"]["text"], "zum_win.msi")

    def test_a_folder_is_one_machine(self):
        for name, root in (("pc-1/b.REG", USER_DATA), ("pc-1/a.reg", CLASSES)):
            path = self.machine.folder / name
            path.parent.mkdir(exist_ok=True)
            reg_file.write(path, {root: {}} | half(BOTH, root))
        (self.machine.folder / "pc-1/notes.txt").write_text("no export")
        done = self.call("--json", "pc-1/")
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["machine"]), (1, "pc-1"))
        self.assertEqual(report["sources"], ["pc-1/a.reg", "pc-1/b.REG"])

    def test_subfolders_are_passed_over_whatever_their_names(self):
        self.export(BOTH, "pc/a.reg")
        self.export(NOTHING, "pc/sub.reg/b.reg")
        report, = self.parse(self.call("--json", "pc").stdout)
        self.assertEqual((report["status"], report["sources"], report["notes"]), (1, ["pc/a.reg"], []))

    def test_folders_are_machines_in_the_order_of_the_call(self):
        for name in ("z", "a", "m \u20ac"):
            self.export(BOTH if name == "a" else NOTHING, f"{name}/x.reg")
        self.export(NOTHING, "single.reg")
        done = self.call("--json", "z", "single.reg", "m \u20ac", "a")
        self.assertEqual(self.names(done), ["z", self.machine.folder.name, "m \u20ac", "a"])
        self.assertEqual([each["status"] for each in self.parse(done.stdout)], [0, 0, 0, 1])
        self.assertEqual(done.returncode, 1)

    def test_a_list_names_folders(self):
        for name in ("one", "two"):
            self.export(BOTH, f"{name}/x.reg")
        (self.machine.folder / "list").write_bytes(b"two\r\n\none\n")
        done = self.call("--json", "--folders-from", "list")
        self.assertEqual(self.names(done), ["two", "one"])

    def test_a_missing_list_is_wrong_usage(self):
        done = self.call("--folders-from", "absent")
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertIn(b"absent: No such file", done.stderr)

    def test_relative_paths_work_from_any_folder(self):
        self.export(BOTH, "deep/folder/x.reg")
        elsewhere = self.machine.folder / "elsewhere"
        elsewhere.mkdir()
        done = self.call("--json", "../deep/folder/x.reg", cwd=elsewhere)
        self.assertEqual((done.returncode, self.names(done)), (1, ["folder"]))
        done = self.call("--json", ".", cwd=self.machine.folder / "deep/folder")
        self.assertEqual((done.returncode, self.names(done)), (1, ["folder"]))

    def test_names_need_not_be_unicode(self):
        folder = os.fsencode(self.machine.folder) + b"/\xff\xfe"
        os.mkdir(folder)
        with open(folder + b"/x.reg", "wb") as file:
            file.write(self.export(BOTH).read_bytes())
        done = self.call("--json", folder)
        self.assertEqual((done.returncode, self.names(done)), (1, ["\ufffd\ufffd"]))
        self.assertIn(b"\\x{ff}\\x{fe}", self.call(folder).stdout)

    def test_a_folder_that_may_not_be_read_is_told(self):
        if is_instrumented():
            self.skipTest("an instrumented process tells of the counters that it can't write as nobody")
        folder = pathlib.Path(tempfile.mkdtemp(prefix="zum-rehearse-", dir="/tmp"))
        self.addCleanup(folder.rmdir)
        folder.chmod(0o111)
        done = self.call_without_rights(folder)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stderr.decode(), f"zum_rehearse: {folder}: Permission denied\n")

    def test_unreadable_input_is_named_and_the_others_go_on(self):
        self.export(BOTH, "good/x.reg")
        torn = self.machine.folder / "bad/torn.reg"
        torn.parent.mkdir()
        torn.write_bytes(b"Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\a]\r\n\"x\"=\"y\r\n")
        (self.machine.folder / "empty").mkdir()
        done = self.call("--json", "bad", "empty", "good", "absent.reg")
        bad, empty, good, absent = self.parse(done.stdout)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(bad["error"], "bad/torn.reg:4: the quote that closes the text is missing")
        self.assertEqual(empty["error"], "empty: there is no export (*.reg) and no hive in the folder")
        self.assertEqual(absent["error"], "absent.reg: No such file or directory")
        self.assertEqual([each["status"] for each in (bad, empty, good, absent)], [2, 2, 1, 2])
        self.assertEqual((bad["outcome"], good["outcome"]), (None, COMPLETED))
        self.assertIn(b"zum_rehearse: bad/torn.reg:4: the quote that closes the text is missing\n", done.stderr)

    def test_a_file_that_may_not_be_read_is_told(self):
        file = self.export(BOTH)
        if os.geteuid() == 0:
            # To root nothing is forbidden: a user without rights tries in its place.
            file.chmod(0o600)
            self.machine.folder.chmod(0o755)
            program = pathlib.Path("/tmp") / f"zum-rehearse-{os.getpid()}"
            program.write_bytes(PROGRAM.read_bytes())
            program.chmod(0o755)
            self.addCleanup(program.unlink)
            done = subprocess.run([program, file], user=65534, group=65534, extra_groups=[], check=False,
                                  stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=60)
        else:
            file.chmod(0)
            done = self.call(file)
        self.assertEqual(done.returncode, 2)
        self.assertIn(b"machine.reg: Permission denied", done.stderr)

    def test_without_the_second_branch_it_says_so(self):
        file = self.machine.folder / "x.reg"
        reg_file.write(file, {USER_DATA: {}} | half(BOTH, USER_DATA))
        done = self.call("--json", file)
        report, = self.parse(done.stdout)
        self.assertEqual(report["notes"], ["the export holds no HKLM\\SOFTWARE\\Classes\\Installer; the second value "
                                           "(PackageName) can't be judged"])
        self.assertEqual((done.returncode, report["products"][0]["verdicts"]),
                         (1, ["would-be-repaired", "second-value-unknown", "package-not-known-here"]))
        self.assertIn(b"can't be judged", self.call(file).stdout)

    def test_the_merged_view_of_the_classes_is_taken(self):
        file = self.export(BOTH, "x.reg")
        text = file.read_bytes().decode("utf-16")
        file.write_text(text.replace("[HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\", "[HKEY_CLASSES_ROOT\\"),
                        encoding="utf-16", newline="")
        done = self.call("--json", "x.reg")
        report, = self.parse(done.stdout)
        self.assertEqual(report["notes"], [
            "x.reg: HKEY_CLASSES_ROOT\\Installer is taken for HKLM\\SOFTWARE\\Classes\\Installer, though entries of "
            "the user who exported it may stand in it"])
        self.assertEqual(report["products"][0]["values"]["PackageName"]["after"]["text"], "zum_win.msi")

    def test_what_was_left_out_of_an_export_is_told(self):
        file = self.export(BOTH, "x.reg")
        text = file.read_bytes().decode("utf-16")
        file.write_text(text + "[HKLM\\SOFTWARE\\a]\r\n\"b\"=\"c\"\r\n", encoding="utf-16", newline="")
        done = self.call("--json", "x.reg")
        report, = self.parse(done.stdout)
        line = text.count("\n") + 1
        self.assertEqual(report["notes"], [f"x.reg:{line}: the hive HKLM isn't known; its keys are left out"])
        self.assertEqual(done.returncode, 1)

    def test_without_the_first_branch_nothing_can_be_judged(self):
        file = self.machine.folder / "x.reg"
        reg_file.write(file, {CLASSES: {}} | half(BOTH, CLASSES))
        done = self.call("--json", file)
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["outcome"]), (2, None))
        self.assertTrue(report["error"].startswith("the export holds no HKLM\\SOFTWARE\\Microsoft\\"), report["error"])

    def test_the_host_layers_own_folder_is_not_touched(self):
        root = self.machine.folder / "root"
        done = self.call(self.export(BOTH), environment={"ZUM_HOST_ROOT": str(root)})
        self.assertEqual((done.returncode, root.exists()), (1, False))

    def test_wrong_usage_ends_with_2(self):
        file = str(self.export(NOTHING))
        for arguments in ([], ["--nonsense", file], ["--json=maybe", file], ["--trace-output"]):
            with self.subTest(arguments):
                done = self.call(*arguments)
                self.assertEqual((done.returncode, done.stdout), (2, b""))
                self.assertNotEqual(done.stderr, b"")

    def test_questions_end_with_0(self):
        for argument, answer in (("--help", b"Usage: zum_rehearse"), ("--version", b"1.")):
            done = self.call(argument)
            self.assertEqual((done.returncode, done.stderr), (0, b""))
            self.assertIn(answer, done.stdout)

    def test_an_output_that_can_not_be_written_is_told(self):
        with open("/dev/full", "wb") as full:
            done = subprocess.run([PROGRAM, self.export(BOTH)], stdout=full, stderr=subprocess.PIPE, timeout=60,
                                  check=False)
        self.assertEqual((done.returncode, done.stderr), (2, b"zum_rehearse: the output can't be written\n"))
