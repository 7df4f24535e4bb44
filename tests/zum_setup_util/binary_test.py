#!/usr/bin/env python3
"""What must hold for the built Windows program's file. Each check is also shown to find a planted offence.

    binary_test.py --list       the names of the cases
    binary_test.py NAME ...     runs those

ZUM_PROGRAM is the program, ZUM_VERSION its version ("1.0.0"), and ZUM_CORRECT_SETUP_RUN the tests' own program that
reaches the whole correction.
"""

import os
import pathlib
import struct
import sys
import unittest
import xml.etree.ElementTree as ElementTree
import zlib

sys.dont_write_bytecode = True

import pe_file  # noqa: E402

# What Windows itself pins: these come from the system whatever lies beside the program.
ALLOWED_IMPORTS = {"kernel32.dll", "advapi32.dll", "ole32.dll", "msvcrt.dll"}
LOADED_ON_FIRST_USE = ("wintrust.dll", "crypt32.dll", "ktmw32.dll")
DYNAMIC_BASE, NX_COMPAT = 0x0040, 0x0100
# The process-wide tables of functions, which are filled before the entry and which nothing refers to.
LOOKED_UP_AT_THE_START = (
    "NtSuspendProcess", "NtResumeProcess", "NtQueryInformationProcess", "NtSetInformationProcess",
    "NtQueryInformationThread", "NtSetInformationThread", "RtlNtStatusToDosError",
    "GetThreadDescription", "SetThreadDescription", "InitializeProcThreadAttributeList", "UpdateProcThreadAttribute")
MOST_BYTES = 1_380_000  # the standard library's handler of uncaught exceptions alone would be 48,000 more
SUPPORTED_SYSTEMS = {
    "{35138b9a-5d96-4fbd-8e2d-a2440225f93a}": "Windows 7", "{4a2f28e3-53b9-4441-ba9c-d69d4a4a6e38}": "Windows 8",
    "{1f676c76-80e1-4239-95bb-83d0f6d0da78}": "Windows 8.1", "{8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a}": "Windows 10",
}
VERSION = os.environ["ZUM_VERSION"]


def check_kind(file):
    if file.machine != 0x14C:
        yield "isn't a program for 32-bit x86"
    if file.subsystem != 3:
        yield "isn't a console program"


def check_imports(file):
    for name in sorted(set(file.imports()) - ALLOWED_IMPORTS):
        yield f"imports {name}, which could be planted beside the program"
    if not file.imports():
        yield "imports nothing, not even the system"
    if file.directory(pe_file.DELAY_IMPORTS)[0]:
        yield "has delayed imports"


def check_flags(file):
    flags = file.u16(file.dll_characteristics_offset)
    if not flags & DYNAMIC_BASE:
        yield "isn't loaded at a random address"
    if not flags & NX_COMPAT:
        yield "may execute its data"
    if file.characteristics & 1 or not file.directory(pe_file.RELOCATIONS)[1]:
        yield "has no relocations, so it can't be moved"


def check_alignment(file):
    """The optional header has the alignment of sections in memory at 32 and in the file at 36."""
    in_memory, in_file = file.u32(file.optional + 32), file.u32(file.optional + 36)
    if in_memory != in_file:
        yield f"sections lie in the file by {in_file} and can't be mapped to memory by {in_memory}"


def check_manifest(file):
    data = file.resource(pe_file.RT_MANIFEST)
    if data is None:
        yield "has no manifest"
        return
    root = ElementTree.fromstring(data)
    identity = root.find("{urn:schemas-microsoft-com:asm.v1}assemblyIdentity").get("version")
    if identity != f"{VERSION}.0":
        yield f"calls itself version {identity}"
    levels = [each.get("level") for each in root.iter("{urn:schemas-microsoft-com:asm.v3}requestedExecutionLevel")]
    if levels != ["asInvoker"]:
        yield f"asks for the execution levels {levels}"
    named = {each.get("Id") for each in root.iter("{urn:schemas-microsoft-com:compatibility.v1}supportedOS")}
    for system in SUPPORTED_SYSTEMS.keys() - named:
        yield f"doesn't name {SUPPORTED_SYSTEMS[system]} as supported"


