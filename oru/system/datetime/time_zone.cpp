#include "oru/system/datetime/time_zone.h"

#include "oru/rtl/check.h"

namespace oru::datetime {
namespace {

constexpr unsigned kDaysOfWeek = 7;
constexpr unsigned kLastWeek = 5;  // a rule's week from which on the last one of the month is meant

bool IsLeapYear(unsigned year) noexcept {
  return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

// Days from one weekday forward to the next that is `to`: 0 to 6, whatever numbers come in.
unsigned DaysUntil(unsigned from, unsigned to) noexcept {
  return (to % kDaysOfWeek + kDaysOfWeek - from % kDaysOfWeek) % kDaysOfWeek;
}

// Learns the day of the week by going through the ticks.
winapi::SystemTime WithDayOfWeek(const winapi::SystemTime& time) {
  return ToSystemTime(FromSystemTime(time));
}

// Both in 16 bits, as the field is: a rule's week of 0 ends in a day that isn't one.
void MoveBack(winapi::SystemTime& time, unsigned days) noexcept {
  time.wDay = static_cast<std::uint16_t>(time.wDay - days);
}
void MoveForward(winapi::SystemTime& time, unsigned days) noexcept {
  time.wDay = static_cast<std::uint16_t>(time.wDay + days);
}

}  // namespace

DateTime TransitionOfYear(std::uint16_t year, const winapi::SystemTime& rule) {
  winapi::SystemTime date{};
  date.wYear = year;
  date.wMonth = rule.wMonth;
  date.wHour = rule.wHour;
  if (rule.wDay >= kLastWeek) {
    date.wDay = static_cast<std::uint16_t>(DaysInMonth(rule.wMonth - 1u, year));
    date = WithDayOfWeek(date);
    MoveBack(date, DaysUntil(rule.wDayOfWeek, date.wDayOfWeek));
  } else {
    date.wDay = 1;
    date = WithDayOfWeek(date);
    MoveForward(date, DaysUntil(date.wDayOfWeek, rule.wDayOfWeek) + (rule.wDay - 1u) * kDaysOfWeek);
  }
  return FromSystemTime(date);
}

bool IsInDaylightSpan(DateTime time, DateTime start, DateTime end) noexcept {
  if (start <= end) return start <= time && time < end;
  return time >= start || time < end;
}

unsigned DaysInMonth(unsigned monthIndex, unsigned year) noexcept {
  switch (monthIndex) {
    case 0:
    case 2:
    case 4:
    case 6:
    case 7:
    case 9:
    case 11:
      return 31;
    case 3:
    case 5:
    case 8:
    case 10:
      return 30;
    case 1:
      return IsLeapYear(year) ? 29 : 28;
    default:
      ORU_CHECK_TEXT(false, "false && \"Incorrect value of month\"");
      return 0;
  }
}

}  // namespace oru::datetime
