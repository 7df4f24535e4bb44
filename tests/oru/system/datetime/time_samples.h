// Instants and broken-down times as tests write them down. The calendar is the standard library's.
#ifndef TESTS_ORU_SYSTEM_DATETIME_TIME_SAMPLES_H_
#define TESTS_ORU_SYSTEM_DATETIME_TIME_SAMPLES_H_

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

#include "oru/system/datetime/datetime.h"
#include "winapi/time.h"

namespace tests {

inline constexpr std::uint64_t kTicksPerSecond = 10'000'000;
// From 1601 to 1970.
inline constexpr std::int64_t kSecondsBeforeUnixTime = 11'644'473'600;

// The ticks of a date and time of the Gregorian calendar, UTC.
inline oru::datetime::DateTime Instant(int year, unsigned month, unsigned day, unsigned hour = 0,
                                       unsigned minute = 0, unsigned second = 0,
                                       unsigned millisecond = 0) {
  const std::chrono::sys_days date =
      std::chrono::year(year) / static_cast<int>(month) / std::chrono::day(day);
  const std::int64_t days = date.time_since_epoch().count();
  const std::int64_t seconds = days * 86400 + hour * 3600 + minute * 60 + second;
  const auto ticks = static_cast<std::uint64_t>(seconds + kSecondsBeforeUnixTime) * kTicksPerSecond;
  return {ticks + millisecond * oru::datetime::kTicksPerMillisecond};
}

inline winapi::SystemTime Fields(unsigned year, unsigned month, unsigned day, unsigned hour = 0,
                                 unsigned minute = 0, unsigned second = 0,
                                 unsigned millisecond = 0) {
  const auto narrow = [](unsigned number) { return static_cast<std::uint16_t>(number); };
  return {narrow(year),   narrow(month),      0, narrow(day), narrow(hour), narrow(minute),
          narrow(second), narrow(millisecond)};
}

// "2026-11-15 05:27:41.031 day 0".
inline std::string TextOf(const winapi::SystemTime& time) {
  char text[80];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d day %d", time.wYear,
                time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond, time.wMilliseconds,
                time.wDayOfWeek);
  return text;
}

// The same of an instant, in UTC, by the standard library.
inline std::string CalendarText(oru::datetime::DateTime time) {
  const std::uint64_t day = 86400 * kTicksPerSecond;
  const auto days =
      static_cast<int>(time.ticks / day) - static_cast<int>(kSecondsBeforeUnixTime / 86400);
  const std::chrono::sys_days date{std::chrono::days(days)};
  const std::chrono::year_month_day parts(date);
  const auto ms = static_cast<unsigned>(time.ticks % day / oru::datetime::kTicksPerMillisecond);
  winapi::SystemTime fields = Fields(
      static_cast<unsigned>(static_cast<int>(parts.year())), static_cast<unsigned>(parts.month()),
      static_cast<unsigned>(parts.day()), ms / 3600000, ms / 60000 % 60, ms / 1000 % 60, ms % 1000);
  fields.wDayOfWeek = static_cast<std::uint16_t>(std::chrono::weekday(date).c_encoding());
  return TextOf(fields);
}

// A yearly rule: the `week`th `dayOfWeek` of `month` (week 5: the last).
inline winapi::SystemTime Rule(unsigned month, unsigned dayOfWeek, unsigned week, unsigned hour,
                               unsigned minute = 0) {
  winapi::SystemTime rule = Fields(0, month, week, hour, minute);
  rule.wDayOfWeek = static_cast<std::uint16_t>(dayOfWeek);
  return rule;
}

}  // namespace tests

#endif  // TESTS_ORU_SYSTEM_DATETIME_TIME_SAMPLES_H_
