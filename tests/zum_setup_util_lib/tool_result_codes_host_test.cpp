// The lookup that a report is made of, when there is no memory for its text.
#include <gtest/gtest.h>

#include <cstdint>
#include <new>

#include "tests/support/checks.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace {

namespace host = winapi::host;

TEST(ToolResultTextFaults, TextWithoutMemoryThrowsBadAlloc) {
  const std::size_t before = host::Live().heapBlocks;
  // Of the tool's facility, of the framework's, and of neither.
  for (const std::uint32_t code : {0xA1780003u, 0xA1780002u, 0x80000045u, 0x80070005u}) {
    host::FailCall("HeapAlloc", 1, winapi::kErrorNotEnoughMemory);
    EXPECT_THROW((void)correct_setup::GetResultText(oru::MakeResultCode(code)), std::bad_alloc)
        << std::hex << code;
    EXPECT_EQ(host::InjectedFaultCount(), 1u) << std::hex << code;
    host::ClearFaults();
  }
  EXPECT_EQ(host::Live().heapBlocks, before);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

}  // namespace
