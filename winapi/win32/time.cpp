#include "winapi/time.h"

#include <windows.h>

#include <cstddef>

#include "winapi/win32/shape.h"

namespace winapi {

// Both sides are spelled alike but for the capitals. NOLINTNEXTLINE(misc-redundant-expression)
static_assert(sizeof(FileTime) == sizeof(FILETIME) && alignof(FileTime) == alignof(FILETIME));
static_assert(offsetof(FileTime, dwLowDateTime) == offsetof(FILETIME, dwLowDateTime));
static_assert(offsetof(FileTime, dwHighDateTime) == offsetof(FILETIME, dwHighDateTime));

static_assert(sizeof(SystemTime) == sizeof(SYSTEMTIME));
static_assert(offsetof(SystemTime, wYear) == offsetof(SYSTEMTIME, wYear));
static_assert(offsetof(SystemTime, wMonth) == offsetof(SYSTEMTIME, wMonth));
static_assert(offsetof(SystemTime, wDayOfWeek) == offsetof(SYSTEMTIME, wDayOfWeek));
static_assert(offsetof(SystemTime, wDay) == offsetof(SYSTEMTIME, wDay));
static_assert(offsetof(SystemTime, wHour) == offsetof(SYSTEMTIME, wHour));
static_assert(offsetof(SystemTime, wMinute) == offsetof(SYSTEMTIME, wMinute));
static_assert(offsetof(SystemTime, wSecond) == offsetof(SYSTEMTIME, wSecond));
static_assert(offsetof(SystemTime, wMilliseconds) == offsetof(SYSTEMTIME, wMilliseconds));

static_assert(sizeof(TimeZoneInformation) == sizeof(TIME_ZONE_INFORMATION));
static_assert(offsetof(TimeZoneInformation, Bias) == offsetof(TIME_ZONE_INFORMATION, Bias));
static_assert(offsetof(TimeZoneInformation, StandardName) ==
              offsetof(TIME_ZONE_INFORMATION, StandardName));
static_assert(offsetof(TimeZoneInformation, StandardDate) ==
              offsetof(TIME_ZONE_INFORMATION, StandardDate));
static_assert(offsetof(TimeZoneInformation, StandardBias) ==
              offsetof(TIME_ZONE_INFORMATION, StandardBias));
static_assert(offsetof(TimeZoneInformation, DaylightName) ==
              offsetof(TIME_ZONE_INFORMATION, DaylightName));
static_assert(offsetof(TimeZoneInformation, DaylightDate) ==
              offsetof(TIME_ZONE_INFORMATION, DaylightDate));
static_assert(offsetof(TimeZoneInformation, DaylightBias) ==
              offsetof(TIME_ZONE_INFORMATION, DaylightBias));

static_assert(sizeof(OsVersionInfo) == sizeof(OSVERSIONINFOEXW));
static_assert(offsetof(OsVersionInfo, dwOSVersionInfoSize) ==
              offsetof(OSVERSIONINFOEXW, dwOSVersionInfoSize));
static_assert(offsetof(OsVersionInfo, dwMajorVersion) ==
              offsetof(OSVERSIONINFOEXW, dwMajorVersion));
static_assert(offsetof(OsVersionInfo, dwMinorVersion) ==
              offsetof(OSVERSIONINFOEXW, dwMinorVersion));
static_assert(offsetof(OsVersionInfo, dwBuildNumber) == offsetof(OSVERSIONINFOEXW, dwBuildNumber));
static_assert(offsetof(OsVersionInfo, dwPlatformId) == offsetof(OSVERSIONINFOEXW, dwPlatformId));
static_assert(offsetof(OsVersionInfo, szCSDVersion) == offsetof(OSVERSIONINFOEXW, szCSDVersion));
static_assert(offsetof(OsVersionInfo, wServicePackMajor) ==
              offsetof(OSVERSIONINFOEXW, wServicePackMajor));
static_assert(offsetof(OsVersionInfo, wServicePackMinor) ==
              offsetof(OSVERSIONINFOEXW, wServicePackMinor));
static_assert(offsetof(OsVersionInfo, wSuiteMask) == offsetof(OSVERSIONINFOEXW, wSuiteMask));
static_assert(offsetof(OsVersionInfo, wProductType) == offsetof(OSVERSIONINFOEXW, wProductType));
static_assert(offsetof(OsVersionInfo, wReserved) == offsetof(OSVERSIONINFOEXW, wReserved));

static_assert(kVerMinorVersion == VER_MINORVERSION);
static_assert(kVerMajorVersion == VER_MAJORVERSION);
static_assert(kVerServicePackMajor == VER_SERVICEPACKMAJOR);
static_assert(kVerGreaterEqual == VER_GREATER_EQUAL);
static_assert(kTimeZoneIdInvalid == TIME_ZONE_ID_INVALID);

static_assert(win32::kSameShape<GetTimeZoneInformationForYearFunction,
                                decltype(&::GetTimeZoneInformationForYear)>);

void GetSystemTimeAsFileTime(FileTime* time) noexcept {
  ::GetSystemTimeAsFileTime(reinterpret_cast<FILETIME*>(time));
}

Bool FileTimeToSystemTime(const FileTime* fileTime, SystemTime* systemTime) noexcept {
  return ::FileTimeToSystemTime(reinterpret_cast<const FILETIME*>(fileTime),
                                reinterpret_cast<SYSTEMTIME*>(systemTime));
}

Bool SystemTimeToFileTime(const SystemTime* systemTime, FileTime* fileTime) noexcept {
  return ::SystemTimeToFileTime(reinterpret_cast<const SYSTEMTIME*>(systemTime),
                                reinterpret_cast<FILETIME*>(fileTime));
}

Bool FileTimeToLocalFileTime(const FileTime* utc, FileTime* local) noexcept {
  return ::FileTimeToLocalFileTime(reinterpret_cast<const FILETIME*>(utc),
                                   reinterpret_cast<FILETIME*>(local));
}

Dword GetTimeZoneInformation(TimeZoneInformation* zone) noexcept {
  return ::GetTimeZoneInformation(reinterpret_cast<TIME_ZONE_INFORMATION*>(zone));
}

std::uint64_t VerSetConditionMask(std::uint64_t mask, Dword type, std::uint8_t condition) noexcept {
  return ::VerSetConditionMask(mask, type, condition);
}

Bool VerifyVersionInfoW(OsVersionInfo* info, Dword types, std::uint64_t mask) noexcept {
  return ::VerifyVersionInfoW(reinterpret_cast<OSVERSIONINFOEXW*>(info), types, mask);
}

void Sleep(Dword milliseconds) noexcept { ::Sleep(milliseconds); }

}  // namespace winapi
