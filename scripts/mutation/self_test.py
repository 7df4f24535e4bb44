"""A planted project of two sources with the same function, of which one is tested well: a whole run, which is killed
once, has to tell them apart."""

import pathlib
import signal
import subprocess
import sys
import tempfile
import types

from mutation import breaks, outcomes, sandbox, source, suites

PROJECT = pathlib.Path(__file__).resolve().parent.parent.parent
MUTATE = PROJECT / "scripts/mutate.py"
FUNCTION = """// Not code: c >= '0' && c <= '9'
bool NAME(char c) { return c >= '0' && c <= '9'; }  // c >= '0'
"""
LISTS = """cmake_minimum_required(VERSION 3.25)
project(planted LANGUAGES CXX)
enable_testing()
find_package(GTest REQUIRED)
add_library(planted STATIC oru/strong.cpp oru/weak.cpp)
add_executable(oru_test oru_test.cpp)
set_target_properties(oru_test PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
target_link_libraries(oru_test planted GTest::gtest_main)
add_test(NAME oru_test COMMAND ${CMAKE_COMMAND} -E true run_program.py $<TARGET_FILE:oru_test>)
set_tests_properties(oru_test PROPERTIES LABELS oru)
"""
TESTS = """#include <gtest/gtest.h>
bool Strong(char c);
bool Weak(char c);
TEST(StrongTest, KnowsTheNeighbours) {
  EXPECT_FALSE(Strong('/'));
  EXPECT_TRUE(Strong('0'));
  EXPECT_TRUE(Strong('9'));
  EXPECT_FALSE(Strong(':'));
}
TEST(WeakTest, KnowsTheMiddle) { EXPECT_TRUE(Weak('5')); }
"""


def _function(name):
    return FUNCTION.replace("NAME", name)


SKIPPED = 77  # scripts/test.sh counts it as a skip, by the reason in the last line


def run():
    if reason := sandbox.why_not():
        print(f"skipped: {reason}")
        return SKIPPED
    failed = [name for name, holds in _checks() if not _told(name, holds)]
    return 1 if failed else 0


def _told(name, holds):
    print(f"{name}: {'yes' if holds else 'NO'}")
    return holds


def _checks():
    yield from _checks_of_places()
    if (PROJECT / "build/native/CTestTestfile.cmake").exists():
        yield "each native test is of a known kind", _knows_the_tests_of(PROJECT / "build/native")
    else:
        print("not looked at: the kinds of the native tests, which aren't built")
    with tempfile.TemporaryDirectory() as folder:
        project = pathlib.Path(folder)
        _plant(project)
        yield "a run that is killed leaves what it had", _run(project, killed_after=3) >= 2
        _run(project)
        rows = list(outcomes.Outcomes(project / "tests/mutations.csv").rows.values())
        counts = {(file, outcome): sum(row.file == file and row.outcome == outcome for row in rows)
                  for file in ("oru/strong.cpp", "oru/weak.cpp") for outcome in outcomes.COUNTED}
        print(counts)
        yield "all breaks under a strong test are caught", (
            counts["oru/strong.cpp", "caught"] >= 6 and not counts["oru/strong.cpp", "survived"])
        yield "a weak test lets some survive", counts["oru/weak.cpp", "survived"] >= 2
        yield "and catches some", counts["oru/weak.cpp", "caught"] >= 2
        yield "the checkout is as it was", all((project / f"oru/{name.lower()}.cpp").read_text() == _function(name)
                                               for name in ("Strong", "Weak"))


def _checks_of_places():
    text = _function("Strong")
    found = breaks.find("oru/strong.cpp", text)
    code = text.index("bool"), text.index("  // c")
    yield "comments aren't broken", all(code[0] <= broken.begin < broken.end <= code[1] for broken in found)
    ids = {broken.id for broken in found}
    above = {broken.id for broken in breaks.find("oru/strong.cpp", "int above;\n" + text)}
    yield "an id outlives an edit of other lines", above >= ids
    both = text.join(("#ifdef _WIN32\n", "#else\nint native = 1;\n#endif\n"))
    found = breaks.find("oru/strong.cpp", both)
    yield "nor is what only Windows compiles", found and all(broken.begin > both.index("native") for broken in found)
    changed = {broken.id for broken in breaks.find("oru/strong.cpp", text.replace("bool", "auto"))}
    yield "but not of its own", not changed & ids


def _knows_the_tests_of(build):
    try:
        return len(suites.load(types.SimpleNamespace(build=build))) > 0
    except ValueError as unknown:
        print(unknown)
        return False


def _plant(project):
    (project / "oru").mkdir()
    (project / "tests").mkdir()
    (project / "CMakeLists.txt").write_text(LISTS)
    (project / "oru_test.cpp").write_text(TESTS)
    (project / ".gitignore").write_text("/build/\n")
    for name in ("Strong", "Weak"):
        source.write(project / f"oru/{name.lower()}.cpp", _function(name))
    subprocess.run(["git", "init", "-q"], cwd=project, check=True)
    subprocess.run(["git", "add", "-A"], cwd=project, check=True)


def _run(project, killed_after=0):
    """The number of breaks in the list afterwards."""
    process = subprocess.Popen([sys.executable, MUTATE, "--project", project, "--count", "16", "--least", "8"],
                               stdout=subprocess.PIPE, text=True)
    seen = 0
    for line in process.stdout:
        seen += " oru/" in line
        if killed_after and seen == killed_after:
            process.send_signal(signal.SIGKILL)
            break
    process.stdout.read()
    process.wait()
    return len(outcomes.Outcomes(project / "tests/mutations.csv").rows)
