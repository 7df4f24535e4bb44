"""Outputs that are refused before anything is written: over what is read, over each other, among a machine's exports."""

import os

from products import MARKED, MARKED_NAME, key_name, product
from rehearsal_cases import NATIVE, PROGRAM, RehearsalCase, only_on

BRANCH = product(key_name(1), MARKED, MARKED_NAME)
IS_READ = "it is one of the files that are read"
HAVE_ONE_NAME = "two of the outputs would have this name"
IN_A_MACHINES_FOLDER = ("in a machine's own folder a .reg file counts among its exports; choose another folder, or a name "
                        "without .reg")


class OutputsOfOneName(RehearsalCase):
    """In both worlds, each with the spellings of its own."""

    def setUp(self):
        super().setUp()
        self.out = self.machine.folder / "out"
        (self.out / "folder").mkdir(parents=True)
        if NATIVE:
            self.input = self.export(BRANCH)
        else:
            self.load(BRANCH)

    def run_with(self, *outputs):
        """Status, and what is told on the standard error stream, which only the native machine gives."""
        if NATIVE:
            done = self.call(self.input, *outputs, cwd=self.out)
            return done.returncode, done.stdout, done.stderr.decode("utf-8")
        done = self.machine.run(" ".join(["zum_rehearse.exe", *outputs]), program=PROGRAM, cwd=self.out)
        return done.status, done.output, None

    def names(self):
        return sorted(str(path.relative_to(self.out)) for path in self.out.rglob("*"))

    def check_refused(self, told, *outputs):
        before = self.names()
        status, output, errors = self.run_with(*outputs)
        self.assertEqual((status, output, self.names()), (2, b"", before), outputs)
        if errors is not None:
            self.assertEqual(errors, f"zum_rehearse: {told}: {HAVE_ONE_NAME}\n")

    def test_new_files(self):
        self.check_refused("x", "--changes=x", "--undo=x")
        self.check_refused("x", "--changes=x", "--html=x")
        self.check_refused("x", "--html=x", "--undo=x")

    def test_new_files_spelled_in_two_ways(self):
        self.check_refused("folder/../x", "--changes=x", "--undo=folder/../x")
        self.check_refused(f"{self.out}/x" if NATIVE else "", "--changes=x",
                           f"--undo={self.out}/x" if NATIVE else f"--undo={self.machine.windows_path(self.out)}\\x")

    def test_files_that_are_there(self):
        (self.out / "x").write_text("old")
        (self.out / "hard link").hardlink_to(self.out / "x")
        (self.out / "hard").symlink_to("hard link")
        self.check_refused("x", "--changes=x", "--undo=x")
        self.check_refused("hard", "--changes=x", "--undo=hard")
        self.assertEqual((self.out / "x").read_text(), "old")

    def test_one_folder_for_both(self):
        status, output, errors = self.run_with("--changes=folder", "--undo=folder")
        self.assertEqual((status, output, self.names()), (2, b"", ["folder"]))
        if NATIVE:
            self.assertRegex(errors, rf"^zum_rehearse: folder/.*\.reg: {HAVE_ONE_NAME}\n$")

    def test_different_files_are_taken(self):
        status, _, errors = self.run_with("--changes=x", "--undo=folder/x", "--html=folder/y")
        self.assertEqual((status, errors or ""), (1 if NATIVE else 4, ""))
        self.assertEqual(self.names(), ["folder", "folder/x", "folder/y", "x"])

    @only_on("windows")
    def test_case_and_dots_at_the_end_make_no_other_name(self):
        for other in ("X", "x.", "X..", ".\\x", "FOLDER\\..\\x"):
            self.check_refused("", "--changes=x", f"--undo={other}")

    @only_on("native")
    def test_links_that_lead_nowhere(self):
        (self.out / "link").symlink_to("folder/../x")
        (self.out / "second").symlink_to("link")
        (self.out / "loop").symlink_to("loop")
        self.check_refused("second", "--changes=x", "--undo=second")
        self.assertEqual(self.run_with("--changes=x", "--undo=loop")[0], 2)
        self.assertEqual(self.names(), ["folder", "link", "loop", "second", "x"])

    @only_on("native")
    def test_a_device_takes_both(self):
        status, _, errors = self.run_with("--changes=/dev/null", "--undo=/dev/null")
        self.assertEqual((status, errors), (1, ""))


