#include "standalone_tracer_lib/trace_lines.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <locale>
#include <string>
#include <string_view>

#include "oru/rtl/tracer.h"
#include "oru/system/datetime/datetime.h"
#include "tests/oru/system/datetime/time_samples.h"

namespace standalone::trace::detail {
namespace {

using oru::datetime::DateTime;
using oru::tracer::TraceRecord;
using tests::Instant;

const DateTime kTime = Instant(2026, 11, 15, 2, 27, 41, 31);

std::string LocalMinute(DateTime time) {
  const winapi::SystemTime local = oru::datetime::ToLocalSystemTime(time);
  char text[40];
  std::snprintf(text, sizeof text, "%02d.%02d.%04d %02d:%02d", local.wDay, local.wMonth,
                local.wYear, local.wHour, local.wMinute);
  return text;
}

TraceRecord Record(std::string_view text, std::uint32_t level = 700, DateTime time = kTime,
                   std::uint64_t threadId = 0x1A2C) {
  TraceRecord record{};
  record.textBegin = text.data();
  record.textEnd = text.data() + text.size();
  record.threadId = threadId;
  record.time = time.ticks;
  record.level = level;
  return record;
}

// What stands behind the time of day.
std::string Tail(const TraceRecord& record) { return ComposeRecord(record).substr(12); }

TEST(ComposeHeaderTest, HasThreeLinesAndAnEmptyOne) {
  EXPECT_EQ(ComposeHeader(kTime, 4660, "Command line: zum_setup_util.exe /unblock"),
            "TVX TRACE FILE\tTime: " + LocalMinute(kTime) +
                "  PID: 4660(0x1234)\r\n"
                "Command line: Command line: zum_setup_util.exe /unblock\r\n"
                "Time(UTC) : 15.11.2026 02:27  \r\n"
                "\r\n");
}

TEST(ComposeHeaderTest, PadsDayMonthYearHourAndMinute) {
  const std::string header = ComposeHeader(Instant(1601, 2, 3, 4, 5, 6, 7), 1, "");
  EXPECT_NE(header.find("Time(UTC) : 03.02.1601 04:05  \r\n"), std::string::npos) << header;
}

TEST(ComposeHeaderTest, ProcessNumberHasNoPadding) {
  struct Case {
    std::uint32_t number;
    const char* text;
  };
  const Case cases[] = {{0, "  PID: 0(0x0)\r\n"},
                        {11, "  PID: 11(0xb)\r\n"},
                        {4660, "  PID: 4660(0x1234)\r\n"},
                        {0xFFFFFFFF, "  PID: 4294967295(0xffffffff)\r\n"}};
  for (const Case& row : cases) {
    const std::string header = ComposeHeader(kTime, row.number, "x");
    EXPECT_NE(header.find(row.text), std::string::npos) << header;
  }
}

TEST(ComposeHeaderTest, TakesTheCommandLineAsItStands) {
  const std::string header = ComposeHeader(kTime, 1, "\xC3\xA4\t\"a b\"\r\n%s 0xff");
  EXPECT_NE(header.find("\r\nCommand line: \xC3\xA4\t\"a b\"\r\n%s 0xff\r\nTime(UTC)"),
            std::string::npos)
      << header;
}

TEST(ComposeRecordTest, StartsWithTheLocalTimeOfDay) {
  const winapi::SystemTime local = oru::datetime::ToLocalSystemTime(kTime);
  char text[40];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d.031\t", local.wHour, local.wMinute,
                local.wSecond);
  EXPECT_EQ(ComposeRecord(Record("x")).substr(0, 13), text);
}

TEST(ComposeRecordTest, HasThreadLevelAndText) {
  EXPECT_EQ(Tail(Record("zs_util\t[main]  begin")), "\t0x1a2c\tINF\tzs_util\t[main]  begin");
}

TEST(ComposeRecordTest, MillisecondsAreThreeDigitsOfTheTicks) {
  struct Case {
    std::uint64_t extra;
    const char* text;
  };
  const std::uint64_t second = Instant(2026, 11, 15, 2, 27, 41).ticks;
  const Case cases[] = {{0, ".000\t"},      {9999, ".000\t"},    {10000, ".001\t"},
                        {310000, ".031\t"}, {9990000, ".999\t"}, {9999999, ".999\t"}};
  for (const Case& row : cases) {
    const std::string line = ComposeRecord(Record("", 700, {second + row.extra}));
    EXPECT_EQ(line.substr(8, 5), row.text) << line;
  }
}

TEST(ComposeRecordTest, ThreadNumberHasNoPadding) {
  EXPECT_EQ(Tail(Record("x", 700, kTime, 0)), "\t0x0\tINF\tx");
  EXPECT_EQ(Tail(Record("x", 700, kTime, 0x1A2C)), "\t0x1a2c\tINF\tx");
  EXPECT_EQ(Tail(Record("x", 700, kTime, 0xFFFFFFFF)), "\t0xffffffff\tINF\tx");
  EXPECT_EQ(Tail(Record("x", 700, kTime, 0xABCDEF0123456789)), "\t0xabcdef0123456789\tINF\tx");
}

TEST(ComposeRecordTest, NamesTheLevel) {
  struct Case {
    std::uint32_t level;
    const char* name;
  };
  const Case cases[] = {{300, "ERR"}, {700, "INF"}, {750, "???"}};
  for (const Case& row : cases) {
    EXPECT_EQ(Tail(Record("x", row.level)), std::string("\t0x1a2c\t") + row.name + "\tx")
        << row.level;
  }
}

TEST(ComposeRecordTest, EmptyTextEndsInTheTab) {
  EXPECT_EQ(Tail(Record("")), "\t0x1a2c\tINF\t");
  TraceRecord record = Record("");
  record.textBegin = record.textEnd = nullptr;
  EXPECT_EQ(Tail(record), "\t0x1a2c\tINF\t");
}

TEST(ComposeRecordTest, EscapesNothing) {
  const std::string text("a\tb\r\nc\0d\x7F\x80\xFF", 11);
  EXPECT_EQ(Tail(Record(text)), "\t0x1a2c\tINF\t" + text);
}

TEST(ComposeFooterTest, HasTheLocalTimeWithSeconds) {
  EXPECT_EQ(ComposeFooter(kTime), "End of trace file, time: " + LocalMinute(kTime) + ":41");
  const DateTime padded = Instant(2026, 1, 2, 3, 4, 5);
  EXPECT_EQ(ComposeFooter(padded), "End of trace file, time: " + LocalMinute(padded) + ":05");
}

TEST(TraceLinesTest, TimeThatCantBeConvertedThrows) {
  const DateTime bad{0x8000000000000000};
  EXPECT_THROW((void)ComposeHeader(bad, 1, ""), oru::datetime::TimeSystemError);
  EXPECT_THROW((void)ComposeRecord(Record("x", 700, bad)), oru::datetime::TimeSystemError);
  EXPECT_THROW((void)ComposeFooter(bad), oru::datetime::TimeSystemError);
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '\''; }
  std::string do_grouping() const override { return "\1"; }
};

TEST(TraceLinesTest, TheProcessesLocaleDoesntMatter) {
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Grouping));
  const std::string header = ComposeHeader(kTime, 4660, "x");
  const std::string record = Tail(Record("x"));
  const std::string footer = ComposeFooter(kTime);
  std::locale::global(before);
  EXPECT_NE(header.find("4660(0x1234)"), std::string::npos) << header;
  EXPECT_NE(header.find("15.11.2026 02:27"), std::string::npos) << header;
  EXPECT_EQ(record, "\t0x1a2c\tINF\tx");
  EXPECT_EQ(footer.find('\''), std::string::npos) << footer;
}

}  // namespace
}  // namespace standalone::trace::detail