def check_version(file):
    data = file.resource(pe_file.RT_VERSION)
    if data is None:
        yield "has no version resource"
        return
    fixed = data.find(struct.pack("<I", 0xFEEF04BD))
    high, low = struct.unpack_from("<II", data, fixed + 8)
    numbers = f"{high >> 16}.{high & 0xFFFF}.{low >> 16}"
    if fixed < 0 or numbers != VERSION:
        yield f"has the version number {numbers}"
    for name, value in (("FileVersion", VERSION), ("ProductName", "zum_setup_util"),
                        ("OriginalFilename", "zum_setup_util.exe")):
        if (name + "\0").encode("utf-16-le") not in data or (value + "\0").encode("utf-16-le") not in data:
            yield f"has no {name} of {value}"


def check_exports(file):
    if file.exports() != ["GetTracer"]:
        yield f"exports {file.exports()}"


def check_entry_tables(file):
    for name in LOOKED_UP_AT_THE_START:
        if name.encode() + b"\0" not in file.data:
            yield f"doesn't look {name} up"


def check_size(file):
    if len(file.data) > MOST_BYTES:
        yield f"has {len(file.data)} bytes"


def check_symbols(file):
    if file.u32(file.symbol_count_offset):
        yield "has a symbol table"
        return
    for name in file.section_names():
        if name.startswith(".debug"):
            yield f"has the section {name}"


def check_debug_link(file, symbols):
    link = file.section_data(".gnu_debuglink")
    if not link:
        yield "has no link to its symbols"
        return
    name = link[:link.index(b"\0")]
    if name != b"zum_setup_util.exe.debug":
        yield f"links to the symbols {name}"
    at = (len(name) + 4) & ~3
    if struct.unpack_from("<I", link, at)[0] != zlib.crc32(symbols):
        yield "links to other symbols than those beside it"


def check_time_stamp(file):
    if file.u32(file.time_stamp_offset):
        yield "has a time stamp"
    exports = file.directory(pe_file.EXPORTS)[0]
    if exports and file.u32(file.offset(exports) + 4):
        yield "has a time stamp in its export table"


