// Cases that end in every way that a case can end, for tests/run_program_test.py. Those that must
// fail do so by what the runner and the tests' main do, not by an expectation.
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <system_error>
#include <thread>

#include "oru/rtl/check.h"
#include "tests/support/checks.h"
#include "winapi/errors.h"
#ifndef _WIN32
#include <fstream>

#include "winapi/host/control.h"
#endif

namespace {

void ReportAtOneSite() { ORU_CHECK_TEXT(false, "planted"); }

TEST(RunnerProbe, Passes) { EXPECT_TRUE(tests::ReportedChecks().empty()); }

TEST(RunnerProbe, Fails) { ADD_FAILURE() << "planted"; }

TEST(RunnerProbe, SkipsWithReason) { GTEST_SKIP() << "a planted reason"; }

TEST(RunnerProbe, SkipsWithoutReason) { GTEST_SKIP(); }

TEST(RunnerProbe, Exits) { std::_Exit(0); }

TEST(RunnerProbe, Crashes) { std::abort(); }

TEST(RunnerProbe, Hangs) { std::this_thread::sleep_for(std::chrono::minutes(10)); }

// Not marked: main fails it, though it expects the report itself. At a site of its own, so that the
// order doesn't matter.
TEST(RunnerProbe, Reports) {
  ORU_CHECK_TEXT(false, "unmarked");
  EXPECT_EQ(tests::CountReported("unmarked"), 1u);
}

// Two cases of one site pass in two processes only.
TEST(RunnerProbeOwnProcess, Reports) {
  ReportAtOneSite();
  EXPECT_EQ(tests::CountReported("planted"), 1u);
}

TEST(RunnerProbeOwnProcess, ReportsAgain) {
  ReportAtOneSite();
  EXPECT_EQ(tests::CountReported("planted"), 1u);
}

TEST(RunnerProbeOwnProcess, Crashes) { std::abort(); }

TEST(RunnerProbeOwnProcess, Notes) { RecordProperty("a planted property", "its value"); }

// Each case of this suite expects what main puts back, and spoils it.
class RunnerProbeState : public testing::TestWithParam<int> {};

TEST_P(RunnerProbeState, IsFresh) {
  EXPECT_EQ(winapi::GetLastError(), winapi::kErrorSuccess);
  EXPECT_NE(std::filesystem::current_path(), std::filesystem::temp_directory_path());
  std::filesystem::current_path(std::filesystem::temp_directory_path());
#ifndef _WIN32
  namespace host = winapi::host;
  EXPECT_EQ(std::getenv("RUNNER_PROBE"), nullptr);
  EXPECT_EQ(::setenv("RUNNER_PROBE", "set", 1), 0);
  EXPECT_TRUE(host::CallLog().empty());
  host::StartCallLog();
  EXPECT_FALSE(host::RegistrySubKeys(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Planted"));
  EXPECT_TRUE(host::CreateRegistryKey(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\Planted"));
  EXPECT_TRUE(host::FlushRegistry());
  const std::filesystem::path file = std::filesystem::path(host::RootFolder()) / "planted";
  EXPECT_FALSE(std::filesystem::exists(file));
  std::ofstream(file) << "planted";
  host::FailCall("SetLastError", 1, 5, host::Repeat::kForever);
#endif
  winapi::SetLastError(4711);
}

INSTANTIATE_TEST_SUITE_P(AnyOrder, RunnerProbeState, testing::Values(1, 2));

}  // namespace
