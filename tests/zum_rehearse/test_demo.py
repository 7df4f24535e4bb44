"""The script's rehearsal, which hands its arguments on to the program."""

import subprocess

from products import MARKED, MARKED_NAME, key_name, product
from rehearsal_cases import PROJECT, RehearsalCase, only_on
from registry_rule import SZ, sz

SCRIPT = PROJECT / "scripts/demo.sh"


@only_on("native")
class Demo(RehearsalCase):
    def demo(self, *arguments, cwd=None):
        return subprocess.run([SCRIPT, *arguments], stdout=subprocess.PIPE, stderr=subprocess.PIPE, timeout=120,
                              cwd=cwd or self.machine.folder, check=False)

    def test_names_the_product_and_ends_with_the_programs_status(self):
        file = self.export(product("26F1C3B745A9D0E4C812D5E6F708192A", MARKED, MARKED_NAME))
        done = self.demo("--rehearse", file)
        self.assertEqual((done.returncode, done.stderr), (1, b""))
        self.assertIn(b"{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}", done.stdout)

    def test_takes_relative_paths_from_any_folder(self):
        self.export(product(key_name(1), MARKED, {}), "here/x.reg")
        done = self.demo("--rehearse", "x.reg", "--json", cwd=self.machine.folder / "here")
        self.assertEqual((done.returncode, self.parse(done.stdout)[0]["sources"]), (1, ["x.reg"]))

    def test_keeps_an_input_in_the_build_folder(self):
        folder = PROJECT / "build/rehearsal"
        folder.mkdir(parents=True, exist_ok=True)
        file = folder / f"{self.machine.folder.name}.reg"
        self.addCleanup(file.unlink)
        file.write_bytes(self.export(product(key_name(1), MARKED, {})).read_bytes())
        self.assertEqual(self.demo("--rehearse", file).returncode, 1)
        self.assertTrue(file.exists())

    def test_a_zero_inside_a_value_hides_nothing(self):
        branch = product(key_name(1), MARKED | {"Comments": (SZ, sz("a\0b"))}, {})
        done = self.demo("--rehearse", self.export(branch))
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"would be repaired", done.stdout)

    def test_takes_key_names_of_all_characters(self):
        branch = product("p\U0001F600", MARKED, {}) | product("lone \ud83d", MARKED, {})
        done = self.demo("--rehearse", self.export(branch))
        self.assertEqual(done.returncode, 1)
        self.assertIn("p\U0001F600".encode(), done.stdout)
        self.assertIn(b"lone \\u{d83d}", done.stdout)

    def test_without_input_it_tells_its_usage(self):
        done = self.demo("--rehearse")
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertIn(b"usage: ", done.stderr)
