#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <string>

#include "winapi/host/control.h"
#include "winapi/modules.h"
#include "winapi/time.h"

namespace {

using winapi::SystemTime;
using winapi::TimeZoneInformation;

// A yearly rule as it is read aloud: month/weekday/week hour:minute.
struct Rule {
  unsigned month;
  unsigned weekday;
  unsigned week;
  unsigned hour;
  unsigned minute = 0;
};
constexpr Rule kNone{0, 0, 0, 0};

struct ZoneYear {
  const char* zone;
  unsigned year;
  int bias;
  int daylightBias;
  Rule standard;
  Rule daylight;
};

void ExpectRule(const Rule& expected, const SystemTime& actual) {
  EXPECT_EQ(0, actual.wYear);
  EXPECT_EQ(expected.month, actual.wMonth);
  EXPECT_EQ(expected.weekday, actual.wDayOfWeek);
  EXPECT_EQ(expected.week, actual.wDay);
  EXPECT_EQ(expected.hour, actual.wHour);
  EXPECT_EQ(expected.minute, actual.wMinute);
  EXPECT_EQ(0, actual.wSecond);
  EXPECT_EQ(0, actual.wMilliseconds);
}

TimeZoneInformation ZoneOf(unsigned year) {
  const auto forYear =
      reinterpret_cast<winapi::GetTimeZoneInformationForYearFunction>(winapi::GetProcAddress(
          winapi::GetModuleHandleW(u"kernel32.dll"), "GetTimeZoneInformationForYear"));
  TimeZoneInformation zone{};
  EXPECT_NE(0, forYear(static_cast<std::uint16_t>(year), nullptr, &zone));
  return zone;
}

void ExpectZone(const ZoneYear& expected) {
  SCOPED_TRACE(std::string(expected.zone) + " " + std::to_string(expected.year));
  winapi::host::SetTimeZone(expected.zone);
  const TimeZoneInformation zone = ZoneOf(expected.year);
  EXPECT_EQ(expected.bias, zone.Bias);
  EXPECT_EQ(0, zone.StandardBias);
  EXPECT_EQ(expected.daylightBias, zone.DaylightBias);
  ExpectRule(expected.standard, zone.StandardDate);
  ExpectRule(expected.daylight, zone.DaylightDate);
}

// The values that Windows publishes for its zones, which are the laws of those years.
TEST(HostTimeZone, TellsTheRulesOfEachYear) {
  constexpr Rule kSundayOne{4, 0, 1, 3};
  const ZoneYear kCases[] = {
      {"UTC", 2026, 0, -60, kNone, kNone},
      {"Europe/Berlin", 2010, -60, -60, {10, 0, 5, 3}, {3, 0, 5, 2}},
      {"Europe/Berlin", 2026, -60, -60, {10, 0, 5, 3}, {3, 0, 5, 2}},
      {"Europe/London", 2026, 0, -60, {10, 0, 5, 2}, {3, 0, 5, 1}},
      {"America/New_York", 2004, 300, -60, {10, 0, 5, 2}, {4, 0, 1, 2}},
      {"America/New_York", 2005, 300, -60, {10, 0, 5, 2}, {4, 0, 1, 2}},
      {"America/New_York", 2006, 300, -60, {10, 0, 5, 2}, {4, 0, 1, 2}},
      {"America/New_York", 2007, 300, -60, {11, 0, 1, 2}, {3, 0, 2, 2}},
      {"America/New_York", 2026, 300, -60, {11, 0, 1, 2}, {3, 0, 2, 2}},
      {"Australia/Sydney", 2004, -600, -60, {3, 0, 5, 3}, {10, 0, 5, 2}},
      {"Australia/Sydney", 2005, -600, -60, {3, 0, 5, 3}, {10, 0, 5, 2}},
      // A week later that year, for the Commonwealth Games.
      {"Australia/Sydney", 2006, -600, -60, {4, 0, 1, 3}, {10, 0, 5, 2}},
      {"Australia/Sydney", 2007, -600, -60, {3, 0, 5, 3}, {10, 0, 5, 2}},
      {"Australia/Sydney", 2008, -600, -60, kSundayOne, {10, 0, 1, 2}},
      {"Australia/Sydney", 2026, -600, -60, kSundayOne, {10, 0, 1, 2}},
      {"Australia/Lord_Howe", 2026, -630, -30, {4, 0, 1, 2}, {10, 0, 1, 2}},
      {"Asia/Kathmandu", 2026, -345, -60, kNone, kNone},
      {"America/Sao_Paulo", 2010, 180, -60, {2, 0, 3, 0}, {10, 0, 3, 0}},
      {"America/Sao_Paulo", 2018, 180, -60, {2, 0, 3, 0}, {11, 0, 1, 0}},
      {"America/Sao_Paulo", 2026, 180, -60, kNone, kNone},
  };
  for (const ZoneYear& one : kCases) ExpectZone(one);
}

// The other date is then 1 January, by its weekday, at midnight.
TEST(HostTimeZone, YearWithOneChangeOnly) {
  const ZoneYear kCases[] = {
      // Summer time ended on 17 February 2019 and was given up; 1 January was a Tuesday.
      {"America/Sao_Paulo", 2019, 180, -60, {2, 0, 3, 0}, {1, 2, 1, 0}},
      // Summer time came on 27 March 2011 and stayed; 1 January was a Saturday.
      {"Europe/Moscow", 2011, -180, -60, {1, 6, 1, 0}, {3, 0, 5, 2}},
      // And went on 26 October 2014; 1 January was a Wednesday.
      {"Europe/Moscow", 2014, -180, -60, {10, 0, 5, 2}, {1, 3, 1, 0}},
  };
  for (const ZoneYear& one : kCases) ExpectZone(one);
  ExpectZone({"Europe/Moscow", 2012, -240, -60, kNone, kNone});
}

// The database calls the Irish winter daylight time with a negative shift.
TEST(HostTimeZone, GoesByTheDistanceFromUtcAndNotByTheName) {
  ExpectZone({"Europe/Dublin", 2026, 0, -60, {10, 0, 5, 2}, {3, 0, 5, 1}});
}

TEST(HostTimeZone, YearsThatTheClockCannotHaveGiveTheCurrentRule) {
  winapi::host::SetClock(134396886123450000);  // 2026
  ExpectZone({"America/New_York", 0, 300, -60, {11, 0, 1, 2}, {3, 0, 2, 2}});
  ExpectZone({"America/New_York", 1600, 300, -60, {11, 0, 1, 2}, {3, 0, 2, 2}});
  ExpectZone({"America/New_York", 30828, 300, -60, {11, 0, 1, 2}, {3, 0, 2, 2}});
}

TEST(HostTimeZone, TakesTheZoneBackToTheProcesssOwn) {
  winapi::host::SetTimeZone("");
  ASSERT_EQ(0, setenv("TZ", "Asia/Kathmandu", 1));
  winapi::host::SetTimeZone("Europe/Berlin");
  EXPECT_EQ(-60, ZoneOf(2026).Bias);
  winapi::host::SetTimeZone("");
  EXPECT_EQ(-345, ZoneOf(2026).Bias);
}

TEST(HostTimeZone, NamesTheTwoTimes) {
  winapi::host::SetTimeZone("Europe/Berlin");
  const TimeZoneInformation zone = ZoneOf(2026);
  EXPECT_EQ(std::u16string(u"CET"), zone.StandardName);
  EXPECT_EQ(std::u16string(u"CEST"), zone.DaylightName);
}

std::uint64_t Ticks(std::chrono::sys_seconds time) {
  return static_cast<std::uint64_t>(time.time_since_epoch().count() + 11644473600) * 10000000;
}

TEST(HostTimeZone, SaysWhetherDaylightTimeIsOn) {
  using namespace std::chrono_literals;
  using std::chrono::sys_days;
  struct Case {
    const char* zone;
    std::chrono::sys_seconds change;
    winapi::Dword before;
    winapi::Dword after;
  };
  const Case kCases[] = {
      {"Europe/Berlin", sys_days{2026y / 3 / 29} + 1h, 1, 2},
      {"Europe/Berlin", sys_days{2026y / 10 / 25} + 1h, 2, 1},
      {"Australia/Sydney", sys_days{2026y / 4 / 4} + 16h, 2, 1},
      {"Australia/Sydney", sys_days{2026y / 10 / 3} + 16h, 1, 2},
      {"Australia/Sydney", sys_days{2026y / 1 / 1}, 2, 2},
      {"Asia/Kathmandu", sys_days{2026y / 7 / 1}, 0, 0},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.zone);
    winapi::host::SetTimeZone(one.zone);
    TimeZoneInformation zone{};
    winapi::host::SetClock(Ticks(one.change) - 1);
    EXPECT_EQ(one.before, winapi::GetTimeZoneInformation(&zone));
    winapi::host::SetClock(Ticks(one.change));
    EXPECT_EQ(one.after, winapi::GetTimeZoneInformation(&zone));
  }
}

