// The log of calls, the faults, and the mark of the seam's own allocations.
#include "winapi/host/call.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "winapi/registry.h"

namespace winapi::host {
namespace {

using Arguments = std::vector<std::pair<std::string, std::string>>;

// Runs before main, as the entry tables' initialisers do.
const Error earlyResult = RegCloseKey(nullptr);

std::optional<Error> CallNamed(std::string_view operation) { return Call(operation).Fault(); }

class HostFaults : public ::testing::Test {
 protected:
  ~HostFaults() override { ClearFaults(); }
};

TEST(HostCallLogOwnProcess, CallsBeforeTheEntryAreKept) {
  EXPECT_EQ(earlyResult, 6U);
  ASSERT_EQ(CallsOf("RegCloseKey").size(), 1U);
  EXPECT_EQ(CallsOf("RegCloseKey")[0].Argument("key"), "0x0");
}

TEST(HostCallLog, IsOffFromTheEntryUntilItIsStarted) {
  const std::size_t before = CallLog().size();
  (void)CallNamed("Unlogged");
  EXPECT_EQ(CallLog().size(), before);
  StartCallLog();
  EXPECT_EQ(CallLog().size(), before);
  (void)CallNamed("Logged");
  ASSERT_EQ(CallLog().size(), before + 1);
  EXPECT_EQ(CallLog().back().operation, "Logged");
  EXPECT_FALSE(CallLog().back().failed);
  ClearCallLog();
  EXPECT_TRUE(CallLog().empty());
}

TEST(HostCallLog, ArgumentsHaveTheirForms) {
  StartCallLog();
  ClearCallLog();
  const std::uint8_t data[] = {0x00, 0x1F, 0xFF};
  Call call("Operation");
  call.Argument("wide", u"a\u00e4").Argument("narrow", "text");
  call.Argument("noWide", static_cast<const char16_t*>(nullptr));
  call.Argument("noNarrow", static_cast<const char*>(nullptr));
  call.Argument("handle", reinterpret_cast<const void*>(std::uintptr_t{0x1A0}));
  call.Argument("noHandle", static_cast<const void*>(nullptr));
  call.Argument("number", 4294967295U).Mask("mask", 0x2011F);
  call.Data("data", data, 3).Data("noData", nullptr, 3).Data("empty", data, 0);
  const Arguments expected = {
      {"wide", "a\xC3\xA4"},    {"narrow", "text"},  {"noWide", "(null)"},
      {"noNarrow", "(null)"},   {"handle", "0x1a0"}, {"noHandle", "0x0"},
      {"number", "4294967295"}, {"mask", "0x2011f"}, {"data", "001fff"},
      {"noData", "(null)"},     {"empty", ""},
  };
  EXPECT_EQ(CallLog().back().arguments, expected);
  EXPECT_EQ(CallLog().back().Argument("mask"), "0x2011f");
  EXPECT_EQ(CallLog().back().Argument("none"), "");
}

TEST(HostCallLog, ARecordThatWasClearedIsLeftAlone) {
  StartCallLog();
  Call call("Operation");
  ClearCallLog();
  call.Argument("late", 1U);
  EXPECT_TRUE(CallLog().empty());
}

TEST_F(HostFaults, TheNthCallFailsOnce) {
  FailCall("A", 2, 5);
  EXPECT_EQ(CallNamed("A"), std::nullopt);
  EXPECT_EQ(CallNamed("B"), std::nullopt);
  EXPECT_EQ(CallNamed("A"), std::optional<Error>(5));
  EXPECT_EQ(CallNamed("A"), std::nullopt);
  EXPECT_EQ(InjectedFaultCount(), 1U);
}

TEST_F(HostFaults, ForeverFailsEachLaterCall) {
  FailCall("A", 2, 5, Repeat::kForever);
  EXPECT_EQ(CallNamed("A"), std::nullopt);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(CallNamed("A"), std::optional<Error>(5)) << i;
  EXPECT_EQ(CallNamed("B"), std::nullopt);
  EXPECT_EQ(InjectedFaultCount(), 3U);
}

TEST_F(HostFaults, AnyCallCountsTheWholeSeam) {
  FailAnyCall(3, 8);
  EXPECT_EQ(CallNamed("A"), std::nullopt);
  EXPECT_EQ(CallNamed("B"), std::nullopt);
  EXPECT_EQ(CallNamed("C"), std::optional<Error>(8));
  EXPECT_EQ(CallNamed("D"), std::nullopt);
  EXPECT_EQ(FallibleCallCount(), 4U);
  FailAnyCall(1, 9);  // takes the other's place and counts anew
  EXPECT_EQ(FallibleCallCount(), 0U);
  EXPECT_EQ(CallNamed("E"), std::optional<Error>(9));
  EXPECT_EQ(InjectedFaultCount(), 2U);
}

TEST_F(HostFaults, CountingStartsWithTheOrder) {
  (void)CallNamed("A");
  FailCall("A", 1, 5);
  EXPECT_EQ(CallNamed("A"), std::optional<Error>(5));
}

TEST_F(HostFaults, FaultsAddUpAndTheOlderOneWins) {
  FailCall("A", 1, 5);
  FailCall("A", 1, 6);
  FailCall("A", 2, 7);
  EXPECT_EQ(CallNamed("A"), std::optional<Error>(5));
  EXPECT_EQ(CallNamed("A"), std::optional<Error>(7));
}

TEST_F(HostFaults, AnOperationThatCantFailIsntCounted) {
  FailAnyCall(1, 8);
  { const Call call("Silent"); }
  EXPECT_EQ(FallibleCallCount(), 0U);
  EXPECT_EQ(CallNamed("A"), std::optional<Error>(8));
}

TEST_F(HostFaults, ClearingForgetsAll) {
  FailCall("A", 1, 5, Repeat::kForever);
  FailAllocation(1, Repeat::kForever);
  (void)CallNamed("A");
  ClearFaults();
  EXPECT_EQ(CallNamed("A"), std::nullopt);
  EXPECT_EQ(InjectedFaultCount(), 0U);
  EXPECT_EQ(FallibleCallCount(), 1U);
  EXPECT_FALSE(ShouldFailAllocation());
}

TEST_F(HostFaults, AFailedCallShowsInTheLog) {
  StartCallLog();
  ClearCallLog();
  FailCall("A", 1, 5);
  (void)CallNamed("A");
  (void)CallNamed("A");
  EXPECT_TRUE(CallLog()[0].failed);
  EXPECT_FALSE(CallLog()[1].failed);
}

TEST_F(HostFaults, AllocationsOfTheProductFail) {
  FailAllocation(2);
  EXPECT_FALSE(ShouldFailAllocation());
  EXPECT_TRUE(ShouldFailAllocation());
  EXPECT_FALSE(ShouldFailAllocation());
  EXPECT_EQ(AllocationCount(), 3U);
  FailAllocation(1, Repeat::kForever);
  EXPECT_TRUE(ShouldFailAllocation());
  EXPECT_TRUE(ShouldFailAllocation());
}

TEST_F(HostFaults, TheCallsBeforeAFailedAllocationAreCounted) {
  StartCallLog();
  ClearCallLog();
  FailAllocation(2, Repeat::kForever);
  (void)CallNamed("A");
  EXPECT_FALSE(ShouldFailAllocation());
  EXPECT_EQ(CallsBeforeAllocationFault(), std::nullopt);
  (void)CallNamed("A");
  EXPECT_TRUE(ShouldFailAllocation());
  (void)CallNamed("A");
  EXPECT_TRUE(ShouldFailAllocation());
  EXPECT_EQ(CallsBeforeAllocationFault(), 2U);
  FailAllocation(5);
  EXPECT_EQ(CallsBeforeAllocationFault(), std::nullopt);
}

TEST_F(HostFaults, AllocationsOfTheSeamNeverFail) {
  FailAllocation(1, Repeat::kForever);
  {
    const Call outer("A");
    EXPECT_TRUE(InsideSeam());
    { const SeamMark inner; }
    EXPECT_TRUE(InsideSeam());
    EXPECT_FALSE(ShouldFailAllocation());
  }
  EXPECT_FALSE(InsideSeam());
  EXPECT_EQ(AllocationCount(), 0U);
}

}  // namespace
}  // namespace winapi::host
