// Local times in the zone that the process was started in: the build starts this program once in
// each.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "oru/system/datetime/datetime.h"
#include "oru/system/datetime/time_zone.h"
#include "tests/oru/system/datetime/time_samples.h"

namespace oru::datetime {
namespace {

using tests::Instant;
using tests::TextOf;

struct Sample {
  const char* zone;
  DateTime time;
  const char* local;
};

const Sample kSamples[] = {
    {"Europe/Berlin", Instant(2026, 1, 15), "2026-01-15 01:00:00.000 day 4"},
    {"Europe/Berlin", Instant(2026, 3, 29, 0, 59, 59, 999), "2026-03-29 01:59:59.999 day 0"},
    {"Europe/Berlin", Instant(2026, 3, 29, 1), "2026-03-29 03:00:00.000 day 0"},
    {"Europe/Berlin", Instant(2026, 10, 25, 0, 59, 59, 999), "2026-10-25 02:59:59.999 day 0"},
    {"Europe/Berlin", Instant(2026, 10, 25, 1), "2026-10-25 02:00:00.000 day 0"},
    {"America/New_York", Instant(2026, 3, 8, 6, 59, 59, 999), "2026-03-08 01:59:59.999 day 0"},
    {"America/New_York", Instant(2026, 3, 8, 7), "2026-03-08 03:00:00.000 day 0"},
    {"America/New_York", Instant(2026, 11, 1, 5, 59, 59, 999), "2026-11-01 01:59:59.999 day 0"},
    {"America/New_York", Instant(2026, 11, 1, 6), "2026-11-01 01:00:00.000 day 0"},
    {"America/New_York", Instant(2027, 1, 1, 4), "2026-12-31 23:00:00.000 day 4"},
    {"Australia/Sydney", Instant(2026, 1, 15), "2026-01-15 11:00:00.000 day 4"},
    {"Australia/Sydney", Instant(2026, 4, 4, 15, 59, 59, 999), "2026-04-05 02:59:59.999 day 0"},
    {"Australia/Sydney", Instant(2026, 4, 4, 16), "2026-04-05 02:00:00.000 day 0"},
    {"Australia/Sydney", Instant(2026, 10, 3, 15, 59, 59, 999), "2026-10-04 01:59:59.999 day 0"},
    {"Australia/Sydney", Instant(2026, 10, 3, 16), "2026-10-04 03:00:00.000 day 0"},
    {"Australia/Sydney", Instant(2026, 12, 31, 20), "2027-01-01 07:00:00.000 day 5"},
    {"Asia/Kathmandu", Instant(2026, 7, 15), "2026-07-15 05:45:00.000 day 3"},
    {"UTC", Instant(2026, 7, 15), "2026-07-15 00:00:00.000 day 3"},
};

TEST(ProcessZoneTest, GivesTheTypedLocalTimes) {
  const char* const variable = std::getenv("TZ");
  ASSERT_NE(variable, nullptr) << "the build starts this program with TZ set";
  const std::string zone = variable;
  int found = 0;
  for (const Sample& sample : kSamples) {
    if (zone != sample.zone) continue;
    ++found;
    EXPECT_EQ(TextOf(ToLocalSystemTime(sample.time)), sample.local)
        << zone << " " << TextOf(ToSystemTime(sample.time));
  }
  EXPECT_NE(found, 0) << "no samples for " << zone;
}

}  // namespace
}  // namespace oru::datetime
