#include "oru/rtl/number_format.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace {

template <typename T>
std::string Shown(T value, std::int32_t base, bool showBase = false) {
  const oru::NumberText text =
      oru::MakeNumberText(value, oru::FormatSpec{.base = base, .showBase = showBase});
  return std::string(text.Prefix()) + std::string(text.Digits());
}

// The standard library as the second source; the pattern of the value's own width unless the base
// is 10.
template <typename T>
std::string Reference(T value, int base) {
  char buffer[80];
  const auto pattern = static_cast<std::make_unsigned_t<T>>(value);
  const auto end = base == 10 ? std::to_chars(buffer, std::end(buffer), value, base).ptr
                              : std::to_chars(buffer, std::end(buffer), pattern, base).ptr;
  return std::string(buffer, end);
}

template <typename T>
class NumberFormat : public ::testing::Test {};
using Widths = ::testing::Types<std::int16_t, std::uint16_t, std::int32_t, std::uint32_t,
                                std::int64_t, std::uint64_t>;
TYPED_TEST_SUITE(NumberFormat, Widths);

TYPED_TEST(NumberFormat, EachBaseMatchesTheStandardLibrary) {
  using Limits = std::numeric_limits<TypeParam>;
  std::vector<TypeParam> values = {0,
                                   1,
                                   2,
                                   7,
                                   8,
                                   9,
                                   10,
                                   15,
                                   16,
                                   35,
                                   36,
                                   Limits::max(),
                                   Limits::min(),
                                   static_cast<TypeParam>(-1),
                                   static_cast<TypeParam>(Limits::min() + 1)};
  std::mt19937_64 random(99);
  for (int i = 0; i < 200; ++i)
    values.push_back(static_cast<TypeParam>(random() >> (random() % 64)));
  for (int base = 2; base <= 36; ++base) {
    for (const TypeParam value : values) {
      ASSERT_EQ(Shown(value, base), Reference(value, base)) << +value << " in base " << base;
    }
  }
}

// Values below the base show each digit; the table has none for 36, 37 and 38.
TYPED_TEST(NumberFormat, BasesAboveTheDigitTable) {
  struct Case {
    int base, value;
    const char* expected;
  };
  for (const Case& c : {Case{37, 35, "z"},
                        {37, 36, "?"},
                        {37, 37, "10"},
                        {38, 37, "?"},
                        {38, 38, "10"},
                        {39, 36, "?"},
                        {39, 37, "?"},
                        {39, 38, "?"},
                        {39, 39, "10"},
                        {39, 1520, "??"},
                        {39, 1521, "100"}}) {
    EXPECT_EQ(Shown(static_cast<TypeParam>(c.value), c.base), c.expected)
        << c.value << " in base " << c.base;
  }
}

TYPED_TEST(NumberFormat, BaseIsLimitedTo39) {
  for (const std::int32_t base : {40, 41, 1000, std::numeric_limits<std::int32_t>::max()}) {
    EXPECT_EQ(Shown(TypeParam{39}, base), "10") << base;
    EXPECT_EQ(Shown(TypeParam{35}, base), "z") << base;
  }
}

TYPED_TEST(NumberFormat, BasesBelow2CountAs10) {
  for (const std::int32_t base : {0, 1}) {
    EXPECT_EQ(Shown(TypeParam{120}, base), "120") << base;
  }
}

TYPED_TEST(NumberFormat, NegativeBaseIs39OnlyFor64Bits) {
  for (const std::int32_t base : {-1, -2, -16, std::numeric_limits<std::int32_t>::min()}) {
    EXPECT_EQ(Shown(TypeParam{78}, base), sizeof(TypeParam) == 8 ? "20" : "78") << base;
  }
}

TEST(NumberFormatOfNegatives, OnlyBase10HasASign) {
  EXPECT_EQ(Shown(std::int16_t{-1}, 10), "-1");
  EXPECT_EQ(Shown(std::int16_t{-1}, 16), "ffff");
  EXPECT_EQ(Shown(std::int16_t{-1}, 8), "177777");
  EXPECT_EQ(Shown(std::int16_t{-1}, 2), "1111111111111111");
  EXPECT_EQ(Shown(std::int32_t{-1}, 16), "ffffffff");
  EXPECT_EQ(Shown(std::int32_t{-1}, 8), "37777777777");
  EXPECT_EQ(Shown(std::int64_t{-1}, 16), "ffffffffffffffff");
  EXPECT_EQ(Shown(std::int64_t{-1}, 2), std::string(64, '1'));
  EXPECT_EQ(Shown(std::int32_t{-1}, 16, true), "0xffffffff");
  EXPECT_EQ(Shown(std::int32_t{-1}, 8, true), "037777777777");
  EXPECT_EQ(Shown(std::int32_t{-5}, 1), "-5");
  EXPECT_EQ(Shown(std::int64_t{-1}, 39, true).find('-'), std::string::npos);
}

