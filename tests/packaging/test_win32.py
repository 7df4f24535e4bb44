"""The Windows package: what is in it, and that it works where it is unpacked."""

import hashlib
import html.parser
import re
import subprocess
import unittest
import zipfile
import zlib

import pe_file
import products
import registry_rule
from cases import MachineCase
from package_files import BUILT, DIST, PROGRAMS, PROJECT, VERSION, WIN32, digests_in_notes, run, unpacked

FILES = ["CHANGELOG.txt", "LICENCE.txt", "REBUILD.txt", "SHA256SUMS", "THIRD-PARTY.txt", "bill-of-materials.spdx.json",
         "operator.html", "operator.txt", "rehearsal.html", "rehearsal.schema.json", "rehearsal.txt", *PROGRAMS]


class Page(html.parser.HTMLParser):
    """What a page refers to, which places it has, and whether its elements are closed."""

    EMPTY = {"meta", "br", "hr", "col", "img"}

    def __init__(self, text):
        super().__init__()
        self.targets, self.places, self.open, self.text = [], set(), [], ""
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.targets += [value for name, value in attrs if name in ("href", "src", "action", "data", "srcset")]
        self.places |= {value for name, value in attrs if name == "id"}
        if tag not in self.EMPTY:
            self.open.append(tag)

    def handle_endtag(self, tag):
        if not self.open or self.open.pop() != tag:
            raise AssertionError(f"</{tag}> closes nothing")

    def handle_data(self, data):
        self.text += data


