// Local time and its fallbacks with zones of the test's own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "oru/system/datetime/datetime.h"
#include "oru/system/datetime/time_zone.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "tests/support/checks.h"
#include "winapi/host/control.h"
#include "winapi/time.h"

namespace oru::datetime {
namespace {

namespace host = winapi::host;
using tests::Instant;
using tests::Rule;
using tests::TextOf;
using winapi::TimeZoneInformation;

constexpr char kYearFunction[] = "GetTimeZoneInformationForYear";

TimeZoneInformation Zone(std::int32_t bias, const winapi::SystemTime& standard,
                         std::int32_t standardBias, const winapi::SystemTime& daylight,
                         std::int32_t daylightBias) {
  TimeZoneInformation zone{};
  zone.Bias = bias;
  zone.StandardDate = standard;
  zone.StandardBias = standardBias;
  zone.DaylightDate = daylight;
  zone.DaylightBias = daylightBias;
  return zone;
}

const TimeZoneInformation kBerlin = Zone(-60, Rule(10, 0, 5, 3), 0, Rule(3, 0, 5, 2), -60);
const TimeZoneInformation kNewYork = Zone(300, Rule(11, 0, 1, 2), 0, Rule(3, 0, 2, 2), -60);
const TimeZoneInformation kSydney = Zone(-600, Rule(4, 0, 1, 3), 0, Rule(10, 0, 1, 2), -60);
const TimeZoneInformation kNepal = Zone(-345, {}, 0, {}, -60);

void UseZone(const TimeZoneInformation& zone) {
  host::SetTimeZoneRule([zone](unsigned) { return std::optional(zone); });
}

struct Outcome {
  std::int64_t bias;
  bool daylight;
  bool operator==(const Outcome&) const = default;
};

void PrintTo(const Outcome& outcome, std::ostream* out) {
  *out << outcome.bias << (outcome.daylight ? ", daylight" : ", standard");
}

Outcome BiasAt(DateTime time, bool isUtc) {
  bool daylight = true;
  const std::int64_t bias = GetTimeZoneBias(time, ToSystemTime(time).wYear, isUtc, daylight);
  return {bias, daylight};
}

struct Edge {
  const char* name;
  const TimeZoneInformation& zone;
  DateTime instant;  // of the transition
  std::int64_t before;
  std::int64_t after;
  bool daylightBefore;
  bool daylightAfter;
};

TEST(GetTimeZoneBiasTest, ChangesAtEachTransitionInUtc) {
  const Edge edges[] = {
      {"Berlin, spring", kBerlin, Instant(2026, 3, 29, 1), -60, -120, false, true},
      {"Berlin, autumn", kBerlin, Instant(2026, 10, 25, 1), -120, -60, true, false},
      {"New York, spring", kNewYork, Instant(2026, 3, 8, 7), 300, 240, false, true},
      {"New York, autumn", kNewYork, Instant(2026, 11, 1, 6), 240, 300, true, false},
      {"Sydney, autumn", kSydney, Instant(2026, 4, 4, 16), -660, -600, true, false},
      {"Sydney, spring", kSydney, Instant(2026, 10, 3, 16), -600, -660, false, true},
  };
  for (const Edge& edge : edges) {
    UseZone(edge.zone);
    const DateTime before{edge.instant.ticks - 1};
    EXPECT_EQ(BiasAt(before, true), (Outcome{edge.before, edge.daylightBefore})) << edge.name;
    EXPECT_EQ(BiasAt(edge.instant, true), (Outcome{edge.after, edge.daylightAfter})) << edge.name;
  }
}

TEST(GetTimeZoneBiasTest, ChangesAtTheRulesReadingOfTheClock) {
  const Edge edges[] = {
      {"Berlin, spring", kBerlin, Instant(2026, 3, 29, 2), -60, -120, false, true},
      {"Berlin, autumn", kBerlin, Instant(2026, 10, 25, 3), -120, -60, true, false},
      {"Sydney, autumn", kSydney, Instant(2026, 4, 5, 3), -660, -600, true, false},
      {"Sydney, spring", kSydney, Instant(2026, 10, 4, 2), -600, -660, false, true},
  };
  for (const Edge& edge : edges) {
    UseZone(edge.zone);
    const DateTime before{edge.instant.ticks - 1};
    EXPECT_EQ(BiasAt(before, false), (Outcome{edge.before, edge.daylightBefore})) << edge.name;
    EXPECT_EQ(BiasAt(edge.instant, false), (Outcome{edge.after, edge.daylightAfter})) << edge.name;
  }
}

TEST(GetTimeZoneBiasTest, SouthernSummerGoesOnOverNewYear) {
  UseZone(kSydney);
  EXPECT_EQ(BiasAt(Instant(2026, 1, 15), true), (Outcome{-660, true}));
  EXPECT_EQ(BiasAt(Instant(2025, 12, 31, 23, 59, 59, 999), true), (Outcome{-660, true}));
  EXPECT_EQ(BiasAt(Instant(2026, 7, 15), true), (Outcome{-600, false}));
}

TEST(GetTimeZoneBiasTest, AddsTheStandardBiasInStandardTime) {
  UseZone(Zone(-60, Rule(10, 0, 5, 3), 7, Rule(3, 0, 5, 2), -60));
  EXPECT_EQ(BiasAt(Instant(2026, 1, 15), true), (Outcome{-53, false}));
  EXPECT_EQ(BiasAt(Instant(2026, 7, 15), true), (Outcome{-120, true}));
  // The clock that runs until the daylight transition has the standard bias.
  EXPECT_EQ(BiasAt({Instant(2026, 3, 29, 1, 7).ticks - 1}, true), (Outcome{-53, false}));
  EXPECT_EQ(BiasAt(Instant(2026, 3, 29, 1, 7), true), (Outcome{-120, true}));
}

TEST(GetTimeZoneBiasTest, MonthZeroInEitherDateGivesTheBiasAlone) {
  const TimeZoneInformation zones[] = {
      Zone(-60, Rule(0, 0, 5, 3), 7, Rule(3, 0, 5, 2), -60),
      Zone(-60, Rule(10, 0, 5, 3), 7, Rule(0, 0, 5, 2), -60),
      Zone(-60, Rule(0, 0, 0, 0), 7, Rule(0, 0, 0, 0), -60),
  };
  for (const TimeZoneInformation& zone : zones) {
    UseZone(zone);
    EXPECT_EQ(BiasAt(Instant(2026, 7, 15), true), (Outcome{-60, false}));
    EXPECT_EQ(BiasAt(Instant(2026, 1, 15), true), (Outcome{-60, false}));
  }
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(GetTimeZoneBiasTest, WithoutDaylightGivesTheBiasAsItStands) {
  UseZone(Zone(-60, Rule(10, 0, 5, 3), 7, Rule(3, 0, 5, 2), -60));
  bool daylight = false;
  EXPECT_EQ(GetTimeZoneBias(Instant(2026, 7, 15), 2026, true, daylight), -60);
  EXPECT_FALSE(daylight);
}

TEST(GetTimeZoneBiasTest, TakesTheRulesOfTheYearAskedFor) {
  host::SetTimeZoneRule([](unsigned year) {
    return std::optional(Zone(-static_cast<std::int32_t>(year), {}, 0, {}, -60));
  });
  bool daylight = true;
  EXPECT_EQ(GetTimeZoneBias(Instant(2026, 7, 15), 1999, true, daylight), -1999);
}

// With the transitions of that year, which lie in front of the instant.
TEST(GetTimeZoneBiasOwnProcess, TakesTheTransitionsOfTheYearAskedFor) {
  UseZone(kBerlin);
  bool daylight = true;
  EXPECT_EQ(GetTimeZoneBias(Instant(2026, 7, 15), 1999, true, daylight), -60);
  EXPECT_FALSE(daylight);
  daylight = true;
  EXPECT_EQ(GetTimeZoneBias(Instant(2026, 7, 15), 2026, true, daylight), -120);
  EXPECT_TRUE(daylight);
  // Sydney's summer begins in October and is on at all that follows.
  UseZone(kSydney);
  daylight = true;
  EXPECT_EQ(GetTimeZoneBias(Instant(2026, 7, 15), 1999, true, daylight), -660);
  EXPECT_TRUE(daylight);
}

// The system's number tells what is on now and nothing of the instant.
TEST(GetTimeZoneBiasOwnProcess, StandardTimeOfTodaySaysNothingOfTheInstant) {
  UseZone(kBerlin);
  host::HideProcedure(kYearFunction);
  for (const unsigned month : {1u, 7u}) {
    host::SetClock(Instant(2026, month, 15).ticks);
    TimeZoneInformation record{};
    EXPECT_EQ(GetYearTimeZone(2026, record), month == 1 ? 1 : 2);
    EXPECT_EQ(BiasAt(Instant(2026, 1, 15), true), (Outcome{-60, false})) << month;
    EXPECT_EQ(BiasAt(Instant(2026, 7, 15), true), (Outcome{-120, true})) << month;
  }
}

TEST(GetTimeZoneBiasTest, LargeBiasesDontOverflow) {
  UseZone(Zone(0x7FFFFFFF, Rule(10, 0, 5, 3), 0, Rule(3, 0, 5, 2), 0x7FFFFFFF));
  bool daylight = true;
  const std::int64_t bias = GetTimeZoneBias(Instant(2026, 7, 15), 2026, true, daylight);
  EXPECT_EQ(bias, daylight ? 0xFFFFFFFE : 0x7FFFFFFF);
}

TEST(GetYearTimeZoneTest, SaysWhetherThereIsARule) {
  TimeZoneInformation record{};
  UseZone(kBerlin);
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(record.Bias, -60);
  EXPECT_EQ(record.DaylightDate.wMonth, 3);
  UseZone(kNepal);
  EXPECT_EQ(GetYearTimeZone(2026, record), 0);
  EXPECT_EQ(record.Bias, -345);
}

std::size_t CallCount(std::string_view operation) { return host::CallsOf(operation).size(); }

TEST(GetYearTimeZoneTestOwnProcess, FindsTheFunctionOnce) {
  UseZone(kBerlin);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(GetYearTimeZone(2027, record), 2);

  ASSERT_EQ(CallCount("VerifyVersionInfoW"), 1u);
  const host::CallRecord version = host::CallsOf("VerifyVersionInfoW").front();
  EXPECT_EQ(version.Argument("major"), "6");
  EXPECT_EQ(version.Argument("minor"), "0");
  EXPECT_EQ(version.Argument("servicePack"), "1");
  ASSERT_EQ(CallCount("GetModuleHandleExW"), 1u);
  const host::CallRecord module = host::CallsOf("GetModuleHandleExW").front();
  EXPECT_EQ(module.arguments.front().second, "0x2");
  EXPECT_EQ(module.Argument("name"), "kernel32.dll");
  ASSERT_EQ(CallCount("GetProcAddress"), 1u);
  EXPECT_EQ(host::CallsOf("GetProcAddress").front().Argument("name"), kYearFunction);
  const std::vector<host::CallRecord> calls = host::CallsOf(kYearFunction);
  ASSERT_EQ(calls.size(), 2u);
  EXPECT_EQ(calls[0].Argument("year"), "2026");
  EXPECT_EQ(calls[1].Argument("year"), "2027");
  EXPECT_EQ(CallCount("GetTimeZoneInformation"), 0u);
}

TEST(GetYearTimeZoneTestOwnProcess, LeavesNoModuleReference) {
  UseZone(kBerlin);
  const std::size_t before = host::Live().moduleReferences;
  TimeZoneInformation record{};
  (void)GetYearTimeZone(2026, record);
  EXPECT_EQ(host::Live().moduleReferences, before);
}

// On a system below 6.0 service pack 1 the function isn't even looked for.
void ExpectOldSystem(winapi::Dword major, winapi::Dword minor, std::uint16_t servicePack) {
  UseZone(kBerlin);
  host::SetClock(Instant(2026, 1, 15).ticks);
  host::SetSystemVersion(major, minor, servicePack);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(1999, record), 1);  // standard time is on
  EXPECT_EQ(CallCount("GetModuleHandleExW"), 0u);
  EXPECT_EQ(CallCount("GetProcAddress"), 0u);
  EXPECT_EQ(CallCount(kYearFunction), 0u);
  EXPECT_EQ(CallCount("GetTimeZoneInformation"), 1u);
  host::SetClock(Instant(2026, 7, 15).ticks);
  EXPECT_EQ(GetYearTimeZone(1999, record), 2);  // daylight time is on
  EXPECT_EQ(CallCount("VerifyVersionInfoW"), 1u);
}

TEST(GetYearTimeZoneTestOwnProcess, VersionSixWithoutServicePackTakesTheCurrentRules) {
  ExpectOldSystem(6, 0, 0);
}

TEST(GetYearTimeZoneTestOwnProcess, VersionFiveTakesTheCurrentRules) { ExpectOldSystem(5, 2, 2); }

TEST(GetYearTimeZoneTestOwnProcess, VersionSixServicePackOneIsEnough) {
  UseZone(kBerlin);
  host::SetSystemVersion(6, 0, 1);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(CallCount(kYearFunction), 1u);
}

// The service pack counts for 6.0 alone.
TEST(GetYearTimeZoneOwnProcess, LaterVersionsNeedNoServicePack) {
  UseZone(kBerlin);
  host::SetSystemVersion(6, 1, 0);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(CallCount(kYearFunction), 1u);
}

TEST(GetYearTimeZoneTestOwnProcess, MissingFunctionTakesTheCurrentRules) {
  UseZone(kBerlin);
  host::HideProcedure(kYearFunction);
  host::SetClock(Instant(2026, 1, 15).ticks);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 1);
  EXPECT_EQ(GetYearTimeZone(2026, record), 1);
  EXPECT_EQ(CallCount("GetProcAddress"), 1u);
  EXPECT_EQ(CallCount("GetTimeZoneInformation"), 2u);
}

TEST(GetYearTimeZoneTestOwnProcess, MissingModuleTakesTheCurrentRules) {
  UseZone(kBerlin);
  host::FailCall("GetModuleHandleExW", 1, 126);
  host::SetClock(Instant(2026, 7, 15).ticks);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(CallCount("GetModuleHandleExW"), 1u);
  EXPECT_EQ(CallCount("GetProcAddress"), 0u);
}

TEST(GetYearTimeZoneTest, FailedFunctionTakesTheCurrentRulesThatOnce) {
  UseZone(kBerlin);
  host::FailCall(kYearFunction, 1, 2);
  host::SetClock(Instant(2026, 1, 15).ticks);
  host::StartCallLog();
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 1);
  EXPECT_EQ(GetYearTimeZone(2026, record), 2);
  EXPECT_EQ(CallCount("GetTimeZoneInformation"), 1u);
}

