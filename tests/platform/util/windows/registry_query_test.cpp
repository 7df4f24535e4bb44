// The capacities that the reading loop asks for, and the array that it reads lists into.
#include "platform/util/windows/registry_query.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using windows_helpers::CharacterArray;
using windows_helpers::GrownCapacity;

namespace {

struct GrowthCase {
  const char* name;
  std::uint32_t pass;
  std::uint32_t reported;
  std::uint32_t expected;
};

void PrintTo(const GrowthCase& growthCase, std::ostream* out) { *out << growthCase.name; }

class GrowthTable : public ::testing::TestWithParam<GrowthCase> {};

TEST_P(GrowthTable, AsksForTheCapacity) {
  EXPECT_EQ(GrownCapacity(GetParam().pass, GetParam().reported), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    GrownCapacity, GrowthTable,
    ::testing::Values(GrowthCase{"FirstPass", 0, 65, 65}, GrowthCase{"PassFour", 4, 65, 65},
                      GrowthCase{"PassFive", 5, 65, 130}, GrowthCase{"PassSix", 6, 65, 130},
                      GrowthCase{"PassSeventy", 70, 65, 130},
                      GrowthCase{"LargestBeforeDoubling", 4, 0x7FFFFFFF, 0x7FFFFFFF},
                      GrowthCase{"OneBelowTheLimit", 5, 0x3FFFFFFE, 0x7FFFFFFC},
                      GrowthCase{"AtTheLimit", 5, 0x3FFFFFFF, 0x7FFFFFFF},
                      GrowthCase{"AboveTheLimit", 5, 0x40000000, 0x7FFFFFFF},
                      GrowthCase{"Largest", 5, 0x7FFFFFFF, 0x7FFFFFFF}),
    [](const auto& test) { return test.param.name; });

TEST(CharacterArray, StartsWithoutStorage) {
  const CharacterArray array;
  EXPECT_EQ(array.size(), 0u);
  EXPECT_EQ(array.capacity(), 0u);
  EXPECT_EQ(array.begin(), array.end());
}

TEST(CharacterArray, ReservesExactly) {
  CharacterArray array;
  array.reserve(65);
  EXPECT_EQ(array.capacity(), 65u);
  array.reserve(10);
  EXPECT_EQ(array.capacity(), 65u);
  array.reserve(66);
  EXPECT_EQ(array.capacity(), 66u);
  EXPECT_EQ(array.size(), 0u);
}

TEST(CharacterArray, ClearKeepsTheCapacity) {
  CharacterArray array;
  array.assign(u"abc", 3);
  EXPECT_EQ(std::u16string(array.begin(), array.end()), u"abc");
  array.clear();
  EXPECT_EQ(array.size(), 0u);
  EXPECT_EQ(array.capacity(), 3u);
}

TEST(CharacterArray, SizeTakesWhatStandsInTheStorage) {
  CharacterArray array;
  array.reserve(4);
  std::copy_n(u"abcd", 4, array.data());
  array.set_size(2);
  EXPECT_EQ(std::u16string(array.begin(), array.end()), u"ab");
}

TEST(CharacterArray, LargestSizeHasBytesThatFit32Bits) {
  EXPECT_EQ(CharacterArray::max_size(), 0x7FFFFFFFu);
}

}  // namespace
