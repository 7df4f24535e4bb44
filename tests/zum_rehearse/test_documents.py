"""What the documents say, against the programs: commands with their outputs, lists, tables."""

import os
import re
import subprocess
import textwrap

import registry_rule
from products import MARKED, MARKED_NAME, key_name, product
from registry_rule import SZ, sz
from rehearsal_cases import PROJECT, SCHEMA, RehearsalCase, UnpackedCase, only_on

README = (PROJECT / "README.md").read_text(encoding="utf-8")
OPERATOR = (PROJECT / "docs/operator.md").read_text(encoding="utf-8")
REHEARSAL = (PROJECT / "docs/rehearsal.md").read_text(encoding="utf-8")
SHOWN_COMMAND = "scripts/demo.sh --rehearse docs/examples/pc-041"


def block_with(text, first_line):
    """The indented block of a document that begins with a line."""
    lines = []
    for line in text[text.index(f"\n    {first_line}\n") + 1:].splitlines():
        if line and not line.startswith("    "):
            break
        lines.append(line)
    return textwrap.dedent("\n".join(lines)).strip() + "\n"


def commands_of(text):
    """The lines of its code blocks, those in lists too."""
    return [line.strip() for line in text.splitlines() if line.startswith("    ")]


def first_column(text, heading):
    """The first cells of the table below a heading, without their marks."""
    table = re.search(r"\n\n((?:\|.*\n)+)", text[text.index(f"## {heading}\n"):]).group(1).splitlines()[2:]
    return [line.split("|")[1].strip().strip("`") for line in table]


@only_on("native")
class Documents(RehearsalCase):
    def test_readme_shows_what_its_third_command_prints(self):
        self.assertIn(f"\n    {SHOWN_COMMAND}\n", README)
        done = subprocess.run(SHOWN_COMMAND.split(), stdout=subprocess.PIPE, stderr=subprocess.PIPE, cwd=PROJECT,
                              timeout=120, check=False,
                              env={name: value for name, value in os.environ.items() if name != "COLUMNS"})
        self.assertEqual((done.returncode, done.stderr), (1, b""))
        self.assertEqual(block_with(README, "Machine pc-041"), done.stdout.decode("utf-8"))

    def test_every_option_is_listed(self):
        options = set(re.findall(r"--[a-z-]+", self.call("--help").stdout.decode("utf-8"))) - {"--help", "--version"}
        listed = {cell.split(" ")[0] for cell in first_column(REHEARSAL, "What it gives") if cell}
        self.assertEqual(listed | {"--folders-from"}, options)
        self.assertIn("zum_rehearse --folders-from ", REHEARSAL)

    def test_every_verdict_is_listed(self):
        known = SCHEMA["definitions"]["product"]["properties"]["verdicts"]["items"]["enum"]
        self.assertEqual(first_column(REHEARSAL, "Verdicts"), known)

    def test_every_exit_status_is_listed(self):
        known = [str(status) for status in SCHEMA["properties"]["status"]["enum"]]
        self.assertEqual(first_column(REHEARSAL, "Exit status"), known)

    def test_powershell_scripts_speak_of_the_programs(self):
        # There is nothing here to run them; so their text is held to what can be seen.
        options = set(re.findall(r"--[a-z-]+", self.call("--help").stdout.decode("utf-8"))) | {"--trace-output"}
        scripts = sorted((PROJECT / "deploy").glob("**/*.ps1"))
        self.assertEqual(len(scripts), 3)
        for file in scripts:
            text = file.read_bytes().decode("ascii")  # Windows PowerShell reads others in the code page
            code = re.sub(r"^#.*", "", text, flags=re.M)
            self.assertLessEqual(set(re.findall(r"(?<!\w)--[a-z-]+", code)), options, file)
            self.assertLessEqual(set(re.findall(r"\w+\.exe", code)),
                                 {"zum_rehearse.exe", "zum_setup_util.exe", "reg.exe"}, file)
            # Single quotes keep what is in them; the apostrophes in double quotes are no quotes.
            bare = re.sub(r"\"[^\"\n]*\"|'[^'\n]*'", "", code)
            self.assertNotRegex(bare, "[\"']", file)
            for left, right in ("()", "{}", "[]"):
                self.assertEqual(bare.count(left), bare.count(right), file)
            # The rehearsal's status is taken before anything else can set the variable.
            for call in re.findall(r"^& \$rehearse --json.*\n(.*)", code, re.M):
                self.assertIn("= $LASTEXITCODE", call, file)
            lists = re.findall(r"([\d, ]+) -(?:not)?contains ", code)
            self.assertEqual(len(lists), code.count("contains"), file)
            for found in lists:
                self.assertIn(found.strip(), ("1, 4", "1, 3, 4"), file)
            # What PowerShell 2 doesn't know, which Windows 7 has by itself.
            self.assertNotRegex(code, r"(?i)\s-(not)?in\b|\s-raw\b|\[(ordered|pscustomobject)\]|::new\(|convert(to|from)-json|-cim|&&|\|\|",
                                file)

    def test_links_lead_somewhere(self):
        for file in [PROJECT / "README.md", PROJECT / "CONTRIBUTING.md", *sorted((PROJECT / "docs").glob("*.md")),
                     *sorted((PROJECT / "deploy").glob("**/*.md"))]:
            text = file.read_text(encoding="utf-8")
            for target in re.findall(r"\]\(([^)\s]+)\)", text):
                path, _, anchor = target.partition("#")
                found = file if not path else file.parent / path
                self.assertTrue(found.exists(), f"{file.name}: {target}")
                if anchor:
                    headings = re.findall(r"^#+ (.*)", found.read_text(encoding="utf-8"), re.M)
                    names = [re.sub(r"[^\w -]", "", heading).lower().replace(" ", "-") for heading in headings]
                    self.assertIn(anchor, names, f"{file.name}: {target}")