TEST(NumberFormatOfNegatives, SmallestValuesHaveTheirMagnitude) {
  EXPECT_EQ(Shown(std::numeric_limits<std::int16_t>::min(), 10), "-32768");
  EXPECT_EQ(Shown(std::numeric_limits<std::int32_t>::min(), 10), "-2147483648");
  EXPECT_EQ(Shown(std::numeric_limits<std::int64_t>::min(), 10), "-9223372036854775808");
}

TYPED_TEST(NumberFormat, ZeroIsOneDigit) {
  for (const std::int32_t base : {2, 8, 10, 16, 36, 39}) EXPECT_EQ(Shown(TypeParam{0}, base), "0");
  EXPECT_EQ(Shown(TypeParam{0}, 16, true), "0x0");
  EXPECT_EQ(Shown(TypeParam{0}, 8, true), "00");
}

TYPED_TEST(NumberFormat, OnlyBases8And16AreShown) {
  EXPECT_EQ(Shown(TypeParam{10}, 16, true), "0xa");
  EXPECT_EQ(Shown(TypeParam{10}, 8, true), "012");
  EXPECT_EQ(Shown(TypeParam{10}, 10, true), "10");
  EXPECT_EQ(Shown(TypeParam{10}, 2, true), "1010");
  EXPECT_EQ(Shown(TypeParam{10}, 36, true), "a");
}

TEST(FormatSpec, HasItsDefaults) {
  const oru::FormatSpec spec;
  EXPECT_EQ(spec.width, 0);
  EXPECT_EQ(spec.base, 10);
  EXPECT_EQ(spec.limit, -1);
  EXPECT_EQ(spec.alignment, 1);
  EXPECT_EQ(spec.fill, 0x20u);
  EXPECT_FALSE(spec.showBase);
}

TEST(FormatSpec, FieldsStandInTheirOrder) {
  EXPECT_EQ(offsetof(oru::FormatSpec, width), 0u);
  EXPECT_EQ(offsetof(oru::FormatSpec, base), 4u);
  EXPECT_EQ(offsetof(oru::FormatSpec, limit), 8u);
  EXPECT_EQ(offsetof(oru::FormatSpec, alignment), 12u);
  EXPECT_EQ(offsetof(oru::FormatSpec, fill), 16u);
  EXPECT_EQ(offsetof(oru::FormatSpec, showBase), 20u);
}

TEST(FormatSpec, LiteralsAndNumbersKeepTheirTypes) {
  static_assert(std::is_same_v<decltype(oru::Format(u"x", {})), oru::Formatted<const char16_t*>>);
  static_assert(std::is_same_v<decltype(oru::Format("x", {})), oru::Formatted<const char*>>);
  const oru::Formatted<std::uint16_t> number = oru::Format(std::uint16_t{7}, {.width = 3});
  EXPECT_EQ(number.value, 7u);
  EXPECT_EQ(number.spec.width, 3);
}

TEST(LimitedText, StopsAtLimitOrZero) {
  EXPECT_EQ(oru::LimitedText("text", -1), "text");
  EXPECT_EQ(oru::LimitedText("text", 2), "te");
  EXPECT_EQ(oru::LimitedText("text", 9), "text");
  EXPECT_EQ(oru::LimitedText("te\0xt", 5), "te");
  EXPECT_EQ(oru::LimitedText(u"text", 3), u"tex");
  EXPECT_EQ(oru::LimitedText<char>(nullptr, 3), "");
  EXPECT_EQ(oru::LimitedText<char16_t>(nullptr, -1), u"");
}

TEST(LimitedText, ReadsNothingBehindTheLimit) {
  const std::vector<char> unterminated = {'a', 'b'};  // on the heap, where a sanitizer sees its end
  EXPECT_EQ(oru::LimitedText(unterminated.data(), 2), "ab");
}

TEST(Padding, StandsAtOnePlace) {
  struct Case {
    std::int32_t width, alignment;
    std::size_t length;
    std::uint32_t front, between, behind;
  };
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  for (const Case& c : {Case{5, 1, 2, 3, 0, 0},
                        {5, 2, 2, 3, 0, 0},
                        {5, 0, 2, 0, 3, 0},
                        {5, -1, 2, 0, 0, 3},
                        {5, -2, 2, 0, 0, 3},
                        {5, 1, 5, 0, 0, 0},
                        {5, 1, 6, 0, 0, 0},
                        {0, 1, 0, 0, 0, 0},
                        {-5, 1, 0, 0, 0, 0},
                        {kMost, 1, 0, 0x7FFFFFFF, 0, 0}}) {
    const oru::Padding padding =
        oru::PaddingFor({.width = c.width, .alignment = c.alignment}, c.length);
    EXPECT_EQ(padding.front, c.front);
    EXPECT_EQ(padding.between, c.between);
    EXPECT_EQ(padding.behind, c.behind);
  }
}

}  // namespace
