#!/usr/bin/env python3
"""That the Windows program of the rehearsal changes nothing is a property of its file: it imports no function that
creates, sets or deletes keys or values, and the name of none stands in its bytes, so none can be looked up either. Each
check is also shown to find a planted offence.

    rehearsal_binary_test.py --list       the names of the cases
    rehearsal_binary_test.py NAME ...     runs those

ZUM_REHEARSE is the program, ZUM_VERSION its version.
"""

import os
import pathlib
import re
import struct
import subprocess
import sys
import unittest

sys.dont_write_bytecode = True
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "zum_setup_util"))

import binary_test as tool  # noqa: E402
import pe_file  # noqa: E402

# All of the registry that is imported.
REGISTRY_IMPORTS = {"RegCloseKey", "RegEnumKeyW", "RegOpenKeyExW", "RegQueryValueExW"}
ALLOWED_MODULES = {"kernel32.dll", "advapi32.dll", "msvcrt.dll"}
# What writes to a registry, however it is reached: by the functions of the system, of its shell, and of its kernel.
WRITERS = re.compile(r"Reg(?:Set|Create|Delete|Rename|Load|UnLoad|Restore|Replace|Copy|Install|Override)[A-Z]\w*"
                     r"|Reg\w*Transacted\w*|(?:Nt|Zw)\w*(?:Key|Value)\w*|Rtl(?:Write|Delete|Create)Registry\w*"
                     r"|SH(?:Reg)?(?:Set|Delete|Write|Create|Copy)\w*|ShellExecute\w*|CreateProcess\w*|WinExec", re.I)
# The functions of Windows whose names stand in the program without being imported: those that it looks up while it
# runs, and those that only sound like one.
LOOKED_UP = {
    # the project's: where modules are searched for
    "SetDefaultDllDirectories",
    # the project's: the time in the trace
    "GetTimeZoneInformationForYear",
    # the C library's: random numbers, under the name that advapi32.dll has for them
    "SystemFunction036",
    # the thread library's: its clock
    "GetSystemTimePreciseAsFileTime",
}
MOST_BYTES = 2_500_000


class RehearsalFile(pe_file.PeFile):
    def imported_names(self):
        """Module -> the functions that are imported from it; a number stands as "#1"."""
        address, _ = self.directory(pe_file.IMPORTS)
        found = {}
        at = self.offset(address)
        while self.u32(at + 12):
            names = found.setdefault(self.text(self.offset(self.u32(at + 12))).lower(), [])
            entry = self.offset(self.u32(at) or self.u32(at + 16))
            while self.u32(entry):
                value = self.u32(entry)
                names.append(f"#{value & 0xFFFF}" if value >> 31 else self.text(self.offset(value) + 2))
                entry += 4
            at += 20
        return found


def words(data):
    """All words in the bytes, in characters of one byte and of two at either alignment."""
    for pattern in (rb"[A-Za-z_][A-Za-z0-9_]{3,}", rb"(?:[A-Za-z_]\0)(?:[A-Za-z0-9_]\0){3,}"):
        for match in re.finditer(pattern, data):
            yield match.group().replace(b"\0", b"").decode("ascii")


def check_registry_imports(file):
    for module, names in file.imported_names().items():
        if module not in ALLOWED_MODULES:
            yield f"imports {module}"
        for name in names:
            if name.startswith("#"):
                yield f"imports {name} of {module}, of which nothing can be said"
            if WRITERS.fullmatch(name) or (module == "advapi32.dll" and name not in REGISTRY_IMPORTS):
                yield f"imports {name}"
    if not REGISTRY_IMPORTS <= set(file.imported_names().get("advapi32.dll", [])):
        yield "doesn't even read"


def check_writers(data):
    """A name may stand inside a longer word: the words are searched, not compared."""
    for word in set(words(data)):
        match = WRITERS.search(word)
        if match and match.group()[0].isupper():
            yield f"holds the name {word}"


def functions_of_windows():
    """The functions of the modules that a process has in any case, and of those that write, by the compiler's import
    libraries."""
    found = set()
    folder = pathlib.Path("/usr/i686-w64-mingw32/lib")
    for library in ("kernel32", "advapi32", "ntdll", "user32", "ole32", "shell32", "shlwapi", "userenv", "setupapi"):
        output = subprocess.run(["i686-w64-mingw32-nm", "--defined-only", folder / f"lib{library}.a"], text=True,
                                stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=True).stdout
        found |= {re.sub(r"^_|@\d+$", "", line.split()[-1]) for line in output.splitlines() if " T _" in line}
    return found


