// A whole file's lines, byte for byte, in a zone three hours ahead of UTC: the build starts this
// program with the variable TZ.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "oru/rtl/tracer.h"
#include "oru/system/datetime/datetime.h"
#include "standalone_tracer_lib/trace_file_path.h"
#include "standalone_tracer_lib/trace_lines.h"
#include "tests/oru/system/datetime/time_samples.h"
#include "tests/standalone_tracer_lib/trace_file.h"

namespace standalone::trace {
namespace {

std::string Line(unsigned millisecond, std::string_view text) {
  oru::tracer::TraceRecord record{};
  record.textBegin = text.data();
  record.textEnd = text.data() + text.size();
  record.threadId = 0x1A2C;
  record.time = tests::Instant(2026, 11, 15, 2, 27, 41, millisecond).ticks;
  record.level = 700;
  return detail::ComposeRecord(record) + "\r\n";
}

TEST(TraceExampleTest, LinesAreThoseOfTheExample) {
  const char* const zone = std::getenv("TZ");
  ASSERT_STREQ(zone, "Europe/Moscow") << "the build starts this program with TZ set";
  const oru::datetime::DateTime start = tests::Instant(2026, 11, 15, 2, 27, 41, 31);
  const oru::datetime::DateTime end = tests::Instant(2026, 11, 15, 2, 27, 41, 95);
  const std::string text =
      detail::ComposeHeader(start, 4660,
                            "Command line: zum_setup_util.exe --trace-output=C:\\t /unblock") +
      "\r\n" + Line(31, "zs_util\t[main]  begin") + Line(94, "zs_util\t[main]  end") +
      Line(95, "zs_util\t[main] exit with result = 0x00000000") + detail::ComposeFooter(end) +
      "\r\n";
  EXPECT_EQ(text, tests::kExampleFile);
}

TEST(TraceExampleTest, StampIsThatOfTheExample) {
  EXPECT_EQ(MakeFileTimeStamp(tests::Instant(2026, 11, 15, 2, 27, 41)), "2026-11-15-05-27-41");
}

}  // namespace
}  // namespace standalone::trace
