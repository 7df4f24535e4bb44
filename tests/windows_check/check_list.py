#!/usr/bin/env python3
"""Checks that nothing is in the package for a Windows machine that could harm it.

    check_list.py [--sources DIR] [--wine COMMAND] FOLDER   FOLDER is the unpacked package
    check_list.py --self-test FOLDER                        plants one offence of each kind and sees each of them found

The rules, by tests/windows_check/programs.json:
  unlisted     each program of the package is in the list, with a word on why it is harmless, and each of the list is there
  undecided    each test file of the folders is in a program, or left out with a reason
  harmful      no file of a program, nor a file of the tests that it includes, names the installer's records,
               HKEY_LOCAL_MACHINE, a trust store, the product's data directory, the list of renames, the installer or a
               stage of the product that works on one of these
  confined     a program whose files do name HKEY_LOCAL_MACHINE is linked with confined.cpp
  other files  with --wine, which starts the programs: their cases are those of the listed files
Prints a line an offence, and exits with 1 when there is one.
"""

import argparse
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
LIST = "tests/windows_check/programs.json"
MACHINE = "HKEY_LOCAL_MACHINE"
HARMFUL = {
    "the installer's records": r"(CurrentVersion|Classes)\\+Installer|installer_(keys|records)\.h",
    MACHINE: r"HkeyLocalMachine|HKEY_LOCAL_MACHINE|test_registry\.h",
    "a trust store": r"Cert(Open|Save|Add|Delete)\w*(Store|Context)\w*",
    "the product's data directory": r"Quorvanta\\+ZUM|ProgramData|product_data\.h",
    "the list of renames": r"Session Manager|PendingFileRename|MoveFile\w*Ex|system_pending_list\.h",
    "the installer": r"msiexec|LaunchMsiPackage|installer_launch\.h",
    "a stage of the product": r"\b(Unblock|ExecuteCorrectSetup|CheckSelfDefense|(Try)?CorrectPendingOperations|"
                              r"DisableProtectiveMeasuresUpgrade|DropFiles)\(",
}
MARK = b"HKEY_LOCAL_MACHINE is confined to HKEY_CURRENT_USER"
# The program that asks: what each of its files may name, since it asks before.
ASKED = {"transactions_probe.cpp": {MACHINE}, "questions.cpp": {MACHINE, "the installer"}, "windows_check.cpp": {MACHINE},
         "installer_probe.cpp": {"the installer"}, "confined.cpp": {MACHINE}}
HELPERS = ["tests/zum_setup_util_lib/launch_probe.cpp"]


def code_of(file):
    """Without its comments; a text that holds two slashes is none."""
    return re.sub(r'("(?:\\.|[^"\\\n])*")|//.*', lambda found: found.group(1) or "", file.read_text(encoding="utf-8"))


def with_includes(sources, names):
    """The files, and those of the tests that they include, directly or not."""
    seen, pending = [], list(names)
    while pending:
        name = pending.pop()
        if name in seen:
            continue
        seen.append(name)
        pending += [found for found in re.findall(r'#include "(tests/[^"]+)"', (sources / name).read_text(encoding="utf-8"))
                    if (sources / found).exists()]
    return sorted(seen)


def check_programs(listed, folder):
    names = {entry["program"] for part in ("test programs", "other programs") for entry in listed[part]
             if entry["harmless"]}
    there = {file.name for file in folder.iterdir() if file.suffix.lower() in (".exe", ".dll", ".com", ".bat", ".ps1")}
    for name in sorted(there ^ names):
        yield "unlisted", f"{name} is {'not in the list' if name in there else 'not in the package'}"


def check_decided(sources, listed):
    decided = {}
    for entry in listed["test programs"] + listed["files left out"]:
        decided.setdefault(entry["folder"], set()).update(entry["files"])
    for folder, files in decided.items():
        there = {file.name for file in (sources / folder).glob("*_test.cpp") if not file.name.endswith("_host_test.cpp")
                 and not re.search(r"_(sweep|missing)_test|exception_threads", file.name)}
        for name in sorted(there - files):
            yield "undecided", f"{folder}/{name} is neither in a program nor left out"
        for name in sorted(files):
            if not (sources / folder / name).exists():
                yield "undecided", f"{folder}/{name} isn't there"


def check_harmless(sources, names, allowed):
    for name in with_includes(sources, names):
        if name.startswith("tests/support/test_registry."):
            continue  # whoever includes it is told of
        text = code_of(sources / name)
        for what, pattern in HARMFUL.items():
            if what not in allowed(name) and (found := re.search(pattern, text)):
                yield "harmful", f"{name} names {what}: {found.group()}"


def check_sources(sources, listed):
    for entry in listed["test programs"]:
        names = [f"{entry['folder']}/{file}" for file in entry["files"] if (sources / entry["folder"] / file).exists()]
        allowed = {MACHINE} if entry.get("confined") else set()
        yield from check_harmless(sources, names, lambda _, allowed=allowed: allowed)
    own = [str(file.relative_to(sources)) for file in (sources / "tests/windows_check").glob("*.cpp")]
    yield from check_harmless(sources, own + HELPERS, lambda name: ASKED.get(pathlib.Path(name).name, set()))


