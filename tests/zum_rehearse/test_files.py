"""The files for import: what they hold, and under Wine what comes of importing them."""

import copy
import os
import re

import products
import reg_file
import registry_rule
from products import MARKED, MARKED_NAME, ORDINARY, ORDINARY_NAME, key_name, product
from rehearsal_cases import NATIVE, PROGRAM, RehearsalCase, only_on
from registry_rule import CLASSES, SZ, USER_DATA, sz

ENTRY = re.compile(r'"(LocalPackage|LocalPackageNotExist|PackageName|PackageNameNotExist)"=(-|hex\(([0-9a-f]+)\):(.*))')


def applied(branch, data):
    """The branch after an import of a file with these bytes, which may hold nothing but the four values."""
    assert data[:2] == b"\xff\xfe"
    text = data[2:].decode("utf-16-le", "surrogatepass")
    assert text.endswith("\r\n") and "\n" not in text.replace("\r\n", "")
    assert all(len(line) <= 80 for line in text.split("\r\n") if not line.startswith((";", "[")))
    lines = re.sub(r"\\\r\n {2}", "", text).split("\r\n")
    assert lines[0] == "Windows Registry Editor Version 5.00"
    after = copy.deepcopy(branch)
    values = None
    for line in lines[1:]:
        if line.startswith("["):
            path = line[1:line.rindex("]")]
            assert path.startswith(reg_file.HIVE)
            values = after[path[len(reg_file.HIVE):]]  # nothing is made that isn't there
        elif line and not line.startswith("; "):
            name, value, kind, digits = ENTRY.fullmatch(line).groups()
            found = registry_rule.same_name(values, name)
            if value == "-":
                values.pop(found, None)
            else:
                values[found or name] = (int(kind, 16), bytes.fromhex(digits.replace(",", "")))
    return after


def lowered(branch):
    """The branch with the values' names in lower case: a name that comes back has its usual spelling, whatever case
    it was in."""
    return {path: {name.lower(): value for name, value in values.items()} for path, values in branch.items()}


