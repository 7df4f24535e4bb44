"""The trace file, seen from outside."""

import machines
import products
import registry_rule
from cases import MachineCase, only_on

BRANCH = products.product("A1", products.MARKED, products.MARKED_NAME)
STAGE = "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "
NAME = r"^zum-setup-util-\d{4}-\d\d-\d\d-\d\d-\d\d-\d\d-all\.log$"


class Trace(MachineCase):
    def check_names(self):
        """There is one trace file, and it has a trace file's name."""
        files = self.trace_files()
        self.assertEqual(len(files), 1, files)
        self.assertRegex(files[0].name, NAME)

    def testUnblockedProductIsTracedInFull(self):
        self.load(BRANCH)
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        self.check_names()
        self.assertEqual(self.trace_records(), [
            ("INF", "zs_util\t[main]  begin"),
            ("INF", STAGE + " begin"),
            ("INF", STAGE + "update LocalPackageNotExist for key = A1"),
            ("INF", STAGE + "update PackageNameNotExist for key = A1"),
            ("INF", STAGE + " end"),
            ("INF", "zs_util\t[main]  end"),
            ("INF", "zs_util\t[main] exit with result = 0x00000000")])

    def testRunWithoutActionIsTraced(self):
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option}"))
        self.check_names()
        self.assertEqual(self.trace_records(), [
            ("INF", "zs_util\t[main]  begin"), ("INF", "zs_util\t[main]  end"),
            ("INF", "zs_util\t[main] exit with result = 0x00000000")])

    def testCommandLineStandsInTheHeaderAsItWasTyped(self):
        command_line = f"tool.exe {self.trace_option} /x ä€Ж\U0001F600"
        self.check_completed(self.machine.run(command_line))
        self.assertEqual(self.trace_bytes().split(b"\r\n")[1],
                         b"Command line: Command line: " + command_line.encode("utf-8"))

    @only_on("windows")
    def testQuotesAndBlanksStandInTheHeaderAsTheyWereTyped(self):
        command_line = f'"C:\\a b\\tool.exe"  {self.trace_option}\t"x  y" '
        self.check_completed(self.machine.run(command_line))
        self.assertEqual(self.trace_bytes().split(b"\r\n")[1], b"Command line: Command line: " + command_line.encode())

    def testNamesThatAreNotAsciiAreUtf8(self):
        self.load(products.product("Produkt-ä€Ж", products.MARKED, {}))
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /unblock"))
        self.assertIn(("INF", STAGE + "update LocalPackageNotExist for key = Produkt-ä€Ж"), self.trace_records())

    def testTrailingBackslashIsNotDoubled(self):
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option}\\"))
        self.check_names()

    def testTrailingSlashIsTaken(self):
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option}/"))
        self.check_names()

    def testRelativeDirectoryCountsFromTheCurrentOne(self):
        self.check_completed(self.machine.run("tool.exe --trace-output=traces", cwd=self.machine.folder))
        self.check_names()

    def testNonAsciiDirectory(self):
        self.traces = self.machine.folder / "tr-ä€"
        self.traces.mkdir()
        self.check_completed(self.machine.run(f"tool.exe {self.trace_option}"))
        self.check_names()

    def check_untraced(self, option):
        before = self.load(BRANCH)
        self.check_completed(self.machine.run(f"tool.exe {option} /unblock"))
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])
        self.assertEqual(self.trace_files(), [])

    def testNoOption(self):
        self.check_untraced("")

    def testEmptyValue(self):
        self.check_untraced("--trace-output=")

    def testMissingDirectory(self):
        self.check_untraced(self.trace_option + "\\missing")
        self.assertFalse((self.traces / "missing").exists())

    def testFileInPlaceOfTheDirectory(self):
        file = self.machine.folder / "plain"
        file.write_bytes(b"stays")
        self.check_untraced("--trace-output=" + self.machine.windows_path(file))
        self.assertEqual(file.read_bytes(), b"stays")

    def testMissingDrive(self):
        self.check_untraced("--trace-output=Q:\\traces")

    def testOptionInCapitals(self):
        self.check_untraced(self.trace_option.replace("--trace-output", "--TRACE-OUTPUT"))

    def testOtherWordWithTheSameBeginning(self):
        self.check_untraced(self.trace_option.replace("--trace-output=", "--trace-outputs="))

    def testFirstOfTwoDirectoriesCounts(self):
        other = self.machine.folder / "other"
        other.mkdir()
        self.check_completed(
            self.machine.run(f"tool.exe {self.trace_option} --trace-output={self.machine.windows_path(other)}"))
        self.check_names()
        self.assertEqual(list(other.iterdir()), [])

    def testOptionAsTheFirstTokenIsThrownAway(self):
        self.check_completed(self.machine.run(f"{self.trace_option} x"))
        self.assertEqual(self.trace_files(), [])

    @only_on("windows")
    def testQuotedDirectoryIsNotADirectory(self):
        """The quote is a character of the path, which no file name may hold."""
        self.check_untraced(f'--trace-output="{self.machine.windows_path(self.traces)}"')

    def testSecondRunInTheSameSecondTruncates(self):
        """Runs until two of them share a name: their one file then holds the second run alone."""
        for attempt in range(20):
            for file in self.trace_files():
                file.unlink()
            self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /a-longer-command-line-{attempt}"))
            first = self.trace_files()
            self.check_completed(self.machine.run(f"tool.exe {self.trace_option} /b"))
            if self.trace_files() == first:
                break
        else:
            self.fail("no two of the runs fell into one second")
        self.trace_records()
        self.assertEqual(self.trace_bytes().count(b"TVX TRACE FILE"), 1)
        self.assertTrue(self.trace_bytes().split(b"\r\n")[1].endswith(b" /b"))

    @only_on("windows")
    def testAnotherProcessOpensTheFileWhileTheToolRuns(self):
        branch = {}
        for number in range(1500):
            branch |= products.product(products.key_name(number), products.MARKED, products.MARKED_NAME)
        self.load(branch)
        found = self.machine.start(f"tool.exe {self.trace_option} /unblock", "watch",
                                   machines.text_digits(self.machine.windows_path(self.traces)))
        self.assertEqual(found["alive"], "1", "the tool had ended already")
        self.assertEqual(found["read"], "0")
        self.assertEqual(found["write"], "0")
        self.assertEqual(found["exclusive"], "32", "the tool didn't hold the file")
        self.assertEqual(found["exit"], "00000000")
        self.assertEqual(len([text for _, text in self.trace_records() if "update " in text]), 3000)
