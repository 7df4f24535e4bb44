#include "zum_setup_util_lib/sensitive_data.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

using correct_setup::helpers::HideSensitiveData;
using correct_setup::helpers::detail::ReplaceMatches;

namespace {

struct MaskCase {
  const char* name;
  std::u16string text;
  std::u16string expected;
};

void PrintTo(const MaskCase& maskCase, std::ostream* out) { *out << maskCase.name; }

class MaskTable : public ::testing::TestWithParam<MaskCase> {};

TEST_P(MaskTable, HidesTheValue) {
  EXPECT_EQ(HideSensitiveData(GetParam().text), GetParam().expected);
}

const MaskCase kMaskCases[] = {
    {"EmptyText", u"", u""},
    {"TextWithoutAKey", u"/unblock --trace-output=C:\\t", u"/unblock --trace-output=C:\\t"},
    {"Value", u"QVPASSWD=secret", u"QVPASSWD=<sensitive data was hidden>"},
    {"TextAroundTheValue", u"a QVPASSWD=secret b", u"a QVPASSWD=<sensitive data was hidden> b"},
    {"KeyAtTheEndOfALongerWord", u"MYQVPASSWD=secret", u"MYQVPASSWD=<sensitive data was hidden>"},
    {"HexKey", u"QVPASSWDHEX=00ff", u"QVPASSWDHEX=<sensitive data was hidden>"},
    {"AreaKeyIsNotMasked", u"QVPASSWDAREA=secret", u"QVPASSWDAREA=secret"},
    {"OtherCaseIsNotMasked", u"qvpasswd=secret Qvpasswd=secret",
     u"qvpasswd=secret Qvpasswd=secret"},
    {"KeyWithoutAnEqualsSign", u"QVPASSWD secret", u"QVPASSWD secret"},
    {"BlankInFrontOfTheEqualsSign", u"QVPASSWD =secret", u"QVPASSWD =secret"},
    {"ValueInDoubleQuotesStaysReadable", u"QVPASSWD=\"my secret\"",
     u"QVPASSWD=<sensitive data was hidden>\"my secret\""},
    {"ValueInSingleQuotesStaysReadable", u"QVPASSWD='my secret'",
     u"QVPASSWD=<sensitive data was hidden>'my secret'"},
    {"ValueEndsAtADoubleQuote", u"\"QVPASSWD=my\" secret",
     u"\"QVPASSWD=<sensitive data was hidden>\" secret"},
    {"ValueEndsAtASingleQuote", u"QVPASSWD=it's", u"QVPASSWD=<sensitive data was hidden>'s"},
    {"EmptyValueAtABlank", u"QVPASSWD= next", u"QVPASSWD=<sensitive data was hidden> next"},
    {"EmptyValueAtTheEnd", u"QVPASSWD=", u"QVPASSWD=<sensitive data was hidden>"},
    {"TwoPasswords", u"QVPASSWD=one /q QVPASSWDHEX=74776f",
     u"QVPASSWD=<sensitive data was hidden> /q QVPASSWDHEX=<sensitive data was hidden>"},
    {"KeyInsideAValue", u"QVPASSWD=aQVPASSWD=b", u"QVPASSWD=<sensitive data was hidden>"},
    {"SecondEqualsSignBelongsToTheValue", u"QVPASSWD==a=b",
     u"QVPASSWD=<sensitive data was hidden>"},
    {"DollarInTheValue", u"QVPASSWD=$1$&", u"QVPASSWD=<sensitive data was hidden>"},
    {"Tab", u"QVPASSWD=a\tb", u"QVPASSWD=<sensitive data was hidden>\tb"},
    {"LineFeed", u"QVPASSWD=a\nb", u"QVPASSWD=<sensitive data was hidden>\nb"},
    {"VerticalTab", u"QVPASSWD=a\vb", u"QVPASSWD=<sensitive data was hidden>\vb"},
    {"FormFeed", u"QVPASSWD=a\fb", u"QVPASSWD=<sensitive data was hidden>\fb"},
    {"CarriageReturn", u"QVPASSWD=a\rb", u"QVPASSWD=<sensitive data was hidden>\rb"},
    {"NoBreakSpaceIsNoWhiteSpace", u"QVPASSWD=a\u00A0b c",
     u"QVPASSWD=<sensitive data was hidden> c"},
    {"NextLineIsNoWhiteSpace", u"QVPASSWD=a\u0085b c", u"QVPASSWD=<sensitive data was hidden> c"},
    {"TypographicSpacesAreNoWhiteSpace",
     u"QVPASSWD=a\u1680\u2000\u2003\u2007\u200A\u2028\u2029\u202F\u205F\u3000b c",
     u"QVPASSWD=<sensitive data was hidden> c"},
    {"OneBelowTheFirstWhiteSpace",
     u"QVPASSWD=a\x08"
     u"b c",
     u"QVPASSWD=<sensitive data was hidden> c"},
    {"OneAboveTheLastControl",
     u"QVPASSWD=a\x0E"
     u"b c",
     u"QVPASSWD=<sensitive data was hidden> c"},
    {"ZeroBelongsToTheValue", std::u16string(u"QVPASSWD=a\0b c", 14),
     u"QVPASSWD=<sensitive data was hidden> c"},
    {"OtherScripts", u"П QVPASSWD=пароль\U0001F511 я", u"П QVPASSWD=<sensitive data was hidden> я"},
    {"LoneSurrogates",
     std::u16string{0xD800, u'Q', 0xDC00} + u" QVPASSWD=" + std::u16string{0xDFFF, 0xD800} + u" x",
     std::u16string{0xD800, u'Q', 0xDC00} + u" QVPASSWD=<sensitive data was hidden> x"},
};

INSTANTIATE_TEST_SUITE_P(HideSensitiveData, MaskTable, ::testing::ValuesIn(kMaskCases),
                         [](const auto& test) { return test.param.name; });

// The longest command line that the system allows.
constexpr std::size_t kLongestCommandLine = 32'767;

TEST(HideSensitiveData, OneValueThatFillsTheLongestCommandLine) {
  const std::u16string key = u"tool.exe QVPASSWD=";
  const std::u16string text = key + std::u16string(kLongestCommandLine - key.size(), u's');
  EXPECT_EQ(HideSensitiveData(text), key + u"<sensitive data was hidden>");
}

TEST(HideSensitiveData, LongestCommandLineWithoutAKey) {
  const std::u16string text(kLongestCommandLine, u'Q');
  EXPECT_EQ(HideSensitiveData(text), text);
}

TEST(HideSensitiveData, LongestCommandLineOfKeys) {
  std::u16string text;
  std::u16string expected;
  while (text.size() + 11 <= kLongestCommandLine) {
    text += u"QVPASSWD=a ";
    expected += u"QVPASSWD=<sensitive data was hidden> ";
  }
  EXPECT_EQ(HideSensitiveData(text), expected);
}

TEST(ReplaceMatches, PatternThatCannotBeCompiledHidesTheWholeText) {
  std::string reason;
  try {
    const std::regex bad("(");
  } catch (const std::regex_error& error) {
    reason = error.what();
  }
  ASSERT_FALSE(reason.empty());
  EXPECT_EQ(ReplaceMatches(u"QVPASSWD=secret", u"(", u"x"),
            u"<regex_error caught: " + std::u16string(reason.begin(), reason.end()) + u">");
}

// Back references are what the evaluation without recursion can't do.
TEST(ReplaceMatches, BackReferenceIsRefused) {
  const std::u16string text = ReplaceMatches(u"secret", u"(s)\\1", u"x");
  EXPECT_TRUE(text.starts_with(u"<regex_error caught: "));
  EXPECT_EQ(text.find(u"secret"), std::u16string::npos);
}

TEST(ReplaceMatches, OtherClassesOfCharactersWork) {
  EXPECT_EQ(ReplaceMatches(u"a1 b2", u"(\\w)(\\d)", u"$2$1"), u"1a 2b");
  EXPECT_EQ(ReplaceMatches(u"a\tb", u"\\s", u"_"), u"a_b");
  EXPECT_EQ(ReplaceMatches(u"a\u00A0b", u"\\S", u"_"), u"___");
}

}  // namespace
