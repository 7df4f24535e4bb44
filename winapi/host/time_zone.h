// The time zone, as Windows tells it: two yearly rules and three biases for a year.
#ifndef WINAPI_HOST_TIME_ZONE_H_
#define WINAPI_HOST_TIME_ZONE_H_

#include <cstdint>
#include <optional>

#include "winapi/time.h"

namespace winapi::host {

// The process's zone in `year`, or what the test's own rule gives; nullopt when that gives none.
//
// The rules come from the C library, which reads the system's zone database: each instant of the
// year at which the distance from UTC changes becomes a date read on the clock that runs until
// then, as the n-th such weekday of its month (5: the last). The smaller distance is standard time,
// whatever the database calls it, as on Windows. A year with one change only has 1 January as the
// other date, again as on Windows. Of more than one rise and one fall the first of each is told;
// Windows' form has no room for more. Seconds of a distance, as before 1900, are dropped.
// Years that the clock can't have (before 1601, after 30827) give the rule of the current year.
[[nodiscard]] std::optional<TimeZoneInformation> ZoneOfYear(unsigned year);

// Whether daylight time is on at `ticks` (UTC), by the rules of `zone` for `year`. False for a zone
// without rules.
[[nodiscard]] bool IsDaylightTime(const TimeZoneInformation& zone, unsigned year,
                                  std::uint64_t ticks);

// The year of `ticks`, UTC.
[[nodiscard]] unsigned YearOf(std::uint64_t ticks);

// What GetProcAddress gives for "GetTimeZoneInformationForYear"; logs and fails under that name.
Bool WINAPI_STDCALL GetTimeZoneInformationForYear(std::uint16_t year, void* dynamicZone,
                                                  TimeZoneInformation* zone) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_TIME_ZONE_H_
