#include "oru/rtl/host_stream_sink.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <ios>
#include <sstream>
#include <string>
#include <string_view>
#include <typeinfo>

#include "tests/oru/rtl/format_cases.h"
#include "tests/support/checks.h"

namespace {

using oru::Format;
using oru::String16;
using oru::String8;

TEST(HostStreamSink, NarrowTextGoesInUnchanged) {
  std::ostringstream stream;
  stream << String8("a\0\xE4\xFFz", 5);
  EXPECT_EQ(stream.str(), std::string("a\0\xE4\xFFz", 5));
}

TEST(HostStreamSink, WideTextGoesInByTheLocale) {
  std::ostringstream stream;
  stream << String16(u"a\u00E4\u00FFz") << String16() << String16(u"a text of more than 11");
  EXPECT_EQ(stream.str(), "a\xE4\xFFza text of more than 11");
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(HostStreamSink, WideTextThatHasNoFormIsABadCast) {
  std::ostringstream stream;
  EXPECT_THROW(stream << String16(u"a\u20AC"), std::bad_cast);
  EXPECT_THROW(stream << Format(u"a\xD800", {}), std::bad_cast);
  EXPECT_EQ(stream.str(), "");
}

TEST(HostStreamSink, NumbersFollowTheirFormat) {
  for (const auto& c : tests::kNumberCases) {
    SCOPED_TRACE(c.name);
    std::ostringstream stream;
    stream << Format(c.value, c.spec);
    EXPECT_EQ(stream.str(), c.expected);
  }
}

TEST(HostStreamSink, TextsFollowTheirFormat) {
  for (const auto& c : tests::kTextCases) {
    SCOPED_TRACE(c.name);
    std::ostringstream stream;
    stream << Format(c.value, c.spec);
    EXPECT_EQ(stream.str(), c.expected);
    std::ostringstream wide;
    const std::string_view value = c.value != nullptr ? c.value : "";
    const std::u16string wideValue(value.begin(), value.end());
    wide << Format(c.value != nullptr ? wideValue.c_str() : nullptr, c.spec);
    EXPECT_EQ(wide.str(), c.expected);
  }
}

TEST(HostStreamSink, ResultCodesHaveEightDigits) {
  for (const auto& c : tests::kResultCodeCases) {
    SCOPED_TRACE(c.name);
    std::ostringstream stream;
    stream << oru::ResultCodeText{oru::MakeResultCode(c.value)};
    EXPECT_EQ(stream.str(), c.expected);
  }
}

TEST(HostStreamSink, EachWidthHasItsOwnPattern) {
  const oru::FormatSpec hex{.base = 16};
  std::ostringstream stream;
  stream << Format(std::int16_t{-1}, hex) << ' ' << Format(std::uint16_t{0xABCD}, hex) << ' '
         << Format(std::int32_t{-1}, hex) << ' ' << Format(std::uint32_t{0xABCD}, hex) << ' '
         << Format(std::int64_t{-1}, hex) << ' ' << Format(std::uint64_t{0xABCD}, hex);
  EXPECT_EQ(stream.str(), "ffff abcd ffffffff abcd ffffffffffffffff abcd");
}

TEST(HostStreamSink, StreamsOwnFormattingHasNoPart) {
  std::ostringstream stream;
  stream << std::setw(20) << std::setfill('#') << std::hex << std::left << std::showbase;
  stream << String16(u"wide") << String8("narrow") << Format(255, {.width = 5})
         << oru::ResultCodeText{1};
  EXPECT_EQ(stream.str(), "widenarrow  2550x00000001");
  EXPECT_EQ(stream.width(), 20);
  EXPECT_EQ(stream.fill(), '#');
  EXPECT_NE(stream.flags() & std::ios_base::hex, std::ios_base::fmtflags{});
}

TEST(HostStreamSink, FillIsOneNarrowCharacter) {
  struct Case {
    std::uint32_t fill;
    std::string_view expected;
    std::size_t count;
  };
  // The C library is asked for the low 16 bits.
  for (const Case& c : {Case{'.', "..x", 3},
                        {0xE4, "\xE4\xE4x", 3},
                        {0xFF, "\xFF\xFFx", 3},
                        {0x100, "x", 1},
                        {0x20AC, "x", 1},
                        {0x10000, {"\0\0x", 3}, 3},
                        {0x10041, "AAx", 3},
                        {0x100FF, "\xFF\xFFx", 3},
                        {0x10100, "x", 1}}) {
    SCOPED_TRACE(c.fill);
    std::ostringstream stream;
    EXPECT_EQ(oru::WriteFormatted(stream, "x", {.width = 3, .fill = c.fill}), c.count);
    EXPECT_EQ(stream.str(), c.expected);
  }
}

TEST(HostStreamSink, CountIsWhatWentIn) {
  std::ostringstream stream;
  EXPECT_EQ(oru::WriteFormatted(stream, "abc", {}), 3u);
  EXPECT_EQ(oru::WriteFormatted(stream, oru::MakeNumberText(std::int32_t{-7}, {}), {.width = 5}),
            5u);
  EXPECT_EQ(stream.str(), "abc   -7");
}

}  // namespace
