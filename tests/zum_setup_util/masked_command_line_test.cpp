#include <gtest/gtest.h>

#include "tests/zum_setup_util/process_view.h"

namespace zum_setup_util {
namespace {

struct MaskCase {
  const char* name;
  const char16_t* commandLine;
  const char* masked;

  friend void PrintTo(const MaskCase& value, std::ostream* out) { *out << value.name; }
};

const MaskCase kMaskCases[] = {
    {"LabelStandsInFront", u"tool.exe /unblock", "Command line: tool.exe /unblock"},
    {"WholeTextWithProgramAndQuotes", u"\"C:\\a b\\t.exe\"  x ",
     "Command line: \"C:\\a b\\t.exe\"  x "},
    {"Password", u"t QVPASSWD=secret x", "Command line: t QVPASSWD=<sensitive data was hidden> x"},
    {"HexPassword", u"t QVPASSWDHEX=736563 x",
     "Command line: t QVPASSWDHEX=<sensitive data was hidden> x"},
    {"TwoPasswordsAreBothHidden", u"t QVPASSWD=one QVPASSWDHEX=two",
     "Command line: t QVPASSWD=<sensitive data was hidden> QVPASSWDHEX=<sensitive data was "
     "hidden>"},
    {"KeyAtTheEndOfALongerWord", u"t MYQVPASSWD=secret",
     "Command line: t MYQVPASSWD=<sensitive data was hidden>"},
    {"QuotedValueStaysReadable", u"t QVPASSWD=\"my secret\"",
     "Command line: t QVPASSWD=<sensitive data was hidden>\"my secret\""},
    {"OtherKeyStaysReadable", u"t QVPASSWDAREA=secret", "Command line: t QVPASSWDAREA=secret"},
    {"LowerCaseKeyStaysReadable", u"t qvpasswd=secret", "Command line: t qvpasswd=secret"},
    {"EmptyValue", u"t QVPASSWD= x", "Command line: t QVPASSWD=<sensitive data was hidden> x"},
    {"NonAsciiIsUtf8", u"t \u00E4\u20AC\U0001F600",
     "Command line: t \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
    {"NoBreakSpaceDoesNotEndAValue", u"t QVPASSWD=a\u00A0b c",
     "Command line: t QVPASSWD=<sensitive data was hidden> c"},
};

class MaskedCommandLine : public testing::TestWithParam<MaskCase> {};

TEST_P(MaskedCommandLine, IsTheWholeTextWithPasswordsHidden) {
  EXPECT_EQ(tests::ViewOf(GetParam().commandLine).maskedCommandLine, GetParam().masked);
}

INSTANTIATE_TEST_SUITE_P(Table, MaskedCommandLine, testing::ValuesIn(kMaskCases),
                         [](const auto& parameter) { return std::string(parameter.param.name); });

TEST(MaskedCommandLine, LoneSurrogateIsTheThreeBytesOfItsValue) {
  const std::u16string commandLine{u't', u' ', char16_t{0xD800}, u'x'};
  EXPECT_EQ(tests::ViewOf(commandLine).maskedCommandLine, "Command line: t \xED\xA0\x80x");
}

TEST(MaskedCommandLine, HidesAValueThatFillsTheLongestCommandLine) {
  const std::u16string head = u"t.exe QVPASSWD=";
  const std::u16string commandLine =
      head + std::u16string(tests::kLongestCommandLine - head.size(), u's');
  EXPECT_EQ(tests::ViewOf(commandLine).maskedCommandLine,
            "Command line: t.exe QVPASSWD=<sensitive data was hidden>");
}

}  // namespace
}  // namespace zum_setup_util
