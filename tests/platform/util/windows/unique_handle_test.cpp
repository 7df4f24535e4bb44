#include "platform/util/windows/unique_handle.h"

#include <gtest/gtest.h>

#include <cstdint>

#include "tests/support/checks.h"
#include "tests/support/test_registry.h"
#include "winapi/errors.h"
#include "winapi/registry.h"

using tests::CountReported;
using tests::ReportedChecks;
using windows_helpers::KernelHandle;
using windows_helpers::KernelHandleTraits;
using windows_helpers::RegKey;
using windows_helpers::RegKeyTraits;
using windows_helpers::WaitForHandle;

namespace {

constexpr char kCloseCheck[] =
    "!static_cast<const void *>(\"oru::sOk == Traits::Close(m_handle)\")";

winapi::Handle BogusHandle() { return reinterpret_cast<winapi::Handle>(std::intptr_t{0x12345678}); }
winapi::Key BogusKey() { return reinterpret_cast<winapi::Key>(std::intptr_t{0x12345678}); }

winapi::Key OpenSoftware() {
  tests::CreateKey(u"SOFTWARE");  // the host's registry is empty at first
  winapi::Key key = nullptr;
  EXPECT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), u"SOFTWARE", 0, 0x20119, &key), 0u);
  return key;
}

winapi::Error EnumerateFirst(winapi::Key key) {
  char16_t name[261] = {};
  return winapi::RegEnumKeyW(key, 0, name, 260);
}

TEST(UniqueHandle, IsOnePointerWide) {
  EXPECT_EQ(sizeof(RegKey), sizeof(void*));
  EXPECT_EQ(sizeof(KernelHandle), sizeof(void*));
}

TEST(UniqueHandle, StartsWithoutAHandle) {
  const RegKey key;
  EXPECT_FALSE(key.IsValid());
  EXPECT_EQ(key.GetValue(), nullptr);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(UniqueHandle, EmptyHolderClosesNothing) {
  winapi::SetLastError(77);
  { const KernelHandle handle; }
  EXPECT_EQ(winapi::GetLastError(), 77u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(UniqueHandle, HoldsWhatWasAttached) {
  RegKey key;
  const winapi::Key opened = OpenSoftware();
  key.Attach(opened);
  EXPECT_TRUE(key.IsValid());
  EXPECT_EQ(key.GetValue(), opened);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(UniqueHandle, ClosesAtItsEnd) {
  const winapi::Key opened = OpenSoftware();
  {
    RegKey key;
    key.Attach(opened);
    EXPECT_NE(EnumerateFirst(opened), 6u);
  }
  EXPECT_EQ(EnumerateFirst(opened), 6u);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(UniqueHandle, InvalidHandleValueCountsAsValid) {
  KernelHandle handle;
  handle.Attach(winapi::InvalidHandleValue());
  EXPECT_TRUE(handle.IsValid());
}

TEST(UniqueHandleOwnProcess, SecondAttachReportsAndLeavesTheFirstOpen) {
  const winapi::Key first = OpenSoftware();
  {
    RegKey key;
    key.Attach(first);
    const winapi::Key second = OpenSoftware();
    key.Attach(second);
    EXPECT_EQ(key.GetValue(), second);
    EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"!IsValid()"});
  }
  EXPECT_NE(EnumerateFirst(first), 6u);
  EXPECT_EQ(winapi::RegCloseKey(first), 0u);
}

TEST(UniqueHandleOwnProcess, KernelHandleThatCannotBeClosedIsReported) {
  {
    KernelHandle handle;
    handle.Attach(BogusHandle());
  }
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{kCloseCheck});
}

TEST(UniqueHandleOwnProcess, KeyThatCannotBeClosedIsReported) {
  {
    RegKey key;
    key.Attach(BogusKey());
  }
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{kCloseCheck});
}

TEST(UniqueHandleOwnProcess, ReportsOnceForAllHoldersOfAKind) {
  for (int i = 0; i < 3; ++i) {
    KernelHandle handle;
    handle.Attach(BogusHandle());
  }
  EXPECT_EQ(CountReported(kCloseCheck), 1u);
}

TEST(UniqueHandleOwnProcess, KeepsTheLastError) {
  winapi::SetLastError(1234);
  {
    KernelHandle handle;
    handle.Attach(BogusHandle());
  }
  EXPECT_EQ(winapi::GetLastError(), 1234u);
}

TEST(UniqueHandleOwnProcess, KeyKeepsTheLastErrorOverTheReport) {
  winapi::SetLastError(1234);
  {
    RegKey key;
    key.Attach(BogusKey());
  }
  EXPECT_EQ(winapi::GetLastError(), 1234u);
  EXPECT_EQ(CountReported(kCloseCheck), 1u);
}

TEST(UniqueHandle, ClosingAKeyLeavesTheLastErrorAlone) {
  const winapi::Key opened = OpenSoftware();
  winapi::SetLastError(1234);
  {
    RegKey key;
    key.Attach(opened);
  }
  EXPECT_EQ(winapi::GetLastError(), 1234u);
}

TEST(KernelHandleTraits, CloseKeepsTheLastError) {
  winapi::SetLastError(1234);
  EXPECT_EQ(KernelHandleTraits::Close(BogusHandle()), oru::MakeResultCode(0x80010101));
  EXPECT_EQ(winapi::GetLastError(), 1234u);
}

TEST(RegKeyTraitsOwnProcess, CloseOfNullReportsAndGivesTheError) {
  EXPECT_EQ(RegKeyTraits::Close(nullptr), oru::MakeResultCode(0x80010101));
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"IsValid(h)"});
}

TEST(RegKeyTraits, CloseGivesZeroForAnOpenKey) {
  EXPECT_EQ(RegKeyTraits::Close(OpenSoftware()), 0);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(KernelHandleTraitsOwnProcess, CloseOfNullReportsAndGivesTheError) {
  EXPECT_EQ(KernelHandleTraits::Close(nullptr), oru::MakeResultCode(0x80010101));
  EXPECT_EQ(ReportedChecks(), std::vector<std::string>{"BaseType::IsValid(h)"});
}

TEST(KernelHandleTraits, CloseGivesTheLastErrorAsAResultCode) {
  EXPECT_EQ(KernelHandleTraits::Close(BogusHandle()), oru::MakeResultCode(0x80010101));
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(WaitForHandle, TimeOutIsTheSecondSuccess) {
  KernelHandle ownProcess;
  ownProcess.Attach(winapi::InvalidHandleValue());
  EXPECT_EQ(WaitForHandle(ownProcess, 0), 1);
  EXPECT_TRUE(ReportedChecks().empty());
}

TEST(WaitForHandle, FailureIsTheLastErrorAsAResultCode) {
  KernelHandle handle;
  EXPECT_EQ(WaitForHandle(handle, 0), oru::MakeResultCode(0x80010101));
  EXPECT_TRUE(ReportedChecks().empty());
}

}  // namespace
