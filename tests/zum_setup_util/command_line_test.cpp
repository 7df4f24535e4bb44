#include "zum_setup_util/command_line.h"

#include <gtest/gtest.h>

#include "tests/zum_setup_util/process_view.h"

namespace zum_setup_util {
namespace {

struct SplitCase {
  const char* name;
  const char16_t* commandLine;
  ArgumentList arguments;

  friend void PrintTo(const SplitCase& value, std::ostream* out) { *out << value.name; }
};

const SplitCase kSplitCases[] = {
    {"Plain", u"tool.exe /unblock", {u"/unblock"}},
    {"QuotedProgramWithBlank",
     u"\"C:\\Program Files\\x\\tool.exe\" /unblock",
     {u"Files\\x\\tool.exe\"", u"/unblock"}},
    {"QuotedValueWithBlank",
     u"tool.exe --trace-output=\"C:\\my logs\"",
     {u"--trace-output=\"C:\\my", u"logs\""}},
    {"ProgramNameOnly", u"tool.exe", {}},
    {"WhiteSpaceOnly", u" \t ", {}},
    {"LeadingWhiteSpace", u"  tool.exe a", {u"a"}},
    {"TrailingWhiteSpace", u"tool.exe a  ", {u"a"}},
    {"RunsOfWhiteSpace", u"tool.exe \t  a \t b", {u"a", u"b"}},
    {"OptionAsFirstTokenIsThrownAway", u"--trace-output=C:\\t /unblock", {u"/unblock"}},
    {"UnblockAsFirstTokenIsThrownAway", u"/unblock", {}},
    {"EscapedQuotesAreCharacters", u"t \\\"a b\\\"", {u"\\\"a", u"b\\\""}},
    {"EmptyQuotesAreAToken", u"t \"\" x", {u"\"\"", u"x"}},
    {"LowCharactersDoNotSeparate",
     u"t a\u0001b\u001Fc\u0008d\u000Ee",
     {u"a\u0001b\u001Fc\u0008d\u000Ee"}},
};

class CommandLineSplit : public testing::TestWithParam<SplitCase> {};

TEST_P(CommandLineSplit, GivesTheTokensWithoutTheFirst) {
  EXPECT_EQ(tests::ViewOf(GetParam().commandLine).arguments, GetParam().arguments);
}

INSTANTIATE_TEST_SUITE_P(Table, CommandLineSplit, testing::ValuesIn(kSplitCases),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(SplitWords, EmptyTextHasNoWords) { EXPECT_EQ(SplitWords(u""), ArgumentList{}); }

TEST(SplitWords, SixCharactersSeparate) {
  for (const char16_t space : {u' ', u'\t', u'\n', u'\r', u'\v', u'\f'}) {
    const std::u16string text{u'a', space, u'b'};
    EXPECT_EQ(SplitWords(text), (ArgumentList{u"a", u"b"})) << static_cast<unsigned>(space);
  }
}

TEST(SplitWords, NoOtherCharacterSeparates) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    if (unit == 0x20 || (unit >= 9 && unit <= 13)) continue;
    const std::u16string text{u'a', static_cast<char16_t>(unit), u'b'};
    ASSERT_EQ(SplitWords(text), ArgumentList{text}) << unit;
  }
}

TEST(SplitWords, TokenHasNoGreatestLength) {
  const std::u16string token(1'000'000, u'x');
  EXPECT_EQ(SplitWords(u"a " + token + u" b"), (ArgumentList{u"a", token, u"b"}));
}

TEST(ReadCommandLineArguments, KeepsATokenThatFillsTheLongestCommandLine) {
  const std::u16string token(tests::kLongestCommandLine - 6, u'x');
  EXPECT_EQ(tests::ViewOf(u"t.exe " + token).arguments, ArgumentList{token});
}

TEST(ReadCommandLineArguments, KeepsLoneSurrogatesAndNonAscii) {
  const std::u16string token{u'\u00E4',        u'\u20AC',        char16_t{0xD83D},
                             char16_t{0xDE00}, char16_t{0xD800}, u'x'};
  EXPECT_EQ(tests::ViewOf(u"t.exe " + token).arguments, ArgumentList{token});
}

#ifndef _WIN32
// Windows puts the program's path in place of an empty command line, so a process can't be given
// one.
TEST(ReadCommandLineArguments, EmptyCommandLineGivesAnEmptyList) {
  EXPECT_EQ(tests::ViewOf(u"").arguments, ArgumentList{});
}
#endif

TEST(FindOptionValue, GivesWhatStandsBehindTheKey) {
  EXPECT_EQ(FindOptionValue({u"a", u"--trace-output=C:\\t", u"/unblock"}, kTraceOutputKey),
            u"C:\\t");
}

TEST(FindOptionValue, TakesTheFirstOfTwo) {
  EXPECT_EQ(FindOptionValue({u"--trace-output=C:\\1", u"--trace-output=C:\\2"}, kTraceOutputKey),
            u"C:\\1");
}

TEST(FindOptionValue, FirstMatchWithEmptyValueEndsTheSearch) {
  EXPECT_EQ(FindOptionValue({u"--trace-output=", u"--trace-output=C:\\2"}, kTraceOutputKey), u"");
}

TEST(FindOptionValue, IsCaseSensitive) {
  EXPECT_EQ(FindOptionValue({u"--TRACE-OUTPUT=C:\\t"}, kTraceOutputKey), u"");
}

TEST(FindOptionValue, NeedsTheEqualsSignBehindTheWord) {
  EXPECT_EQ(FindOptionValue({u"--trace-outputs=x"}, kTraceOutputKey), u"");
}

TEST(FindOptionValue, ShorterElementDoesNotMatch) {
  EXPECT_EQ(FindOptionValue({u"--trace-output", u""}, kTraceOutputKey), u"");
}

TEST(FindOptionValue, KeyInsideAnElementDoesNotMatch) {
  EXPECT_EQ(FindOptionValue({u"x--trace-output=C:\\t"}, kTraceOutputKey), u"");
}

TEST(FindOptionValue, EmptyListGivesAnEmptyText) {
  EXPECT_EQ(FindOptionValue({}, kTraceOutputKey), u"");
}

TEST(FindOptionValue, KeepsQuotesOfTheValue) {
  EXPECT_EQ(FindOptionValue({u"--trace-output=\"C:\\my"}, kTraceOutputKey), u"\"C:\\my");
}

TEST(HasOption, FindsAWholeToken) {
  EXPECT_TRUE(HasOption({u"/unblock"}, kUnblockToken));
  EXPECT_TRUE(HasOption({u"a", u"b", u"/unblock"}, kUnblockToken));
  EXPECT_TRUE(HasOption({u"/unblock", u"/unblock"}, kUnblockToken));
}

TEST(HasOption, LongerTokenDoesNotMatch) {
  EXPECT_FALSE(HasOption({u"/unblock2", u"/unblock=1", u"x/unblock"}, kUnblockToken));
}

TEST(HasOption, ShorterTokenDoesNotMatch) {
  EXPECT_FALSE(HasOption({u"/unbloc", u"unblock", u"", u"/"}, kUnblockToken));
}

TEST(HasOption, IsCaseSensitive) {
  EXPECT_FALSE(HasOption({u"/UNBLOCK", u"/Unblock"}, kUnblockToken));
}

TEST(HasOption, EmptyListHasNone) { EXPECT_FALSE(HasOption({}, kUnblockToken)); }

TEST(ArgumentList, StillHoldsTheTokensAfterTheyWereUsed) {
  const ArgumentList args = tests::ViewOf(u"t --trace-output=C:\\t /unblock").arguments;
  EXPECT_EQ(FindOptionValue(args, kTraceOutputKey), u"C:\\t");
  EXPECT_TRUE(HasOption(args, kUnblockToken));
  EXPECT_EQ(args, (ArgumentList{u"--trace-output=C:\\t", u"/unblock"}));
}

}  // namespace
}  // namespace zum_setup_util
