// Ticks as Windows passes them: in two halves of 32 bits.
#ifndef ORU_SYSTEM_DATETIME_FILE_TIME_H_
#define ORU_SYSTEM_DATETIME_FILE_TIME_H_

#include <cstdint>

#include "oru/system/datetime/datetime.h"
#include "winapi/time.h"
#include "winapi/types.h"

namespace oru::datetime::detail {

[[nodiscard]] constexpr winapi::FileTime ToFileTime(DateTime time) noexcept {
  return {static_cast<winapi::Dword>(time.ticks), static_cast<winapi::Dword>(time.ticks >> 32)};
}

[[nodiscard]] constexpr DateTime FromFileTime(const winapi::FileTime& time) noexcept {
  return {std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime};
}

}  // namespace oru::datetime::detail

#endif  // ORU_SYSTEM_DATETIME_FILE_TIME_H_