// The instant of a yearly rule in seconds since 1970 on the zone's clock, found by walking the
// month.
std::int64_t ClockOfRule(int year, const SystemTime& rule) {
  using namespace std::chrono;
  sys_days found{};
  int seen = 0;
  for (unsigned day = 1; day <= 31; ++day) {
    const year_month_day date{std::chrono::year(year), month(rule.wMonth), std::chrono::day(day)};
    if (!date.ok() || weekday(sys_days(date)).c_encoding() != rule.wDayOfWeek) continue;
    if (++seen <= rule.wDay) found = sys_days(date);
  }
  return (found.time_since_epoch() + 0s).count() + rule.wHour * 3600 + rule.wMinute * 60;
}

// A year's rules, as their reader computes with them.
class YearByRules {
 public:
  YearByRules(const TimeZoneInformation& zone, int year) : m_zone(zone) {
    if (zone.StandardDate.wMonth == 0) return;
    m_start = ClockOfRule(year, zone.DaylightDate) + zone.Bias * 60;
    m_end = ClockOfRule(year, zone.StandardDate) + (zone.Bias + zone.DaylightBias) * 60;
  }

  // Minutes that local time is behind UTC at `at`.
  [[nodiscard]] std::int64_t BiasAt(std::int64_t at) const {
    if (m_zone.StandardDate.wMonth == 0) return m_zone.Bias;
    const bool on = m_start <= m_end ? m_start <= at && at < m_end : at >= m_start || at < m_end;
    return m_zone.Bias + (on ? m_zone.DaylightBias : 0);
  }

