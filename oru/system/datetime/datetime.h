// Time: instants as ticks, and their broken-down forms in UTC and in local time.
//
// Each function that converts throws TimeSystemError when the system refuses a value.
#ifndef ORU_SYSTEM_DATETIME_DATETIME_H_
#define ORU_SYSTEM_DATETIME_DATETIME_H_

#include <compare>
#include <cstdint>

#include "oru/system/datetime/time_system_error.h"
#include "winapi/time.h"

namespace oru::datetime {

// An instant: the count of 100 ns ticks since 1 January 1601, UTC. Arithmetic on `ticks` wraps.
struct DateTime {
  std::uint64_t ticks = 0;

  // NOLINTNEXTLINE(modernize-use-nullptr): the compiler compares the result with a plain 0
  friend auto operator<=>(const DateTime&, const DateTime&) noexcept = default;
};

inline constexpr std::uint64_t kTicksPerMillisecond = 10'000;
inline constexpr std::uint64_t kTicksPerMinute = 600'000'000;

// Unsigned, so that a negative number of minutes wraps and adding it goes back.
[[nodiscard]] constexpr std::uint64_t TicksOfMinutes(std::int64_t minutes) noexcept {
  return static_cast<std::uint64_t>(minutes) * kTicksPerMinute;
}

// The clock.
[[nodiscard]] DateTime Now() noexcept;

// The UTC form. Fails for instants from 0x8000000000000000 up.
[[nodiscard]] winapi::SystemTime ToSystemTime(DateTime time);

// The local form, by the time-zone rules of the instant's UTC year.
[[nodiscard]] winapi::SystemTime ToLocalSystemTime(DateTime time);

// The instant of a UTC form; wDayOfWeek is ignored. Fails for what isn't a date and for years
// before 1601.
[[nodiscard]] DateTime FromSystemTime(const winapi::SystemTime& systemTime);

}  // namespace oru::datetime

#endif  // ORU_SYSTEM_DATETIME_DATETIME_H_
