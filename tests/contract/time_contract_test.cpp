#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>

#include "tests/support/answers.h"
#include "tests/support/seam_error.h"
#include "winapi/errors.h"
#include "winapi/modules.h"
#include "winapi/time.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kUntouchedError;
using tests::kWindows;
using tests::kWine;

using winapi::FileTime;
using winapi::SystemTime;

FileTime FromTicks(std::uint64_t ticks) {
  return {.dwLowDateTime = static_cast<winapi::Dword>(ticks & 0xFFFFFFFF),
          .dwHighDateTime = static_cast<winapi::Dword>(ticks >> 32)};
}

std::uint64_t ToTicks(const FileTime& time) {
  return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

void ExpectSame(const SystemTime& expected, const SystemTime& actual) {
  EXPECT_EQ(expected.wYear, actual.wYear);
  EXPECT_EQ(expected.wMonth, actual.wMonth);
  EXPECT_EQ(expected.wDayOfWeek, actual.wDayOfWeek);
  EXPECT_EQ(expected.wDay, actual.wDay);
  EXPECT_EQ(expected.wHour, actual.wHour);
  EXPECT_EQ(expected.wMinute, actual.wMinute);
  EXPECT_EQ(expected.wSecond, actual.wSecond);
  EXPECT_EQ(expected.wMilliseconds, actual.wMilliseconds);
}

// The pairs were computed with another language's calendar.
struct Moment {
  const char* name;
  std::uint64_t ticks;
  SystemTime time;
};
constexpr Moment kMoments[] = {
    {"the first tick", 0, {1601, 1, 1, 1, 0, 0, 0, 0}},
    {"a millisecond", 10000, {1601, 1, 1, 1, 0, 0, 0, 1}},
    {"before 1900", 94354847999990000, {1899, 12, 0, 31, 23, 59, 59, 999}},
    {"1900 isn't a leap year", 94405823999990000, {1900, 2, 3, 28, 23, 59, 59, 999}},
    {"March 1900", 94405824000000000, {1900, 3, 4, 1, 0, 0, 0, 0}},
    {"1970", 116444736000000000, {1970, 1, 4, 1, 0, 0, 0, 0}},
    {"leap day of 2000", 125963012967890000, {2000, 2, 2, 29, 12, 34, 56, 789}},
    {"2026", 134396886123450000, {2026, 11, 5, 20, 22, 50, 12, 345}},
    {"2100 isn't a leap year", 157520159999990000, {2100, 2, 0, 28, 23, 59, 59, 999}},
    {"March 2100", 157520160000000000, {2100, 3, 1, 1, 0, 0, 0, 0}},
    {"the last year with four digits", 2650467743999990000, {9999, 12, 5, 31, 23, 59, 59, 999}},
    {"the last year", 9223149887999990000, {30827, 12, 5, 31, 23, 59, 59, 999}},
};

TEST(FileTimeToSystemTimeContract, GivesTheDate) {
  for (const Moment& moment : kMoments) {
    SCOPED_TRACE(moment.name);
    const FileTime fileTime = FromTicks(moment.ticks);
    SystemTime time{};
    ASSERT_NE(0, winapi::FileTimeToSystemTime(&fileTime, &time));
    ExpectSame(moment.time, time);
  }
}

TEST(FileTimeToSystemTimeContract, DropsWhatIsBelowAMillisecond) {
  const FileTime fileTime = FromTicks(134396886123459999);
  SystemTime time{};
  ASSERT_NE(0, winapi::FileTimeToSystemTime(&fileTime, &time));
  ExpectSame({2026, 11, 5, 20, 22, 50, 12, 345}, time);
}

TEST(FileTimeToSystemTimeContract, TakesTheGreatestPositiveNumber) {
  const FileTime fileTime = FromTicks(0x7FFFFFFFFFFFFFFF);
  SystemTime time{};
  ASSERT_NE(0, winapi::FileTimeToSystemTime(&fileTime, &time));
  ExpectSame({30828, 9, 4, 14, 2, 48, 5, 477}, time);
}

TEST(FileTimeToSystemTimeContract, RefusesNegativeNumbers) {
  for (const std::uint64_t ticks : {0x8000000000000000, 0xFFFFFFFFFFFFFFFF}) {
    SCOPED_TRACE(ticks);
    const FileTime fileTime = FromTicks(ticks);
    SystemTime time{1, 2, 3, 4, 5, 6, 7, 8};
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(0, winapi::FileTimeToSystemTime(&fileTime, &time));
    EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
    ExpectSame({1, 2, 3, 4, 5, 6, 7, 8}, time);
  }
}

TEST(SystemTimeToFileTimeContract, GivesTheTicksAndIgnoresTheDayOfTheWeek) {
  for (const Moment& moment : kMoments) {
    SCOPED_TRACE(moment.name);
    SystemTime time = moment.time;
    time.wDayOfWeek = 77;
    FileTime fileTime{};
    ASSERT_NE(0, winapi::SystemTimeToFileTime(&time, &fileTime));
    EXPECT_EQ(moment.ticks, ToTicks(fileTime));
  }
}

TEST(SystemTimeToFileTimeContract, RefusesWhatIsNoDateOrTime) {
  struct Case {
    const char* name;
    SystemTime time;
  };
  constexpr Case kCases[] = {
      {"before the count starts", {1600, 12, 0, 31, 0, 0, 0, 0}},
      {"year 0", {0, 1, 0, 1, 0, 0, 0, 0}},
      {"year 65535", {65535, 1, 0, 1, 0, 0, 0, 0}},
      {"month 0", {2026, 0, 0, 1, 0, 0, 0, 0}},
      {"month 13", {2026, 13, 0, 1, 0, 0, 0, 0}},
      {"day 0", {2026, 1, 0, 0, 0, 0, 0, 0}},
      {"day 32", {2026, 1, 0, 32, 0, 0, 0, 0}},
      {"30 February", {2024, 2, 0, 30, 0, 0, 0, 0}},
      {"31 April", {2026, 4, 0, 31, 0, 0, 0, 0}},
      {"hour 24", {2026, 1, 0, 1, 24, 0, 0, 0}},
      {"minute 60", {2026, 1, 0, 1, 0, 60, 0, 0}},
      {"second 60", {2026, 1, 0, 1, 0, 0, 60, 0}},
      {"millisecond 1000", {2026, 1, 0, 1, 0, 0, 0, 1000}},
  };
  for (const Case& refused : kCases) {
    SCOPED_TRACE(refused.name);
    FileTime fileTime = FromTicks(42);
    winapi::SetLastError(kUntouchedError);
    EXPECT_ANSWER(refused.name, 0, winapi::SystemTimeToFileTime(&refused.time, &fileTime));
    EXPECT_EQ(winapi::kErrorInvalidParameter, winapi::GetLastError());
    EXPECT_EQ(42u, ToTicks(fileTime));
  }
}

TEST(SystemTimeToFileTimeContract, LeapDayOfAYearWithoutOne) {
  const SystemTime time{2026, 2, 0, 29, 0, 0, 0, 0};
  FileTime fileTime{};
  EXPECT_ANSWER("result",
                Answers(0, kHost | kWindows).Or(1, kWine, "takes 29 February 2026 for 1 March"),
                winapi::SystemTimeToFileTime(&time, &fileTime));
}

TEST(SystemTimeToFileTimeContract, YearBehindTheLast) {
  const SystemTime time{30828, 1, 0, 1, 0, 0, 0, 0};
  FileTime fileTime{};
  EXPECT_ANSWER("result",
                Answers(0, kHost | kWindows).Or(1, kWine, "knows no last year below 65535"),
                winapi::SystemTimeToFileTime(&time, &fileTime));
}

std::int64_t TotalBiasNow() {
  winapi::TimeZoneInformation zone{};
  const winapi::Dword id = winapi::GetTimeZoneInformation(&zone);
  EXPECT_LE(id, 2u);
  return zone.Bias + (id == 1 ? zone.StandardBias : id == 2 ? zone.DaylightBias : 0);
}

TEST(FileTimeToLocalFileTimeContract, UsesTheBiasOfTodayForEachMoment) {
  constexpr std::uint64_t kJanuary = 134121312000000000;  // 6 January 2026
  constexpr std::uint64_t kJuly = 134277696000000000;     // 6 July 2026
  const std::int64_t bias = TotalBiasNow() * 600000000;
  for (const std::uint64_t ticks : {kJanuary, kJuly}) {
    const FileTime utc = FromTicks(ticks);
    FileTime local{};
    ASSERT_NE(0, winapi::FileTimeToLocalFileTime(&utc, &local));
    EXPECT_EQ(bias, static_cast<std::int64_t>(ticks - ToTicks(local)));
  }
}

TEST(GetTimeZoneInformationContract, TellsWhetherThereAreRules) {
  winapi::TimeZoneInformation zone{};
  const winapi::Dword id = winapi::GetTimeZoneInformation(&zone);
  EXPECT_EQ(id != 0, zone.StandardDate.wMonth != 0 && zone.DaylightDate.wMonth != 0);
  EXPECT_EQ(0, zone.StandardBias);
}

TEST(GetTimeZoneInformationForYearContract, GivesTheCurrentRulesForTheCurrentYear) {
  const auto forYear =
      reinterpret_cast<winapi::GetTimeZoneInformationForYearFunction>(winapi::GetProcAddress(
          winapi::GetModuleHandleW(u"kernel32.dll"), "GetTimeZoneInformationForYear"));
  ASSERT_NE(nullptr, forYear);
  FileTime now{};
  winapi::GetSystemTimeAsFileTime(&now);
  SystemTime today{};
  ASSERT_NE(0, winapi::FileTimeToSystemTime(&now, &today));
  winapi::TimeZoneInformation current{};
  ASSERT_LE(winapi::GetTimeZoneInformation(&current), 2u);
  winapi::TimeZoneInformation zone{};
  ASSERT_NE(0, forYear(today.wYear, nullptr, &zone));
  EXPECT_EQ(current.Bias, zone.Bias);
  EXPECT_EQ(current.DaylightBias, zone.DaylightBias);
  ExpectSame(current.StandardDate, zone.StandardDate);
  ExpectSame(current.DaylightDate, zone.DaylightDate);
}

TEST(GetSystemTimeAsFileTimeContract, IsTheSystemsClock) {
  FileTime now{};
  winapi::GetSystemTimeAsFileTime(&now);
  const auto since1970 = std::chrono::duration_cast<std::chrono::seconds>(
      std::chrono::system_clock::now().time_since_epoch());
  const auto seconds = static_cast<std::int64_t>(ToTicks(now) / 10000000) - 11644473600;
  EXPECT_NEAR(static_cast<double>(since1970.count()), static_cast<double>(seconds), 5.0);
}

TEST(SleepContract, LastsAtLeastAsLong) {
  const auto before = std::chrono::steady_clock::now();
  winapi::Sleep(30);
  const auto passed = std::chrono::steady_clock::now() - before;
  // A system may count in ticks of its own, of which the first is cut.
  EXPECT_GE(passed, std::chrono::milliseconds(29));
}

}  // namespace
