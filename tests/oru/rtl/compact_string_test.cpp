#include "oru/rtl/compact_string.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "tests/support/checks.h"

namespace {

using oru::CompactString;

constexpr std::string_view kLong = "a text that needs a block of its own";

unsigned char LastByte(const CompactString& string) {
  unsigned char bytes[sizeof(CompactString)];
  std::memcpy(bytes, static_cast<const void*>(&string), sizeof(bytes));
  return bytes[sizeof(bytes) - 1];
}

bool IsInside(const CompactString& string) {
  const auto object = reinterpret_cast<std::uintptr_t>(&string);
  const auto data = reinterpret_cast<std::uintptr_t>(string.data());
  return data >= object && data < object + sizeof(string);
}

::testing::AssertionResult Holds(const CompactString& string, std::string_view text) {
  if (string.view() != text) {
    return ::testing::AssertionFailure() << "holds \"" << string.view() << "\"";
  }
  if (string.c_str()[string.size()] != 0) return ::testing::AssertionFailure() << "no terminator";
  return ::testing::AssertionSuccess();
}

class CompactStringTest : public ::testing::Test {
 protected:
  ~CompactStringTest() override { EXPECT_TRUE(tests::ReportedChecks().empty()); }
};

TEST_F(CompactStringTest, ConstantsAreThoseOfTheShortAndTheLongForm) {
  EXPECT_EQ(CompactString::min_capacity(), 11u);
  EXPECT_EQ(CompactString::max_size(), 0xFFFFFFFDu);
  EXPECT_EQ(CompactString::heap_capacity_alignment, 2u);
  EXPECT_EQ(sizeof(CompactString), sizeof(void*) == 4 ? 12u : 16u);
}

TEST_F(CompactStringTest, IsEmptyWithoutCharacters) {
  CompactString text;
  EXPECT_TRUE(text.empty());
  text.append("a");
  EXPECT_FALSE(text.empty());
  text.clear();
  EXPECT_TRUE(text.empty());
}

TEST_F(CompactStringTest, ElevenCharactersStayShortWithALastByteOfZero) {
  const CompactString string("12345678901");
  EXPECT_TRUE(Holds(string, "12345678901"));
  EXPECT_TRUE(IsInside(string));
  EXPECT_EQ(LastByte(string), 0u);
}

TEST_F(CompactStringTest, LastByteOfTheShortFormIsWhatIsLeft) {
  for (std::uint32_t size = 0; size <= 11; ++size) {
    const CompactString string(std::string(size, 'x'));
    EXPECT_TRUE(Holds(string, std::string(size, 'x')));
    EXPECT_TRUE(IsInside(string));
    EXPECT_EQ(LastByte(string), 11u - size);
    EXPECT_EQ(string.capacity(), 11u);
  }
}

TEST_F(CompactStringTest, TwelveCharactersAreLongAndTheTopBitTells) {
  const CompactString string("123456789012");
  EXPECT_TRUE(Holds(string, "123456789012"));
  EXPECT_FALSE(IsInside(string));
  EXPECT_EQ(LastByte(string) & 0x80, 0x80);
}

// The long form's fields: pointer, size, and the even capacity with the terminator, shifted by one.
TEST_F(CompactStringTest, LongFormHasItsThreeFields) {
  const CompactString string("123456789012");
  unsigned char bytes[sizeof(CompactString)];
  std::memcpy(bytes, static_cast<const void*>(&string), sizeof(bytes));
  const char* data = nullptr;
  std::uint32_t words[2] = {};
  std::memcpy(&data, bytes, sizeof(data));
  std::memcpy(words, bytes + sizeof(data), sizeof(words));
  EXPECT_EQ(data, string.data());
  EXPECT_EQ(words[0], 12u);
  EXPECT_EQ(words[1], 0x80000000u | (24 / 2));
}

TEST_F(CompactStringTest, GrowthFollowsCapacityAndNeed) {
  struct Case {
    std::uint32_t first, then, capacity;
  };
  // From 11: below 11 more doubles to 22, whose block is 24 with the terminator; 11 and more is
  // exact. The block is the target plus 2, rounded down to even, so the capacity is an odd number.
  for (const Case& c : {Case{0, 11, 11},
                        {0, 12, 23},
                        {0, 21, 23},
                        {0, 22, 23},
                        {0, 23, 23},
                        {0, 24, 25},
                        {0, 25, 25},
                        {0, 100, 101},
                        {11, 12, 23},
                        {23, 24, 47},
                        {23, 45, 47},
                        {23, 46, 47},
                        {23, 47, 47},
                        {23, 48, 49},
                        {23, 100, 101}}) {
    SCOPED_TRACE(::testing::Message() << c.first << " then " << c.then);
    CompactString appended(std::string(c.first, 'a'));
    appended.append(std::string(c.then - c.first, 'b'));
    EXPECT_EQ(appended.capacity(), c.capacity);
    EXPECT_TRUE(Holds(appended, std::string(c.first, 'a') + std::string(c.then - c.first, 'b')));
    CompactString overwritten(std::string(c.first, 'a'));
    std::memset(overwritten.resize_for_overwrite(c.then), 'c', c.then);
    EXPECT_EQ(overwritten.capacity(), c.capacity);
    EXPECT_TRUE(Holds(overwritten, std::string(c.then, 'c')));
  }
}

TEST_F(CompactStringTest, AppendsPartOfItselfAcrossAGrowth) {
  CompactString string("12345678");
  string.append(string.view().substr(2, 6));
  EXPECT_TRUE(Holds(string, "12345678345678"));
  string.append(string.view());
  EXPECT_TRUE(Holds(string, "1234567834567812345678345678"));
}

TEST_F(CompactStringTest, AppendsPartOfItselfWithPlaceToSpare) {
  CompactString string("1234");
  string.append(string.view().substr(1));
  EXPECT_TRUE(Holds(string, "1234234"));
}

TEST_F(CompactStringTest, AppendOfNothingDoesNothing) {
  CompactString string("12345678901");
  string.append("").append({});
  EXPECT_TRUE(Holds(string, "12345678901"));
  EXPECT_TRUE(IsInside(string));
}

TEST_F(CompactStringTest, KeepsZeros) {
  const CompactString string(std::string_view("a\0b\0", 4));
  EXPECT_TRUE(Holds(string, std::string_view("a\0b\0", 4)));
}

TEST_F(CompactStringTest, ClearKeepsTheCapacity) {
  CompactString string(kLong);
  const std::uint32_t capacity = string.capacity();
  string.clear();
  EXPECT_TRUE(Holds(string, ""));
  EXPECT_EQ(string.capacity(), capacity);
}

TEST_F(CompactStringTest, CopiesAndMovesBetweenTheForms) {
  for (const std::string_view from : {std::string_view("short"), kLong}) {
    for (const std::string_view to : {std::string_view("old"), kLong.substr(1)}) {
      CompactString source(from);
      CompactString target(to);
      target = source;
      EXPECT_TRUE(Holds(target, from));
      EXPECT_TRUE(Holds(source, from));
      EXPECT_NE(target.data(), source.data());
      CompactString again(to);
      again = std::move(source);
      EXPECT_TRUE(Holds(again, from));
      EXPECT_TRUE(Holds(source, ""));  // NOLINT(bugprone-use-after-move): promised
      const CompactString moved(std::move(again));
      EXPECT_TRUE(Holds(moved, from));
      EXPECT_TRUE(Holds(again, ""));  // NOLINT(bugprone-use-after-move): promised
      const CompactString copy(moved);
      EXPECT_TRUE(Holds(copy, from));
    }
  }
}

TEST_F(CompactStringTest, AssignmentToItselfChangesNothing) {
  for (const std::string_view text : {std::string_view("short"), kLong}) {
    CompactString string(text);
    auto& same = string;
    string = same;
    EXPECT_TRUE(Holds(string, text));
    string = std::move(same);
    EXPECT_TRUE(Holds(string, text));
  }
}

TEST(CompactStringLimits, DoublingStopsWhereTheDoubleIsTooLong) {
  EXPECT_EQ(oru::detail::GrownCompactCapacity(11, 10), 22u);
  EXPECT_EQ(oru::detail::GrownCompactCapacity(11, 12), 23u);
  EXPECT_EQ(oru::detail::GrownCompactCapacity(0x7FFFFFFE, 1), 0xFFFFFFFCu);
  EXPECT_EQ(oru::detail::GrownCompactCapacity(0x7FFFFFFF, 1), 0x80000000u);
  EXPECT_EQ(oru::detail::GrownCompactCapacity(0x7FFFFFFF, 0x7FFFFFFE), 0xFFFFFFFDu);
}

TEST(CompactStringLimitsOwnProcess, LengthsBeyondTheLargestAreReportedAndRefused) {
  CompactString string("short");
  EXPECT_THROW(string.resize_for_overwrite(0xFFFFFFFF), std::bad_alloc);
  EXPECT_THROW(string.resize_for_overwrite(0xFFFFFFFE), std::bad_alloc);
  EXPECT_EQ(tests::CountReported("n <= max_size() - capacity"), 1u);
  EXPECT_EQ(tests::ReportedChecks().size(), 1u);
  EXPECT_TRUE(Holds(string, "short"));
}

}  // namespace
