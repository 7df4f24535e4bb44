// The holders and the wait on objects that only the host layer can make.
#include <gtest/gtest.h>

#include "platform/util/windows/unique_handle.h"
#include "tests/support/checks.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/registry.h"

namespace host = winapi::host;
using tests::ReportedChecks;
using windows_helpers::KernelHandle;
using windows_helpers::KernelHandleTraits;
using windows_helpers::RegKey;
using windows_helpers::RegKeyTraits;
using windows_helpers::WaitForHandle;

namespace {

TEST(UniqueHandleOnHost, ClosesAKernelHandleOnce) {
  const std::size_t before = host::Live().handles;
  {
    KernelHandle handle;
    handle.Attach(host::MakeWaitable(true));
    EXPECT_EQ(host::Live().handles, before + 1);
  }
  EXPECT_EQ(host::Live().handles, before);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(UniqueHandleOnHostOwnProcess, KeyThatTheSystemWontCloseIsReported) {
  {
    winapi::Key opened = nullptr;
    ASSERT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), nullptr, 0, 0x20119, &opened), 0u);
    RegKey key;
    key.Attach(opened);
    host::FailCall("RegCloseKey", 1, 1018);
  }
  EXPECT_EQ(ReportedChecks(),
            std::vector<std::string>{
                "!static_cast<const void *>(\"oru::sOk == Traits::Close(m_handle)\")"});
}

// 258 is an error number here and no status.
TEST(RegKeyTraitsOnHost, CloseThatFailsGivesTheCodeOfAnErrorNumber) {
  winapi::Key opened = nullptr;
  ASSERT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), nullptr, 0, 0x20119, &opened), 0u);
  host::FailCall("RegCloseKey", 1, 258);
  EXPECT_EQ(RegKeyTraits::Close(opened), oru::MakeResultCode(0x80070102));
  host::ClearFaults();
}

TEST(KernelHandleTraitsOnHost, CloseThatFailsGivesTheCodeOfAnErrorNumber) {
  const winapi::Handle handle = host::MakeWaitable(true);
  host::FailCall("CloseHandle", 1, 258);
  EXPECT_EQ(KernelHandleTraits::Close(handle), oru::MakeResultCode(0x80070102));
  host::ClearFaults();
}

TEST(KernelHandleTraitsOnHost, MisleadingLastErrorOfASuccessIsNotLookedAt) {
  const winapi::Handle handle = host::MakeWaitable(true);
  winapi::SetLastError(5);
  EXPECT_EQ(KernelHandleTraits::Close(handle), 0);
}

struct WaitCase {
  const char* name;
  winapi::Dword wait;
  winapi::Error lastError;
  std::uint32_t expected;
  bool reported;
};

void PrintTo(const WaitCase& waitCase, std::ostream* out) { *out << waitCase.name; }

class WaitTable : public ::testing::TestWithParam<WaitCase> {};

TEST_P(WaitTable, GivesTheResultOfTheTable) {
  KernelHandle handle;
  handle.Attach(host::MakeWaitableWithResult(GetParam().wait, GetParam().lastError));
  EXPECT_EQ(WaitForHandle(handle, 10), oru::MakeResultCode(GetParam().expected));
  const std::vector<std::string> reports = {"wait == ((DWORD)0xFFFFFFFF)"};
  EXPECT_EQ(ReportedChecks(), GetParam().reported ? reports : std::vector<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    Waits, WaitTable,
    ::testing::Values(WaitCase{"Signalled", 0, 0, 0, false},
                      WaitCase{"SignalledWithMisleadingError", 0, 5, 0, false},
                      WaitCase{"Abandoned", 128, 0, 0x80010106, false},
                      WaitCase{"TimeOut", 258, 0, 1, false},
                      WaitCase{"Failed", 0xFFFFFFFF, 5, 0x80000045, false},
                      WaitCase{"FailedWithoutAnError", 0xFFFFFFFF, 0, 0, false},
                      WaitCase{"FailedWithTheNumberOfAStatus", 0xFFFFFFFF, 258, 0x80070102, false}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(WaitsOwnProcess, WaitTable,
                         ::testing::Values(WaitCase{"NumberOfNoMeaning", 1, 6, 0x80010101, true},
                                           WaitCase{"CompletionOfACall", 192, 1000, 0x800703E8,
                                                    true}),
                         [](const auto& test) { return test.param.name; });

TEST(WaitForHandleOnHost, PassesHandleTimeAndNoAlerts) {
  KernelHandle handle;
  handle.Attach(host::MakeWaitable(true));
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(WaitForHandle(handle, winapi::kInfinite), 0);
  const auto calls = host::CallsOf("WaitForSingleObjectEx");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Argument("milliseconds"), "4294967295");
  EXPECT_EQ(calls[0].Argument("alertable"), "0");
}

}  // namespace
