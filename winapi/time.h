// The clock, broken-down time, the time zone, and sleeping.
#ifndef WINAPI_TIME_H_
#define WINAPI_TIME_H_

#include <cstdint>

#include "winapi/types.h"

namespace winapi {

// FILETIME: 100 ns ticks since 1 January 1601, UTC, in two halves.
struct FileTime {
  Dword dwLowDateTime;
  Dword dwHighDateTime;
};

// SYSTEMTIME. wDayOfWeek: 0 is Sunday.
struct SystemTime {
  std::uint16_t wYear;
  std::uint16_t wMonth;
  std::uint16_t wDayOfWeek;
  std::uint16_t wDay;
  std::uint16_t wHour;
  std::uint16_t wMinute;
  std::uint16_t wSecond;
  std::uint16_t wMilliseconds;
};

// TIME_ZONE_INFORMATION. Biases are minutes, local time is UTC minus bias. A date is a yearly rule:
// wDay is the week of the month (5: the last), and month 0 says that there is no rule.
struct TimeZoneInformation {
  std::int32_t Bias;
  char16_t StandardName[32];
  SystemTime StandardDate;
  std::int32_t StandardBias;
  char16_t DaylightName[32];
  SystemTime DaylightDate;
  std::int32_t DaylightBias;
};

// OSVERSIONINFOEXW.
struct OsVersionInfo {
  Dword dwOSVersionInfoSize;
  Dword dwMajorVersion;
  Dword dwMinorVersion;
  Dword dwBuildNumber;
  Dword dwPlatformId;
  char16_t szCSDVersion[128];
  std::uint16_t wServicePackMajor;
  std::uint16_t wServicePackMinor;
  std::uint16_t wSuiteMask;
  std::uint8_t wProductType;
  std::uint8_t wReserved;
};

inline constexpr Dword kVerMinorVersion = 0x01;      // VER_MINORVERSION
inline constexpr Dword kVerMajorVersion = 0x02;      // VER_MAJORVERSION
inline constexpr Dword kVerServicePackMajor = 0x20;  // VER_SERVICEPACKMAJOR
inline constexpr std::uint8_t kVerGreaterEqual = 3;  // VER_GREATER_EQUAL

inline constexpr Dword kTimeZoneIdInvalid = 0xFFFFFFFF;  // TIME_ZONE_ID_INVALID

void GetSystemTimeAsFileTime(FileTime* time) noexcept;

// 0 with last error 87 for a time from 0x8000000000000000 up.
[[nodiscard]] Bool FileTimeToSystemTime(const FileTime* fileTime, SystemTime* systemTime) noexcept;

// 0 with last error 87 for a date that isn't one or lies outside 1601 to 30827; wDayOfWeek is
// ignored. Wine also takes 29 February in years that have none, and later years.
[[nodiscard]] Bool SystemTimeToFileTime(const SystemTime* systemTime, FileTime* fileTime) noexcept;

// Moves a time by the bias of today, whatever the time is.
[[nodiscard]] Bool FileTimeToLocalFileTime(const FileTime* utc, FileTime* local) noexcept;

// Fills `zone` with the rules of the current year. 0: the zone has no daylight rule, 1: standard
// time is on, 2: daylight time is on, kTimeZoneIdInvalid with the last error set: failure.
[[nodiscard]] Dword GetTimeZoneInformation(TimeZoneInformation* zone) noexcept;

// What GetProcAddress gives for "GetTimeZoneInformationForYear" of kernel32.dll: as above, for a
// year. `dynamicZone` null is the current zone, and the host takes nothing else (87). 0 on
// failure; on success the last error may have changed all the same.
using GetTimeZoneInformationForYearFunction = Bool(WINAPI_STDCALL*)(std::uint16_t year,
                                                                    void* dynamicZone,
                                                                    TimeZoneInformation* zone);

// Builds the mask for VerifyVersionInfoW: `condition` for the one `type` (kVer...).
[[nodiscard]] std::uint64_t VerSetConditionMask(std::uint64_t mask, Dword type,
                                                std::uint8_t condition) noexcept;

// Compares the system's version with `info`, major, minor and service pack in this order, each only
// where those before are equal. 0 with last error 1150 when it isn't met, 160 for no type or a type
// without a condition. The host knows kVerGreaterEqual and the three types above only.
[[nodiscard]] Bool VerifyVersionInfoW(OsVersionInfo* info, Dword types,
                                      std::uint64_t mask) noexcept;

// Blocks the calling thread for at least that many milliseconds.
void Sleep(Dword milliseconds) noexcept;

}  // namespace winapi

#endif  // WINAPI_TIME_H_