class Binary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        path = pathlib.Path(os.environ["ZUM_PROGRAM"])
        cls.data = path.read_bytes()
        cls.symbols = path.with_name(path.name + ".debug").read_bytes()

    def check(self, check, *plants):
        """The program passes, and each planted copy doesn't."""
        self.assertEqual(list(check(pe_file.PeFile(self.data))), [])
        self.assertTrue(plants)
        for plant in plants:
            self.assertNotEqual(plant, self.data, "nothing was planted")
            found = list(check(pe_file.PeFile(plant)))
            self.assertNotEqual(found, [], "the planted offence wasn't found")
            print("planted and found:", "; ".join(found))

    def patched(self, offset, new):
        return self.data[:offset] + new + self.data[offset + len(new):]

    def replaced(self, old, new):
        self.assertEqual(len(old), len(new))
        self.assertTrue(old in self.data, f"{old} isn't in the program")
        return self.data.replace(old, new)

    def replaced_text(self, old, new):
        return self.replaced(old.encode("utf-16-le"), new.encode("utf-16-le"))

    @property
    def file(self):
        return pe_file.PeFile(self.data)

    def testIsA32BitConsoleProgram(self):
        self.check(check_kind, self.patched(self.file.header + 4, b"\x64\x86"),
                   self.patched(self.file.optional + 68, b"\x02\0"))

    def testImportsOnlyWhatTheSystemPins(self):
        self.check(check_imports, self.replaced(b"ADVAPI32.dll", b"WINTRUST.dll"),
                   self.patched(self.file.optional + 96 + 8 * pe_file.DELAY_IMPORTS, b"\0\x10\0\0\x20\0\0\0"))

    def testCorrectionImportsOnlyWhatTheSystemPins(self):
        """The shipped program has no way to the correction, so this one shows what the correction's code imports."""
        data = pathlib.Path(os.environ["ZUM_CORRECT_SETUP_RUN"]).read_bytes()
        for module in LOADED_ON_FIRST_USE:
            self.assertIn(module.encode("utf-16-le"), data, "that code isn't in the program")
        self.assertEqual(list(check_imports(pe_file.PeFile(data))), [])
        for planted in (b"WINTRUST.dll", b"crypt32.dll\0", b"ktmw32.dll\0\0"):
            self.assertIn(b"ADVAPI32.dll", data)
            self.assertNotEqual(list(check_imports(pe_file.PeFile(data.replace(b"ADVAPI32.dll", planted)))), [])

    def testIsMovedInMemoryAndDoesNotExecuteData(self):
        at = self.file.dll_characteristics_offset
        flags = self.file.u16(at)
        self.check(check_flags, self.patched(at, struct.pack("<H", flags & ~DYNAMIC_BASE)),
                   self.patched(at, struct.pack("<H", flags & ~NX_COMPAT)),
                   self.patched(self.file.header + 22, struct.pack("<H", self.file.characteristics | 1)))

    def testSectionsCanBeMapped(self):
        self.check(check_alignment, self.patched(self.file.optional + 36, struct.pack("<I", 512)))

    def testManifestAsksForNoElevationAndNamesTheSystems(self):
        self.check(check_manifest, self.replaced(b'level="asInvoker"', b'level="asInviter"'),
                   self.replaced(b"{8e0f7a12-", b"{00000000-"), self.replaced(b"<supportedOS ", b"<supportedXX "),
                   self.replaced(b'name="zum_setup_util" version="1', b'name="zum_setup_util" version="9'),
                   self.patched(self.file.optional + 96 + 8 * pe_file.RESOURCES, b"\0" * 8))

    def testVersionResourceTellsTheVersion(self):
        self.check(check_version, self.replaced(struct.pack("<II", 0xFEEF04BD, 0x10000) + b"\0\0\x01\0",
                                                struct.pack("<II", 0xFEEF04BD, 0x10000) + b"\0\0\x09\0"),
                   self.replaced_text("FileVersion\0", "FailVersion\0"),
                   self.patched(self.file.optional + 96 + 8 * pe_file.RESOURCES, b"\0" * 8))

    def testExportsTheTracerUndecorated(self):
        at = self.file.export_name_offset()
        self.check(check_exports, self.patched(at, b"_etTracer"),
                   self.patched(self.file.optional + 96 + 8 * pe_file.EXPORTS, b"\0" * 8))

    def testLooksUpTheEntryTables(self):
        names = [name.encode() for name in LOOKED_UP_AT_THE_START]
        self.check(check_entry_tables, *(self.replaced(name, b"x" * len(name)) for name in names))

    def testIsSmall(self):
        self.check(check_size, self.data + b"\0" * MOST_BYTES)

    def testIsStripped(self):
        self.check(check_symbols, self.patched(self.file.symbol_count_offset, b"\x01\0\0\0"),
                   self.patched(self.file.sections[0], b".debug_x"))

    def testLinksToTheSymbolsBesideIt(self):
        def check(file):
            return check_debug_link(file, self.symbols)

        self.check(check, self.replaced(b"zum_setup_util.exe.debug\0", b"zum_setup_util.exe.trash\0"))
        self.assertNotEqual(list(check_debug_link(self.file, self.symbols + b"x")), [])

    def testHasNoTimeStamp(self):
        self.check(check_time_stamp, self.patched(self.file.time_stamp_offset, b"\x01\0\0\0"),
                   self.patched(self.file.offset(self.file.directory(pe_file.EXPORTS)[0]) + 4, b"\x01\0\0\0"))


def main():
    names = unittest.TestLoader().getTestCaseNames(Binary)
    if sys.argv[1:] == ["--list"]:
        print("\n".join(names))
        return 0
    suite = unittest.TestSuite(Binary(name) for name in sys.argv[1:])
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(suite)
    return 0 if result.wasSuccessful() and result.testsRun == len(sys.argv) - 1 > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
