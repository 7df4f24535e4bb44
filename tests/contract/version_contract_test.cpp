#include <gtest/gtest.h>

#include "tests/support/answers.h"
#include "winapi/errors.h"
#include "winapi/time.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kWine;
using tests::kWine10;
using tests::kWine8;

using winapi::kVerGreaterEqual;
using winapi::kVerMajorVersion;
using winapi::kVerMinorVersion;
using winapi::kVerServicePackMajor;

constexpr winapi::Dword kAllThree = kVerMajorVersion | kVerMinorVersion | kVerServicePackMajor;

std::uint64_t MaskOfAllThree() {
  std::uint64_t mask = winapi::VerSetConditionMask(0, kVerMajorVersion, kVerGreaterEqual);
  mask = winapi::VerSetConditionMask(mask, kVerMinorVersion, kVerGreaterEqual);
  return winapi::VerSetConditionMask(mask, kVerServicePackMajor, kVerGreaterEqual);
}

winapi::OsVersionInfo Version(winapi::Dword major, winapi::Dword minor, std::uint16_t pack) {
  winapi::OsVersionInfo info{};
  info.dwOSVersionInfoSize = sizeof info;
  info.dwMajorVersion = major;
  info.dwMinorVersion = minor;
  info.wServicePackMajor = pack;
  return info;
}

TEST(VerSetConditionMaskContract, GivesThreeBitsToEachType) {
  EXPECT_EQ(0x3u, winapi::VerSetConditionMask(0, kVerMinorVersion, kVerGreaterEqual));
  EXPECT_EQ(0x18u, winapi::VerSetConditionMask(0, kVerMajorVersion, kVerGreaterEqual));
  EXPECT_EQ(0x18000u, winapi::VerSetConditionMask(0, kVerServicePackMajor, kVerGreaterEqual));
  EXPECT_EQ(0x1801Bu, MaskOfAllThree());
  EXPECT_EQ(0x18u, winapi::VerSetConditionMask(0x18, 0, kVerGreaterEqual));
}

// The host is 6.1 with service pack 1, and so is a fresh prefix of Wine 8; one of Wine 10 is 10.0.
// A Windows answers by its own version, and passes for 6.2 at most where no manifest names a later
// one.
TEST(VerifyVersionInfoContract, ComparesFieldByField) {
  struct Case {
    const char* name;
    winapi::OsVersionInfo info;
    Answers<winapi::Error> error;
  };
  const auto since62 = Answers(winapi::kErrorOldWinVersion, kHost | kWine8)
                           .Or(winapi::kErrorSuccess, kWine10, "passes for 6.2, not for 6.1");
  const auto later = Answers(winapi::kErrorOldWinVersion, kHost | kWine);
  const Case kCases[] = {
      {"5.9 pack 9", Version(5, 9, 9), 0},       {"6.0 pack 1", Version(6, 0, 1), 0},
      {"6.0 pack 5", Version(6, 0, 5), 0},       {"6.1 pack 0", Version(6, 1, 0), 0},
      {"6.1 pack 1", Version(6, 1, 1), 0},       {"6.1 pack 2", Version(6, 1, 2), since62},
      {"6.2 pack 0", Version(6, 2, 0), since62}, {"6.3 pack 0", Version(6, 3, 0), later},
      {"10.0 pack 0", Version(10, 0, 0), later}};
  for (const Case& one : kCases) {
    winapi::OsVersionInfo info = one.info;
    winapi::SetLastError(0);
    const bool met = winapi::VerifyVersionInfoW(&info, kAllThree, MaskOfAllThree()) != 0;
    EXPECT_ANSWER(one.name, one.error, met ? winapi::kErrorSuccess : winapi::GetLastError());
  }
}

TEST(VerifyVersionInfoContract, LeavesTheLastErrorWhereItIsMet) {
  winapi::OsVersionInfo info = Version(6, 0, 1);
  winapi::SetLastError(0xABCD);
  EXPECT_NE(0, winapi::VerifyVersionInfoW(&info, kAllThree, MaskOfAllThree()));
  EXPECT_EQ(0xABCDu, winapi::GetLastError());
}

TEST(VerifyVersionInfoContract, DoesNotLookAtTheStructuresSize) {
  winapi::OsVersionInfo info = Version(6, 0, 1);
  info.dwOSVersionInfoSize = 0;
  EXPECT_NE(0, winapi::VerifyVersionInfoW(&info, kAllThree, MaskOfAllThree()));
}

TEST(VerifyVersionInfoContract, RefusesNoTypeAndNoCondition) {
  constexpr winapi::Error kBadArguments = 160;
  winapi::OsVersionInfo info = Version(6, 0, 1);
  EXPECT_EQ(0, winapi::VerifyVersionInfoW(&info, 0, MaskOfAllThree()));
  EXPECT_EQ(kBadArguments, winapi::GetLastError());
  winapi::SetLastError(0);
  EXPECT_EQ(0, winapi::VerifyVersionInfoW(&info, kVerMajorVersion, 0));
  EXPECT_EQ(kBadArguments, winapi::GetLastError());
}

}  // namespace
