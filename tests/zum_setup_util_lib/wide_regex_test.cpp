#include "zum_setup_util_lib/wide_regex.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

using correct_setup::helpers::WideRegex;

namespace {

TEST(WideRegex, MatchesTheWholeTextOnly) {
  const WideRegex expression(u"ab+");
  EXPECT_TRUE(expression.MatchesWhole(u"ab"));
  EXPECT_TRUE(expression.MatchesWhole(u"abbb"));
  EXPECT_FALSE(expression.MatchesWhole(u""));
  EXPECT_FALSE(expression.MatchesWhole(u"xab"));
  EXPECT_FALSE(expression.MatchesWhole(u"abx"));
  EXPECT_FALSE(expression.MatchesWhole(std::u16string(u"ab\0", 3)));
}

TEST(WideRegex, ReplacesEveryMatch) {
  const WideRegex expression(u"(\\d)-(\\d)");
  EXPECT_EQ(expression.Replace(u"1-2 a 3-4", u"$2+$1"), u"2+1 a 4+3");
  EXPECT_EQ(expression.Replace(u"none", u"x"), u"none");
  EXPECT_EQ(expression.Replace(u"", u"x"), u"");
}

TEST(WideRegex, UnitsGoThroughUnchanged) {
  const std::u16string text = std::u16string{0xD800, 0xFFFF, 0xDC00, 0x1} + u"\U0001F511п";
  EXPECT_EQ(WideRegex(u"z").Replace(text, u""), text);
  EXPECT_TRUE(WideRegex(u".+").MatchesWhole(text));
  EXPECT_TRUE(WideRegex(u"п[а-я]+").MatchesWhole(u"пароль"));
}

TEST(WideRegex, WhiteSpaceIsThatOfTheClassicLocale) {
  const WideRegex expression(u"\\s");
  for (const char16_t unit : u" \t\n\v\f\r") {
    if (unit == u'\0') continue;  // the literal's end
    EXPECT_TRUE(expression.MatchesWhole(std::u16string(1, unit))) << static_cast<int>(unit);
  }
  for (const char16_t unit : u"\b\x0E\u0085\u00A0\u1680\u2003\u2028\u202F\u3000") {
    EXPECT_FALSE(expression.MatchesWhole(std::u16string(1, unit))) << static_cast<int>(unit);
  }
}

// Each character would take some hundred bytes of the stack, which has two megabytes under Windows.
TEST(WideRegex, LongTextDoesNotExhaustTheStack) {
  const std::u16string text(200'000, u'a');
  const WideRegex expression(u"[^b]*");
  EXPECT_TRUE(expression.MatchesWhole(text));
  EXPECT_FALSE(expression.MatchesWhole(text + u"b"));
  EXPECT_EQ(expression.Replace(text, u"").size(), 0u);
}

TEST(WideRegex, PatternsThatCannotBeCompiled) {
  for (const std::u16string_view pattern : {u"(", u"[a", u"(a)\\1", u"a{2"}) {
    EXPECT_THROW(const WideRegex expression(pattern), std::regex_error)
        << std::string(pattern.begin(), pattern.end());
  }
}

}  // namespace