TEST(GetYearTimeZoneTest, LastWayIsTheOffsetOfTheLocalClock) {
  struct Case {
    const char* name;
    const TimeZoneInformation& zone;
    unsigned month;
    std::int32_t bias;
  };
  const Case cases[] = {
      {"Berlin, winter", kBerlin, 1, -60},
      {"Berlin, summer", kBerlin, 7, -120},
      {"New York, winter", kNewYork, 1, 300},
      {"New York, summer", kNewYork, 7, 240},
      {"Nepal", kNepal, 7, -345},
  };
  for (const Case& row : cases) {
    UseZone(row.zone);
    host::SetClock(Instant(2026, row.month, 15).ticks);
    host::FailCall(kYearFunction, 1, 2);
    host::FailCall("GetTimeZoneInformation", 1, 5);
    TimeZoneInformation record{};
    EXPECT_EQ(GetYearTimeZone(2026, record), 0) << row.name;
    EXPECT_EQ(record.Bias, row.bias) << row.name;
  }
}

// What is left of a minute is dropped, ahead of UTC and behind it.
TEST(GetYearTimeZoneOwnProcess, OffsetWithSecondsGivesWholeMinutes) {
  struct Case {
    std::int64_t seconds;  // behind UTC
    std::int32_t bias;
  };
  const Case cases[] = {{0, 0},       {59, 0},  {60, 1},   {5 * 60 + 30, 5},
                        {17776, 296}, {-59, 0}, {-60, -1}, {-3208, -53}};
  for (const Case& row : cases) {
    UseZone(kBerlin);
    host::SetLocalClockLag(row.seconds * 10'000'000);
    host::FailCall(kYearFunction, 1, 2);
    host::FailCall("GetTimeZoneInformation", 1, 5);
    TimeZoneInformation record{};
    EXPECT_EQ(GetYearTimeZone(2026, record), 0) << row.seconds;
    EXPECT_EQ(record.Bias, row.bias) << row.seconds;
  }
}

