#!/usr/bin/env python3
"""Finds the program and the cases of a test file, by the rule that CONTRIBUTING.md gives.

    test_file.py [--preset NAME] FILE ...    builds the files' programs (native unless told otherwise) and runs their cases
    test_file.py --check                     sees that the rule holds for every test file, in the native build as it is
    test_file.py --self-test                 plants an offence of each kind in a copy and sees each of them found

The rule: tests/A/B/x_test.cpp is in the program A_B_test, and tests/A/B/x_host_test.cpp in A_B_host_test. A file that
its folder's CMakeLists.txt names in a zum_test has a program of its own name. The suites in the file are the filter.
"""

import argparse
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

SUITE = re.compile(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST)\(\s*(\w+)", re.M)
PROJECT = pathlib.Path(__file__).resolve().parent.parent


def program_of(root, file):
    """`file` relative to `root`, which is a checkout."""
    lists = root / file.parent / "CMakeLists.txt"
    own = re.findall(r"^ *zum_test\((\w+)", lists.read_text(), re.M) if lists.exists() else []
    if file.stem in own:
        return file.stem
    world = "host_test" if file.stem.endswith("_host_test") else "test"
    return "_".join([*file.parent.parts[1:], world])


def suites_of(root, file):
    return sorted(set(SUITE.findall((root / file).read_text())))


def native_suites_of(root, file):
    """Without those that Windows alone has."""
    text = re.sub(r"^#ifdef _WIN32\n.*?^#(else|endif)", "", (root / file).read_text(), flags=re.M | re.S)
    return sorted(set(SUITE.findall(text)))


def filter_of(suites):
    """Parametrised suites have a prefix, typed ones a number."""
    return ":".join(pattern.replace("S", suite) for suite in suites for pattern in ("S.*", "S/*", "*/S.*", "*/S/*"))


def test_files(root):
    return sorted(file.relative_to(root) for file in (root / "tests").rglob("*_test.cpp"))


def listed_suites(program):
    """The program's suites by test file, as it was built, each as the set of its name's parts: parametrised suites have
    a prefix, typed ones the type behind them. None when there is no such program."""
    if not program.exists():
        return None
    with tempfile.TemporaryDirectory() as folder:
        listing = pathlib.Path(folder) / "cases.json"
        subprocess.run([program, "--gtest_list_tests", f"--gtest_output=json:{listing}"], stdout=subprocess.DEVNULL,
                       check=True)
        suites = json.loads(listing.read_text())["testsuites"]
    by_file = {}
    for suite in suites:
        for case in suite["testsuite"]:
            file = re.sub(r"^(\.\.?/)+", "", case["file"])
            by_file.setdefault(file, set()).add(frozenset(suite["name"].split("/")))
    return by_file


def offences(root):
    programs = PROJECT / "build/native/bin"
    listed = {}
    for file in test_files(root):
        name = program_of(root, file)
        if name not in listed:
            listed[name] = listed_suites(programs / name)
        if listed[name] is None:
            yield f"{file}: there is no program {name}"
            continue
        written, built = native_suites_of(root, file), listed[name].get(file.as_posix(), set())
        if not written:
            yield f"{file}: has no test"
        for suite in written:
            if not any(suite in parts for parts in built):
                yield f"{file}: {suite} isn't in {name}"
        for parts in built:
            if parts.isdisjoint(written):
                yield f"{file}: {name} has {'/'.join(sorted(parts))}, the file hasn't"


# Each is a file that is planted and a part of what has to be said of it.
PLANTS = [
    ("tests/oru/rtl/planted_test.cpp", "TEST(Planted, Passes) {}\n", "Planted isn't in oru_rtl_test"),
    ("tests/oru/rtl/planted_host_test.cpp", "TEST(Planted, Passes) {}\n", "Planted isn't in oru_rtl_host_test"),
    ("tests/planted/planted_test.cpp", "TEST(Planted, Passes) {}\n", "there is no program planted_test"),
    ("tests/oru/rtl/empty_test.cpp", "\n", "has no test"),
    ("tests/oru/rtl/string_test.cpp", "TEST(Planted, Passes) {}\n", "oru_rtl_test has "),
]


def self_test():
    missed = 0
    for path, text, said in PLANTS:
        with tempfile.TemporaryDirectory() as folder:
            copy = pathlib.Path(folder)
            shutil.copytree(PROJECT / "tests", copy / "tests")
            (copy / path).parent.mkdir(exist_ok=True)
            (copy / path).write_text(text, encoding="utf-8")
            found = any(offence.startswith(path) and said in offence for offence in offences(copy))
        print(f"planted {path}: {'found' if found else 'NOT FOUND'}")
        missed += not found
    return missed


def run(preset, files):
    build = PROJECT / "build" / preset
    files = [pathlib.Path(file).resolve().relative_to(PROJECT) for file in files]
    names = sorted({program_of(PROJECT, file) for file in files})
    subprocess.run(["cmake", "--preset", preset], cwd=PROJECT, stdout=subprocess.DEVNULL, check=True)
    subprocess.run(["cmake", "--build", build, "--target", *names], check=True)
    failed = 0
    for name in names:
        suites = [suite for file in files if program_of(PROJECT, file) == name for suite in suites_of(PROJECT, file)]
        emulator = ["--emulator", PROJECT / "scripts/wine-run.sh"] if preset == "windows" else []
        program = build / "bin" / (name + (".exe" if preset == "windows" else ""))
        failed += subprocess.run([PROJECT / "tests/run_program.py", *emulator, "--filter", filter_of(suites),
                                  "--report", build / f"results/one-file/{name}.xml", program]).returncode != 0
    return failed


def main():
    parser = argparse.ArgumentParser(description=__doc__.partition("\n")[0])
    parser.add_argument("--preset", default="native")
    parser.add_argument("--check", action="store_true")
    parser.add_argument("--self-test", action="store_true")
    parser.add_argument("files", nargs="*")
    arguments = parser.parse_args()
    if arguments.self_test:
        return 1 if self_test() else 0
    if arguments.check:
        found = list(offences(PROJECT))
        print("\n".join(found) if found else f"program and suites found for {len(test_files(PROJECT))} test files")
        return 1 if found else 0
    if not arguments.files:
        parser.error("which files?")
    return 1 if run(arguments.preset, arguments.files) else 0


if __name__ == "__main__":
    sys.exit(main())
