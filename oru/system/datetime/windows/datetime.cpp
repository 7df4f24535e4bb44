#include "oru/system/datetime/datetime.h"

#include <cstdint>
#include <utility>

#include "oru/rtl/number_format.h"
#include "oru/rtl/string.h"
#include "oru/rtl/string_sink.h"
#include "oru/system/datetime/file_time.h"
#include "oru/system/datetime/time_system_error.h"
#include "oru/system/datetime/time_zone.h"
#include "winapi/errors.h"
#include "winapi/time.h"

namespace oru::datetime {
namespace {

using detail::FromFileTime;
using detail::ThrowTimeSystemError;
using detail::ToFileTime;

// Fixed positions; see ThrowTimeSystemError.
constexpr std::uint32_t kRefusedDateLine = 67;
constexpr std::uint32_t kRefusedTicksLine = 74;

Formatted<std::uint16_t> Padded(const std::uint16_t& value, std::int32_t width) noexcept {
  return Format(value, {.width = width, .fill = u'0'});
}

// The fields as they were refused: a month of 13 is shown as that.
String16 DescribeRefusedDate(const winapi::SystemTime& time) {
  String16 text;
  text << u"Cannot convert system time to file time: " << Padded(time.wYear, /*width=*/4) << u"-"
       << Padded(time.wMonth, /*width=*/2) << u"-" << Padded(time.wDay, /*width=*/2) << u" "
       << Padded(time.wHour, /*width=*/2) << u":" << Padded(time.wMinute, /*width=*/2) << u":"
       << Padded(time.wSecond, /*width=*/2) << u"." << Padded(time.wMilliseconds, /*width=*/3);
  return text;
}

}  // namespace

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
    // Composing the message may set the last error, so that was taken first.
    String16 message;
    message << u"Cannot convert a file time to system time format: " << time.ticks;
    ThrowTimeSystemError(std::move(message), error, kRefusedTicksLine);
  }
  return result;
}

DateTime FromSystemTime(const winapi::SystemTime& systemTime) {
  winapi::FileTime result{};
  if (winapi::SystemTimeToFileTime(&systemTime, &result) == 0) {
    const winapi::Error error = winapi::GetLastError();
    ThrowTimeSystemError(DescribeRefusedDate(systemTime), error, kRefusedDateLine);
  }
  return FromFileTime(result);
}

// Not by the system's own conversion, which goes by the rules of today for any instant. Two
// readings are the same in the hour that autumn repeats.
winapi::SystemTime ToLocalSystemTime(DateTime time) {
  const winapi::SystemTime utc = ToSystemTime(time);
  bool useDaylight = true;
  const std::int64_t bias = GetTimeZoneBias(time, utc.wYear, /*isUtc=*/true, useDaylight);
  return ToSystemTime({time.ticks - TicksOfMinutes(bias)});
}

}  // namespace oru::datetime