 private:
  TimeZoneInformation m_zone;
  std::int64_t m_start = 0;
  std::int64_t m_end = 0;
};

// The rules, read back, agree with the C library's conversion of the instant itself.
TEST(HostTimeZone, RulesGiveTheLocalTimeOfEachHour) {
  for (const char* name :
       {"Europe/Berlin", "Europe/Dublin", "America/New_York", "Australia/Sydney",
        "Australia/Lord_Howe", "Asia/Kathmandu", "America/Santiago", "Pacific/Chatham"}) {
    SCOPED_TRACE(name);
    winapi::host::SetTimeZone(name);
    for (const int year : {2000, 2004, 2006, 2007, 2008, 2019, 2026, 2037}) {
      const YearByRules rules(ZoneOf(static_cast<unsigned>(year)), year);
      using namespace std::chrono;
      const std::int64_t first =
          (sys_days{std::chrono::year(year) / 1 / 2}.time_since_epoch() + 0s).count();
      for (std::time_t at = first; at < first + 362 * 86400; at += 3600) {
        std::tm local{};
        ::localtime_r(&at, &local);
        ASSERT_EQ(-local.tm_gmtoff / 60, rules.BiasAt(at)) << year << " " << at;
      }
    }
  }
}

TEST(HostTimeZone, TakesRulesOfATestsOwn) {
  winapi::host::SetClock(Ticks(std::chrono::sys_days{std::chrono::year(2026) / 7 / 1}));
  winapi::host::SetTimeZoneRule([](unsigned year) -> std::optional<TimeZoneInformation> {
    if (year != 2026) return std::nullopt;
    TimeZoneInformation zone{};
    zone.Bias = 17;
    zone.StandardBias = 5;
    zone.DaylightBias = -42;
    zone.StandardDate.wMonth = 10;
    zone.StandardDate.wDay = 1;
    zone.DaylightDate.wMonth = 5;
    zone.DaylightDate.wDay = 1;
    return zone;
  });
  TimeZoneInformation zone{};
  EXPECT_EQ(2u, winapi::GetTimeZoneInformation(&zone));
  EXPECT_EQ(17, zone.Bias);
  EXPECT_EQ(17, ZoneOf(2026).Bias);
  const winapi::FileTime utc{.dwLowDateTime = 0, .dwHighDateTime = 0x01DC0000};
  winapi::FileTime local{};
  ASSERT_NE(0, winapi::FileTimeToLocalFileTime(&utc, &local));
  const std::uint64_t moved = (std::uint64_t{local.dwHighDateTime} << 32 | local.dwLowDateTime) -
                              (std::uint64_t{utc.dwHighDateTime} << 32);
  EXPECT_EQ(std::uint64_t{25} * 600000000, moved);  // 42 minutes forward, 17 back

  winapi::host::SetClock(Ticks(std::chrono::sys_days{std::chrono::year(2027) / 7 / 1}));
  EXPECT_EQ(winapi::kTimeZoneIdInvalid, winapi::GetTimeZoneInformation(&zone));
  winapi::host::SetTimeZone("Asia/Kathmandu");
  EXPECT_EQ(0u, winapi::GetTimeZoneInformation(&zone));
}

}  // namespace