class Files(RehearsalCase):
    def files(self, branch, *arguments):
        """The bytes of both files."""
        folder = self.machine.folder / "files"
        folder.mkdir(exist_ok=True)
        # In no code page are all of these characters.
        changes, undo = folder / "changes \u0416\u4e2d.reg", folder / "undo \u0416\u4e2d.reg"
        if NATIVE:
            options = [f"--changes={changes}", f"--undo={undo}"]
        else:
            options = [f'"--changes={self.machine.windows_path(changes)}"', f'"--undo={self.machine.windows_path(undo)}"']
        self.rehearse(branch, "--json", *options, *arguments)
        return changes.read_bytes(), undo.read_bytes()

    def test_changes_are_what_the_rule_makes_and_undo_takes_them_back(self):
        branch = products.everything()
        after, _ = registry_rule.rewrite(branch)
        changes, undo = self.files(branch)
        self.check_branch(applied(branch, changes), after)
        self.check_branch(lowered(applied(after, undo)), lowered(branch))

    def test_undo_brings_back_type_and_bytes_of_what_was_overwritten(self):
        branch = products.kinds()["OrdinaryOfOtherTypes"]
        _, undo = self.files(branch)
        text = undo.decode("utf-16")
        self.assertIn('"LocalPackage"=hex(4):05,00,00,00\r\n', text)
        self.assertIn('"PackageName"=hex(2):25,00,58,00,25,00,00,00\r\n', text)

    def test_undo_says_how_old_it_is(self):
        _, undo = self.files(product(key_name(1), MARKED, {}))
        head = undo.decode("utf-16").split("\r\n\r\n")[0]
        self.assertRegex(head, r"; as rehearsed at \d{4}-\d\d-\d\d \d\d:\d\d:\d\d UTC\. This file is as old as that "
                               r"rehearsal")

    def test_nothing_to_change_gives_files_that_change_nothing(self):
        branch = product(key_name(1), ORDINARY, ORDINARY_NAME)
        changes, undo = self.files(branch)
        self.check_branch(applied(branch, changes), branch)
        self.check_branch(applied(branch, undo), branch)

    @only_on("windows")
    def test_imports_give_what_the_tool_gives_and_take_it_back(self):
        # The editor completes each string by its terminator: those that lack one can't be carried exactly by any file.
        kinds = {kind: branch for kind, branch in products.kinds().items() if self.is_carried(branch)}
        self.assertGreater(len(kinds), 40)
        branch = {}
        for each in kinds.values():
            branch.update(each)
        self.files(branch)
        before = self.machine.dump()
        self.import_file("changes \u0416\u4e2d.reg")
        imported = self.machine.dump()
        self.machine.clear()
        self.load(branch)
        self.check_branch(self.machine.dump(), before)
        self.machine.run("zum_setup_util.exe /unblock")
        done = self.machine.dump()
        self.assertNotEqual(done, before)
        self.check_branch(imported, done)
        self.import_file("undo \u0416\u4e2d.reg")
        self.check_branch(lowered(self.machine.dump()), lowered(before))

    @staticmethod
    def is_carried(branch):
        return all(kind not in (1, 2, 7) or data[-2:] == b"\0\0" and len(data) % 2 == 0
                   for values in branch.values() for kind, data in values.values())

    def import_file(self, name):
        path = self.machine.windows_path(self.machine.folder / "files" / name)
        self.machine.wine("reg", "import", path, "/reg:64")

    def test_a_product_that_no_file_can_carry_is_an_output_that_can_not_be_written(self):
        branch = product("a\nb", MARKED, MARKED_NAME) | product(key_name(1), MARKED, MARKED_NAME)
        undo = self.machine.folder / "undo.reg"
        if NATIVE:
            done = self.call(self.export(branch), "--json", f"--undo={undo}")
            status, output = done.returncode, done.stdout
            self.assertEqual(done.stderr.count(b"left out of the files, since its name has a line break: "), 2)
        else:
            self.load(branch)
            done = self.machine.run(f'zum_rehearse.exe --json "--undo={self.machine.windows_path(undo)}"', program=PROGRAM)
            status, output = done.status, done.output
        report, = self.parse(output)
        # The machine's own status is what it is all the same.
        self.assertEqual((status, report["status"]), (2, 1 if NATIVE else 4))
        self.assertEqual(report["summary"]["changed"], 2)
        text = undo.read_bytes().decode("utf-16")
        self.assertIn(f"\\{key_name(1)}\\", text)
        self.assertNotIn("a\nb", text)

    @only_on("native")
    def test_several_machines_have_files_of_their_own(self):
        branch = product(key_name(1), MARKED, {})
        for folder in ("a/pc", "b/pc", "c"):
            self.export(branch, f"{folder}/x.reg")
        (self.machine.folder / "torn").mkdir()
        done = self.call("--json", "--changes", "out", "--undo", "back", "a/pc", "b/pc", "torn", "c")
        self.assertEqual(done.returncode, 2)
        for folder in ("out", "back"):
            self.assertEqual(sorted(os.listdir(self.machine.folder / folder)), ["c.reg", "pc-2.reg", "pc.reg"])
        data = (self.machine.folder / "out/pc-2.reg").read_bytes()
        self.check_branch(applied(branch, data), registry_rule.rewrite(branch)[0])

    @only_on("native")
    def test_an_input_is_never_written_over(self):
        file = self.export(product(key_name(1), MARKED, {}))
        before = file.read_bytes()
        (self.machine.folder / "link.reg").symlink_to(file)
        for target in (file, "link.reg"):
            for option in ("--changes", "--undo", "--html"):
                done = self.call(file, option, target)
                self.assertEqual((done.returncode, file.read_bytes()), (2, before), (target, option))
                self.assertIn(b"it is one of the files that are read", done.stderr)

    @only_on("native")
    def test_a_file_that_can_not_be_written_is_told(self):
        done = self.call(self.export(product(key_name(1), MARKED, {})), "--changes", "absent/x.reg")
        self.assertEqual(done.returncode, 2)
        self.assertEqual(done.stderr, b"zum_rehearse: absent/x.reg: No such file or directory\n")
        self.assertIn(b"would be repaired", done.stdout)
