"""Registry hives, made by another tool."""

import hive_file
import products
import registry_rule
from products import MARKED, MARKED_NAME, key_name, product
from rehearsal_cases import RehearsalCase, only_on
from registry_rule import CLASSES, SZ, USER_DATA, sz


@only_on("native")
class Hives(RehearsalCase):
    def hive(self, branch, name="SOFTWARE"):
        path = self.machine.folder / name
        path.parent.mkdir(exist_ok=True)
        hive_file.write(path, {USER_DATA: {}, CLASSES: {}} | branch)
        return path

    def test_a_hive_is_rehearsed_as_its_export_is(self):
        branch = {path: values for path, values in products.everything().items()
                  if "Wow6432Node" not in path and "" not in values and path.isascii()}
        hive = self.hive(branch)
        before = hive.read_bytes()
        hive.chmod(0o444)
        done = self.call("--json", "--all", hive)
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, done.stderr), (1, b""))
        self.assertTrue(hive.read_bytes() == before, "the hive was written to")
        after, _ = registry_rule.rewrite(branch)
        found = self.products_of(report)
        self.assertGreater(len(found), 60)
        for each in found.values():
            self.check_values(each, branch, after)
        export, = self.parse(self.call("--json", "--all", self.export(branch)).stdout)
        self.assertEqual(found, self.products_of(export))

    def test_names_of_other_characters_are_read(self):
        name = "Produkt-\u00e4\u20ac\u0416"
        report, = self.parse(self.call("--json", self.hive(product(name, MARKED, {}))).stdout)
        self.assertEqual([each["key"] for each in report["products"]], [name])

    def test_a_folder_may_hold_a_hive(self):
        self.hive(product(key_name(1), MARKED, MARKED_NAME), "pc/SOFTWARE")
        (self.machine.folder / "pc/SYSTEM.txt").write_text("no hive")
        report, = self.parse(self.call("--json", "pc").stdout)
        self.assertEqual((report["machine"], report["sources"], report["status"]), ("pc", ["pc/SOFTWARE"], 1))

    def test_a_hive_that_was_in_use_is_told(self):
        hive = self.hive({})
        data = bytearray(hive.read_bytes())
        data[4] ^= 1  # one of the two numbers
        data[0x1FC] ^= 1  # and the checksum over it
        hive.write_bytes(data)
        report, = self.parse(self.call("--json", hive).stdout)
        self.assertEqual(report["notes"], [f"{hive} was in use when it was copied: what stands in its logs only isn't seen"])

    def log(self, name, kind=6):
        """A log as its hive's folder has it: the hive's header with another type, then what was written."""
        path = self.machine.folder / name
        header = bytearray(hive_file.empty_hive()[:0x200])
        header[28] = kind
        path.write_bytes(header + b"HvLE" + bytes(0x400))
        return path

    def check_passed_over(self, done, *logs):
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["sources"]), (1, ["pc/SOFTWARE"]), report["error"])
        self.assertEqual(report["notes"], [f"passed over, as logs of hives: {', '.join(logs)}"])

    def test_the_logs_beside_a_hive_are_passed_over_and_told(self):
        self.hive(product(key_name(1), MARKED, MARKED_NAME), "pc/SOFTWARE")
        self.log("pc/SOFTWARE.LOG1")
        self.check_passed_over(self.call("--json", "pc"), "pc/SOFTWARE.LOG1")
        self.check_passed_over(self.call("--json", "pc/SOFTWARE", "pc/SOFTWARE.LOG1"), "pc/SOFTWARE.LOG1")
        self.log("pc/SOFTWARE.Log2", kind=0)  # known by its name
        self.log("pc/OLDER", kind=1)  # and this one by its type
        (self.machine.folder / "pc/SOFTWARE.LOG").write_bytes(b"")
        blocks = ["pc/SOFTWARE{1c37}.TM.blf", "pc/SOFTWARE{1c37}.TMContainer01.regtrans-ms"]
        for name in blocks:
            (self.machine.folder / name).write_bytes(bytes(0x1000))
        (self.machine.folder / "pc/install.log").write_text("no hive's")
        logs = ["pc/OLDER", "pc/SOFTWARE.LOG", "pc/SOFTWARE.LOG1", "pc/SOFTWARE.Log2", *blocks]
        self.check_passed_over(self.call("--json", "pc"), *logs)
        self.check_passed_over(self.call("--json", "pc/SOFTWARE", *logs), *logs)

    def test_logs_without_their_hive_are_told(self):
        (self.machine.folder / "pc").mkdir()
        self.log("pc/SOFTWARE.LOG1")
        passed = "passed over, as logs of hives: pc/SOFTWARE.LOG1"
        for given, error in (("pc", f"pc: there is no export (*.reg) and no hive in the folder; {passed}"),
                             ("pc/SOFTWARE.LOG1", f"there is nothing to read; {passed}")):
            report, = self.parse(self.call("--json", given).stdout)
            self.assertEqual((report["status"], report["error"]), (2, error))

    def test_a_hive_in_use_beside_its_logs_tells_both(self):
        hive = self.hive({}, "pc/SOFTWARE")
        data = bytearray(hive.read_bytes())
        data[4] ^= 1
        data[0x1FC] ^= 1
        hive.write_bytes(data)
        self.log("pc/SOFTWARE.LOG1")
        report, = self.parse(self.call("--json", "pc").stdout)
        self.assertEqual((report["status"], report["notes"]), (
            0, ["passed over, as logs of hives: pc/SOFTWARE.LOG1",
                "pc/SOFTWARE was in use when it was copied: what stands in its logs only isn't seen"]))

    def test_a_value_without_its_data_is_left_out_and_told(self):
        values = {**MARKED, "DisplayVersion": (SZ, sz("1.2.3.4"))}
        hive = self.hive(product(key_name(1), values, {}))
        hive.write_bytes(hive_file.loses_data_of(hive.read_bytes(), "DisplayVersion"))
        done = self.call("--json", hive)
        report, = self.parse(done.stdout)
        self.assertEqual((done.returncode, report["products"][0]["version"]), (1, None))
        self.assertEqual(report["notes"], [f"{hive} has 1 values that can't be read"])

    def test_values_that_share_their_bytes_are_damage(self):
        others = [f"Other{number:02}" for number in range(20)]
        values = {"Largest": (SZ, sz("x" * 500)), **{name: (SZ, sz("small")) for name in others}}
        hive = self.hive(product(key_name(1), values, {}))
        data = hive.read_bytes()
        self.assertEqual(self.call("--json", hive).returncode, 0)
        hive.write_bytes(hive_file.shares_data_of(data, "Largest", others))
        self.assertGreater(20 * 1000, len(data))
        done = self.call("--json", hive)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(self.parse(done.stdout)[0]["error"],
                         f"{hive}: the hive is damaged: its values hold more bytes than the file")

    def test_a_damaged_hive_is_told(self):
        hive = self.hive(product(key_name(1), MARKED, {}))
        data = hive.read_bytes()
        hive.write_bytes(data[:0x1000])
        done = self.call("--json", hive)
        report, = self.parse(done.stdout)
        self.assertEqual(done.returncode, 2)
        self.assertTrue(report["error"].startswith(f"{hive}: the hive can't be read: "), report["error"])

    def test_no_torn_hive_ends_the_program(self):
        data = self.hive(product(key_name(1), MARKED, MARKED_NAME)).read_bytes()
        torn = self.machine.folder / "torn"
        for at in range(0x1020, 0x1400, 41):
            torn.write_bytes(data[:at] + b"\xff" * 4 + data[at + 4:])
            done = self.call("--json", torn)
            report, = self.parse(done.stdout)
            self.assertEqual(report["status"], done.returncode)
            self.assertNotIn("ended before it was done", report["error"] or "")

    def test_a_key_at_two_places_is_damage(self):
        # Each level leads to the next one twice: a walk would come to the last one 2 to the 40th times.
        names = [f"level-{number:02}" for number in range(40)]
        branch = {}
        for number in range(1, len(names)):
            above = "\\".join([USER_DATA, *names[:number]])
            branch |= {f"{above}\\{names[number]}": {}, f"{above}\\x": {}}
        hive = self.hive(branch)
        hive.write_bytes(hive_file.lists_first_subkey_only(hive.read_bytes(), names[:-1]))
        done = self.call("--json", hive)
        report, = self.parse(done.stdout)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(report["error"], f"{hive}: the hive is damaged: a key or a value stands at two places")

    def test_keys_of_a_branch_may_lie_64_levels_deep(self):
        # The branch begins three levels above the products.
        deep = self.hive({"\\".join([USER_DATA, *["x"] * 60]): {}}, "deep")
        self.assertEqual(self.call("--json", deep).returncode, 0)
        deeper = self.hive({"\\".join([USER_DATA, *["x"] * 61]): {}}, "deeper")
        done = self.call("--json", deeper)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(self.parse(done.stdout)[0]["error"],
                         f"{deeper}: the hive is damaged: its keys lie too deep")

    def test_a_hive_of_something_else_holds_no_branch(self):
        hive = self.machine.folder / "SYSTEM"
        hive.write_bytes(hive_file.empty_hive())
        done = self.call("--json", hive)
        self.assertEqual(done.returncode, 2)
        self.assertIn("the export holds no HKLM\\SOFTWARE\\Microsoft", self.parse(done.stdout)[0]["error"])
