// Local times compared with the C library's, which reads the zone in its own way.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <optional>
#include <random>
#include <string>

#include "oru/system/datetime/datetime.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "winapi/host/control.h"
#include "winapi/time.h"

namespace oru::datetime {
namespace {

namespace host = winapi::host;
using tests::Instant;
using tests::kTicksPerSecond;
using tests::Rule;
using tests::TextOf;

winapi::SystemTime CLibraryFields(DateTime time) {
  const auto at = static_cast<std::time_t>(static_cast<std::int64_t>(time.ticks / kTicksPerSecond) -
                                           tests::kSecondsBeforeUnixTime);
  std::tm local{};
  ::localtime_r(&at, &local);
  const auto number = [](int field) { return static_cast<unsigned>(field); };
  winapi::SystemTime fields =
      tests::Fields(number(local.tm_year + 1900), number(local.tm_mon + 1), number(local.tm_mday),
                    number(local.tm_hour), number(local.tm_min), number(local.tm_sec),
                    static_cast<unsigned>(time.ticks / kTicksPerMillisecond % 1000));
  fields.wDayOfWeek = static_cast<std::uint16_t>(local.tm_wday);
  return fields;
}

// Texts are made where the fields, which have no gaps between them, differ.
::testing::AssertionResult Agrees(DateTime time, const winapi::SystemTime& expected) {
  const winapi::SystemTime fields = ToLocalSystemTime(time);
  if (std::memcmp(&fields, &expected, sizeof fields) == 0) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure()
         << TextOf(fields) << " in place of " << TextOf(expected) << " at " << time.ticks;
}

// Random instants between the two years.
void ExpectAgreement(const std::string& name, int firstYear, int lastYear, int count) {
  std::mt19937_64 random(6503);
  std::uniform_int_distribution<std::uint64_t> instants(Instant(firstYear, 1, 2).ticks,
                                                        Instant(lastYear, 12, 30).ticks);
  for (int i = 0; i < count; ++i) {
    const DateTime time{instants(random)};
    ASSERT_TRUE(Agrees(time, CLibraryFields(time))) << name;
  }
}

// Each quarter of an hour of a year, so that every transition is passed closely.
void ExpectAgreementInYear(const std::string& name, int year) {
  const std::uint64_t step = 900 * kTicksPerSecond;
  for (std::uint64_t at = Instant(year, 1, 1).ticks; at < Instant(year + 1, 1, 1).ticks;
       at += step) {
    ASSERT_TRUE(Agrees({at}, CLibraryFields({at}))) << name;
    ASSERT_TRUE(Agrees({at - 1}, CLibraryFields({at - 1}))) << name;
  }
}

struct RuleSample {
  const char* posixZone;  // the same rule in the C library's words
  std::int32_t bias;
  winapi::SystemTime standard;
  winapi::SystemTime daylight;
};

const RuleSample kRules[] = {
    {"CET-1CEST,M3.5.0/2,M10.5.0/3", -60, Rule(10, 0, 5, 3), Rule(3, 0, 5, 2)},
    {"EST5EDT,M3.2.0/2,M11.1.0/2", 300, Rule(11, 0, 1, 2), Rule(3, 0, 2, 2)},
    {"AEST-10AEDT,M10.1.0/2,M4.1.0/3", -600, Rule(4, 0, 1, 3), Rule(10, 0, 1, 2)},
    {"XST3XDT,M10.3.6/0,M2.4.3/23", 180, Rule(2, 3, 4, 23), Rule(10, 6, 3, 0)},
    {"IST-2IDT,M3.4.4/22,M9.5.1/5", -120, Rule(9, 1, 5, 5), Rule(3, 4, 4, 22)},
    {"NPT-5:45", -345, {}, {}},
    {"UTC0", 0, {}, {}},
};

void UseRule(const RuleSample& sample) {
  host::SetTimeZone(sample.posixZone);
  host::SetTimeZoneRule([sample](unsigned) {
    winapi::TimeZoneInformation zone{};
    zone.Bias = sample.bias;
    zone.StandardDate = sample.standard;
    zone.DaylightDate = sample.daylight;
    zone.DaylightBias = -60;
    return std::optional(zone);
  });
}

TEST(ToLocalSystemTimeTest, AgreesWithTheCLibraryForRules) {
  for (const RuleSample& sample : kRules) {
    UseRule(sample);
    // Before 1970 the C library takes a rule's dates from 1970.
    ExpectAgreement(sample.posixZone, 1971, 3000, 20000);
  }
}

// The calendar repeats itself after 400 years, weekdays included.
TEST(ToLocalSystemTimeTest, EarlyYearsAreAsTheyAre400YearsLater) {
  const std::uint64_t period = 146097ull * 86400 * kTicksPerSecond;
  std::mt19937_64 random(6504);
  std::uniform_int_distribution<std::uint64_t> instants(Instant(1601, 1, 2).ticks,
                                                        Instant(1971, 1, 2).ticks);
  for (const RuleSample& sample : kRules) {
    UseRule(sample);
    for (int i = 0; i < 5000; ++i) {
      const std::uint64_t ticks = instants(random);
      winapi::SystemTime early = ToLocalSystemTime({ticks});
      early.wYear = static_cast<std::uint16_t>(early.wYear + 400);
      ASSERT_EQ(TextOf(early), TextOf(CLibraryFields({ticks + period})))
          << sample.posixZone << " " << ticks;
    }
  }
}

TEST(ToLocalSystemTimeTest, AgreesWithTheCLibraryAroundEachTransition) {
  for (const RuleSample& sample : kRules) {
    UseRule(sample);
    for (const int year : {1999, 2000, 2026}) ExpectAgreementInYear(sample.posixZone, year);
  }
}

TEST(ToLocalSystemTimeTest, AgreesWithTheCLibraryForZonesOfTheDatabase) {
  const char* const zones[] = {"UTC",           "Europe/Berlin",    "Europe/London",
                               "Europe/Moscow", "America/New_York", "America/Los_Angeles",
                               "Asia/Tokyo",    "Asia/Kathmandu",   "Australia/Sydney",
                               "Asia/Kolkata",  "America/Sao_Paulo"};
  for (const char* const zone : zones) {
    host::SetTimeZone(zone);
    ExpectAgreement(zone, 2020, 2037, 5000);
  }
}

// The rules of a year differ from those of the next.
TEST(ToLocalSystemTimeTest, AgreesWithTheCLibraryWhereTheLawChanged) {
  host::SetTimeZone("America/New_York");
  for (const int year : {2006, 2007}) ExpectAgreementInYear("America/New_York", year);
  host::SetTimeZone("Europe/Berlin");
  for (const int year : {1995, 1996}) ExpectAgreementInYear("Europe/Berlin", year);
}

}  // namespace
}  // namespace oru::datetime
