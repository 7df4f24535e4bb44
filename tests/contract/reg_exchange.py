#!/usr/bin/env python3
"""Holds the host layer's registry files against Wine's reader and writer of the same format.

  reg_exchange.py --tool .../host_reg_file_tool --wine scripts/wine-run.sh

What the host writes is imported and exported again by Wine's reg.exe and must come back equal, but for the
rows of CHANGED_BY_WINE, which must come back as they say. What Wine writes of values that its own "reg add"
made must load and be what was asked for. Works below HKEY_LOCAL_MACHINE\\SOFTWARE\\ZumExchange, in the
64-bit view. The last line counts; the exit status is 0 when nothing failed.
"""

import argparse
import os
import subprocess
import sys
import tempfile

ROOT = "HKEY_LOCAL_MACHINE\\SOFTWARE\\ZumExchange"
VIEW = "/reg:64"


def text(characters, zeros=1):
    return (characters + "\0" * zeros).encode("utf-16-le").hex()


# (key below the root, value): (type, bytes that come back, why). Wine's registry takes each of these as the
# host does; it is its reg.exe that changes them.
TERMINATED = "a terminator is added"
CUT = "a text ends at its first zero"
CHANGED_BY_WINE = {
    ("OddTexts", "no terminator"): (1, text("abcd"), TERMINATED),
    ("OddTexts", "two terminators"): (1, text("abcd"), CUT),
    ("OddTexts", "odd"): (1, text("abc"), "half a character is dropped"),
    ("OddTexts", "odd zero"): (1, text("abcd"), "half a terminator is made whole"),
    ("OddTexts", "one byte"): (1, text(""), "half a character is dropped"),
    ("OddTexts", "embedded zero"): (1, text("ab"), CUT),
    ("OddTexts", "no data"): (1, text(""), TERMINATED),
    ("OddTexts", "only zeros"): (1, text(""), CUT),
    ("Others", "expand no terminator"): (2, text("%TEMP%"), TERMINATED),
    ("Others", "multi no terminator"): (7, text("abc"), TERMINATED),
    ("Others", "dword three bytes"): (4, "01020300", "a number is made four bytes long"),
    ("Others", "dword five bytes"): (4, "01020304", "a number is cut to four bytes"),
}

# What "reg add" is told, and what the file must then say.
ADDED_BY_WINE = [
    ("default", ["/ve", "/d", "by default"], ("", 1, text("by default"))),
    ("text", ["/v", "text", "/d", "C:\\a b\\c.msi"], ("text", 1, text("C:\\a b\\c.msi"))),
    ("text with quotes", ["/v", "q\"q", "/d", "a\"b\\"], ("q\"q", 1, text("a\"b\\"))),
    ("letters", ["/v", "\u00e4\u0436", "/d", "\u4e2d"], ("\u00e4\u0436", 1, text("\u4e2d"))),
    ("empty text", ["/v", "empty", "/d", ""], ("empty", 1, text(""))),
    ("line break", ["/v", "break", "/d", "a\r\nb"], ("break", 1, text("a\r\nb"))),
    ("expand", ["/v", "e", "/t", "REG_EXPAND_SZ", "/d", "%A%"], ("e", 2, text("%A%"))),
    ("multi", ["/v", "m", "/t", "REG_MULTI_SZ", "/d", "a\\0bc"], ("m", 7, text("a\0bc\0"))),
    ("dword", ["/v", "d", "/t", "REG_DWORD", "/d", "0x12345678"], ("d", 4, "78563412")),
    ("qword", ["/v", "qw", "/t", "REG_QWORD", "/d", "258"], ("qw", 11, "0201000000000000")),
    ("binary", ["/v", "b", "/t", "REG_BINARY", "/d", "00ff10" * 40], ("b", 3, "00ff10" * 40)),
    ("none", ["/v", "n", "/t", "REG_NONE", "/d", "ab"], ("n", 0, text("ab"))),
]


class Checker:
    def __init__(self):
        self.passed = 0
        self.failed = 0

    def check(self, name, got, expected):
        if got == expected:
            self.passed += 1
        else:
            self.failed += 1
            print(f"FAILED {name}: got {got}, expected {expected}")


