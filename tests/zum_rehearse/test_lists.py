"""Many machines by their names: lists in the encodings that shells write, and names that lead nowhere."""

import codecs
import csv
import io

from products import MARKED, key_name, product
from rehearsal_cases import RehearsalCase, only_on

BRANCH = product(key_name(1), MARKED, {})
MISSING = "No such file or directory"


@only_on("native")
class Lists(RehearsalCase):
    """Natively only, where files are read."""

    def setUp(self):
        super().setUp()
        self.list = self.machine.folder / "list"
        for name in ("A", "m \u20ac"):
            self.export(BRANCH, f"{name}/x.reg")

    def check_names(self, data):
        self.list.write_bytes(data)
        done = self.call("--json", "--folders-from", "list")
        self.assertEqual(done.stderr, b"")
        self.assertEqual([each["machine"] for each in self.parse(done.stdout)], ["m \u20ac", "A"])

    def check_refused(self, data, told):
        self.list.write_bytes(data)
        done = self.call("--folders-from", "list", "A", "--html", "page")
        self.assertEqual((done.returncode, done.stdout, done.stderr.decode("utf-8")),
                         (2, b"", f"zum_rehearse: {told}\n"))
        self.assertFalse((self.machine.folder / "page").exists())

    def test_encodings(self):
        text = "m \u20ac\r\n\r\nA\r\n"
        self.check_names(text.encode("utf-8"))
        self.check_names(text.encode("utf-8-sig"))
        self.check_names(codecs.BOM_UTF16_LE + text.encode("utf-16-le"))
        self.check_names(codecs.BOM_UTF16_BE + text.encode("utf-16-be"))
        self.check_names(codecs.BOM_UTF16_LE + text.rstrip().encode("utf-16-le"))

    def test_characters_outside_of_the_first_plane(self):
        self.export(BRANCH, "\U0001F600/x.reg")
        self.list.write_bytes("\U0001F600\n".encode("utf-16"))
        report, = self.parse(self.call("--json", "--folders-from", "list").stdout)
        self.assertEqual((report["machine"], report["status"]), ("\U0001F600", 1))

    def test_what_can_not_be_decoded_is_told_by_its_line(self):
        zero = "the line has a zero byte; a list in UTF-16 must begin with its mark"
        self.check_refused("A\n\u20ac\n".encode("utf-16-le"), f"list:1: {zero}")
        self.check_refused(b"A\n\nA\0b\nA", f"list:3: {zero}")
        self.check_refused("A\nA\0".encode("utf-16"), f"list:2: {zero}")
        self.check_refused(codecs.BOM_UTF16_LE + "A\nb\ud83d\n".encode("utf-16-le", "surrogatepass"),
                           "list:2: the line isn't UTF-16")
        self.check_refused(codecs.BOM_UTF16_LE + "A\n".encode("utf-16-le") + b"x",
                           "list: it begins as UTF-16 and has an odd number of bytes")
        self.check_refused(codecs.BOM_UTF8 + b"A\nA\nm\xff\n", "list:3: the line isn't UTF-8")

    def test_names_without_a_mark_need_not_be_unicode(self):
        folder = str(self.machine.folder).encode() + b"/\xff"
        (self.machine.folder / "A").rename(folder.decode("utf-8", "surrogateescape"))
        self.list.write_bytes(b"\xff\n")
        self.assertEqual(self.call("--folders-from", "list").returncode, 1)

    def test_each_that_is_not_there_is_a_machine_of_its_own(self):
        self.list.write_text("nope1\nA\nnope2/\nlost.reg\nmore/lost.reg\n")
        names = ["nope1", "A", "nope2", "lost.reg", "lost.reg"]
        paths = ["nope1", None, "nope2/", "lost.reg", "more/lost.reg"]
        errors = [None if path is None else f"{path}: {MISSING}" for path in paths]
        told = "".join(f"zum_rehearse: {error}\n" for error in errors if error)

        done = self.call("--json", "--folders-from", "list", "--undo", "out")
        found = self.parse(done.stdout)
        self.assertEqual((done.returncode, done.stderr.decode("utf-8")), (2, told))
        self.assertEqual([each["machine"] for each in found], names)
        self.assertEqual([each["error"] for each in found], errors)
        self.assertEqual([each["status"] for each in found], [2, 1, 2, 2, 2])
        self.assertEqual([path.name for path in (self.machine.folder / "out").iterdir()], ["A.reg"])

        done = self.call("--csv", "--folders-from", "list")
        rows = list(csv.DictReader(io.StringIO(done.stdout.decode("utf-8"))))
        self.assertEqual([(row["machine"], row["error"]) for row in rows],
                         list(zip(names, (error or "" for error in errors))))

        table = self.call("--folders-from", "list").stdout.decode("utf-8")
        for name, error in zip(names, errors):
            self.assertIn(f"Machine {name}\n", table)
            self.assertIn(error or "would be repaired", table)

    def test_the_first_of_a_list_is_listed_behind_names_of_the_command_line(self):
        self.list.write_text("lost.reg\n")
        done = self.call("--json", "A/x.reg", "--folders-from", "list")
        self.assertEqual([(each["machine"], each["error"]) for each in self.parse(done.stdout)],
                         [("A", None), ("lost.reg", f"lost.reg: {MISSING}")])

    def test_names_on_the_command_line_that_are_not_there(self):
        (self.machine.folder / "nowhere").symlink_to("gone")
        done = self.call("--json", "nope1", "A", "nope2", "nowhere")
        self.assertEqual([(each["machine"], each["error"]) for each in self.parse(done.stdout)],
                         [("nope1", f"nope1: {MISSING}"), ("A", None), ("nope2", f"nope2: {MISSING}"),
                          ("nowhere", f"nowhere: {MISSING}")])

    def test_a_missing_export_of_several_fails_their_machine(self):
        done = self.call("--json", "A/x.reg", "A/lost.reg", "--undo", "undo.reg")
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["machine"], report["error"]), (2, "A", f"A/lost.reg: {MISSING}"))
        self.assertFalse((self.machine.folder / "undo.reg").exists())
