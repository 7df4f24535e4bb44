#include "oru/system/datetime/datetime.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <type_traits>

#include "oru/rtl/exception.h"
#include "oru/rtl/exception_text.h"
#include "tests/oru/system/datetime/time_samples.h"

namespace oru::datetime {
namespace {

using tests::CalendarText;
using tests::Fields;
using tests::Instant;
using tests::TextOf;

constexpr char kFile[] = "oru/system/datetime/windows/datetime";
constexpr ResultCode kInvalidArgument = MakeResultCode(0x80000046);

// What `call` throws, if it is a TimeSystemError.
template <typename Call>
std::optional<TimeSystemError> ErrorOf(Call&& call) {
  try {
    (void)call();
  } catch (const TimeSystemError& error) {
    return error;
  }
  return std::nullopt;
}

struct Sample {
  std::uint64_t ticks;
  const char* text;
};

// Made with another language's calendar.
constexpr Sample kSamples[] = {
    {0, "1601-01-01 00:00:00.000 day 1"},
    {94405824000000000, "1900-03-01 00:00:00.000 day 4"},
    {116444736000000000, "1970-01-01 00:00:00.000 day 4"},
    {125962560000000000, "2000-02-29 00:00:00.000 day 2"},
    {134391832610310000, "2026-11-15 02:27:41.031 day 0"},
    {2650467743999990000, "9999-12-31 23:59:59.999 day 5"},
    {9223372036854775807, "30828-09-14 02:48:05.477 day 4"},  // the last one that Windows takes
};

TEST(ToSystemTimeTest, GivesTheTypedFields) {
  for (const Sample& sample : kSamples) {
    EXPECT_EQ(TextOf(ToSystemTime({sample.ticks})), sample.text) << sample.ticks;
  }
}

TEST(ToSystemTimeTest, CutsWhatIsBelowAMillisecond) {
  EXPECT_EQ(TextOf(ToSystemTime({134391832610319999})), "2026-11-15 02:27:41.031 day 0");
}

TEST(ToSystemTimeTest, AgreesWithTheStandardLibrarysCalendar) {
  std::mt19937_64 random(6501);
  std::uniform_int_distribution<std::uint64_t> instants(0, Instant(9999, 12, 31).ticks);
  for (int i = 0; i < 20000; ++i) {
    const DateTime time{instants(random)};
    ASSERT_EQ(TextOf(ToSystemTime(time)), CalendarText(time)) << time.ticks;
  }
}

TEST(ToSystemTimeTest, RefusedInstantThrowsWithItsTicks) {
  struct Case {
    std::uint64_t ticks;
    const char16_t* message;
  };
  const Case cases[] = {
      {0x8000000000000000,
       u"Cannot convert a file time to system time format: 9223372036854775808"},
      {0xFFFFFFFFFFFFFFFF,
       u"Cannot convert a file time to system time format: 18446744073709551615"},
  };
  for (const Case& row : cases) {
    const auto error = ErrorOf([&] { return ToSystemTime({row.ticks}); });
    ASSERT_TRUE(error) << row.ticks;
    EXPECT_EQ(error->Message(), row.message) << row.ticks;
    EXPECT_EQ(error->Code(), kInvalidArgument) << row.ticks;
    EXPECT_STREQ(error->File(), kFile) << row.ticks;
    EXPECT_EQ(error->Line(), 74u) << row.ticks;
  }
}

TEST(FromSystemTimeTest, GivesTheTypedTicks) {
  EXPECT_EQ(FromSystemTime(Fields(1601, 1, 1)).ticks, 0u);
  EXPECT_EQ(FromSystemTime(Fields(1900, 3, 1)).ticks, 94405824000000000u);
  EXPECT_EQ(FromSystemTime(Fields(2000, 2, 29)).ticks, 125962560000000000u);
  EXPECT_EQ(FromSystemTime(Fields(2026, 11, 15, 2, 27, 41, 31)).ticks, 134391832610310000u);
}

TEST(FromSystemTimeTest, IgnoresTheDayOfTheWeek) {
  winapi::SystemTime time = Fields(2026, 11, 15);
  time.wDayOfWeek = 65535;
  EXPECT_EQ(FromSystemTime(time), Instant(2026, 11, 15));
}

TEST(FromSystemTimeTest, GivesBackWhatToSystemTimeGave) {
  std::mt19937_64 random(6502);
  std::uniform_int_distribution<std::uint64_t> milliseconds(0, Instant(9999, 12, 31).ticks / 10000);
  for (int i = 0; i < 20000; ++i) {
    const DateTime time{milliseconds(random) * 10000};
    ASSERT_EQ(FromSystemTime(ToSystemTime(time)).ticks, time.ticks);
  }
}

TEST(FromSystemTimeTest, RefusedDateThrowsWithItsFields) {
  struct Case {
    winapi::SystemTime time;
    const char16_t* message;
  };
  const Case cases[] = {
      {Fields(2026, 13, 1), u"Cannot convert system time to file time: 2026-13-01 00:00:00.000"},
      {Fields(2026, 4, 31, 9, 8, 7, 65),
       u"Cannot convert system time to file time: 2026-04-31 09:08:07.065"},
      {Fields(7, 1, 2, 3, 4, 5, 6),
       u"Cannot convert system time to file time: 0007-01-02 03:04:05.006"},
      {Fields(2026, 12, 24, 24, 0, 0, 0),
       u"Cannot convert system time to file time: 2026-12-24 24:00:00.000"},
      {Fields(0, 0, 0), u"Cannot convert system time to file time: 0000-00-00 00:00:00.000"},
      {Fields(65535, 65534, 65533, 65532, 65531, 65530, 65529),
       u"Cannot convert system time to file time: 65535-65534-65533 65532:65531:65530.65529"},
  };
  for (const Case& row : cases) {
    const auto error = ErrorOf([&] { return FromSystemTime(row.time); });
    ASSERT_TRUE(error) << TextOf(row.time);
    EXPECT_EQ(error->Message(), row.message) << TextOf(row.time);
    EXPECT_EQ(error->Code(), kInvalidArgument) << TextOf(row.time);
    EXPECT_STREQ(error->File(), kFile) << TextOf(row.time);
    EXPECT_EQ(error->Line(), 67u) << TextOf(row.time);
  }
}

TEST(NowTest, IsTheSystemsClock) {
  using std::chrono::system_clock;
  const auto ticks = [](system_clock::time_point time) {
    const auto since =
        std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    return static_cast<std::uint64_t>(since.count() + tests::kSecondsBeforeUnixTime * 1000) * 10000;
  };
  const std::uint64_t slack = 10'000'000;  // a second: the two clocks have different steps
  const std::uint64_t before = ticks(system_clock::now());
  const std::uint64_t now = Now().ticks;
  const std::uint64_t after = ticks(system_clock::now());
  EXPECT_GE(now + slack, before);
  EXPECT_LE(now, after + slack);
}

TEST(DateTimeTest, IsOneNumberOf64Bits) {
  EXPECT_EQ(sizeof(DateTime), 8u);
  EXPECT_EQ(DateTime().ticks, 0u);
}

TEST(TimeSystemErrorTest, StartsEmpty) {
  const TimeSystemError error;
  EXPECT_STREQ(error.what(), "TimeSystemError");
  EXPECT_EQ(error.File(), nullptr);
  EXPECT_EQ(error.Line(), 0u);
  EXPECT_EQ(error.Code(), 0);
  EXPECT_TRUE(error.Message().empty());
}

TEST(TimeSystemErrorTest, IsASystemException) {
  EXPECT_TRUE((std::is_base_of_v<SystemException, TimeSystemError>));
}

TEST(TimeSystemErrorTest, RethrowsAsASystemException) {
  const auto error = ErrorOf([] { return ToSystemTime({0x8000000000000000}); });
  ASSERT_TRUE(error);
  try {
    error->Rethrow();
  } catch (const TimeSystemError&) {
    ADD_FAILURE() << "rethrown in its own type";
  } catch (const SystemException& rethrown) {
    EXPECT_STREQ(rethrown.what(), "SystemException");
    EXPECT_EQ(rethrown.Message(), error->Message());
    EXPECT_EQ(rethrown.Code(), kInvalidArgument);
    EXPECT_EQ(rethrown.Line(), 74u);
  }
}

TEST(TimeSystemErrorTest, ClonesAsASystemException) {
  const std::unique_ptr<Exception> clone = TimeSystemError().Clone();
  EXPECT_EQ(dynamic_cast<const TimeSystemError*>(clone.get()), nullptr);
  EXPECT_NE(dynamic_cast<const SystemException*>(clone.get()), nullptr);
}

TEST(TimeSystemErrorTest, DisplaysItsOwnName) {
  const auto error = ErrorOf([] { return ToSystemTime({0x8000000000000000}); });
  ASSERT_TRUE(error);
  EXPECT_EQ(GetDisplayText(*error),
            u"TimeSystemError - Cannot convert a file time to system time format: "
            u"9223372036854775808: 0x80000046 (Invalid argument). At "
            u"oru/system/datetime/windows/datetime(74) ");
}

}  // namespace
}  // namespace oru::datetime