class Machine:
    """Wine's registry, by reg.exe, and the host's reader, by the tool."""

    def __init__(self, tool, wine, folder):
        self.tool = tool
        self.wine = wine
        self.folder = folder

    def reg(self, *arguments, may_fail=False):
        # Into a file and not a pipe: Wine's services may live on and would keep a pipe open.
        with open(os.path.join(self.folder, "reg.log"), "w+b") as log:
            status = subprocess.run([self.wine, "reg", *arguments], stdin=subprocess.DEVNULL,
                                    stdout=log, stderr=log, timeout=120, check=False).returncode
            log.seek(0)
            output = log.read().decode("utf-8", "replace")
        if status != 0 and not may_fail:
            sys.exit(f"reg {' '.join(arguments)[:300]} ended with {status}: {output}")

    def path(self, name):
        return os.path.join(self.folder, name)

    def windows_path(self, name):
        return "Z:" + self.path(name).replace("/", "\\")

    def clear(self):
        self.reg("delete", ROOT, "/f", VIEW, may_fail=True)  # it may not be there

    def export(self, name):
        self.reg("export", ROOT, self.windows_path(name), "/y", VIEW)

    def sample(self, name):
        subprocess.run([self.tool, "sample", self.path(name)], check=True)

    def dump(self, name):
        """{key below the root: {value name: (type, hexadecimal bytes)}}"""
        output = subprocess.run([self.tool, "dump", self.path(name)], check=True,
                                capture_output=True, encoding="ascii").stdout
        keys = {}
        for line in output.splitlines():
            kind, *fields = line.split(" ")
            if kind == "key":
                values = keys.setdefault(plain(fields[0])[len(ROOT) + 1:], {})
            else:
                values[plain(fields[0])] = (int(fields[1]), fields[2])
        return {key: found for key, found in keys.items() if key}


def plain(shown):
    """The text behind the tool's %xxxx form."""
    first, *rest = shown.split("%")
    return first + "".join(chr(int(part[:4], 16)) + part[4:] for part in rest)


def check_host_file(machine, checker):
    machine.clear()
    machine.sample("host.reg")
    machine.reg("import", machine.windows_path("host.reg"), VIEW)
    machine.export("back.reg")
    before = machine.dump("host.reg")
    after = machine.dump("back.reg")
    checker.check("keys", sorted(after), sorted(before))
    for key, values in before.items():
        checker.check(f"values of {key}", sorted(after.get(key, {})), sorted(values))
        for name, value in values.items():
            changed = CHANGED_BY_WINE.get((key, name))
            if changed:
                print(f"Wine changes {key} \"{name}\": {changed[2]}")
            checker.check(f"{key} \"{name}\"", after.get(key, {}).get(name),
                          changed[:2] if changed else value)
    for key, name in CHANGED_BY_WINE:
        checker.check(f"{key} \"{name}\" is in the sample", name in before.get(key, {}), True)


def check_wine_file(machine, checker):
    machine.clear()
    for name, arguments, _ in ADDED_BY_WINE:
        machine.reg("add", f"{ROOT}\\Added {name}", *arguments, "/f", VIEW)
    machine.export("wine.reg")
    found = machine.dump("wine.reg")
    for name, _, (value, kind, data) in ADDED_BY_WINE:
        checker.check(f"reg add {name}", found.get(f"Added {name}"), {value: (kind, data)})


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--tool", required=True, help="the native host_reg_file_tool")
    parser.add_argument("--wine", required=True, help="scripts/wine-run.sh")
    options = parser.parse_args()
    checker = Checker()
    with tempfile.TemporaryDirectory(prefix="zum-exchange-") as folder:
        machine = Machine(os.path.abspath(options.tool), os.path.abspath(options.wine), folder)
        check_host_file(machine, checker)
        check_wine_file(machine, checker)
        machine.clear()
    print(f"reg_exchange: {checker.passed} passed, {checker.failed} failed")
    sys.exit(1 if checker.failed else 0)


if __name__ == "__main__":
    main()
