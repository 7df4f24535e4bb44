"""What the program makes of its command line, seen from outside: what it prints, how it ends, what it touches."""

import shutil

import products
import registry_rule
from cases import MachineCase, only_on

BRANCH = products.product("A1", products.MARKED, products.MARKED_NAME)
PASSWORD = "s3cr3t"
LONGEST = 32_766  # characters of the longest command line: the system's limit counts the terminating zero


class CommandLine(MachineCase):
    def check_run(self, command_line, acts, program=None):
        before = self.load(BRANCH)
        self.check_completed(self.machine.run(command_line, program=program))
        expected = registry_rule.rewrite(before)[0] if acts else before
        self.check_branch(self.machine.dump(), expected)

    def testCompletedIsNineBytes(self):
        self.load({})
        self.assertEqual(len(self.machine.run("tool.exe").output), 9)

    def testProgramNameOnly(self):
        self.check_run("tool.exe", acts=False)

    def testUnblock(self):
        self.check_run("tool.exe /unblock", acts=True)

    def testUnblockTwice(self):
        self.check_run("tool.exe /unblock /unblock", acts=True)

    def testUnblockBehindOthers(self):
        self.check_run("tool.exe /x --y=1 z /unblock", acts=True)

    def testUnblockBeforeOthers(self):
        self.check_run("tool.exe /unblock /installmsi C:\\x.msi /qn", acts=True)

    def testUnblockInCapitals(self):
        self.check_run("tool.exe /UNBLOCK", acts=False)

    def testUnblockWithAValue(self):
        self.check_run("tool.exe /unblock=1", acts=False)

    def testUnblockInsideALongerToken(self):
        self.check_run("tool.exe /unblock2", acts=False)

    def testUnblockAsTheFirstToken(self):
        self.check_run("/unblock", acts=False)

    def testUnblockAsTheFirstTokenAndAgain(self):
        self.check_run("/unblock /unblock", acts=True)

    def testOperationOfThePipelineIsIgnored(self):
        self.check_run("tool.exe /installmsi C:\\missing\\x.msi /qn", acts=False)

    def testEveryOperationOfThePipelineIsIgnored(self):
        for operation in ("/installmsi", "/installmsp", "/uninstallmsi", "/uninstallmsp"):
            self.check_run(f"tool.exe {operation} C:\\x.msi {{12345678-1234-1234-1234-123456789012}} /qn", acts=False)

    def testUnknownTokensAreIgnored(self):
        self.check_run("tool.exe /? --help -h /unblock3 install", acts=False)

    def testNonAsciiTokensAreIgnored(self):
        self.check_run("tool.exe ä€Ж\U0001F600 /unblock", acts=True)

    def testLongestCommandLine(self):
        head = "tool.exe /unblock "
        self.check_run(head + "x" * (LONGEST - len(head)), acts=True)

    @only_on("windows")
    def testUnblockInQuotes(self):
        """Quotes are characters of the token."""
        self.check_run('tool.exe "/unblock"', acts=False)

    @only_on("windows")
    def testUnblockInsideQuotesBetweenBlanks(self):
        self.check_run('tool.exe "a /unblock b"', acts=True)

    @only_on("windows")
    def testOtherWhiteSpaceSeparates(self):
        for space in "\t\n\r\v\f":
            self.check_run(f"tool.exe{space}/unblock", acts=True)

    @only_on("windows")
    def testOtherBlanksDoNotSeparate(self):
        for space in "\u00a0\u2003\u3000\u0085":
            self.check_run(f"tool.exe {space}/unblock", acts=False)

    @only_on("windows")
    def testWhiteSpaceOnly(self):
        self.check_run("  ", acts=False)

    @only_on("windows")
    def testEmptyCommandLine(self):
        self.check_run("", acts=False)

    @only_on("windows")
    def testLeadingWhiteSpace(self):
        self.check_run("   tool.exe   /unblock   ", acts=True)

    @only_on("windows")
    def testQuotedProgramPathWithBlanks(self):
        folder = self.machine.folder / "a folder with blanks"
        folder.mkdir()
        program = folder / "zum_setup_util.exe"
        shutil.copyfile(self.machine.program, program)
        path = self.machine.windows_path(program)
        self.check_run(f'"{path}"', acts=False, program=program)
        self.check_run(f'"{path}" /unblock', acts=True, program=program)

    @only_on("windows")
    def testUnblockInsideTheQuotedProgramPath(self):
        """Only the part before the first blank of the path is thrown away."""
        self.check_run('"C:\\a /unblock b\\tool.exe"', acts=True)


# Password on the command line -> does its value show in the trace?
FORMS = {
    "Plain": (f"QVPASSWD={PASSWORD}", False),
    "Hexadecimal": (f"QVPASSWDHEX={PASSWORD}", False),
    "BehindAWord": (f"MYQVPASSWD={PASSWORD}", False),
    "Twice": (f"QVPASSWD={PASSWORD} QVPASSWDHEX={PASSWORD}", False),
    "AsPropertyOfAnOperation": (f"/uninstallmsi C:\\x.msi /qn QVLOGIN=me QVPASSWD={PASSWORD}", False),
    "AfterAnEmptyOne": (f"QVPASSWD= QVPASSWD={PASSWORD}", False),
    # Settled weaknesses: these values stay readable.
    "Area": (f"QVPASSWDAREA={PASSWORD}", True),
    "LowerCase": (f"qvpasswd={PASSWORD}", True),
    "BehindABlank": (f"QVPASSWD= {PASSWORD}", True),
}
QUOTED_FORMS = {
    "InDoubleQuotes": (f'QVPASSWD="{PASSWORD}"', True),
    "InDoubleQuotesWithBlank": (f'QVPASSWD="my {PASSWORD}"', True),
    "InSingleQuotes": (f"QVPASSWD='{PASSWORD}'", True),
    "BeforeAQuote": (f'QVPASSWD={PASSWORD}"x"', False),
    "WholeTokenInQuotes": (f'"QVPASSWD={PASSWORD}"', False),
    "BehindATab": (f"\tQVPASSWD={PASSWORD}\t", False),
}


class Passwords(MachineCase):
    def check_form(self, text, readable):
        self.load({})
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} {text} /unblock"))
        self.assertEqual(PASSWORD.encode() in self.trace_bytes(), readable, text)

    def testValueInQuotesShowsBehindTheHiddenText(self):
        """Single quotes, which both machines pass on."""
        self.load({})
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} QVPASSWD='x y' /unblock"))
        self.assertIn(b" QVPASSWD=<sensitive data was hidden>'x y' /unblock\r\n", self.trace_bytes())

    def testValueThatFillsTheLongestCommandLineIsHidden(self):
        head = f"tool.exe {self.trace_option} QVPASSWD="
        self.load({})
        self.check_completed(self.machine.run(head + "s" * (LONGEST - len(head))))
        self.assertTrue(self.trace_bytes().split(b"\r\n")[1].endswith(b" QVPASSWD=<sensitive data was hidden>"))
        self.assertNotIn(b"ssss", self.trace_bytes())


def add_form(name, text, readable, world):
    def test(self):
        self.check_form(text, readable)

    setattr(Passwords, f"test{name}{'Shows' if readable else 'IsHidden'}", only_on(world)(test) if world else test)


for _name, (_text, _readable) in FORMS.items():
    add_form(_name, _text, _readable, None)
for _name, (_text, _readable) in QUOTED_FORMS.items():
    add_form(_name, _text, _readable, "windows")
