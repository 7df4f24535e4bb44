// The conversions' algorithm with coders that fail, which those of the default locale never do.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

#include "oru/rtl/text_conversion_impl.h"

namespace {

using oru::String16;
using oru::String8;
using oru::detail::kMaxUnits;

// Like the library's, but '!' stands for nothing, and '^' with two more bytes is a code point of
// its own.
bool DecodeWithGaps(const char*& first, const char* last, std::uint32_t& codePoint) {
  if (*first == '!') return false;
  if (*first != '^') {
    codePoint = static_cast<unsigned char>(*first++);
    return true;
  }
  if (last - first < 3) return false;  // unfinished
  codePoint = first[1] == 'p' ? 0x1D11E : 0x110000;
  first += 3;
  return true;
}

oru::ResultCode Widen(std::string_view source, String16& target) {
  return oru::detail::ConvertText(source, target, DecodeWithGaps, oru::detail::EncodeWide);
}

TEST(ConvertText, CodePointFrom0x10000BecomesAPair) {
  String16 target;
  EXPECT_EQ(Widen("a^p-z", target), oru::sOk);
  EXPECT_EQ(target.view(), u"a\xD834\xDD1Ez");
}

TEST(ConvertText, DecoderWithoutProgressEndsThePass) {
  for (const char* source : {"ab!c", "!", "abc^", "abc^p"}) {
    SCOPED_TRACE(source);
    String16 target(u"old");
    EXPECT_EQ(Widen(source, target), oru::MakeResultCode(0x80000046));
    EXPECT_EQ(target.view(), u"old");
  }
}

TEST(ConvertText, CodePointBeyondUnicodeEndsThePass) {
  String16 wide(u"old");
  EXPECT_EQ(Widen("a^x-z", wide), oru::MakeResultCode(0x80000046));
  EXPECT_EQ(wide.view(), u"old");
  String8 narrow("old");
  EXPECT_EQ(oru::detail::ConvertText(std::string_view("a^x-z"), narrow, DecodeWithGaps,
                                     oru::detail::EncodeUtf8Units),
            oru::MakeResultCode(0x80000046));
  EXPECT_EQ(narrow.view(), "old");
}

TEST(ConvertText, CodersOfManyUnitsHavePlace) {
  const auto sixteen = [](std::uint32_t, char(&units)[kMaxUnits]) -> unsigned {
    std::fill_n(units, kMaxUnits, '=');
    return kMaxUnits;
  };
  String8 target;
  EXPECT_EQ(oru::detail::ConvertText(std::string_view("abc"), target, DecodeWithGaps, sixteen),
            oru::sOk);
  EXPECT_EQ(target.view(), std::string(48, '='));
}

TEST(EncodeWide, KnowsItsEdges) {
  char16_t units[kMaxUnits] = {};
  EXPECT_EQ(oru::detail::EncodeWide(0xFFFF, units), 1u);
  EXPECT_EQ(units[0], 0xFFFF);
  EXPECT_EQ(oru::detail::EncodeWide(0x10000, units), 2u);
  EXPECT_EQ(units[0], 0xD800);
  EXPECT_EQ(units[1], 0xDC00);
  EXPECT_EQ(oru::detail::EncodeWide(0x10FFFF, units), 2u);
  EXPECT_EQ(units[0], 0xDBFF);
  EXPECT_EQ(units[1], 0xDFFF);
  EXPECT_EQ(oru::detail::EncodeWide(0x110000, units), 0u);
  EXPECT_EQ(oru::detail::EncodeWide(0xFFFFFFFF, units), 0u);
}

TEST(AppendWidened, StopsAtTheFirstCharacterThatFails) {
  String16 target(u"old ");
  oru::detail::AppendWidened(target, "ab!cd", DecodeWithGaps);
  EXPECT_EQ(target.view(), u"old ab");
  oru::detail::AppendWidened(target, "!", DecodeWithGaps);
  EXPECT_EQ(target.view(), u"old ab");
  oru::detail::AppendWidened(target, "^p-^x-z", DecodeWithGaps);
  EXPECT_EQ(target.view(), u"old ab\xD834\xDD1E");
}

}  // namespace
