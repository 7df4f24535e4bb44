#include "winapi/host/text.h"

#include <gtest/gtest.h>

#include <string>

namespace winapi::host {
namespace {

TEST(HostText, Utf8AndUtf16AgreeOnEveryLength) {
  struct Case {
    const char* name;
    std::string utf8;
    std::u16string utf16;
  };
  const Case cases[] = {
      {"Empty", "", u""},
      {"Zero", std::string(1, '\0'), std::u16string(1, u'\0')},
      {"Ascii", "aZ~\x7F", u"aZ~\x7F"},
      {"LowestOfTwo", "\xC2\x80", u"\x80"},
      {"HighestOfTwo", "\xDF\xBF", u"\u07FF"},
      {"LowestOfThree", "\xE0\xA0\x80", u"\u0800"},
      {"HighestOfThree", "\xEF\xBF\xBF", u"\uFFFF"},
      {"LowestOfFour", "\xF0\x90\x80\x80", u"\xD800\xDC00"},
      {"HighestOfFour", "\xF4\x8F\xBF\xBF", u"\xDBFF\xDFFF"},
      {"LoneLead", "\xED\xA0\x80", u"\xD800"},
      {"LoneTrail", "\xED\xBF\xBF", u"\xDFFF"},
      {"LoneLeadAtTheEnd", "a\xED\xAF\xBF", u"a\xDBFF"},
      {"TrailBeforeLead", "\xED\xB0\x80\xED\xA0\x80", u"\xDC00\xD800"},
      {"Mixed", "a\xC3\xA4\xE4\xB8\xAD\xF0\x9F\x98\x80z", u"a\u00E4\u4E2D\U0001F600z"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToUtf16(c.utf8), c.utf16) << c.name;
    EXPECT_EQ(ToUtf8(c.utf16), c.utf8) << c.name;
    std::u16string strict = u"before";
    EXPECT_TRUE(ToUtf16Strict(c.utf8, strict)) << c.name;
    EXPECT_EQ(strict, c.utf16) << c.name;
  }
}

TEST(HostText, BadBytesAreReplacedOrRefused) {
  struct Case {
    const char* name;
    std::string utf8;
    std::u16string lenient;
  };
  const Case cases[] = {
      {"LoneContinuation", "a\x80z", u"a\uFFFDz"},
      {"OverlongTwo", "\xC0\xAF", u"\uFFFD\uFFFD"},
      {"OverlongThree", "\xE0\x80\xAF", u"\uFFFD\uFFFD\uFFFD"},
      {"OverlongFour", "\xF0\x80\x80\xAF", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"PastTheLastPoint", "\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},
      {"NoSuchFirstByte", "\xFE\xFF", u"\uFFFD\uFFFD"},
      {"CutAtTheEnd", "a\xE4\xB8", u"a\uFFFD\uFFFD"},
      {"CutInTheMiddle",
       "\xE4"
       "b",
       u"\uFFFD"
       u"b"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(ToUtf16(c.utf8), c.lenient) << c.name;
    std::u16string strict = u"before";
    EXPECT_FALSE(ToUtf16Strict(c.utf8, strict)) << c.name;
    EXPECT_EQ(strict, u"before") << c.name;
  }
}

TEST(HostText, UpcaseOfSingleLetters) {
  struct Case {
    char16_t lower, upper;
  };
  // The contract suite holds the ranges against the system's; these are their ends.
  const Case cases[] = {
      {u'a', u'A'},     {u'z', u'Z'},     {u'`', u'`'},     {u'{', u'{'},     {0x00DF, 0x00DF},
      {0x00E0, 0x00C0}, {0x00F6, 0x00D6}, {0x00F7, 0x00F7}, {0x00F8, 0x00D8}, {0x00FE, 0x00DE},
      {0x00FF, 0x0178}, {0x0101, 0x0100}, {0x012F, 0x012E}, {0x0131, 0x0131}, {0x0137, 0x0136},
      {0x013A, 0x0139}, {0x0148, 0x0147}, {0x0149, 0x0149}, {0x014B, 0x014A}, {0x0177, 0x0176},
      {0x0178, 0x0178}, {0x017A, 0x0179}, {0x017E, 0x017D}, {0x03AC, 0x0386}, {0x03AD, 0x0388},
      {0x03AF, 0x038A}, {0x03B1, 0x0391}, {0x03C1, 0x03A1}, {0x03C2, 0x03A3}, {0x03C3, 0x03A3},
      {0x03CB, 0x03AB}, {0x03CC, 0x038C}, {0x03CD, 0x038E}, {0x03CE, 0x038F}, {0x0430, 0x0410},
      {0x044F, 0x042F}, {0x0450, 0x0400}, {0x045F, 0x040F}, {0x0461, 0x0460}, {0x0481, 0x0480},
      {0x0491, 0x0490}, {0x04C2, 0x04C1}, {0x0561, 0x0531}, {0x0586, 0x0556}, {0x217F, 0x216F},
      {0x24E9, 0x24CF}, {0xFF5A, 0xFF3A}, {0xD800, 0xD800}, {0xDFFF, 0xDFFF}, {0x4E2D, 0x4E2D},
  };
  for (const auto& [lower, upper] : cases) {
    EXPECT_EQ(Upcase(lower), upper) << std::hex << static_cast<unsigned>(lower);
    EXPECT_EQ(Upcase(upper), upper) << std::hex << static_cast<unsigned>(upper);
  }
}

TEST(HostText, EqualityIgnoresCaseOnly) {
  EXPECT_TRUE(EqualIgnoringCase(u"SoftWare", u"SOFTWARE"));
  EXPECT_TRUE(EqualIgnoringCase(u"", u""));
  EXPECT_FALSE(EqualIgnoringCase(u"software", u"softwar"));
  EXPECT_FALSE(EqualIgnoringCase(u"a", u"\u00e4"));
  EXPECT_EQ(Upcase(u"x\u00e4{"), u"X\u00c4{");
}

}  // namespace
}  // namespace winapi::host
