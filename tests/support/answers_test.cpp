#include "tests/support/answers.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

namespace {

using tests::Answers;
using tests::Judge;
using tests::kAll;
using tests::kHost;
using tests::kWindows;
using tests::kWine10;
using tests::kWine8;
using tests::Systems;

Systems Others() { return kAll & ~tests::ThisSystem(); }

Answers<int> OneHereTwoElsewhere() {
  return Answers(1, tests::ThisSystem()).Or(2, Others(), "gives two");
}

// What the running case has noted so far.
std::map<std::string, std::string> Noted() {
  const auto& result = *::testing::UnitTest::GetInstance()->current_test_info()->result();
  std::map<std::string, std::string> noted;
  for (int i = 0; i < result.test_property_count(); ++i) {
    noted[result.GetTestProperty(i).key()] = result.GetTestProperty(i).value();
  }
  return noted;
}

TEST(Answers, OnlyThatOfThisSystemPasses) {
  EXPECT_TRUE(Judge("own", OneHereTwoElsewhere(), 1));
  EXPECT_FALSE(Judge("that of the others", OneHereTwoElsewhere(), 2));
  EXPECT_FALSE(Judge("nobody's", OneHereTwoElsewhere(), 3));
  EXPECT_EQ(OneHereTwoElsewhere().Here(), 1);
}

TEST(Answers, OneOfAllSystems) {
  EXPECT_TRUE(Judge("right", 1, 1));
  EXPECT_FALSE(Judge("wrong", 1, 2));
}

TEST(Answers, NonePassesWhereThisSystemHasNone) {
  const auto result = Judge("row", Answers(1, Others()), 1);
  EXPECT_FALSE(result);
  EXPECT_EQ(
      std::string(result.message()),
      "row: no answer is listed for " + tests::NameOf(tests::ThisSystem()) + ", which gave 1");
}

TEST(Answers, NonePassesWhereASystemHasTwo) {
  EXPECT_FALSE(Judge("row", Answers(1, kAll).Or(1, kWine8, "as well"), 1));
}

TEST(Answers, ARowsNameIsTakenOnce) {
  EXPECT_TRUE(Judge("row", 1, 1));
  EXPECT_FALSE(Judge("row", 1, 1));
}

TEST(Answers, AreNoted) {
  (void)Judge("several",  // what is noted matters, whatever passes
              Answers(5u, kHost | kWindows).Or(6u, kWine8, "is early").Or(7u, kWine10, "is late"),
              9u);
  EXPECT_TRUE(Judge("one", u"a\u00e4", std::u16string(u"a\u00e4")));
  const std::map<std::string, std::string> expected = {
      {"answer: several", "9"},
      {"windows: several", "5"},
      {"answer: one", "a\\u00e4"},
      {"windows: one", "a\\u00e4"},
      {"why: several", "wine-8: is early; wine-10: is late"}};
  EXPECT_EQ(Noted(), expected);
}

TEST(Answers, AreShownInTheirForm) {
  EXPECT_EQ(tests::Shown(true), "yes");
  EXPECT_EQ(tests::Shown(0x7FFFFFFFu), "2147483647");
  EXPECT_EQ(tests::Shown(0x80000000u), "0x80000000");
  EXPECT_EQ(tests::Shown(tests::Hex{0x22}), "0x22");
  EXPECT_EQ(tests::Shown(std::vector<std::uint8_t>{1, 0xFF}), "01 FF");
  EXPECT_EQ(tests::Shown(std::vector<std::u16string>{u"a", u"b\n"}), "a b\\u000a");
}

TEST(Answers, SystemsHaveNames) {
  EXPECT_EQ(tests::NameOf(kHost | kWine8 | kWine10 | kWindows), "host wine-8 wine-10 windows");
  EXPECT_EQ(tests::NameOf(0), "a system without a name");
}

}  // namespace
