#include "winapi/time.h"

#include <algorithm>
#include <chrono>
#include <compare>
#include <optional>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/clock.h"
#include "winapi/host/control.h"
#include "winapi/host/last_error.h"
#include "winapi/host/reset.h"
#include "winapi/host/time_zone.h"

namespace winapi {
namespace {

// What a test has set.
std::optional<Dword> timeZoneId;
std::optional<std::int64_t> localClockLag;

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::year_month_day;

constexpr std::uint64_t kTicksPerMillisecond = host::kTicksPerSecond / 1000;
constexpr std::uint64_t kTicksPerDay = 86400 * host::kTicksPerSecond;
// File times count from here; the proleptic Gregorian calendar of std::chrono is Windows' own.
constexpr sys_days kFirstDay{std::chrono::year(1601) / 1 / 1};

std::uint64_t ToTicks(const FileTime& time) {
  return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

FileTime ToFileTime(std::uint64_t ticks) {
  return {.dwLowDateTime = static_cast<Dword>(ticks & 0xFFFFFFFF),
          .dwHighDateTime = static_cast<Dword>(ticks >> 32)};
}

std::uint16_t Narrow(std::uint64_t number) { return static_cast<std::uint16_t>(number); }

SystemTime ToSystemTime(std::uint64_t ticks) {
  const sys_days day = kFirstDay + days(static_cast<std::int64_t>(ticks / kTicksPerDay));
  const year_month_day date(day);
  const std::uint64_t milliseconds = ticks % kTicksPerDay / kTicksPerMillisecond;
  return {.wYear = static_cast<std::uint16_t>(static_cast<int>(date.year())),
          .wMonth = Narrow(static_cast<unsigned>(date.month())),
          .wDayOfWeek = Narrow(std::chrono::weekday(day).c_encoding()),
          .wDay = Narrow(static_cast<unsigned>(date.day())),
          .wHour = Narrow(milliseconds / 3'600'000),
          .wMinute = Narrow(milliseconds / 60'000 % 60),
          .wSecond = Narrow(milliseconds / 1000 % 60),
          .wMilliseconds = Narrow(milliseconds % 1000)};
}

year_month_day DateOf(const SystemTime& time) {
  return std::chrono::year(time.wYear) / time.wMonth / time.wDay;
}

bool IsValid(const SystemTime& time) {
  return time.wYear >= 1601 && time.wYear <= 30827 && DateOf(time).ok() && time.wHour < 24 &&
         time.wMinute < 60 && time.wSecond < 60 && time.wMilliseconds < 1000;
}

std::uint64_t ToTicks(const SystemTime& time) {
  const auto day = static_cast<std::uint64_t>((sys_days(DateOf(time)) - kFirstDay).count());
  const std::uint64_t seconds = (std::uint64_t{time.wHour} * 60 + time.wMinute) * 60 + time.wSecond;
  return day * kTicksPerDay + seconds * host::kTicksPerSecond +
         time.wMilliseconds * kTicksPerMillisecond;
}

struct SystemVersion {
  Dword major = 6;
  Dword minor = 1;
  std::uint16_t servicePack = 1;
};
constinit SystemVersion systemVersion;

// A condition mask has three bits for each type, in the order of the types' bits.
std::uint8_t ConditionOf(std::uint64_t mask, Dword type) {
  unsigned bit = 0;
  while ((type >> bit) > 1) ++bit;
  return static_cast<std::uint8_t>((mask >> (bit * 3)) & 7);
}

// Windows compares the fields in their order and looks at the next one only where the ones before
// are equal: 10.0 is "at least 6.1" though 0 isn't at least 1.
bool MeetsVersion(const OsVersionInfo& wanted, Dword types) {
  std::strong_ordering order = std::strong_ordering::equal;
  const auto compare = [&](Dword type, Dword actual, Dword asked) {
    if ((types & type) != 0 && order == std::strong_ordering::equal) order = actual <=> asked;
  };
  compare(kVerMajorVersion, systemVersion.major, wanted.dwMajorVersion);
  compare(kVerMinorVersion, systemVersion.minor, wanted.dwMinorVersion);
  compare(kVerServicePackMajor, systemVersion.servicePack, wanted.wServicePackMajor);
  return order != std::strong_ordering::less;
}

constexpr Dword kSupportedTypes = kVerMajorVersion | kVerMinorVersion | kVerServicePackMajor;

// True when each asked type has the one supported condition.
bool AsksGreaterOrEqual(Dword types, std::uint64_t mask) {
  if (types == 0 || (types & ~kSupportedTypes) != 0) return false;
  const auto known = {kVerMajorVersion, kVerMinorVersion, kVerServicePackMajor};
  return std::all_of(known.begin(), known.end(), [&](Dword type) {
    return (types & type) == 0 || ConditionOf(mask, type) == kVerGreaterEqual;
  });
}

}  // namespace

void GetSystemTimeAsFileTime(FileTime* time) noexcept {
  const host::Call call("GetSystemTimeAsFileTime");
  *time = ToFileTime(host::ClockTicks());
}

Bool FileTimeToSystemTime(const FileTime* fileTime, SystemTime* systemTime) noexcept {
  host::Call call("FileTimeToSystemTime");
  call.Argument("fileTime", ToTicks(*fileTime));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const std::uint64_t ticks = ToTicks(*fileTime);
  if (ticks >> 63 != 0) return host::FailWith(kErrorInvalidParameter, Bool{0});
  *systemTime = ToSystemTime(ticks);
  return 1;
}

Bool SystemTimeToFileTime(const SystemTime* systemTime, FileTime* fileTime) noexcept {
  host::Call call("SystemTimeToFileTime");
  call.Data("systemTime", systemTime, sizeof *systemTime);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (!IsValid(*systemTime)) return host::FailWith(kErrorInvalidParameter, Bool{0});
  *fileTime = ToFileTime(ToTicks(*systemTime));
  return 1;
}

Bool FileTimeToLocalFileTime(const FileTime* utc, FileTime* local) noexcept {
  host::Call call("FileTimeToLocalFileTime");
  call.Argument("utc", ToTicks(*utc));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (localClockLag) {
    *local = ToFileTime(ToTicks(*utc) - static_cast<std::uint64_t>(*localClockLag));
    return 1;
  }
  const std::uint64_t now = host::ClockTicks();
  const unsigned year = host::YearOf(now);
  const auto zone = host::ZoneOfYear(year);
  if (!zone) return host::FailWith(kErrorFileNotFound, Bool{0});
  const bool daylight = host::IsDaylightTime(*zone, year, now);
  const bool hasRules = zone->DaylightDate.wMonth != 0 && zone->StandardDate.wMonth != 0;
  const std::int32_t extra = !hasRules ? 0 : daylight ? zone->DaylightBias : zone->StandardBias;
  const std::int64_t bias = (std::int64_t{zone->Bias} + extra) * 60;
  // Unsigned on purpose: a bias west of Greenwich on the first hours of 1601 wraps, as on Windows.
  *local = ToFileTime(ToTicks(*utc) - static_cast<std::uint64_t>(bias) * host::kTicksPerSecond);
  return 1;
}

Dword GetTimeZoneInformation(TimeZoneInformation* zone) noexcept {
  constexpr Dword kUnknown = 0;   // TIME_ZONE_ID_UNKNOWN
  constexpr Dword kStandard = 1;  // TIME_ZONE_ID_STANDARD
  constexpr Dword kDaylight = 2;  // TIME_ZONE_ID_DAYLIGHT
  host::Call call("GetTimeZoneInformation");
  if (const auto fault = call.Fault()) return host::FailWith(*fault, kTimeZoneIdInvalid);
  const std::uint64_t now = host::ClockTicks();
  const unsigned year = host::YearOf(now);
  const auto rules = host::ZoneOfYear(year);
  if (!rules) return host::FailWith(kErrorFileNotFound, kTimeZoneIdInvalid);
  *zone = *rules;
  if (timeZoneId) return *timeZoneId;
  if (zone->DaylightDate.wMonth == 0 || zone->StandardDate.wMonth == 0) return kUnknown;
  return host::IsDaylightTime(*zone, year, now) ? kDaylight : kStandard;
}

void host::SetLocalClockLag(std::optional<std::int64_t> ticks) { localClockLag = ticks; }

void host::SetTimeZoneId(std::optional<Dword> id) { timeZoneId = id; }

Bool WINAPI_STDCALL host::GetTimeZoneInformationForYear(std::uint16_t year, void* dynamicZone,
                                                        TimeZoneInformation* zone) noexcept {
  host::Call call("GetTimeZoneInformationForYear");
  call.Argument("year", year).Argument("dynamicZone", dynamicZone);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (dynamicZone != nullptr) return host::FailWith(kErrorInvalidParameter, Bool{0});
  const auto rules = host::ZoneOfYear(year);
  if (!rules) return host::FailWith(kErrorFileNotFound, Bool{0});
  *zone = *rules;
  return host::FailWith(kErrorInsufficientBuffer, Bool{1});  // Wine too leaves it on success
}

std::uint64_t VerSetConditionMask(std::uint64_t mask, Dword type, std::uint8_t condition) noexcept {
  host::Call call("VerSetConditionMask");
  call.Mask("mask", mask).Argument("type", type).Argument("condition", condition);
  if (type == 0) return mask;
  unsigned bit = 0;
  while ((type >> bit) > 1) ++bit;
  return mask | (std::uint64_t{condition} & 7) << (bit * 3);
}

Bool VerifyVersionInfoW(OsVersionInfo* info, Dword types, std::uint64_t mask) noexcept {
  constexpr Error kBadArguments = 160;  // ERROR_BAD_ARGUMENTS
  host::Call call("VerifyVersionInfoW");
  call.Argument("major", info->dwMajorVersion).Argument("minor", info->dwMinorVersion);
  call.Argument("servicePack", info->wServicePackMajor);
  call.Mask("types", types).Mask("mask", mask);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (!AsksGreaterOrEqual(types, mask)) return host::FailWith(kBadArguments, Bool{0});
  if (!MeetsVersion(*info, types)) return host::FailWith(kErrorOldWinVersion, Bool{0});
  return 1;
}

void host::SetSystemVersion(Dword major, Dword minor, std::uint16_t servicePack) {
  systemVersion = {.major = major, .minor = minor, .servicePack = servicePack};
}

void host::ResetSystemVersion() { systemVersion = {}; }

}  // namespace winapi