@only_on("windows")
class OperatorsCommands(UnpackedCase):
    """Those of docs/operator.md, from the rehearsal to the undo, run by the command prompt in the order of the page."""

    def prompt(self, commands):
        """The lines that the commands print."""
        batch = self.machine.folder / "commands.bat"
        batch.write_bytes("\r\n".join(["@echo off", *commands, "exit /b 0", ""]).encode("ascii"))
        output = self.machine.wine("cmd", "/c", self.machine.windows_path(batch), cwd=self.package)
        return output.decode("utf-8").replace("\r", "")

    def test_rehearse_repair_and_undo(self):
        commands = commands_of(OPERATOR[OPERATOR.index("## 1. Rehearse"):OPERATOR.index("## Every output")])
        commands.remove("zum_rehearse installer-1.reg installer-2.reg")  # that one is for Linux
        kinds = [line.split("\\")[-1] if line.startswith("C:") else line.split(" C:")[0] for line in commands]
        self.assertEqual(kinds, [
            "mkdir", "mkdir", "copy zum_*.exe", "undo.reg", "echo %ERRORLEVEL%",
            r"reg export HKLM\SOFTWARE\Microsoft\Windows\CurrentVersion\Installer",
            r"reg export HKLM\SOFTWARE\Classes\Installer",
            "trace /unblock", "echo %ERRORLEVEL%", "zum_rehearse.exe", "echo %ERRORLEVEL%", "reg import"])
        branch = product(key_name(1), {"LocalPackageNotExist": (SZ, sz("C:\\windows\\zum\\zum_rehearse.exe"))},
                         {"PackageNameNotExist": (SZ, sz("zum_win.msi"))})
        before = self.load(branch)
        rehearsed = self.prompt(commands[:7])
        self.assertIn("would be repaired\n", rehearsed)
        self.assertRegex(rehearsed, r"would change\n1\n")
        self.check_branch(self.machine.dump(), before)
        for name in ("undo.reg", "installer-1.reg", "installer-2.reg"):
            self.assertTrue((self.zum / name).exists(), name)

        # "as above", while the exports are there; nothing asks.
        for file in self.zum.glob("installer-*.reg"):
            file.write_bytes(b"of before")
        self.prompt(commands[5:7])
        for name, mark in (("installer-1.reg", "LocalPackageNotExist"), ("installer-2.reg", "PackageNameNotExist")):
            self.assertIn(f'"{mark}"', (self.zum / name).read_bytes().decode("utf-16"))

        self.assertRegex(self.prompt(commands[7:11]), r"^Completed0\n(.*\n)*  0 of 1 products would change\n0\n$")
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])
        self.assertEqual(len(list((self.zum / "trace").iterdir())), 1)

        self.prompt(commands[11:])
        self.check_branch(self.machine.dump(), before)

    def test_commands_within_sentences(self):
        commands = sorted(set(re.findall(r"`(zum_rehearse\.exe [^`]*)`", OPERATOR)))
        self.assertEqual(commands, ["zum_rehearse.exe --json --all",
                                    r"zum_rehearse.exe --trace-output=C:\Windows\zum\trace"])
        self.load(product(key_name(1), MARKED, MARKED_NAME))
        (self.zum / "trace").mkdir(parents=True)
        for command in commands:
            self.assertRegex(self.prompt([command, "echo %ERRORLEVEL%"]), r"\n4\n$", command)
        self.assertEqual(len(list((self.zum / "trace").iterdir())), 1)
