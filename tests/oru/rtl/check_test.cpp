#include "oru/rtl/check.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/checks.h"

namespace {

using tests::CountReported;
using tests::ReportedChecks;

// One site, as one function has it.
void FailHere(bool condition) { ORU_CHECK_TEXT(condition, "failed here"); }

// Two sites with one text.
void FailThere(bool condition) {
  ORU_CHECK_TEXT(condition, "failed there");
  ORU_CHECK_TEXT(condition, "failed there");
}

TEST(ReportedCheck, TrueConditionReportsNothing) {
  FailHere(true);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(ReportedCheckOwnProcess, FirstFailureIsReportedAndExecutionGoesOn) {
  bool wentOn = false;
  FailHere(false);
  wentOn = true;
  EXPECT_TRUE(wentOn);
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"failed here"});
}

TEST(ReportedCheckOwnProcess, SecondFailureOfOneSiteRaisesNothing) {
  for (int i = 0; i < 1000; ++i) FailHere(false);
  EXPECT_EQ(CountReported("failed here"), 1u);
  EXPECT_EQ(ReportedChecks().size(), 1u);
}

TEST(ReportedCheckOwnProcess, PassingDoesNotUseTheReportUp) {
  FailHere(true);
  FailHere(false);
  EXPECT_EQ(CountReported("failed here"), 1u);
}

TEST(ReportedCheckOwnProcess, SitesWithOneTextReportEach) {
  FailThere(false);
  FailThere(false);
  EXPECT_EQ(CountReported("failed there"), 2u);
}

TEST(ReportedCheckOwnProcess, TextIsTheSourceExpression) {
  const int value = 1;
  ORU_CHECK(value == 2);
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"value == 2"});
}

TEST(ReportedCheckOwnProcess, ExpressionResultReportsOnceForTheProcess) {
  ORU_CHECK_RESULT(true);
  EXPECT_EQ(CountReported("expressionResult"), 0u);
  ORU_CHECK_RESULT(false);
  ORU_CHECK_RESULT(false);
  EXPECT_EQ(CountReported("expressionResult"), 1u);
  EXPECT_EQ(oru::ExpressionResultCounter().load(), 2u);
}

TEST(ReportedCheckOwnProcess, ExpressionResultLeavesOtherSitesAlone) {
  ORU_CHECK_RESULT(false);
  FailHere(false);
  EXPECT_EQ(CountReported("failed here"), 1u);
}

TEST(FailCheckOwnProcess, AddsOneForEachFailure) {
  oru::CheckCounter counter{0};
  for (int i = 0; i < 3; ++i) oru::FailCheck(counter, "counted");
  EXPECT_EQ(counter.load(), 3u);
  EXPECT_EQ(CountReported("counted"), 1u);
}

TEST(FailCheck, CounterThatIsAlreadyUpReportsNothing) {
  oru::CheckCounter counter{1};
  oru::FailCheck(counter, "counted");
  EXPECT_EQ(counter.load(), 2u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(FailCheck, CounterHasThirtyTwoBits) {
  static_assert(sizeof(oru::CheckCounter) == 4);
  static_assert(oru::CheckCounter::is_always_lock_free);
}

TEST(FailCheckOwnProcess, ThreadsTogetherReportOnce) {
  oru::CheckCounter counter{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&counter] {
      for (int j = 0; j < 1000; ++j) oru::FailCheck(counter, "from threads");
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(counter.load(), 4000u);
  EXPECT_EQ(CountReported("from threads"), 1u);
}

// What a report looks like to a first-chance handler.
struct SeenRecord {
  std::uint32_t code = 0;
  std::uint32_t flags = 0xFFFFFFFF;
  std::uint32_t count = 0;
  std::uintptr_t parameter = 0;
  int calls = 0;
};
SeenRecord seen;

std::int32_t WINAPI_STDCALL NoteRecord(winapi::ExceptionPointers* pointers) noexcept {
  const winapi::ExceptionRecord& record = *pointers->Record;
  seen = {record.ExceptionCode, record.ExceptionFlags, record.NumberParameters,
          record.ExceptionInformation[0], seen.calls + 1};
  return winapi::kExceptionContinueExecution;
}

TEST(FailedAssertion, RaisesTheCodeWithTheTextAsItsOneParameter) {
  static const char text[] = "raised";
  void* const handler = winapi::AddVectoredExceptionHandler(1, NoteRecord);
  ASSERT_NE(handler, nullptr);
  oru::FailedAssertion(text);
  EXPECT_NE(winapi::RemoveVectoredExceptionHandler(handler), 0u);
  EXPECT_EQ(seen.calls, 1);
  EXPECT_EQ(seen.code, 0x42849FD0u);
  EXPECT_EQ(seen.flags, 0u);
  EXPECT_EQ(seen.count, 1u);
  EXPECT_EQ(seen.parameter, reinterpret_cast<std::uintptr_t>(text));
}

TEST(FailedAssertionOwnProcess, RaisesEachTime) {
  oru::FailedAssertion("raised");
  oru::FailedAssertion("raised");
  EXPECT_EQ(CountReported("raised"), 2u);
}

TEST(FailedAssertionOwnProcess, ArmedAssertionHandlerSwallowsTheReport) {
  // At the head of the chain, so the recorder sees nothing.
  void* const handler = winapi::AddVectoredExceptionHandler(1, oru::AssertionHandler);
  ASSERT_NE(handler, nullptr);
  oru::FailedAssertion("swallowed");
  EXPECT_NE(winapi::RemoveVectoredExceptionHandler(handler), 0u);
  EXPECT_TRUE(ReportedChecks().empty());
  oru::FailedAssertion("recorded");
  EXPECT_EQ(CountReported("recorded"), 1u);
}

std::int32_t Answer(std::uint32_t code) {
  winapi::ExceptionRecord record = {};
  record.ExceptionCode = code;
  winapi::ExceptionPointers pointers = {&record, nullptr};
  return oru::AssertionHandler(&pointers);
}

TEST(AssertionHandler, ContinuesExecutionForAReport) { EXPECT_EQ(Answer(0x42849FD0), -1); }

TEST(AssertionHandler, ContinuesTheSearchForAllElse) {
  for (const std::uint32_t code : {0x00000000u, 0x42849FCFu, 0x42849FD1u, 0xC2849FD0u, 0xC0000005u,
                                   0x80000003u, 0xFFFFFFFFu}) {
    EXPECT_EQ(Answer(code), 0) << std::hex << code;
  }
}

TEST(AssertionHandler, ContinuesTheSearchWithoutARecord) {
  winapi::ExceptionPointers pointers = {nullptr, nullptr};
  EXPECT_EQ(oru::AssertionHandler(&pointers), 0);
  EXPECT_EQ(oru::AssertionHandler(nullptr), 0);
}

}  // namespace