def check_looked_up(file, known):
    imported = {name for names in file.imported_names().values() for name in names}
    found = set(words(file.data)) & known - imported
    # Names of the C library too, which the program has linked in.
    found = {name for name in found if name[0].isupper()}
    for name in sorted(found - LOOKED_UP):
        yield f"holds {name}, a function of Windows that it doesn't import"
    for name in sorted(LOOKED_UP - found):
        yield f"doesn't hold {name}"


class RehearsalBinary(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.data = pathlib.Path(os.environ["ZUM_REHEARSE"]).read_bytes()
        cls.file = RehearsalFile(cls.data)

    def finds(self, found):
        found = list(found)
        self.assertNotEqual(found, [], "the planted offence wasn't found")
        print("planted and found:", "; ".join(found[:3]))

    def replaced(self, old, new):
        self.assertEqual(len(old), len(new))
        self.assertIn(old, self.data)
        return self.data.replace(old, new)

    def testImportsNothingThatWrites(self):
        self.assertEqual(list(check_registry_imports(self.file)), [])
        for old, new in ((b"RegQueryValueExW\0", b"RegSetValueExW\0\0\0"), (b"RegEnumKeyW\0", b"RegSaveKeyW\0"),
                         (b"ADVAPI32.dll\0", b"SHLWAPI.dll\0\0")):
            self.finds(check_registry_imports(RehearsalFile(self.replaced(old, new))))

    def testHoldsNoNameOfAFunctionThatWrites(self):
        self.assertEqual(list(check_writers(self.data)), [])
        for name in ("RegSetValueExW", "RegSetKeyValueW", "RegCreateKeyExW", "RegDeleteTreeW", "RegRenameKey",
                     "RegLoadKeyW", "RegRestoreKeyW", "RegOpenKeyTransactedW", "NtSetValueKey", "NtDeleteKey",
                     "NtCreateKeyTransacted", "ZwSetValueKey", "SHSetValueW", "SHDeleteKeyA"):
            for planted in (name.encode("ascii"), name.encode("utf-16-le"), b"x\0" + name.encode("ascii") + b"y",
                            b"\x01" + name.encode("utf-16-le")):
                self.assertNotEqual(list(check_writers(self.data + planted)), [], name)

    def testNamesThatItLooksUpAreListed(self):
        known = functions_of_windows()
        self.assertLess({"RegSetValueExW", "NtSetValueKey", "LoadLibraryW", "ShellExecuteW"}, known)
        self.assertEqual(list(check_looked_up(self.file, known)), [])
        for name in (b"GetBinaryTypeW", "SetVolumeLabelW".encode("utf-16-le")):
            self.finds(check_looked_up(RehearsalFile(self.data + b"\0" + name + b"\0\0"), known))

    def testIsA32BitConsoleProgram(self):
        self.assertEqual(list(tool.check_kind(self.file)), [])

    def testImportsOnlyWhatTheSystemPins(self):
        self.assertEqual(list(tool.check_imports(self.file)), [])

    def testIsMovedInMemoryAndDoesNotExecuteData(self):
        self.assertEqual(list(tool.check_flags(self.file)), [])
        at = self.file.dll_characteristics_offset
        self.finds(tool.check_flags(RehearsalFile(self.data[:at] + b"\0\0" + self.data[at + 2:])))

    def testManifestAsksForNoElevation(self):
        self.assertEqual(list(tool.check_manifest(self.file)), [])
        self.finds(tool.check_manifest(RehearsalFile(self.replaced(b'level="asInvoker"', b'level="asInviter"'))))

    def testVersionResourceTellsTheVersion(self):
        data = self.file.resource(pe_file.RT_VERSION)
        for name, value in (("FileVersion", os.environ["ZUM_VERSION"]), ("ProductName", "zum_setup_util"),
                            ("OriginalFilename", "zum_rehearse.exe")):
            for text in (name, value):
                self.assertIn((text + "\0").encode("utf-16-le"), data)

    def testIsStrippedAndHasNoTimeStamp(self):
        self.assertEqual(list(tool.check_symbols(self.file)), [])
        self.assertEqual(list(tool.check_time_stamp(self.file)), [])
        at = self.file.time_stamp_offset
        self.finds(tool.check_time_stamp(RehearsalFile(self.data[:at] + struct.pack("<I", 1) + self.data[at + 4:])))

    def testIsSmall(self):
        self.assertLess(len(self.data), MOST_BYTES)


def main():
    names = unittest.TestLoader().getTestCaseNames(RehearsalBinary)
    if sys.argv[1:] == ["--list"]:
        print("\n".join(names))
        return 0
    suite = unittest.TestSuite(RehearsalBinary(name) for name in sys.argv[1:])
    result = unittest.TextTestRunner(stream=sys.stdout, verbosity=2).run(suite)
    return 0 if result.wasSuccessful() and result.testsRun == len(sys.argv) - 1 > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
