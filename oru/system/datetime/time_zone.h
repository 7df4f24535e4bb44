// The time zone's rules by year, and what follows from them for an instant.
//
// Biases are minutes; local time is UTC minus bias.
#ifndef ORU_SYSTEM_DATETIME_TIME_ZONE_H_
#define ORU_SYSTEM_DATETIME_TIME_ZONE_H_

#include <cstdint>

#include "oru/system/datetime/datetime.h"
#include "winapi/time.h"

namespace oru::datetime {

// What GetYearTimeZone gives.
inline constexpr std::int32_t kZoneWithoutDaylight = 0;
inline constexpr std::int32_t kZoneWithStandard = 1;
inline constexpr std::int32_t kZoneWithDaylight = 2;
inline constexpr std::int32_t kZoneUnknown = -1;

// The zone's total bias at `time`, by the rules of `year`. `isUtc` says that `time` is an instant;
// else it is a clock reading of the zone. `useDaylight` going in: whether to look for daylight time
// at all; if false, the bias is the zone's alone. Coming out: whether daylight time is on. Throws
// TimeSystemError, with `useDaylight` false, when the system knows no zone, and when a rule's date
// isn't one.
[[nodiscard]] std::int64_t GetTimeZoneBias(DateTime time, std::uint16_t year, bool isUtc,
                                           bool& useDaylight);

// Fills `record` with the zone's rules for `year`, by the best way that the system has: the rules
// of that year, those of the current year, or the offset of the local clock alone. Gives
// kZoneWithoutDaylight, 1 or 2 when there is a daylight rule, kZoneUnknown with the last error set
// when all ways fail; another number is one that the system gave.
[[nodiscard]] std::int32_t GetYearTimeZone(std::uint16_t year,
                                           winapi::TimeZoneInformation& record) noexcept;

// The clock reading at which a yearly rule falls in `year`: wMonth the month, wDayOfWeek the day of
// the week, wDay the week of the month (from 5 up: the last), wHour the hour. Minutes of a rule are
// dropped. Throws TimeSystemError for a rule that names no date.
[[nodiscard]] DateTime TransitionOfYear(std::uint16_t year, const winapi::SystemTime& rule);

// Whether `time` lies from `start` on and before `end`; with `start` above `end` the span wraps
// round the new year.
[[nodiscard]] bool IsInDaylightSpan(DateTime time, DateTime start, DateTime end) noexcept;

// Days of a month of the Gregorian calendar; `monthIndex` counts from 0. Any index from 12 up is
// reported and gives 0.
[[nodiscard]] unsigned DaysInMonth(unsigned monthIndex, unsigned year) noexcept;

}  // namespace oru::datetime

#endif  // ORU_SYSTEM_DATETIME_TIME_ZONE_H_
