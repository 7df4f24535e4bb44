#include "oru/system/datetime/time_zone.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <random>
#include <string>

#include "oru/system/datetime/datetime.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "tests/support/checks.h"

namespace oru::datetime {
namespace {

using tests::CountReported;
using tests::Instant;
using tests::Rule;
using tests::TextOf;

constexpr char kMonthCheck[] = "false && \"Incorrect value of month\"";

std::string TransitionText(unsigned year, const winapi::SystemTime& rule) {
  return TextOf(ToSystemTime(TransitionOfYear(static_cast<std::uint16_t>(year), rule)));
}

TEST(DaysInMonthTest, GivesEachMonthOfAnOrdinaryYear) {
  const unsigned days[12] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (unsigned month = 0; month < 12; ++month) {
    EXPECT_EQ(DaysInMonth(month, 2026), days[month]) << "month index " << month;
  }
}

TEST(DaysInMonthTest, GivesEachMonthOfALeapYear) {
  const unsigned days[12] = {31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (unsigned month = 0; month < 12; ++month) {
    EXPECT_EQ(DaysInMonth(month, 2024), days[month]) << "month index " << month;
  }
}

TEST(DaysInMonthTest, FollowsTheGregorianRuleInFebruary) {
  EXPECT_EQ(DaysInMonth(1, 2000), 29u);
  EXPECT_EQ(DaysInMonth(1, 1900), 28u);
  EXPECT_EQ(DaysInMonth(1, 1600), 29u);
  EXPECT_EQ(DaysInMonth(1, 2100), 28u);
  EXPECT_EQ(DaysInMonth(1, 2023), 28u);
  EXPECT_EQ(DaysInMonth(1, 2028), 29u);
}

TEST(DaysInMonthTest, AgreesWithTheStandardLibrarysCalendar) {
  for (int year = 1601; year <= 2401; ++year) {
    for (unsigned month = 0; month < 12; ++month) {
      const std::chrono::year_month_day_last last =
          std::chrono::year(year) / std::chrono::month(month + 1) / std::chrono::last;
      ASSERT_EQ(DaysInMonth(month, static_cast<unsigned>(year)), static_cast<unsigned>(last.day()))
          << year << " month index " << month;
    }
  }
}

TEST(DaysInMonthTestOwnProcess, ReportsWhatIsNoMonth) {
  EXPECT_EQ(DaysInMonth(12, 2026), 0u);
  EXPECT_EQ(CountReported(kMonthCheck), 1u);
}

TEST(DaysInMonthTestOwnProcess, ReportsTheIndexBeforeTheFirst) {
  EXPECT_EQ(DaysInMonth(0u - 1u, 2026), 0u);
  EXPECT_EQ(CountReported(kMonthCheck), 1u);
}

TEST(DaysInMonthTest, ReportsNothingForMonths) {
  for (unsigned month = 0; month < 12; ++month) (void)DaysInMonth(month, 2026);
  EXPECT_EQ(CountReported(kMonthCheck), 0u);
}

TEST(IsInDaylightSpanTest, TakesTheStartAndLeavesTheEnd) {
  struct Case {
    const char* name;
    std::uint64_t time, start, end;
    bool expected;
  };
  const Case cases[] = {
      {"north, before", 99, 100, 200, false},
      {"north, first tick", 100, 100, 200, true},
      {"north, last tick", 199, 100, 200, true},
      {"north, end", 200, 100, 200, false},
      {"north, empty", 100, 100, 100, false},
      {"south, new year", 0, 200, 100, true},
      {"south, last tick", 99, 200, 100, true},
      {"south, end", 100, 200, 100, false},
      {"south, winter", 150, 200, 100, false},
      {"south, before", 199, 200, 100, false},
      {"south, first tick", 200, 200, 100, true},
      {"south, end of the year", 0xFFFFFFFFFFFFFFFF, 200, 100, true},
      {"unsigned", 0x8000000000000000, 1, 0xFFFFFFFFFFFFFFFF, true},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(IsInDaylightSpan({row.time}, {row.start}, {row.end}), row.expected) << row.name;
  }
}

TEST(TransitionOfYearTest, GivesTheTypedDates) {
  struct Case {
    const char* name;
    unsigned year;
    winapi::SystemTime rule;
    const char* expected;
  };
  const Case cases[] = {
      {"Berlin to daylight", 2026, Rule(3, 0, 5, 2), "2026-03-29 02:00:00.000 day 0"},
      {"Berlin to standard", 2026, Rule(10, 0, 5, 3), "2026-10-25 03:00:00.000 day 0"},
      {"New York to daylight", 2026, Rule(3, 0, 2, 2), "2026-03-08 02:00:00.000 day 0"},
      {"New York to standard", 2026, Rule(11, 0, 1, 2), "2026-11-01 02:00:00.000 day 0"},
      {"Sydney to standard", 2026, Rule(4, 0, 1, 3), "2026-04-05 03:00:00.000 day 0"},
      {"Sydney to daylight", 2026, Rule(10, 0, 1, 2), "2026-10-04 02:00:00.000 day 0"},
      {"last of four Sundays", 2026, Rule(2, 0, 5, 1), "2026-02-22 01:00:00.000 day 0"},
      {"last of five Sundays", 2026, Rule(5, 0, 5, 1), "2026-05-31 01:00:00.000 day 0"},
      {"the last day itself", 2026, Rule(2, 6, 5, 0), "2026-02-28 00:00:00.000 day 6"},
      {"six days back", 2026, Rule(10, 0, 5, 0), "2026-10-25 00:00:00.000 day 0"},
      {"the first day itself", 2026, Rule(11, 0, 1, 0), "2026-11-01 00:00:00.000 day 0"},
      {"six days on", 2026, Rule(11, 6, 1, 0), "2026-11-07 00:00:00.000 day 6"},
      {"fourth week", 2026, Rule(11, 6, 4, 23), "2026-11-28 23:00:00.000 day 6"},
      {"leap day", 2000, Rule(2, 2, 5, 12), "2000-02-29 12:00:00.000 day 2"},
      {"no leap day", 1900, Rule(2, 3, 5, 12), "1900-02-28 12:00:00.000 day 3"},
      {"week 6 is the last", 2026, Rule(3, 0, 6, 2), "2026-03-29 02:00:00.000 day 0"},
      {"week 65535 is the last", 2026, Rule(3, 0, 65535, 2), "2026-03-29 02:00:00.000 day 0"},
      {"minutes dropped", 2026, Rule(4, 0, 1, 2, 30), "2026-04-05 02:00:00.000 day 0"},
      {"weekday 7 is Sunday", 2026, Rule(3, 7, 5, 2), "2026-03-29 02:00:00.000 day 0"},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(TransitionText(row.year, row.rule), row.expected) << row.name;
  }
}

TEST(TransitionOfYearTest, DropsSecondsMillisecondsAndTheRulesYear) {
  winapi::SystemTime rule = Rule(4, 0, 1, 2, 30);
  rule.wYear = 1999;
  rule.wSecond = 41;
  rule.wMilliseconds = 999;
  EXPECT_EQ(TransitionText(2026, rule), "2026-04-05 02:00:00.000 day 0");
}

// Walks the month day by day.
DateTime WalkToTransition(unsigned year, unsigned month, unsigned dayOfWeek, unsigned week) {
  using std::chrono::sys_days;
  const auto first = sys_days(std::chrono::year(static_cast<int>(year)) /
                              std::chrono::month(month) / std::chrono::day(1));
  unsigned found = 0;
  unsigned result = 0;
  for (sys_days day = first; std::chrono::year_month_day(day).month() == std::chrono::month(month);
       day += std::chrono::days(1)) {
    if (std::chrono::weekday(day).c_encoding() != dayOfWeek) continue;
    if (++found <= week) result = static_cast<unsigned>((day - first).count()) + 1;
  }
  return Instant(static_cast<int>(year), month, result, 2);
}

TEST(TransitionOfYearTest, AgreesWithAWalkThroughTheMonth) {
  for (unsigned year = 1601; year <= 2401; year += 7) {
    for (unsigned month = 1; month <= 12; ++month) {
      for (unsigned day = 0; day < 7; ++day) {
        for (unsigned week = 1; week <= 5; ++week) {
          ASSERT_EQ(TransitionOfYear(static_cast<std::uint16_t>(year), Rule(month, day, week, 2)),
                    WalkToTransition(year, month, day, week))
              << year << "-" << month << " day " << day << " week " << week;
        }
      }
    }
  }
}

TEST(TransitionOfYearTestOwnProcess, RuleWithoutADateThrows) {
  struct Case {
    const char* name;
    unsigned year;
    winapi::SystemTime rule;
    std::size_t reports;
  };
  const Case cases[] = {
      {"hour 24", 2026, Rule(3, 0, 1, 24), 0},
      {"month 0, first week", 2026, Rule(0, 0, 1, 2), 0},
      {"month 13, first week", 2026, Rule(13, 0, 1, 2), 0},
      {"before the first year", 1600, Rule(3, 0, 5, 2), 0},
      {"week 0", 2026, Rule(3, 0, 0, 2), 0},
      {"week 0 from the first weekday", 2026, Rule(11, 6, 0, 2), 0},
      {"month 13, last week", 2026, Rule(13, 0, 5, 2), 1},
  };
  for (const Case& row : cases) {
    try {
      (void)TransitionOfYear(static_cast<std::uint16_t>(row.year), row.rule);
      ADD_FAILURE() << row.name << ": nothing thrown";
    } catch (const TimeSystemError& error) {
      EXPECT_EQ(error.Line(), 67u) << row.name;
    }
    EXPECT_EQ(CountReported(kMonthCheck), row.reports) << row.name;
  }
}

TEST(TransitionOfYearTestOwnProcess, LastWeekOfMonthZeroIsReportedAndThrows) {
  try {
    (void)TransitionOfYear(2026, Rule(0, 0, 5, 2));
    ADD_FAILURE() << "nothing thrown";
  } catch (const TimeSystemError& error) {
    EXPECT_EQ(error.Message(), u"Cannot convert system time to file time: 2026-00-00 02:00:00.000");
  }
  EXPECT_EQ(CountReported(kMonthCheck), 1u);
}

}  // namespace
}  // namespace oru::datetime