TEST(GetYearTimeZoneTest, WithoutAnyWayGivesMinusOne) {
  UseZone(kBerlin);
  host::FailCall(kYearFunction, 1, 2);
  host::FailCall("GetTimeZoneInformation", 1, 5);
  host::FailCall("FileTimeToLocalFileTime", 1, 87);
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), -1);
}

TEST(GetTimeZoneBiasTest, UnknownZoneThrowsWithTheLastError) {
  struct Case {
    winapi::Error error;
    std::uint32_t code;
  };
  // 258 and 1115 are error numbers here and no statuses. What fails without setting the last error
  // finds an old one there, which may be 0.
  const Case cases[] = {{87, 0x80000046},  {5, 0x80000045},    {1000, 0x800703E8},
                        {258, 0x80070102}, {1115, 0x8007045B}, {0, 0x8000004B}};
  for (const Case& row : cases) {
    UseZone(kBerlin);
    host::FailCall(kYearFunction, 1, 2);
    host::FailCall("GetTimeZoneInformation", 1, 6);
    host::FailCall("FileTimeToLocalFileTime", 1, row.error);
    bool daylight = true;
    try {
      (void)GetTimeZoneBias(Instant(2026, 7, 15), 2026, true, daylight);
      ADD_FAILURE() << row.error << ": nothing thrown";
    } catch (const TimeSystemError& error) {
      EXPECT_EQ(error.Message(), u"Cannot get timezone information");
      EXPECT_EQ(error.Code(), MakeResultCode(row.code)) << row.error;
      EXPECT_STREQ(error.File(), "oru/system/datetime/windows/datetime");
      EXPECT_EQ(error.Line(), 245u);
    }
    EXPECT_FALSE(daylight);
  }
}