def check_confined(listed, folder):
    for entry in listed["test programs"]:
        if entry.get("confined") and MARK not in (folder / entry["program"]).read_bytes():
            yield "confined", f"{entry['program']} reaches the machine's registry"


def check_cases(listed, folder, wine):
    for entry in listed["test programs"]:
        with tempfile.TemporaryDirectory() as work:
            report = pathlib.Path(work, "cases.json")
            with open(pathlib.Path(work, "printed"), "wb") as printed:
                subprocess.run([wine, folder / entry["program"], "--gtest_list_tests", f"--gtest_output=json:Z:{report}"],
                               check=True, stdin=subprocess.DEVNULL, stdout=printed, stderr=printed)
            suites = json.loads(report.read_bytes().decode("utf-8", "replace"))["testsuites"]
        files = {pathlib.Path(case["file"]).name for suite in suites for case in suite["testsuite"]}
        for name in sorted(files - set(entry["files"])):
            yield "other files", f"{entry['program']} has cases of {name}"


def offences(sources, folder, wine=None):
    listed = json.loads((sources / LIST).read_text(encoding="utf-8"))
    found = [*check_programs(listed, folder), *check_decided(sources, listed), *check_sources(sources, listed)]
    found += [] if any(rule == "unlisted" for rule, _ in found) else check_confined(listed, folder)
    return found + (list(check_cases(listed, folder, wine)) if wine else [])


def plant(sources, folder):
    """Name -> what is planted: the rule that must find it, and how it is planted."""
    contract = sources / "tests/contract/guid_contract_test.cpp"

    def append(file, text):
        return lambda: file.write_text(file.read_text(encoding="utf-8") + text, encoding="utf-8")

    def change_list(change):
        def act():
            file = sources / LIST
            listed = json.loads(file.read_text(encoding="utf-8"))
            change(listed)
            file.write_text(json.dumps(listed), encoding="utf-8")
        return act

    confined = folder / "check_contract_registry.exe"
    return {
        "a program that nobody listed": ("unlisted", lambda: shutil.copy(confined, folder / "more.exe")),
        "a program without a reason": ("unlisted", change_list(lambda all: all["test programs"][0].update(harmless=""))),
        "a listed program that is missing": ("unlisted", (folder / "launch_probe.exe").unlink),
        "a new test file": ("undecided", lambda: shutil.copy(contract, contract.with_name("planted_contract_test.cpp"))),
        "the installer's records": ("harmful", append(contract, 'u"SOFTWARE\\\\Classes\\\\Installer\\\\Products"')),
        "the machine's registry": ("harmful", append(contract, "winapi::HkeyLocalMachine()")),
        "the machine's registry by an include": ("harmful", append(sources / "tests/support/text.h",
                                                                  '#include "tests/support/test_registry.h"\n')),
        "the machine's registry without being asked": ("harmful", append(sources / "tests/windows_check/texts_probe.cpp",
                                                                        "HKEY_LOCAL_MACHINE")),
        "a trust store": ("harmful", append(contract, "CertOpenStore(")),
        "the product's data": ("harmful", append(contract, 'u"c:\\\\ProgramData\\\\Quorvanta\\\\ZUM"')),
        "the list of renames": ("harmful", append(contract, "MoveFileExW(")),
        "the installer itself": ("harmful", append(contract, '"msiexec.exe"')),
        "a stage": ("harmful", append(contract, "CheckSelfDefense()")),
        "a file that is listed though it is harmful": ("harmful", change_list(
            lambda all: all["test programs"][4]["files"].append("registry_rewrite_test.cpp"))),
        "a program that isn't confined": ("confined", lambda: confined.write_bytes(
            confined.read_bytes().replace(MARK, b"x" * len(MARK)))),
    }


def self_test(folder):
    missed = []
    for name in plant(PROJECT, folder):
        with tempfile.TemporaryDirectory() as work:
            sources, package = pathlib.Path(work, "sources"), pathlib.Path(work, "package")
            shutil.copytree(PROJECT / "tests", sources / "tests", ignore=shutil.ignore_patterns("__pycache__"))
            shutil.copytree(folder, package)
            if offences(sources, package):
                sys.exit(f"there are offences before one is planted: {offences(sources, package)}")
            rule, act = plant(sources, package)[name]
            act()
            found = {rule for rule, _ in offences(sources, package)}
        print(f"{name}: {'found' if rule in found else 'MISSED'}")
        missed += [] if rule in found else [name]
    return 1 if missed else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--sources", type=pathlib.Path, default=PROJECT)
    parser.add_argument("--wine")
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("folder", type=pathlib.Path)
    options = parser.parse_args()
    if options.self_test:
        return self_test(options.folder)
    found = offences(options.sources, options.folder, options.wine)
    for rule, text in found:
        print(f"{rule}: {text}")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
