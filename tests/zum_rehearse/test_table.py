"""The table for readers, and the trace."""

import fcntl
import os
import pty
import re
import struct
import subprocess
import termios

from products import MARKED, MARKED_NAME, ORDINARY, key_name, product
from registry_rule import SZ, sz
from rehearsal_cases import NATIVE, PROGRAM, RehearsalCase, only_on, unescaped_controls

HOSTILE = "\x1b[31mred\x07\r\x9b\u202egnp\u2066\u200b"
MARKED_5_1 = MARKED | {"DisplayName": (SZ, sz("ZUM Workstation")), "DisplayVersion": (SZ, sz("5.1.0"))}
CODE = "26F1C3B745A9D0E4C812D5E6F708192A"


class Table(RehearsalCase):
    def table(self, branch, *arguments):
        status, output = self.rehearse(branch, *arguments)
        return status, output.decode("utf-8").replace("\r\n", "\n")

    def test_tells_product_verdict_values_and_summary(self):
        status, text = self.table(product(CODE, MARKED_5_1, MARKED_NAME) | product(key_name(3), ORDINARY, {}))
        self.assertEqual(status, 1 if NATIVE else 4)
        lines = text.splitlines()
        row = next(line for line in lines if "{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}" in line)
        self.assertIn("5.1.0", row)
        self.assertIn("ZUM Workstation", row)
        self.assertIn("would be repaired", text)
        self.assertIn('      LocalPackageNotExist  "C:\\Windows\\Installer\\1a2b.msi"', lines)
        after = lines[lines.index("      LocalPackage          (no such value)") + 1]
        self.assertEqual(after.split("->")[1].strip(), '"C:\\Windows\\Installer\\1a2b.msi"')
        self.assertIn('  /unblock would print "Completed" and end with 0', lines)
        self.assertTrue(any(line.startswith("  1 of 2 products would change") for line in lines), text)
        self.assertNotIn(key_name(3), text)

    def test_all_shows_the_ordinary_ones(self):
        status, text = self.table(product(CODE, ORDINARY, {}), "--all")
        self.assertEqual(status, 0)
        self.assertIn("{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}", text)
        self.assertIn('      ordinary\n      LocalPackage          "C:\\old.msi"\n', text)

    def test_control_characters_show_escaped(self):
        marked = {"LocalPackageNotExist": (SZ, sz(HOSTILE)), "DisplayName": (SZ, sz(HOSTILE)),
                  "DisplayVersion": (SZ, sz(HOSTILE[:3]))}
        _, text = self.table(product("x\u202ey", marked, {}))
        self.assertEqual(unescaped_controls(text), [])
        self.assertIn('"\\u{1b}[31mred\\u{7}\\u{d}\\u{9b}\\u{202e}gnp\\u{2066}', text)
        self.assertIn("x\\u{202e}y", text)

    def test_a_zero_inside_a_string_shows(self):
        _, text = self.table(product(CODE, {"LocalPackageNotExist": (SZ, sz("ab\0cd"))}, {}))
        self.assertIn('"ab\\u{0}cd"', text)

    def test_long_values_are_cut_to_the_width(self):
        _, text = self.table(product(CODE, {"LocalPackageNotExist": (SZ, sz("C:\\" + "long" * 8000))}, {}))
        self.assertLessEqual(max(len(line) for line in text.splitlines()), 80)
        self.assertIn("\u2026", text)

    def on_terminal(self, columns, **environment):
        """What a terminal of so many columns is sent."""
        file = self.export(product(CODE, MARKED_5_1, MARKED_NAME))
        master, slave = pty.openpty()
        fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 30, columns, 0, 0))
        clean = {name: value for name, value in os.environ.items() if name not in ("NO_COLOR", "COLUMNS")}
        subprocess.run([PROGRAM, file], stdout=slave, timeout=60, check=False,
                       env=clean | {"TERM": "xterm"} | environment)
        os.close(slave)
        sent = b""
        while chunk := self.read_terminal(master):
            sent += chunk
        os.close(master)
        return sent.decode("utf-8")

    @staticmethod
    def read_terminal(master):
        try:
            return os.read(master, 65536)
        except OSError:  # the other side is closed
            return b""

    @only_on("native")
    def test_without_a_terminal_columns_tells_the_width(self):
        file = self.export(product(CODE, MARKED_5_1, MARKED_NAME))
        narrow, wide = (self.call(file, environment={"COLUMNS": columns}).stdout.decode("utf-8").splitlines()
                        for columns in ("40", "120"))
        self.assertLessEqual(max(map(len, narrow)), 40)
        self.assertGreater(max(map(len, wide)), 60)

    @only_on("native")
    def test_uses_the_terminals_width_and_colours(self):
        for columns in (40, 57, 70, 120):
            text = self.on_terminal(columns)
            self.assertIn("\x1b[32mwould be repaired\x1b[0m", text)
            self.assertIn("{7B3C1F62-9A54-4E0D-8C21-5D6E7F8091A2}", text)
            plain = re.sub("\x1b\\[[0-9]*m", "", text)
            self.assertLessEqual(max(len(line) for line in plain.splitlines()), columns)
        self.assertIn("ZUM Workstation", self.on_terminal(120))

    @only_on("native")
    def test_messages_show_control_characters_escaped(self):
        file = self.export({})
        for arguments in ([f"--{HOSTILE}"], ["--folders-from", HOSTILE], [HOSTILE],
                          [file, "--html", f"{HOSTILE}/x"], [file, "--changes", f"{HOSTILE}/x"]):
            done = self.call(*arguments)
            text = done.stderr.decode("utf-8")
            self.assertEqual((done.returncode, unescaped_controls(text)), (2, []), arguments)
            self.assertIn("\\u{1b}[31mred", text)

    @only_on("native")
    def test_no_color_and_dumb_terminals_get_none(self):
        self.assertNotIn("\x1b", self.on_terminal(80, NO_COLOR="1"))
        self.assertNotIn("\x1b", self.on_terminal(80, TERM="dumb"))
        self.assertIn("\x1b", self.on_terminal(80, NO_COLOR=""))


class Trace(RehearsalCase):
    def test_is_the_tools_own(self):
        self.rehearse(product(CODE, MARKED, MARKED_NAME), "--json", self.trace_argument())
        texts = [text for _, text in self.trace_records()]
        scope = "[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
        self.assertEqual(texts, ["zs_util\t[main]  begin", f"setup\t{scope} begin",
                                 f"setup\t{scope}update LocalPackageNotExist for key = {CODE}",
                                 f"setup\t{scope}update PackageNameNotExist for key = {CODE}",
                                 f"setup\t{scope} end", "zs_util\t[main]  end"])

    def trace_argument(self):
        return f"--trace-output={self.traces if NATIVE else self.machine.windows_path(self.traces)}"

    @only_on("native")
    def test_each_machine_has_a_folder_of_its_own(self):
        for name in ("one", "two"):
            self.export(product(CODE, MARKED, {}), f"{name}/x.reg")
        done = self.call("--json", "one", "two", self.trace_argument())
        self.assertEqual(done.returncode, 1)
        self.assertEqual(sorted(path.name for path in self.traces.iterdir()), ["one", "two"])
        for name in ("one", "two"):
            file, = (self.traces / name).iterdir()
            self.trace_records(file.read_bytes())
