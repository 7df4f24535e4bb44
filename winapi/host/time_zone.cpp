#include "winapi/host/time_zone.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <map>
#include <string>
#include <vector>

#include "winapi/host/call.h"
#include "winapi/host/clock.h"
#include "winapi/host/control.h"
#include "winapi/host/text.h"

namespace winapi::host {
namespace {

using std::chrono::days;
using std::chrono::sys_days;
using std::chrono::sys_seconds;
using std::chrono::weekday;
using std::chrono::year_month_day;

// The rules are won from the C library by asking it for the distance from UTC at instants. It has
// no interface that lists the changes; GCC 12's <chrono> has no zones, and ICU would be a library
// of 30 MB for what these functions do. An instant at which the local clock is moved; distances
// from UTC in seconds, east positive.
struct Transition {
  std::time_t at;
  long before;
  long after;
  std::string nameBefore;
  std::string nameAfter;
};

std::tm LocalTime(std::time_t at) {
  std::tm local{};
  ::localtime_r(&at, &local);
  return local;
}

// The C library looks the zone up in its own tables, which takes well under a microsecond.
long OffsetAt(std::time_t at) { return LocalTime(at).tm_gmtoff; }

// The first instant of the year on the local clock. The distance at the first guess may be that of
// the other side of a change, so the guess is made again by the distance where it leads.
std::time_t StartOfYear(unsigned year) {
  const sys_days day{std::chrono::year(static_cast<int>(year)) / 1 / 1};
  const std::time_t utc = std::chrono::floor<std::chrono::seconds>(day.time_since_epoch()).count();
  return utc - OffsetAt(utc - OffsetAt(utc));
}

// Between two instants of which the distance differs; halved until they are neighbours.
// The first second with another distance than `low` has; `high` has another.
Transition FindTransition(std::time_t low, std::time_t high) {
  const std::tm before = LocalTime(low);
  while (high - low > 1) {
    const std::time_t middle = low + (high - low) / 2;
    (OffsetAt(middle) == before.tm_gmtoff ? low : high) = middle;
  }
  const std::tm after = LocalTime(high);
  return {high, before.tm_gmtoff, after.tm_gmtoff, before.tm_zone, after.tm_zone};
}

// Day by day, so two changes within a day would cancel out; no zone has had such.
std::vector<Transition> TransitionsOf(unsigned year) {
  constexpr std::time_t kDay = 86400;
  std::vector<Transition> transitions;
  const std::time_t end = StartOfYear(year + 1);
  for (std::time_t at = StartOfYear(year); at < end; at += kDay) {
    const std::time_t next = std::min(at + kDay, end - 1);
    if (OffsetAt(at) != OffsetAt(next)) transitions.push_back(FindTransition(at, next));
  }
  return transitions;
}

bool IsLastOfMonth(const year_month_day& date) {
  return year_month_day(sys_days(date) + days(7)).month() != date.month();
}

// The date as a yearly rule.
SystemTime RuleOfDate(sys_seconds clock) {
  const sys_days day = std::chrono::floor<days>(clock);
  const year_month_day date(day);
  const std::chrono::hh_mm_ss time(clock - day);
  const unsigned week = (static_cast<unsigned>(date.day()) - 1) / 7 + 1;
  SystemTime rule{};
  rule.wMonth = static_cast<std::uint16_t>(static_cast<unsigned>(date.month()));
  rule.wDayOfWeek = static_cast<std::uint16_t>(weekday(day).c_encoding());
  rule.wDay = static_cast<std::uint16_t>(IsLastOfMonth(date) ? 5 : week);
  rule.wHour = static_cast<std::uint16_t>(time.hours().count());
  rule.wMinute = static_cast<std::uint16_t>(time.minutes().count());
  rule.wSecond = static_cast<std::uint16_t>(time.seconds().count());
  return rule;
}

// Read on the clock that runs until then.
SystemTime RuleOfTransition(const Transition& transition) {
  return RuleOfDate(sys_seconds(std::chrono::seconds(transition.at + transition.before)));
}

SystemTime RuleOfNewYear(unsigned year) {
  return RuleOfDate(sys_days{std::chrono::year(static_cast<int>(year)) / 1 / 1});
}

std::int32_t Minutes(long seconds) { return static_cast<std::int32_t>(seconds / 60); }

void CopyName(std::string_view name, char16_t (&target)[32]) {
  const std::u16string text = ToUtf16(name).substr(0, 31);
  std::copy(text.begin(), text.end(), target);
}

// Windows fills in 60 minutes of daylight time also where there is none: a reader must go by the
// dates.
TimeZoneInformation ZoneWithoutRules(unsigned year) {
  const std::tm local = LocalTime(StartOfYear(year));
  TimeZoneInformation zone{};
  zone.Bias = -Minutes(local.tm_gmtoff);
  zone.DaylightBias = -60;
  CopyName(local.tm_zone, zone.StandardName);
  CopyName(local.tm_zone, zone.DaylightName);
  return zone;
}

TimeZoneInformation ZoneWithRules(unsigned year, const std::vector<Transition>& transitions) {
  const auto rises = [](const Transition& transition) {
    return transition.after > transition.before;
  };
  const Transition& first = transitions.front();
  const auto rise = std::find_if(transitions.begin(), transitions.end(), rises);
  const auto fall = std::find_if_not(transitions.begin(), transitions.end(), rises);
  const auto [standard, daylight] = std::minmax(first.before, first.after);
  TimeZoneInformation zone{};
  zone.Bias = -Minutes(standard);
  zone.DaylightBias = -Minutes(daylight - standard);
  zone.DaylightDate = rise != transitions.end() ? RuleOfTransition(*rise) : RuleOfNewYear(year);
  zone.StandardDate = fall != transitions.end() ? RuleOfTransition(*fall) : RuleOfNewYear(year);
  CopyName(rises(first) ? first.nameBefore : first.nameAfter, zone.StandardName);
  CopyName(rises(first) ? first.nameAfter : first.nameBefore, zone.DaylightName);
  return zone;
}

// tzset: TZ may have been set since the last question.
TimeZoneInformation ComputeZone(unsigned year) {
  ::tzset();
  const std::vector<Transition> transitions = TransitionsOf(year);
  return transitions.empty() ? ZoneWithoutRules(year) : ZoneWithRules(year, transitions);
}

struct ZoneState {
  ZoneRule rule;
  std::optional<std::string> processZone;  // TZ as it was before SetTimeZone, while that stands
  bool hasProcessZone = false;
  std::map<std::pair<std::optional<std::string>, unsigned>, TimeZoneInformation> known;  // by TZ
};

ZoneState& TheZoneState() {
  static ZoneState& state = *new ZoneState;
  return state;
}

std::optional<std::string> CurrentZoneName() {
  const char* name = std::getenv("TZ");
  return name == nullptr ? std::nullopt : std::optional<std::string>(name);
}

// The instant of a yearly rule in that year, in ticks of the local clock.
std::uint64_t LocalTicksOfRule(unsigned year, const SystemTime& rule) {
  const auto month = std::chrono::year(static_cast<int>(year)) / static_cast<int>(rule.wMonth);
  const weekday day(rule.wDayOfWeek);
  const sys_days date =
      rule.wDay >= 5 ? sys_days(month / day[std::chrono::last]) : sys_days(month / day[rule.wDay]);
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(date.time_since_epoch()) +
                       std::chrono::hours(rule.wHour) + std::chrono::minutes(rule.wMinute) +
                       std::chrono::seconds(rule.wSecond);
  const auto ticks = seconds.count() * static_cast<std::int64_t>(kTicksPerSecond);
  return kTicksFrom1601To1970 + static_cast<std::uint64_t>(ticks);
}

std::uint64_t MinutesAsTicks(std::int32_t minutes) {
  return static_cast<std::uint64_t>(std::int64_t{minutes} * 60 *
                                    static_cast<std::int64_t>(kTicksPerSecond));
}

constexpr unsigned kFirstYear = 1601;
constexpr unsigned kLastYear = 30827;

// A stopped clock can stand anywhere.
unsigned CurrentYear() { return std::clamp(YearOf(ClockTicks()), kFirstYear, kLastYear); }

bool IsYearOfTheClock(unsigned year) { return year >= kFirstYear && year <= kLastYear; }

}  // namespace

std::optional<TimeZoneInformation> ZoneOfYear(unsigned year) {
  ZoneState& state = TheZoneState();
  if (state.rule) return state.rule(year);
  const unsigned asked = IsYearOfTheClock(year) ? year : CurrentYear();
  const auto key = std::pair(CurrentZoneName(), asked);
  const auto known = state.known.find(key);
  if (known != state.known.end()) return known->second;
  return state.known.emplace(key, ComputeZone(asked)).first->second;
}

bool IsDaylightTime(const TimeZoneInformation& zone, unsigned year, std::uint64_t ticks) {
  if (zone.DaylightDate.wMonth == 0 || zone.StandardDate.wMonth == 0) return false;
  const std::uint64_t start =
      LocalTicksOfRule(year, zone.DaylightDate) + MinutesAsTicks(zone.Bias + zone.StandardBias);
  const std::uint64_t end =
      LocalTicksOfRule(year, zone.StandardDate) + MinutesAsTicks(zone.Bias + zone.DaylightBias);
  if (start <= end) return start <= ticks && ticks < end;
  return start <= ticks || ticks < end;
}

unsigned YearOf(std::uint64_t ticks) {
  const sys_days start{std::chrono::year(1601) / 1 / 1};
  const auto whole = static_cast<std::int64_t>(ticks / (86400 * kTicksPerSecond));
  return static_cast<unsigned>(static_cast<int>(year_month_day(start + days(whole)).year()));
}

void SetTimeZone(std::string_view name) {
  const SeamMark mark;
  ZoneState& state = TheZoneState();
  state.rule = nullptr;
  if (!state.hasProcessZone) {
    state.processZone = CurrentZoneName();
    state.hasProcessZone = true;
  }
  const std::optional<std::string> zone =
      name.empty() ? state.processZone : std::optional<std::string>(name);
  if (name.empty()) state.hasProcessZone = false;
  // The environment can't be out of memory for a name of this size.
  (void)(zone ? ::setenv("TZ", zone->c_str(), 1) : ::unsetenv("TZ"));
  ::tzset();
}

void SetTimeZoneRule(ZoneRule rule) {
  const SeamMark mark;
  TheZoneState().rule = std::move(rule);
}

}  // namespace winapi::host