// An answer that names no kind of time is passed on, and refused where the kind is needed.
TEST(GetTimeZoneBiasTest, AnswerThatIsNoKindOfTimeThrows) {
  UseZone(kBerlin);
  host::SetTimeZoneId(3);
  host::FailCall(kYearFunction, 1, 2, host::Repeat::kForever);
  TimeZoneInformation record{};
  EXPECT_EQ(GetYearTimeZone(2026, record), 3);
  bool daylight = true;
  try {
    (void)GetTimeZoneBias(Instant(2026, 7, 15), 2026, true, daylight);
    ADD_FAILURE() << "nothing thrown";
  } catch (const TimeSystemError& error) {
    EXPECT_EQ(error.Message(), u"Cannot get timezone information");
    EXPECT_EQ(error.Line(), 245u);
  }
  EXPECT_FALSE(daylight);
  host::SetTimeZoneId(std::nullopt);
  host::ClearFaults();
}

TEST(ToLocalSystemTimeTest, TakesTwoConversionsAndOneZone) {
  UseZone(kNepal);
  host::StartCallLog();
  EXPECT_EQ(TextOf(ToLocalSystemTime(Instant(2026, 11, 15, 2, 27, 41, 31))),
            "2026-11-15 08:12:41.031 day 0");
  EXPECT_EQ(CallCount("FileTimeToSystemTime"), 2u);
  EXPECT_EQ(CallCount(kYearFunction), 1u);
  EXPECT_EQ(host::CallsOf(kYearFunction).front().Argument("year"), "2026");
}

