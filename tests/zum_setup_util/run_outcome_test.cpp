// How the action's end becomes the program's report and exit status: the program's own entry, run
// as a process of its own, with an action that fails as told.

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "tests/support/program.h"
#include "tests/support/temporary_folder.h"

namespace zum_setup_util {
namespace {

tests::ProgramOutcome RunProbe(const std::u16string& arguments) {
  return tests::RunProgram(ZUM_RUN_PROBE, u"probe.exe " + arguments);
}

struct OutcomeCase {
  const char* name;
  const char16_t* how;
  std::uint32_t code;
  const char* report;

  friend void PrintTo(const OutcomeCase& value, std::ostream* out) { *out << value.name; }
};

const OutcomeCase kOutcomes[] = {
    {"NoFailure", u"none", 0, "Completed"},
    {"FailedCheckIsSwallowed", u"check", 0, "Completed"},
    {"ToolCode", u"tool", 0xA1780003,
     "Failed: 0xa1780003 (Problem in disable protective upgrade registry)"},
    {"ToolCodeGap", u"gap", 0xA1780002, "Failed: 0xa1780002 (Unknown result code)"},
    {"FrameworkCode", u"denied", 0x80000045, "Failed: 0x80000045 (Access denied)"},
    {"Win32Code", u"win32", 0x800703E8, "Failed: 0x800703e8 (Unknown result code)"},
    {"CodeOfSuccess", u"ok", 0x80000040, "Failed: 0x80000040 (Unexpected)"},
    {"CodeOne", u"false", 1, "Failed: 0x00000001 (False)"},
    {"CodeWithoutLowBits", u"lowzero", 0x80000100, "Failed: 0x80000100 (Class not found)"},
    {"ResultCodeException", u"base", 0x80010102, "Failed: 0x80010102 (File not found)"},
    {"SystemException", u"system", 0x80010101, "Failed: 0x80010101 (Invalid handle)"},
    {"CheckFailedException", u"codeless", 0x80000072, "Failed: 0x80000072 (Unknown exception)"},
    {"Exception", u"plain", 0x80000072, "Failed: 0x80000072 (Unknown exception)"},
    {"StandardException", u"runtime", 0x80000072, "Failed: 0x80000072 (Unknown exception)"},
    {"FailedAllocation", u"memory", 0x80000041, "Failed: 0x80000041 (Out of memory)"},
    {"LengthError", u"length", 0x80000041, "Failed: 0x80000041 (Out of memory)"},
};

class RunOutcome : public testing::TestWithParam<OutcomeCase> {};

TEST_P(RunOutcome, IsReportedAndIsTheExitStatus) {
  const tests::ProgramOutcome outcome =
      RunProbe(u"/unblock /fail=" + std::u16string(GetParam().how));
  EXPECT_EQ(outcome.output, GetParam().report);
  EXPECT_EQ(outcome.status, tests::StatusOf(GetParam().code));
}

TEST_P(RunOutcome, IsNothingWithoutTheActionsToken) {
  const tests::ProgramOutcome outcome = RunProbe(u"/fail=" + std::u16string(GetParam().how));
  EXPECT_EQ(outcome.output, "Completed");
  EXPECT_EQ(outcome.status, 0u);
}

INSTANTIATE_TEST_SUITE_P(Table, RunOutcome, testing::ValuesIn(kOutcomes),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(RunOutcome, ForeignExceptionPassesThroughBothRegions) {
  const tests::ProgramOutcome outcome = RunProbe(u"/unblock /fail=int");
  EXPECT_EQ(outcome.output, "");
#ifdef _WIN32
  EXPECT_EQ(outcome.status, 3u);  // the runtime's abort
#else
  EXPECT_EQ(outcome.status, 0x100u + SIGABRT);
#endif
}

// The message of each line behind its level, of the one trace file in a folder.
std::vector<std::string> TracedLines(const std::filesystem::path& folder) {
  std::vector<std::string> lines;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path(), std::ios::binary);
    for (std::string line; std::getline(file, line);) {
      if (line.ends_with('\r')) line.pop_back();
      lines.push_back(line);
    }
  }
  return lines;
}

std::string TailOf(const std::string& line) {
  // time, thread, level, text
  std::size_t position = 0;
  for (int tab = 0; tab < 2; ++tab) position = line.find('\t', position) + 1;
  return line.substr(position);
}

struct TracedCase {
  const char* name;
  const char16_t* how;
  const char* exceptionText;  // behind the prefix; null for a run without an exception
  const char* code;

  friend void PrintTo(const TracedCase& value, std::ostream* out) { *out << value.name; }
};

const TracedCase kTraced[] = {
    {"NoFailure", u"none", nullptr, "0x00000000"},
    {"ToolCode", u"tool",
     "CheckResultFailedException - 0xa1780003 (Unknown result code). At "
     "tests/zum_setup_util/run_probe(7) ",
     "0xa1780003"},
    {"CheckFailedException", u"codeless",
     "CheckFailedException - . At tests/zum_setup_util/run_probe(10) ", "0x80000072"},
    {"StandardException", u"runtime", "broken", "0x80000072"},
    {"FailedAllocation", u"memory", "bad allocation", "0x80000041"},
    {"LengthError", u"length", "too long", "0x80000041"},
};

class TracedRun : public testing::TestWithParam<TracedCase> {};

TEST_P(TracedRun, HasScopeExceptionAndOutcome) {
  const tests::TemporaryFolder folder;
  const tests::ProgramOutcome outcome =
      RunProbe(u"--trace-output=" + folder.WindowsPath() + u" /unblock /fail=" + GetParam().how);
  EXPECT_NE(outcome.output, "");
  const std::vector<std::string> lines = TracedLines(folder.Path());

  std::vector<std::string> expected = {"INF\tzs_util\t[main]  begin", "INF\tzs_util\t[main]  end"};
  if (GetParam().exceptionText != nullptr) {
    expected.push_back(std::string("ERR\tzs_util\t[main] ") + GetParam().exceptionText);
  }
  expected.push_back(std::string("INF\tzs_util\t[main] exit with result = ") + GetParam().code);
  ASSERT_EQ(lines.size(), 5 + expected.size() + 1);
  for (std::size_t i = 0; i < expected.size(); ++i) EXPECT_EQ(TailOf(lines[5 + i]), expected[i]);
  EXPECT_TRUE(lines.back().starts_with("End of trace file, time: ")) << lines.back();
}

INSTANTIATE_TEST_SUITE_P(Table, TracedRun, testing::ValuesIn(kTraced),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

// The probe's end completes the file. What nobody catches isn't unwound for, so the scope has no
// end.
TEST(TracedRun, ForeignExceptionLeavesNoRecordOfItself) {
  const tests::TemporaryFolder folder;
  (void)RunProbe(u"--trace-output=" + folder.WindowsPath() + u" /unblock /fail=int");
  const std::vector<std::string> lines = TracedLines(folder.Path());
  ASSERT_EQ(lines.size(), 5u + 1 + 1);
  EXPECT_EQ(TailOf(lines[5]), "INF\tzs_util\t[main]  begin");
  EXPECT_TRUE(lines.back().starts_with("End of trace file, time: ")) << lines.back();
}

}  // namespace
}  // namespace zum_setup_util
