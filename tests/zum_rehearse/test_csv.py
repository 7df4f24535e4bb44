"""Comma-separated values."""

import csv
import io

from products import MARKED, MARKED_NAME, ORDINARY, key_name, product
from rehearsal_cases import NATIVE, RehearsalCase, only_on, unescaped_controls
from registry_rule import SZ, sz

COLUMNS = ["machine", "status", "line", "error", "key", "code", "name", "version", "verdicts", "changes", "package",
           "LocalPackage before", "LocalPackage after", "LocalPackageNotExist before", "LocalPackageNotExist after",
           "PackageName before", "PackageName after", "PackageNameNotExist before", "PackageNameNotExist after"]
CODE = "26F1C3B745A9D0E4C812D5E6F708192A"


class Csv(RehearsalCase):
    def rows(self, output):
        text = output.decode("utf-8")
        self.assertNotIn("\n", text.replace("\r\n", ""))
        self.assertNotIn("\r", text.replace("\r\n", ""))
        return list(csv.DictReader(io.StringIO(text, newline=""), strict=True))

    def test_a_line_tells_a_product(self):
        status, output = self.rehearse(product(CODE, MARKED, MARKED_NAME) | product(key_name(2), ORDINARY, {}), "--csv")
        row, = self.rows(output)
        self.assertEqual(list(row), COLUMNS)
        self.assertEqual((row["status"], row["line"], row["error"], row["key"]), (str(status), "Completed", "", CODE))
        self.assertEqual(row["code"], "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}")
        self.assertEqual(row["verdicts"].split(" ")[0], "would-be-repaired" if NATIVE else "package-missing")
        self.assertEqual((row["changes"], row["package"]), ("yes", "not-known-here" if NATIVE else "missing"))
        path = '"C:\\Windows\\Installer\\1a2b.msi"'
        self.assertEqual([row[name] for name in COLUMNS[11:]],
                         ["", path, path, "", "", '"zum_win.msi"', '"anything.msi"', ""])

    def test_hostile_text_neither_breaks_out_nor_counts(self):
        name = "=cmd|' /C calc'!A0,\"x\r\n\x1b[31m"
        marked = MARKED | {"DisplayName": (SZ, sz(name)), "DisplayVersion": (SZ, sz("@1"))}
        _, output = self.rehearse(product("-key,\"", marked, {}), "--csv")
        row, = self.rows(output)
        self.assertEqual(row["name"], "'=cmd|' /C calc'!A0,\"x\\u{d}\\u{a}\\u{1b}[31m")
        self.assertEqual((row["version"], row["key"]), ("'@1", "'-key,\""))
        self.assertEqual(unescaped_controls(output.decode("utf-8").replace("\r", "")), [])

    @only_on("native")
    def test_each_machine_has_a_line(self):
        self.export(product(CODE, ORDINARY, {}), "plain/x.reg")
        self.export(product(CODE, MARKED, {}) | product(key_name(1), MARKED, {}), "marked/x.reg")
        (self.machine.folder / "empty").mkdir()
        done = self.call("--csv", "plain", "marked", "empty")
        rows = self.rows(done.stdout)
        self.assertEqual([(row["machine"], row["status"]) for row in rows],
                         [("plain", "0"), ("marked", "1"), ("marked", "1"), ("empty", "2")])
        self.assertEqual(rows[0]["key"], "")
        self.assertEqual([list(row.values()).count(None) for row in rows], [0] * 4)
        self.assertEqual(rows[3]["error"], "empty: there is no export (*.reg) and no hive in the folder")

    @only_on("native")
    def test_excludes_json(self):
        self.assertEqual(self.call("--csv", "--json", self.export({})).returncode, 2)