class ZipFile(unittest.TestCase):
    def testHoldsOneFolderWithTheFilesThatBelongIntoIt(self):
        names = zipfile.ZipFile(DIST / f"{WIN32}.zip").namelist()
        self.assertEqual(names, [f"{WIN32}/{name}" for name in sorted(FILES)])

    def testHoldsOneTimeAndSettledModes(self):
        for name in (WIN32, f"{WIN32}-symbols"):
            entries = zipfile.ZipFile(DIST / f"{name}.zip").infolist()
            self.assertEqual(len({entry.date_time for entry in entries}), 1)
            for entry in entries:
                mode = 0o755 if entry.filename.endswith(".exe") else 0o644
                self.assertEqual((entry.external_attr >> 16) & 0o777, mode, entry.filename)
                self.assertEqual(entry.extra, b"", entry.filename)

    def testChecksumsCoverEveryFile(self):
        folder = unpacked()
        lines = (folder / "SHA256SUMS").read_text(encoding="ascii").splitlines()
        self.assertEqual({line[66:]: line[:64] for line in lines},
                         {file.name: hashlib.sha256(file.read_bytes()).hexdigest()
                          for file in folder.iterdir() if file.name != "SHA256SUMS"})
        self.assertEqual(run("sha256sum", "-c", "SHA256SUMS", cwd=folder).count(": OK\n"), len(FILES) - 1)

    def testProgramsAreTheBuiltOnes(self):
        for name in PROGRAMS:
            self.assertTrue((unpacked() / name).read_bytes() == (BUILT / name).read_bytes(), name)

    def testNotesTellThePackagesOwnProgramsAndSymbols(self):
        shipped = [unpacked() / name for name in PROGRAMS] + sorted(unpacked(f"{WIN32}-symbols").iterdir())
        self.assertEqual(digests_in_notes(unpacked()),
                         {file.name: hashlib.sha256(file.read_bytes()).hexdigest() for file in shipped})
        self.assertIn("they are not signed", (unpacked() / "REBUILD.txt").read_text(encoding="ascii"))

    def testProgramsAreStripped(self):
        for name in PROGRAMS:
            done = subprocess.run(["i686-w64-mingw32-nm", unpacked() / name], capture_output=True, check=False)
            self.assertIn(b"no symbols", done.stderr)

    def testSymbolsBelongToThePrograms(self):
        symbols = unpacked(f"{WIN32}-symbols")
        self.assertEqual(sorted(file.name for file in symbols.iterdir()), [f"{name}.debug" for name in PROGRAMS])
        for name in PROGRAMS:
            link = self.section((unpacked() / name).read_bytes(), ".gnu_debuglink")
            data = (symbols / f"{name}.debug").read_bytes()
            self.assertTrue(link.startswith(f"{name}.debug\0".encode()), link)
            padded = -(-len(f"{name}.debug\0") // 4) * 4
            self.assertEqual(int.from_bytes(link[padded:padded + 4], "little"), zlib.crc32(data))
            self.assertRegex(run("i686-w64-mingw32-nm", symbols / f"{name}.debug"), r"(?m)^[0-9a-f]+ T _main$")

    def section(self, data, wanted):
        file = pe_file.PeFile(data)
        for at in file.sections:
            if file.section_name(at) == wanted:
                return data[file.u32(at + 20):file.u32(at + 20) + file.u32(at + 16)]
        self.fail(f"no section {wanted}")


class Documents(unittest.TestCase):
    def testPagesStandAlone(self):
        pages = {file.name: Page(file.read_text(encoding="utf-8")) for file in unpacked().glob("*.html")}
        self.assertEqual(sorted(pages), ["operator.html", "rehearsal.html"])
        for name, page in pages.items():
            self.assertEqual(page.open, [], name)
            for target in page.targets:
                file, _, place = target.partition("#")
                self.assertIn(file or name, FILES, f"{name} refers to {target}")
                if place:
                    self.assertIn(place, pages[file or name].places)
        self.assertIn("rehearsal.html", pages["operator.html"].targets)
        self.assertIn("rehearsal.schema.json", pages["rehearsal.html"].targets)

    def testPagesAndTextsSayWhatTheGuidesSay(self):
        for guide in ("operator", "rehearsal"):
            source = (PROJECT / f"docs/{guide}.md").read_text(encoding="utf-8")
            forms = (Page((unpacked() / f"{guide}.html").read_text(encoding="utf-8")).text,
                     (unpacked() / f"{guide}.txt").read_text(encoding="utf-8-sig"))
            headings = [heading.replace("`", "") for heading in re.findall(r"^#+ (.*)$", source, re.MULTILINE)]
            commands = re.findall(r"^ {4,}(reg \S.*)$", source, re.MULTILINE)
            self.assertTrue(headings and commands)
            for form in forms:
                words = re.sub(r"\s+", " ", form)
                self.assertEqual([heading for heading in headings if heading not in words], [], guide)
                self.assertEqual([line for line in commands if line not in form], [], guide)
                self.assertNotRegex(form, r"(operator|rehearsal)\.md")

    def testTheOperatorsGuideAsksForNothingThatIsNotGivenOut(self):
        """Whoever has the package has none of the project's folders."""
        folders = "|".join(sorted(path.name for path in PROJECT.iterdir() if path.is_dir() and path.name.isalnum()))
        for name in ("operator.html", "operator.txt"):
            text = (unpacked() / name).read_text(encoding="utf-8-sig")
            self.assertNotRegex(text, rf"\b({folders})/", name)
            self.assertIn("zum-rehearse_*_amd64.deb", text)

    def testTextsHaveTheLineEndsOfWindows(self):
        for file in unpacked().glob("*.txt"):
            data = file.read_bytes()
            self.assertEqual(data.count(b"\n"), data.count(b"\r\n"), file.name)
            self.assertTrue(data.isascii() or data.startswith(b"\xef\xbb\xbf"), file.name)

    def testChangelogBeginsWithTheVersion(self):
        text = (unpacked() / "CHANGELOG.txt").read_text(encoding="utf-8-sig")
        self.assertRegex(text, rf"^Changelog\s+{re.escape(VERSION)}, (unreleased|\d{{4}}-\d\d-\d\d)\s")

    def testLicencesOfWhatIsLinkedInAreThere(self):
        text = (unpacked() / "THIRD-PARTY.txt").read_text(encoding="utf-8-sig")
        for words in ("University of Cincinnati", "Niels Lohmann", "ZPL-2.1", "Lockless Inc.",
                      "GCC RUNTIME LIBRARY EXCEPTION"):
            self.assertIn(words, text)


class InAFolderWithBlanks(MachineCase):
    """The unpacked programs under Wine, one after the other, as the operator's guide tells."""

    def setUp(self):
        super().setUp()
        self.folder = unpacked()
        self.assertIn(" ", str(self.folder))

    def run_program(self, name, *arguments):
        program = self.folder / name
        line = " ".join([f'"{self.machine.windows_path(program)}"', *arguments])
        return self.machine.run(line, program=program, cwd=self.folder)

    def testTellsItsVersion(self):
        outcome = self.run_program("zum_rehearse.exe", "--version")
        self.assertEqual((outcome.status, outcome.output.strip()), (0, VERSION.encode()))

    def testRehearsesAndRepairs(self):
        before = self.load(products.product("A1", products.MARKED, products.MARKED_NAME))
        rehearsed = self.run_program("zum_rehearse.exe", "--csv")
        self.assertEqual(rehearsed.status, 4)  # the package that it names isn't there
        self.assertIn(b"package-missing", rehearsed.output)
        self.check_branch(self.machine.dump(), before)

        self.check_completed(self.run_program("zum_setup_util.exe", self.trace_option, "/unblock"))
        self.check_branch(self.machine.dump(), registry_rule.rewrite(before)[0])
        self.assertEqual(len([text for _, text in self.trace_records() if "for key = A1" in text]), 2)
        self.assertEqual(self.run_program("zum_rehearse.exe").status, 0)
