// System texts of a known wording, and what happens to the system's buffer.
#include <gtest/gtest.h>

#include "platform/util/windows/system_error.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "winapi/host/control.h"

namespace host = winapi::host;
using tests::ReportedChecks;
using windows_helpers::FormatSystemMessage;
using windows_helpers::WindowsErrorException;

namespace {

constexpr winapi::Dword kWithoutText = 0x2000BEEF;

class SystemErrorOnHost : public ::testing::Test {
 protected:
  ~SystemErrorOnHost() override { host::ClearFaults(); }
};
using SystemErrorOnHostOwnProcess = SystemErrorOnHost;

TEST_F(SystemErrorOnHost, TextLosesLineEndAndFullStop) {
  EXPECT_EQ(FormatSystemMessage(5), u"Access is denied");
}

TEST_F(SystemErrorOnHost, MessageIsComposedOfTheFourParts) {
  const WindowsErrorException exception(5, "DeleteFileW(path)");
  EXPECT_EQ(exception.Message().view(),
            u"System error: 0x00000005. Access is denied. Expression: 'DeleteFileW(path)'");
}

TEST_F(SystemErrorOnHost, AsksForEnglishWithTheThreeFlags) {
  host::StartCallLog();
  host::ClearCallLog();
  (void)FormatSystemMessage(5);
  const auto calls = host::CallsOf("FormatMessageW");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Argument("flags"), "0x1300");
  EXPECT_EQ(calls[0].Argument("source"), "0x0");
  EXPECT_EQ(calls[0].Argument("messageId"), "5");
  EXPECT_EQ(calls[0].Argument("languageId"), "1033");
  EXPECT_EQ(calls[0].Argument("size"), "0");
  EXPECT_EQ(calls[0].Argument("arguments"), "0x0");
}

TEST_F(SystemErrorOnHost, BufferIsReleased) {
  const std::size_t before = host::Live().localBlocks;
  (void)FormatSystemMessage(5);
  EXPECT_EQ(host::Live().localBlocks, before);
}

TEST_F(SystemErrorOnHost, NothingIsReleasedWhereThereIsNoText) {
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(FormatSystemMessage(kWithoutText), u"");
  EXPECT_TRUE(host::CallsOf("LocalFree").empty());
}

TEST_F(SystemErrorOnHost, CallThatFailsGivesAnEmptyText) {
  host::FailCall("FormatMessageW", 1, 317);
  EXPECT_EQ(FormatSystemMessage(5), u"");
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>());
}

TEST_F(SystemErrorOnHost, BufferIsReleasedWhenMemoryRunsOut) {
  const std::size_t before = host::Live().localBlocks;
  const std::size_t faults = tests::SweepAllocations([&](std::size_t nth) {
    try {
      (void)FormatSystemMessage(5);
      EXPECT_LT(host::AllocationCount(), nth);
    } catch (const std::bad_alloc&) {
      EXPECT_GE(host::AllocationCount(), nth);
    }
    EXPECT_EQ(host::Live().localBlocks, before);
  });
  EXPECT_GE(faults, 1u);
}

TEST_F(SystemErrorOnHostOwnProcess, TextThatCannotBeConvertedIsReplaced) {
  host::FailCall("HeapAlloc", 1, 0);
  const WindowsErrorException exception(5, "F(x)");
  EXPECT_EQ(exception.Message().view(),
            u"System error: 0x00000005. <Exception display text conversion error>. Expression: "
            u"'F(x)'");
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"false"});
}

TEST_F(SystemErrorOnHostOwnProcess, TextThatStaysWithoutMemoryIsABadAllocation) {
  host::FailCall("HeapAlloc", 1, 0, host::Repeat::kForever);
  EXPECT_THROW(WindowsErrorException(5, "F(x)"), std::bad_alloc);
}

}  // namespace
