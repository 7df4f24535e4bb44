#include "oru/system/datetime/time_zone.h"

#include "oru/rtl/check.h"
#include "oru/system/datetime/file_time.h"
#include "oru/system/datetime/time_system_error.h"
#include "oru/system/datetime/windows/year_function.h"
#include "winapi/errors.h"

namespace oru::datetime {
namespace {

// A fixed position; see ThrowTimeSystemError.
constexpr std::uint32_t kUnknownZoneLine = 245;

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

// A month of 0 in either date means that the year has no change.
bool HasDaylightRule(const winapi::TimeZoneInformation& record) noexcept {
  return record.DaylightDate.wMonth != 0 && record.StandardDate.wMonth != 0;
}

// The last way: how far the local clock is from UTC at this moment.
std::int32_t GetCurrentOffset(winapi::TimeZoneInformation& record) noexcept {
  const DateTime utc = Now();
  const winapi::FileTime utcTime = detail::ToFileTime(utc);
  winapi::FileTime localTime{};
  if (winapi::FileTimeToLocalFileTime(&utcTime, &localTime) == 0) return kZoneUnknown;
  const auto ahead = static_cast<std::int64_t>(utc.ticks - detail::FromFileTime(localTime).ticks);
  record.Bias = static_cast<std::int32_t>(ahead / static_cast<std::int64_t>(kTicksPerMinute));
  return kZoneWithoutDaylight;
}

}  // namespace

std::int64_t GetTimeZoneBias(DateTime time, std::uint16_t year, bool isUtc, bool& useDaylight) {
  winapi::TimeZoneInformation record{};
  const std::int32_t id = GetYearTimeZone(year, record);
  const std::int64_t bias = record.Bias;
  if (id == kZoneWithoutDaylight) {
    useDaylight = false;
    return bias;
  }
  if (id != kZoneWithStandard && id != kZoneWithDaylight) {
    const winapi::Error error = winapi::GetLastError();
    useDaylight = false;
    detail::ThrowTimeSystemError(u"Cannot get timezone information", error, kUnknownZoneLine);
  }
  // The zone's own bias alone, without the standard one.
  if (!useDaylight) return bias;

  DateTime standard = TransitionOfYear(year, record.StandardDate);
  DateTime daylight = TransitionOfYear(year, record.DaylightDate);
  if (isUtc) {
    // Each transition is read on the clock that runs until then.
    standard.ticks += TicksOfMinutes(bias + record.DaylightBias);
    daylight.ticks += TicksOfMinutes(bias + record.StandardBias);
  }
  useDaylight = IsInDaylightSpan(time, daylight, standard);
  return bias + (useDaylight ? record.DaylightBias : record.StandardBias);
}

std::int32_t GetYearTimeZone(std::uint16_t year, winapi::TimeZoneInformation& record) noexcept {
  const auto function = detail::YearFunction();
  if (function != nullptr && function(year, /*dynamicZone=*/nullptr, &record) != 0) {
    return HasDaylightRule(record) ? kZoneWithDaylight : kZoneWithoutDaylight;
  }
  // The rules of the current year, whichever year was asked for: all that older systems know.
  const winapi::Dword id = winapi::GetTimeZoneInformation(&record);
  if (id != winapi::kTimeZoneIdInvalid) return static_cast<std::int32_t>(id);
  return GetCurrentOffset(record);
}

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
  // South of the equator daylight time begins late in the year and ends early in the next one.
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