TEST(ToLocalSystemTimeTest, AsksForTheYearInUtc) {
  UseZone(kNepal);
  host::StartCallLog();
  EXPECT_EQ(TextOf(ToLocalSystemTime(Instant(2026, 12, 31, 23))), "2027-01-01 04:45:00.000 day 5");
  EXPECT_EQ(host::CallsOf(kYearFunction).front().Argument("year"), "2026");
}

TEST(ToLocalSystemTimeTest, GivesTheSameReadingTwiceInAutumn) {
  UseZone(kBerlin);
  EXPECT_EQ(TextOf(ToLocalSystemTime(Instant(2026, 10, 25, 0, 30))),
            "2026-10-25 02:30:00.000 day 0");
  EXPECT_EQ(TextOf(ToLocalSystemTime(Instant(2026, 10, 25, 1, 30))),
            "2026-10-25 02:30:00.000 day 0");
}

TEST(ToLocalSystemTimeTest, TransitionWithMinutesComesEarly) {
  // A rule at 02:30 is taken as 02:00, so half an hour before it the new bias is on.
  UseZone(Zone(-60, Rule(10, 0, 5, 3), 0, Rule(3, 0, 5, 2, 30), -60));
  EXPECT_EQ(TextOf(ToLocalSystemTime(Instant(2026, 3, 29, 0, 59))),
            "2026-03-29 01:59:00.000 day 0");
  EXPECT_EQ(TextOf(ToLocalSystemTime(Instant(2026, 3, 29, 1))), "2026-03-29 03:00:00.000 day 0");
}

