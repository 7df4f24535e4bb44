"""The Debian package: its form by lintian, and what is in it, unpacked where it isn't installed."""

import gzip
import os
import pathlib
import re
import subprocess
import tempfile
import unittest

import products
import reg_file
import zsh_completion
from package_files import IDENTITY, PROJECT, VERSION, debian_package, run, unpacked_debian

COMPLETE = """
source /usr/share/bash-completion/bash_completion
source "$1"
COMP_WORDS=(zum_rehearse "${@:2}") COMP_CWORD=$(($# - 1)) COMP_LINE="zum_rehearse ${*:2}" COMP_POINT=${#COMP_LINE}
_zum_rehearse
printf '%s\\n' "${COMPREPLY[@]}"
"""


def options_of_the_program():
    text = run(unpacked_debian() / "usr/bin/zum_rehearse", "--help")
    part = text.split("Options:")[1].split("Exit status")[0]
    return sorted(set(re.findall(r"(?<![\w-])--?[a-z][a-z-]*", part)))


class DebianPackage(unittest.TestCase):
    def testLintianFindsNothing(self):
        found = run("lintian", "--allow-root", "--info", "--display-info", "--pedantic", "--fail-on",
                    "error,warning,info,pedantic", debian_package())
        self.assertEqual(found, "")

    def testEachOverrideHasItsReason(self):
        lines = (PROJECT / "packaging/debian/lintian-overrides").read_text(encoding="utf-8").splitlines()
        for above, line in zip(["", *lines], lines):
            self.assertTrue(line.startswith("#") or above.startswith("# "), line)

    def testFieldsAreThoseSetInOnePlace(self):
        fields = dict(re.findall(r"(?m)^(\S+): (.*)$", run("dpkg-deb", "-f", debian_package())))
        self.assertEqual((fields["Package"], fields["Version"], fields["Architecture"]),
                         ("zum-rehearse", VERSION, "amd64"))
        self.assertEqual(fields["Maintainer"], IDENTITY["maintainer"])
        # What the program itself is linked with, as the system names it.
        needed = re.findall(r"NEEDED\s+(\S+)", run("objdump", "-p", unpacked_debian() / "usr/bin/zum_rehearse"))
        self.assertIn("libhivex.so.0", needed)
        packages = {"libhivex.so.0": "libhivex0", "libstdc++.so.6": "libstdc++6", "libgcc_s.so.1": "libgcc-s1",
                    "libc.so.6": "libc6"}
        self.assertEqual(sorted(re.findall(r"([a-z0-9+-]+) \(", fields["Depends"])),
                         sorted(packages[name] for name in needed))

    def testCopyrightAndChangelog(self):
        folder = unpacked_debian() / "usr/share/doc/zum-rehearse"
        copyright_text = (folder / "copyright").read_text(encoding="utf-8")
        self.assertIn(f"Files: *\nCopyright: {IDENTITY['copyright']}\nLicense: {IDENTITY['licence']}\n", copyright_text)
        self.assertIn("Niels Lohmann", copyright_text)
        self.assertIn("University of Cincinnati", copyright_text)
        changelog = folder / "changelog.gz"
        self.assertTrue(gzip.decompress(changelog.read_bytes()).decode().startswith(f"zum-rehearse ({VERSION}) "))
        parsed = run("dpkg-parsechangelog", "-l", self.plain(changelog))
        self.assertIn(f"Version: {VERSION}\n", parsed)
        self.assertIn(f"Maintainer: {IDENTITY['maintainer']}\n", parsed)
        self.assertNotIn("warning", parsed)

    def plain(self, file):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        path = pathlib.Path(folder.name, "changelog")
        path.write_bytes(gzip.decompress(file.read_bytes()))
        return path

    def testRunsWhereItIsUnpacked(self):
        program = unpacked_debian() / "usr/bin/zum_rehearse"
        self.assertEqual(run(program, "--version").strip(), VERSION)
        with tempfile.TemporaryDirectory() as folder:
            reg_file.write(pathlib.Path(folder, "an export.reg"),
                           products.product("A1", products.MARKED, products.MARKED_NAME))
            done = subprocess.run([program, "--csv", "an export.reg"], cwd=folder, capture_output=True, check=False)
        self.assertEqual(done.returncode, 1)
        self.assertIn(b"would-be-repaired", done.stdout)

    def testManualPageIsWellFormedAndHasEveryOption(self):
        page = unpacked_debian() / "usr/share/man/man1/zum_rehearse.1.gz"
        environment = os.environ | {"LC_ALL": "C.UTF-8", "MANWIDTH": "100", "MAN_KEEP_FORMATTING": ""}
        shown = subprocess.run(["man", "--warnings", "-l", page], capture_output=True, check=True, env=environment)
        self.assertEqual(shown.stderr, b"")
        part = shown.stdout.decode().split("\nOPTIONS\n")[1].split("\nEXIT STATUS\n")
        listed = {option for line in part[0].splitlines() if re.match(" {7}-", line) for option in
                  re.findall(r"(?<![\w-])--?[a-z][a-z-]*", re.split(" {2,}", line.strip())[0])}
        self.assertEqual(sorted(listed), options_of_the_program())
        self.assertEqual(re.findall(r"(?m)^ {7}(\d) ", part[1]), list("012345"))

    def folder_with_files(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        for name in ("a.reg", "b.txt"):
            pathlib.Path(folder.name, name).touch()
        pathlib.Path(folder.name, "folder").mkdir()
        return folder.name

    def complete(self, *words):
        completion = unpacked_debian() / "usr/share/bash-completion/completions/zum_rehearse"
        return sorted(run("bash", "-c", COMPLETE, "complete", completion, *words, cwd=self.folder_with_files()).split())

    def testBashCompletesOptionsAndFiles(self):
        self.assertEqual(self.complete("-"), options_of_the_program())
        self.assertEqual(self.complete("--json", "--ht"), ["--html"])
        self.assertEqual(self.complete("--undo", ""), ["a.reg", "folder"])
        self.assertEqual(self.complete("--trace-output", ""), ["folder"])
        self.assertEqual(self.complete(""), ["a.reg", "b.txt", "folder"])

    def complete_by_zsh(self, *words):
        return zsh_completion.complete(unpacked_debian() / "usr/share/zsh/vendor-completions",
                                       " ".join(["zum_rehearse", *words]), self.folder_with_files())

    def testZshCompletesOptionsAndFiles(self):
        self.assertEqual(self.complete_by_zsh("-"), options_of_the_program())
        self.assertEqual(self.complete_by_zsh("--json", "--ht"), ["--html"])
        self.assertEqual(self.complete_by_zsh("--csv", "--js"), [])  # not together
        self.assertEqual(self.complete_by_zsh("--undo", ""), ["a.reg", "b.txt", "folder"])
        self.assertEqual(self.complete_by_zsh("--trace-output", ""), ["folder"])
        self.assertEqual(self.complete_by_zsh(""), ["a.reg", "b.txt", "folder"])