@only_on("native")
class OutputsAndInputs(RehearsalCase):
    """Natively only, where files are read."""

    def setUp(self):
        super().setUp()
        for name in ("A", "C", "D"):
            self.export(BRANCH, f"{name}/{name}.reg")
        self.export(BRANCH, "D/C.reg")

    def content(self):
        return {path.relative_to(self.machine.folder): path.read_bytes()
                for path in self.machine.folder.rglob("*") if path.is_file()}

    def check_refused(self, told, *arguments):
        before = self.content()
        done = self.call(*arguments)
        self.assertEqual((done.returncode, done.stdout, done.stderr.decode("utf-8")),
                         (2, b"", f"zum_rehearse: {told}\n"))
        self.assertEqual(self.content(), before)

    def test_files_of_another_machine(self):
        for option in ("--changes", "--undo"):
            self.check_refused(f"D/C.reg: {IS_READ}", "C", "D", option, "D")
        self.check_refused(f"D/C.reg: {IS_READ}", "C", "D", "--html", "D/C.reg")

    def test_an_input_behind_a_link_of_either_kind(self):
        for kind in ("symbolic", "hard"):
            store = self.export(BRANCH, f"store/{kind}")
            folder = self.machine.folder / kind
            folder.mkdir()
            if kind == "hard":
                (folder / "1.reg").hardlink_to(store)
            else:
                (folder / "1.reg").symlink_to(store)
            for option in ("--html", "--undo", "--changes"):
                self.check_refused(f"store/{kind}: {IS_READ}", kind, option, f"store/{kind}")
            self.check_refused(f"store/{kind}: {IS_READ}", kind, "A", "--html", f"store/{kind}")

    def test_an_input_spelled_otherwise(self):
        (self.machine.folder / "E").symlink_to("A")
        for other in ("A/../A/A.reg", "./A//A.reg", "E/A.reg", self.machine.folder / "A/A.reg"):
            self.check_refused(f"{other}: {IS_READ}", "A", "--html", other)

    def test_the_list(self):
        (self.machine.folder / "list").write_text("A\nC\n")
        (self.machine.folder / "link").symlink_to("list")
        for option in ("--html", "--undo", "--changes"):
            self.check_refused(f"link: {IS_READ}", "--folders-from", "list", option, "link")

    def test_an_input_that_is_not_there(self):
        self.check_refused(f"./new.reg: {IS_READ}", "A/A.reg", "new.reg", "--undo", "./new.reg")

    def test_a_hives_log(self):
        log = self.machine.folder / "A/SOFTWARE.LOG1"
        log.write_bytes(b"regf" + bytes(24) + b"\6\0\0\0" + bytes(480))
        self.check_refused(f"A/SOFTWARE.LOG1: {IS_READ}", "A", "--html", "A/SOFTWARE.LOG1")

    def test_several_machines_in_one_folder_for_both(self):
        self.check_refused(f"./out: {HAVE_ONE_NAME}", "A", "C", "--changes", "out", "--undo", "./out")
        (self.machine.folder / "out").mkdir()
        (self.machine.folder / "link").symlink_to("out")
        self.check_refused(f"link: {HAVE_ONE_NAME}", "A", "C", "--changes", "out", "--undo", "link")

    def test_a_page_among_the_machines_files(self):
        self.check_refused(f"out/C.reg: {HAVE_ONE_NAME}", "A", "C", "--html", "out/C.reg", "--changes", "out")
        self.check_refused(f"out: {HAVE_ONE_NAME}", "A", "C", "--html", "out", "--changes", "out")

    def test_a_new_export_in_a_machines_folder(self):
        (self.machine.folder / "link").symlink_to("A/new.reg")
        for option in ("--changes", "--undo", "--html"):
            for name in ("A/new.reg", "A/NEW.Reg", "./A/../A/new.reg", "link"):
                self.check_refused(f"{name}: {IN_A_MACHINES_FOLDER}", "A", option, name)
        self.check_refused(f"A/A.reg: {IS_READ}", "A", "--undo", "A")
        self.check_refused(f"A/C.reg: {IN_A_MACHINES_FOLDER}", "C", "A", "--undo", "A")
        self.assertEqual(self.call("A.reg", "--undo", "undo.reg", cwd=self.machine.folder / "A").returncode, 1)

    def test_the_folder_itself_as_the_current_one(self):
        done = self.call(".", "--undo", "undo.reg", cwd=self.machine.folder / "A")
        self.assertEqual((done.returncode, done.stderr.decode("utf-8")),
                         (2, f"zum_rehearse: undo.reg: {IN_A_MACHINES_FOLDER}\n"))
        self.assertEqual(os.listdir(self.machine.folder / "A"), ["A.reg"])

    def test_other_outputs_in_a_machines_folder_work_again_and_again(self):
        found = []
        for _ in range(2):
            done = self.call("--json", "A", "--html", "A/page.html", "--undo", "A/undo.txt", "--changes", "A/changes")
            self.assertEqual((done.returncode, done.stderr), (1, b""))
            found.append(done.stdout)
        self.assertEqual(found[0], found[1])
        self.assertEqual(sorted(os.listdir(self.machine.folder / "A")),
                         ["A.reg", "changes", "page.html", "undo.txt"])

    def test_what_a_rehearsal_made_is_not_taken_for_the_machine(self):
        self.call("A/A.reg", "--undo", "A/undo.reg", "--changes", "A/0.REG")
        (self.machine.folder / "A/A.reg").write_bytes(self.export(product(key_name(1), {}, {})).read_bytes())
        done = self.call("--json", "A")
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["sources"]), (0, ["A/A.reg"]))
        self.assertEqual(report["notes"], ["passed over, as files that a rehearsal made: A/0.REG, A/undo.reg"])
        # What is named itself is what is asked for.
        done = self.call("--json", "A/A.reg", "A/undo.reg")
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["notes"]),
                         (1, ["A/undo.reg was made by a rehearsal: it isn't the state of a machine"]))
        (self.machine.folder / "A/A.reg").unlink()
        report, = self.parse(self.call("--json", "A").stdout)
        self.assertEqual(report["error"], "A: there is no export (*.reg) and no hive in the folder; passed over, as files "
                                          "that a rehearsal made: A/0.REG, A/undo.reg")
