#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/time.h"

namespace {

std::uint64_t Now() {
  winapi::FileTime time{};
  winapi::GetSystemTimeAsFileTime(&time);
  return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

TEST(HostClock, StandsStillWhereItWasSet) {
  winapi::host::SetClock(0x1234567890ABCDEF);
  EXPECT_EQ(0x1234567890ABCDEFu, Now());
  EXPECT_EQ(0x1234567890ABCDEFu, Now());
}

// A sleep that waited would not end before the limit that the tests' runner sets.
TEST(HostClock, IsMovedOnBySleepWithoutWaiting) {
  winapi::host::SetClock(1000);
  winapi::Sleep(3600000);
  EXPECT_EQ(1000u + 36000000000u, Now());
}

TEST(HostClock, IsMovedOnByAWaitThatTimesOut) {
  winapi::host::SetClock(0);
  const winapi::Handle waitable = winapi::host::MakeWaitable(false);
  EXPECT_EQ(winapi::kWaitTimeout, winapi::WaitForSingleObjectEx(waitable, 250, 0));
  EXPECT_EQ(2500000u, Now());
  EXPECT_NE(0, winapi::CloseHandle(waitable));
}

TEST(HostClock, RunsAgainAfterwards) {
  winapi::host::SetClock(0);
  winapi::host::SetClock(std::nullopt);
  EXPECT_GT(Now(), 133000000000000000u);  // 2022
}

TEST(HostClock, NotesTheSleeps) {
  winapi::host::SetClock(0);
  std::vector<winapi::Dword> expected = winapi::host::Sleeps();
  for (const winapi::Dword milliseconds : {7u, 0u, 100u}) {
    winapi::Sleep(milliseconds);
    expected.push_back(milliseconds);
  }
  EXPECT_EQ(expected, winapi::host::Sleeps());
}

TEST(HostSystemVersion, IsWhatWasSet) {
  winapi::host::SetSystemVersion(5, 2, 2);
  winapi::OsVersionInfo info{};
  info.dwMajorVersion = 6;
  const std::uint64_t mask =
      winapi::VerSetConditionMask(0, winapi::kVerMajorVersion, winapi::kVerGreaterEqual);
  EXPECT_EQ(0, winapi::VerifyVersionInfoW(&info, winapi::kVerMajorVersion, mask));
  winapi::host::SetSystemVersion(10, 0, 0);
  EXPECT_NE(0, winapi::VerifyVersionInfoW(&info, winapi::kVerMajorVersion, mask));
}

TEST(HostTime, EachOperationFailsWhenToldToAndLeavesItsOutput) {
  const winapi::FileTime fileTime{.dwLowDateTime = 0, .dwHighDateTime = 0x01DC0000};
  winapi::SystemTime systemTime{};
  winapi::FileTime output{};
  winapi::TimeZoneInformation zone{};
  winapi::OsVersionInfo info{};
  winapi::host::FailCall("FileTimeToSystemTime", 1, 11);
  EXPECT_EQ(0, winapi::FileTimeToSystemTime(&fileTime, &systemTime));
  EXPECT_EQ(11u, winapi::GetLastError());
  EXPECT_EQ(0, systemTime.wYear);
  systemTime = {2026, 1, 0, 1, 0, 0, 0, 0};
  winapi::host::FailCall("SystemTimeToFileTime", 1, 12);
  EXPECT_EQ(0, winapi::SystemTimeToFileTime(&systemTime, &output));
  EXPECT_EQ(12u, winapi::GetLastError());
  winapi::host::FailCall("FileTimeToLocalFileTime", 1, 13);
  EXPECT_EQ(0, winapi::FileTimeToLocalFileTime(&fileTime, &output));
  EXPECT_EQ(13u, winapi::GetLastError());
  EXPECT_EQ(0u, output.dwHighDateTime);
  winapi::host::FailCall("GetTimeZoneInformation", 1, 14);
  EXPECT_EQ(winapi::kTimeZoneIdInvalid, winapi::GetTimeZoneInformation(&zone));
  EXPECT_EQ(14u, winapi::GetLastError());
  winapi::host::FailCall("VerifyVersionInfoW", 1, 15);
  EXPECT_EQ(0, winapi::VerifyVersionInfoW(&info, winapi::kVerMajorVersion, 0x18));
  EXPECT_EQ(15u, winapi::GetLastError());
  EXPECT_NE(0, winapi::VerifyVersionInfoW(&info, winapi::kVerMajorVersion, 0x18));
}

}  // namespace