TEST(ToLocalSystemTimeTest, BiasThatLeavesTheRangeThrows) {
  UseZone(kNewYork);
  try {
    (void)ToLocalSystemTime({0});
    ADD_FAILURE() << "nothing thrown";
  } catch (const TimeSystemError& error) {
    EXPECT_EQ(error.Message(),
              u"Cannot convert a file time to system time format: 18446743893709551616");
  }
}

// 258 is an error number here and no status.
TEST(ToLocalSystemTimeOwnProcess, FailedConversionHasTheCodeOfAnErrorNumber) {
  UseZone(kBerlin);
  for (const char* const operation : {"FileTimeToSystemTime", "SystemTimeToFileTime"}) {
    host::FailCall(operation, 1, 258);
    try {
      (void)ToLocalSystemTime(Instant(2026, 11, 15));
      ADD_FAILURE() << operation << ": nothing thrown";
    } catch (const TimeSystemError& error) {
      EXPECT_EQ(error.Code(), MakeResultCode(0x80070102)) << operation;
    }
  }
}

TEST(ToLocalSystemTimeTest, FailedConversionOfEitherKindThrows) {
  struct Case {
    const char* operation;
    std::size_t nth;
    std::uint32_t line;
  };
  const Case cases[] = {
      {"FileTimeToSystemTime", 1, 74},  // the instant's year
      {"SystemTimeToFileTime", 1, 67},  // the standard rule's last day
      {"FileTimeToSystemTime", 2, 74},  // that day's weekday
      {"SystemTimeToFileTime", 2, 67},  // the rule's day
      {"SystemTimeToFileTime", 4, 67}, {"FileTimeToSystemTime", 4, 74},  // the local time
  };
  for (const Case& row : cases) {
    UseZone(kBerlin);
    host::ClearFaults();
    host::FailCall(row.operation, row.nth, 5);
    try {
      (void)ToLocalSystemTime(Instant(2026, 11, 15));
      ADD_FAILURE() << row.operation << " " << row.nth << ": nothing thrown";
    } catch (const TimeSystemError& error) {
      EXPECT_EQ(error.Line(), row.line) << row.operation << " " << row.nth;
      EXPECT_EQ(error.Code(), MakeResultCode(0x80000045)) << row.operation << " " << row.nth;
    }
  }
}

}  // namespace
}  // namespace oru::datetime
