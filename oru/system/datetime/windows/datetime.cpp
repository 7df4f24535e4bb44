#include "oru/system/datetime/datetime.h"

#include <atomic>
#include <cstdint>
#include <utility>

#include "oru/rtl/check.h"
#include "oru/rtl/error_mapping.h"
#include "oru/rtl/number_format.h"
#include "oru/rtl/string.h"
#include "oru/rtl/string_sink.h"
#include "oru/system/datetime/time_zone.h"
#include "winapi/errors.h"
#include "winapi/modules.h"
#include "winapi/time.h"

namespace oru::datetime {
namespace {

using YearFunction = winapi::GetTimeZoneInformationForYearFunction;

constexpr char kSourceFile[] = "oru/system/datetime/windows/datetime";

// Null until the first use, then the function or NoYearFunction(), and so to the end. Threads that
// race at the first use store the same value.
std::atomic<YearFunction> g_fnGetTimeZoneInformationForYear{nullptr};

// Marks that the system hasn't got the function: all bits set.
YearFunction NoYearFunction() noexcept { return reinterpret_cast<YearFunction>(std::intptr_t{-1}); }

[[noreturn]] void Throw(String16 message, winapi::Error error, std::uint32_t line) {
  throw TimeSystemError() << SetMessage{std::move(message)}
                          << SetResultCode{Win32ErrorToResult(error)} << SetFile{kSourceFile}
                          << SetLine{line};
}

winapi::FileTime ToFileTime(DateTime time) noexcept {
  return {static_cast<winapi::Dword>(time.ticks), static_cast<winapi::Dword>(time.ticks >> 32)};
}

DateTime FromFileTime(const winapi::FileTime& time) noexcept {
  return {std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime};
}

// Unsigned, so that a negative number of minutes wraps and adding it goes back.
std::uint64_t TicksOfMinutes(std::int64_t minutes) noexcept {
  return static_cast<std::uint64_t>(minutes) * kTicksPerMinute;
}

Formatted<std::uint16_t> Padded(const std::uint16_t& value, std::int32_t width) noexcept {
  return Format(value, {.width = width, .fill = u'0'});
}

String16 DescribeRefusedDate(const winapi::SystemTime& time) {
  String16 text;
  text << u"Cannot convert system time to file time: " << Padded(time.wYear, 4) << u"-"
       << Padded(time.wMonth, 2) << u"-" << Padded(time.wDay, 2) << u" " << Padded(time.wHour, 2)
       << u":" << Padded(time.wMinute, 2) << u":" << Padded(time.wSecond, 2) << u"."
       << Padded(time.wMilliseconds, 3);
  return text;
}

// The function came with version 6.0, service pack 1.
bool IsYearFunctionExpected() noexcept {
  winapi::OsVersionInfo least{};
  least.dwOSVersionInfoSize = sizeof(least);
  least.dwMajorVersion = 6;
  least.dwMinorVersion = 0;
  least.wServicePackMajor = 1;
  std::uint64_t mask = 0;
  mask = winapi::VerSetConditionMask(mask, winapi::kVerMajorVersion, winapi::kVerGreaterEqual);
  mask = winapi::VerSetConditionMask(mask, winapi::kVerMinorVersion, winapi::kVerGreaterEqual);
  mask = winapi::VerSetConditionMask(mask, winapi::kVerServicePackMajor, winapi::kVerGreaterEqual);
  return winapi::VerifyVersionInfoW(
             &least,
             winapi::kVerMajorVersion | winapi::kVerMinorVersion | winapi::kVerServicePackMajor,
             mask) != 0;
}

YearFunction FindYearFunction() noexcept {
  if (!IsYearFunctionExpected()) return NoYearFunction();
  winapi::Module kernel = nullptr;
  if (winapi::GetModuleHandleExW(winapi::kGetModuleHandleExUnchangedRefcount, u"kernel32.dll",
                                 &kernel) == 0) {
    return NoYearFunction();
  }
  const winapi::Procedure found = winapi::GetProcAddress(kernel, "GetTimeZoneInformationForYear");
  return found == nullptr ? NoYearFunction() : reinterpret_cast<YearFunction>(found);
}

YearFunction ResolveYearFunction() noexcept {
  YearFunction function = g_fnGetTimeZoneInformationForYear;
  if (function == nullptr) {
    function = FindYearFunction();
    g_fnGetTimeZoneInformationForYear = function;
  }
  ORU_CHECK_TEXT(nullptr != function, "nullptr != g_fnGetTimeZoneInformationForYear");
  return function;
}

bool HasDaylightRule(const winapi::TimeZoneInformation& record) noexcept {
  return record.DaylightDate.wMonth != 0 && record.StandardDate.wMonth != 0;
}

// The last way: how far the local clock is from UTC at this moment.
std::int32_t GetCurrentOffset(winapi::TimeZoneInformation& record) noexcept {
  const DateTime utc = Now();
  const winapi::FileTime utcTime = ToFileTime(utc);
  winapi::FileTime localTime{};
  if (winapi::FileTimeToLocalFileTime(&utcTime, &localTime) == 0) return kZoneUnknown;
  const auto ahead = static_cast<std::int64_t>(utc.ticks - FromFileTime(localTime).ticks);
  record.Bias = static_cast<std::int32_t>(ahead / static_cast<std::int64_t>(kTicksPerMinute));
  return kZoneWithoutDaylight;
}

}  // namespace

const char* TimeSystemError::what() const noexcept { return "TimeSystemError"; }

DateTime Now() noexcept {
  winapi::FileTime time{};
  winapi::GetSystemTimeAsFileTime(&time);
  return FromFileTime(time);
}

winapi::SystemTime ToSystemTime(DateTime time) {
  const winapi::FileTime fileTime = ToFileTime(time);
  winapi::SystemTime result{};
  if (winapi::FileTimeToSystemTime(&fileTime, &result) == 0) {
    const winapi::Error error = winapi::GetLastError();
    String16 message;
    message << u"Cannot convert a file time to system time format: " << time.ticks;
    Throw(std::move(message), error, 74);
  }
  return result;
}

DateTime FromSystemTime(const winapi::SystemTime& systemTime) {
  winapi::FileTime result{};
  if (winapi::SystemTimeToFileTime(&systemTime, &result) == 0) {
    const winapi::Error error = winapi::GetLastError();
    Throw(DescribeRefusedDate(systemTime), error, 67);
  }
  return FromFileTime(result);
}

winapi::SystemTime ToLocalSystemTime(DateTime time) {
  const winapi::SystemTime utc = ToSystemTime(time);
  bool useDaylight = true;
  const std::int64_t bias = GetTimeZoneBias(time, utc.wYear, /*isUtc=*/true, useDaylight);
  return ToSystemTime({time.ticks - TicksOfMinutes(bias)});
}

std::int32_t GetYearTimeZone(std::uint16_t year, winapi::TimeZoneInformation& record) noexcept {
  const YearFunction function = ResolveYearFunction();
  if (function != NoYearFunction() && function(year, /*dynamicZone=*/nullptr, &record) != 0) {
    return HasDaylightRule(record) ? kZoneWithDaylight : kZoneWithoutDaylight;
  }
  const winapi::Dword id = winapi::GetTimeZoneInformation(&record);
  if (id != winapi::kTimeZoneIdInvalid) return static_cast<std::int32_t>(id);
  return GetCurrentOffset(record);
}

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
    Throw(u"Cannot get timezone information", error, 245);
  }
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

}  // namespace oru::datetime
