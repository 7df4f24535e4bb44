// The host's clock: the system's, or one that a test has stopped.
#ifndef WINAPI_HOST_CLOCK_H_
#define WINAPI_HOST_CLOCK_H_

#include <cstdint>

#include "winapi/types.h"

namespace winapi::host {

inline constexpr std::uint64_t kTicksPerSecond = 10'000'000;
// From 1 January 1601, where Windows counts from, to 1970, where time_t does.
inline constexpr std::uint64_t kTicksFrom1601To1970 = 11'644'473'600 * kTicksPerSecond;

// 100 ns since 1601, UTC.
[[nodiscard]] std::uint64_t ClockTicks() noexcept;

// Lets that time pass: waits, or moves the stopped clock on.
void LetPass(Dword milliseconds) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_CLOCK_H_
