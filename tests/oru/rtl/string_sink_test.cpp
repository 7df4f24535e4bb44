#include "oru/rtl/string_sink.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>

#include "tests/oru/rtl/format_cases.h"
#include "tests/oru/rtl/test_allocator.h"
#include "tests/support/checks.h"

namespace {

using oru::Format;
using oru::String16;

std::u16string Wide(std::string_view ascii) { return {ascii.begin(), ascii.end()}; }

TEST(StringSink, WideTextGoesInUnchanged) {
  String16 text(u"a");
  const char16_t* const null = nullptr;
  text << u"\u20AC\xD800" << std::u16string_view(u"b\0c", 3) << String16(u"d") << null;
  EXPECT_EQ(text.view(), std::u16string_view(u"a\u20AC\xD800"
                                             u"b\0cd",
                                             7));
}

TEST(StringSink, NarrowTextGoesInByTheLocale) {
  String16 text(u"a");
  const char* const null = nullptr;
  text << "bc" << null << ""
       << "\xE4\x80\xFF";
  EXPECT_EQ(text.view(), u"abc\u00E4\u0080\u00FF");
}

TEST(StringSink, PlainNumbersAreDecimal) {
  String16 text;
  text << std::int16_t{-32768} << u" " << std::uint16_t{65535} << u" " << std::int32_t{-5} << u" "
       << std::uint32_t{4294967295u} << u" " << std::int64_t{-9000000000} << u" "
       << std::uint64_t{18446744073709551615u};
  EXPECT_EQ(text.view(), u"-32768 65535 -5 4294967295 -9000000000 18446744073709551615");
}

TEST(StringSink, NumbersFollowTheirFormat) {
  for (const auto& c : tests::kNumberCases) {
    SCOPED_TRACE(c.name);
    String16 text(u">");
    text << Format(c.value, c.spec);
    EXPECT_EQ(text.view(), Wide(std::string(">") + c.expected));
  }
}

TEST(StringSink, TextsFollowTheirFormat) {
  for (const auto& c : tests::kTextCases) {
    SCOPED_TRACE(c.name);
    String16 narrow(u">");
    narrow << Format(c.value, c.spec);
    EXPECT_EQ(narrow.view(), Wide(std::string(">") + c.expected));
    const std::u16string wideValue = Wide(c.value != nullptr ? c.value : "");
    String16 wide(u">");
    wide << Format(c.value != nullptr ? wideValue.c_str() : nullptr, c.spec);
    EXPECT_EQ(wide.view(), Wide(std::string(">") + c.expected));
  }
}

TEST(StringSink, ResultCodesHaveEightDigits) {
  for (const auto& c : tests::kResultCodeCases) {
    SCOPED_TRACE(c.name);
    String16 text(u">");
    text << oru::ResultCodeText{oru::MakeResultCode(c.value)};
    EXPECT_EQ(text.view(), Wide(std::string(">") + c.expected));
  }
}

TEST(StringSink, EachWidthHasItsOwnPattern) {
  const oru::FormatSpec hex{.base = 16};
  String16 text;
  text << Format(std::int16_t{-1}, hex) << u" " << Format(std::uint16_t{0xABCD}, hex) << u" "
       << Format(std::int32_t{-1}, hex) << u" " << Format(std::uint32_t{0xABCD}, hex) << u" "
       << Format(std::int64_t{-1}, hex) << u" " << Format(std::uint64_t{0xABCD}, hex);
  EXPECT_EQ(text.view(), u"ffff abcd ffffffff abcd ffffffffffffffff abcd");
}

TEST(StringSink, FillIsOneWideCharacter) {
  String16 text;
  EXPECT_EQ(oru::AppendFormatted(text, u"x", {.width = 3, .fill = 0x20AC}), 3u);
  EXPECT_EQ(oru::AppendFormatted(text, u"y", {.width = 3, .fill = 0xFFFF}), 3u);
  EXPECT_EQ(text.view(), u"\u20AC\u20ACx\uFFFF\uFFFFy");
}

TEST(StringSink, FillFrom0x10000UpWritesAndCountsNothing) {
  for (const std::uint32_t fill : {0x10000u, 0x1D11Eu, 0x110000u, 0xFFFFFFFFu}) {
    for (const std::int32_t alignment : {1, 0, -1}) {
      const oru::FormatSpec spec{
          .width = 9, .base = 16, .alignment = alignment, .fill = fill, .showBase = true};
      String16 text;
      EXPECT_EQ(oru::AppendFormatted(text, u"text", spec), 4u);
      EXPECT_EQ(oru::AppendFormatted(text, oru::MakeNumberText(std::int32_t{255}, spec), spec), 4u);
      EXPECT_EQ(text.view(), u"text0xff");
    }
  }
}

TEST(StringSink, FillThatIsLeftOutTakesNoMemory) {
  String16 text;
  text << Format(u"text", {.width = std::numeric_limits<std::int32_t>::max(), .fill = 0x10000});
  EXPECT_EQ(text.view(), u"text");
}

TEST(StringSink, CountIsWhatWentIn) {
  String16 text(u"old");
  EXPECT_EQ(oru::AppendFormatted(text, u"abc", {}), 3u);
  EXPECT_EQ(oru::AppendFormatted(text, u"abc", {.width = 10}), 10u);
  EXPECT_EQ(oru::AppendFormatted(text, oru::MakeNumberText(std::int32_t{-7}, {}), {}), 2u);
  EXPECT_EQ(text.size(), 18u);
}

TEST(StringSink, TakesItsOwnText) {
  String16 text(u"1234567");
  text << text;
  EXPECT_EQ(text.view(), u"12345671234567");
  text << Format(text.c_str(), {.width = 16, .fill = u'.'});
  EXPECT_EQ(text.view(), u"12345671234567..12345671234567");
}

TEST(StringSinkOwnProcess, FieldThatIsTooWideIsRefused) {
  // 0x7FFFFFFF characters are more than a 16-bit string has place for.
  String16 text(u"old");
  EXPECT_THROW(text << Format(1, {.width = std::numeric_limits<std::int32_t>::max()}),
               std::length_error);
  EXPECT_EQ(text.view(), u"old");
}

TEST(StringSink, OutOfMemoryLeavesTheStringAlone) {
  tests::TestAllocator allocator;
  String16 text{oru::abi_v2_allocator(&allocator)};
  text.append(u"123456");
  allocator.refuse = true;
  EXPECT_THROW(text << u"abc", std::bad_alloc);
  EXPECT_THROW(text << "abc", std::bad_alloc);
  EXPECT_THROW(text << String16(u"abc"), std::bad_alloc);
  EXPECT_THROW(text << std::uint32_t{123}, std::bad_alloc);
  EXPECT_THROW(text << oru::ResultCodeText{0}, std::bad_alloc);
  EXPECT_THROW(text << Format(1, {.width = 2}), std::bad_alloc);
  EXPECT_THROW(text << Format("a", {.width = 2}), std::bad_alloc);
  EXPECT_THROW(text << Format(u"a", {.width = 2, .alignment = -1}), std::bad_alloc);
  EXPECT_EQ(text.view(), u"123456");
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

}  // namespace
