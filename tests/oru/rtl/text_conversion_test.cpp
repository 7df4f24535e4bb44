#include "oru/rtl/text_conversion.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <random>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "oru/rtl/compact_string.h"
#include "tests/oru/rtl/test_allocator.h"
#include "tests/support/checks.h"

namespace {

using oru::String16;
using oru::String8;

// The bits of a code point, from the right into the places of a pattern as the UTF-8 standard draws
// it: slow, and nothing like the code under test.
std::string DrawUtf8(std::uint32_t codePoint) {
  std::string pattern = "0xxxxxxx";
  if (codePoint > 0x7F) pattern = "110xxxxx10xxxxxx";
  if (codePoint > 0x7FF) pattern = "1110xxxx10xxxxxx10xxxxxx";
  if (codePoint > 0xFFFF) pattern = "11110xxx10xxxxxx10xxxxxx10xxxxxx";
  for (std::size_t i = pattern.size(); i-- > 0;) {
    if (pattern[i] != 'x') continue;
    pattern[i] = codePoint % 2 == 1 ? '1' : '0';
    codePoint /= 2;
  }
  std::string bytes;
  for (std::size_t i = 0; i < pattern.size(); i += 8) {
    bytes += static_cast<char>(std::stoi(pattern.substr(i, 8), nullptr, 2));
  }
  return bytes;
}

std::string ToUtf8(std::u16string_view source) {
  String8 target("old");
  EXPECT_EQ(oru::Utf16ToUtf8(source, target), oru::sOk);
  EXPECT_EQ(target.c_str()[target.size()], '\0');
  return std::string(target.view());
}

struct Utf8Case {
  const char* name;
  std::u16string_view source;
  std::string_view expected;
};

// Bytes as the Unicode standard gives them.
const Utf8Case kUtf8Cases[] = {
    {"empty", u"", ""},
    {"ascii", u"abc~", "abc~"},
    {"zero", {u"a\0b", 3}, {"a\0b", 3}},
    {"last of one byte", u"\u007F", "\x7F"},
    {"first of two bytes", u"\u0080", "\xC2\x80"},
    {"last of two bytes", u"\u07FF", "\xDF\xBF"},
    {"first of three bytes", u"\u0800", "\xE0\xA0\x80"},
    {"euro sign", u"\u20AC", "\xE2\x82\xAC"},
    {"last below the surrogates", u"\uD7FF", "\xED\x9F\xBF"},
    {"first behind the surrogates", u"\uE000", "\xEE\x80\x80"},
    {"last of three bytes", u"\uFFFF", "\xEF\xBF\xBF"},
    {"first of four bytes", u"\U00010000", "\xF0\x90\x80\x80"},
    {"musical symbol", u"\U0001D11E", "\xF0\x9D\x84\x9E"},
    {"last code point", u"\U0010FFFF", "\xF4\x8F\xBF\xBF"},
    {"lone high surrogate", u"\xD800", "\xED\xA0\x80"},
    {"lone high surrogate in text", u"a\xDBFFz", "a\xED\xAF\xBFz"},
    {"high surrogate at the end", u"a\xD83D", "a\xED\xA0\xBD"},
    {"lone low surrogate", u"\xDC00", "\xED\xB0\x80"},
    {"low before high", u"\xDFFF\xD800", "\xED\xBF\xBF\xED\xA0\x80"},
    {"two low surrogates", u"\xDC00\xDFFF", "\xED\xB0\x80\xED\xBF\xBF"},
    {"high before what is no surrogate", u"\xD800\uE000", "\xED\xA0\x80\xEE\x80\x80"},
    {"high before a pair", u"\xD83D\xD83D\xDE00", "\xED\xA0\xBD\xF0\x9F\x98\x80"},
    {"low behind a pair", u"\xD83D\xDE00\xDE00", "\xF0\x9F\x98\x80\xED\xB8\x80"},
    {"low before a pair", u"\xDC00\xD83D\xDE00", "\xED\xB0\x80\xF0\x9F\x98\x80"},
    {"high at the end behind a pair", u"\xD83D\xDE00\xD83D", "\xF0\x9F\x98\x80\xED\xA0\xBD"},
    {"low behind three bytes", u"\u20AC\xDC00", "\xE2\x82\xAC\xED\xB0\x80"},
};

TEST(Utf16ToUtf8, MatchesTheTable) {
  for (const Utf8Case& c : kUtf8Cases) {
    SCOPED_TRACE(c.name);
    EXPECT_EQ(ToUtf8(c.source), c.expected);
  }
}

TEST(Utf16ToUtf8, LoneHighSurrogateIsTheThreeByteFormOfItsOwnValue) {
  EXPECT_EQ(ToUtf8(u"\xD834"), "\xED\xA0\xB4");
}

TEST(Utf16ToUtf8, PairThatTheRangeCutsIsLone) {
  const std::u16string_view whole = u"\xD83D\xDE00";
  EXPECT_EQ(ToUtf8(whole.substr(0, 1)), "\xED\xA0\xBD");
  EXPECT_EQ(ToUtf8(whole), "\xF0\x9F\x98\x80");
}

TEST(Utf16ToUtf8, EveryUnitMatchesTheStandardsDrawing) {
  for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
    const auto text = static_cast<char16_t>(unit);
    ASSERT_EQ(ToUtf8({&text, 1}), DrawUtf8(unit)) << unit;
  }
}

TEST(Utf16ToUtf8, RandomTextMatchesTheStandardsDrawing) {
  std::mt19937 random(7);
  for (int round = 0; round < 2000; ++round) {
    std::u16string source;
    std::string expected;
    for (auto i = random() % 20; i != 0; --i) {
      const auto codePoint = static_cast<std::uint32_t>(0x10000 + random() % 0x100000);
      source += static_cast<char16_t>(0xD7C0 + codePoint / 1024);
      source += static_cast<char16_t>(0xDC00 + codePoint % 1024);
      expected += DrawUtf8(codePoint);
      if (random() % 2 == 0) continue;
      source += u'-';
      expected += '-';
    }
    ASSERT_EQ(ToUtf8(source), expected);
  }
}

TEST(DecodeUtf16, MovesBehindWhatItReads) {
  const char16_t text[] = {0xD800, 0xDC00, 0xDBFF, 0xDFFF, 0xD800, 'a', 0xDC00};
  const char16_t* first = text;
  const char16_t* const last = std::end(text);
  EXPECT_EQ(oru::DecodeUtf16(first, last), 0x10000u);
  EXPECT_EQ(first, text + 2);
  EXPECT_EQ(oru::DecodeUtf16(first, last), 0x10FFFFu);
  EXPECT_EQ(first, text + 4);
  EXPECT_EQ(oru::DecodeUtf16(first, last), 0xD800u);
  EXPECT_EQ(oru::DecodeUtf16(first, last), u'a');
  EXPECT_EQ(oru::DecodeUtf16(first, last), 0xDC00u);
  EXPECT_EQ(first, last);
}

TEST(EncodeUtf8, StopsAtTheEndOfTheCodeSpace) {
  char bytes[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(oru::EncodeUtf8(0x10FFFF, bytes), 4u);
  EXPECT_EQ(std::string(bytes, 4), "\xF4\x8F\xBF\xBF");
  for (const std::uint32_t codePoint : {0x110000u, 0x200000u, 0xFFFFFFFFu}) {
    EXPECT_EQ(oru::EncodeUtf8(codePoint, bytes), 0u) << codePoint;
  }
}

TEST(CountUtf8, GivesTheLengthThatIsWritten) {
  for (const Utf8Case& c : kUtf8Cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(oru::CountUtf8(c.source), c.expected.size());
    std::string bytes(c.expected.size() + 1, '#');
    oru::WriteUtf8(c.source, bytes.data());
    EXPECT_EQ(bytes, std::string(c.expected) + '#');
  }
}

// Both targets have the same rules.
template <typename Target>
class Utf16ToAnsi : public ::testing::Test {};
using AnsiTargets = ::testing::Types<String8, oru::CompactString>;
TYPED_TEST_SUITE(Utf16ToAnsi, AnsiTargets);

TYPED_TEST(Utf16ToAnsi, CharactersBelow0x100StandForThemselves) {
  for (std::uint32_t unit = 0; unit <= 0xFFFF; ++unit) {
    const char16_t text[] = {u'a', static_cast<char16_t>(unit), u'z'};
    TypeParam target;
    target.append("old");
    const oru::ResultCode rc = oru::Utf16ToAnsi({text, 3}, target);
    if (unit <= 0xFF) {
      const char expected[] = {'a', static_cast<char>(unit), 'z'};
      ASSERT_EQ(rc, oru::sOk) << unit;
      ASSERT_EQ(target.view(), std::string_view(expected, 3)) << unit;
    } else {
      ASSERT_EQ(rc, oru::MakeResultCode(0x80000046)) << unit;
      ASSERT_EQ(target.view(), "old") << unit;
    }
  }
}

// U+10041 is 'A' in its low 16 bits, U+100E4 is a-umlaut, U+10100 and U+1D11E have no form.
TYPED_TEST(Utf16ToAnsi, TakesTheLow16BitsOfACodePoint) {
  TypeParam target;
  EXPECT_EQ(oru::Utf16ToAnsi(u"\U00010041\U000100E4", target), oru::sOk);
  EXPECT_EQ(target.view(), "A\xE4");
  EXPECT_EQ(oru::Utf16ToAnsi(u"\U00010100", target), oru::errInvalidArgument);
  EXPECT_EQ(oru::Utf16ToAnsi(u"\U0001D11E", target), oru::errInvalidArgument);
  EXPECT_EQ(oru::Utf16ToAnsi(u"\U00010000", target), oru::sOk);
  EXPECT_EQ(target.view(), std::string_view("\0", 1));
}

TYPED_TEST(Utf16ToAnsi, EmptySourceEmptiesTheTarget) {
  TypeParam target;
  target.append("a text that needs a block of its own");
  EXPECT_EQ(oru::Utf16ToAnsi({}, target), oru::sOk);
  EXPECT_EQ(target.size(), 0u);
  EXPECT_EQ(*target.c_str(), '\0');
}

TYPED_TEST(Utf16ToAnsi, LongTextFits) {
  TypeParam target;
  const std::u16string source(1000, u'x');
  EXPECT_EQ(oru::Utf16ToAnsi(source, target), oru::sOk);
  EXPECT_EQ(target.view(), std::string(1000, 'x'));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(AnsiToUtf16, EveryByteStandsForItself) {
  std::string source;
  std::u16string expected;
  for (int byte = 0; byte <= 0xFF; ++byte) {
    source += static_cast<char>(byte);
    expected += static_cast<char16_t>(byte);
  }
  String16 target(u"old");
  EXPECT_EQ(oru::AnsiToUtf16(source, target), oru::sOk);
  EXPECT_EQ(target.view(), expected);
}

TEST(AnsiToUtf16, ZeroBytesAreCharacters) {
  String16 target;
  EXPECT_EQ(oru::AnsiToUtf16({"\0a\0\0", 4}, target), oru::sOk);
  EXPECT_EQ(target.view(), std::u16string_view(u"\0a\0\0", 4));
}

TEST(AnsiToUtf16, EmptySourceEmptiesTheTarget) {
  String16 target(u"a text that needs a block of its own");
  EXPECT_EQ(oru::AnsiToUtf16({}, target), oru::sOk);
  EXPECT_EQ(target.view(), u"");
}

class ConversionMemory : public ::testing::Test {
 protected:
  ~ConversionMemory() override { EXPECT_TRUE(m_memory.live.empty()); }
  tests::TestAllocator m_memory;
  oru::abi_v2_allocator m_handle{&m_memory};
  const std::u16string m_wide = std::u16string(100, u'\u20AC');
  const std::string m_narrow = std::string(100, 'x');
};

TEST_F(ConversionMemory, EachConversionAllocatesOnce) {
  String8 utf8(m_handle);
  EXPECT_EQ(oru::Utf16ToUtf8(m_wide, utf8), oru::sOk);
  EXPECT_EQ(m_memory.requests, std::vector<std::size_t>{301});
  m_memory.requests.clear();
  String8 ansi(m_handle);
  EXPECT_EQ(oru::Utf16ToAnsi(std::u16string(100, u'x'), ansi), oru::sOk);
  EXPECT_EQ(m_memory.requests, std::vector<std::size_t>{101});
  m_memory.requests.clear();
  String16 wide(m_handle);
  EXPECT_EQ(oru::AnsiToUtf16(m_narrow, wide), oru::sOk);
  EXPECT_EQ(m_memory.requests, std::vector<std::size_t>{202});
}

TEST_F(ConversionMemory, ShortTextAllocatesNothing) {
  String8 utf8(m_handle);
  EXPECT_EQ(oru::Utf16ToUtf8(u"\u20AC\u20AC\u20AC\u20AC\u20AC", utf8), oru::sOk);  // 15 bytes
  String16 wide(m_handle);
  EXPECT_EQ(oru::AnsiToUtf16("1234567", wide), oru::sOk);
  EXPECT_TRUE(m_memory.requests.empty());
}

TEST_F(ConversionMemory, PlaceThatIsThereIsUsed) {
  String8 target(m_handle);
  target.reserve(400);
  m_memory.requests.clear();
  EXPECT_EQ(oru::Utf16ToUtf8(m_wide, target), oru::sOk);
  EXPECT_EQ(target.size(), 300u);
  EXPECT_TRUE(m_memory.requests.empty());
}

TEST_F(ConversionMemory, OutOfMemoryLeavesTheTargetAlone) {
  String8 narrow(m_handle);
  narrow.append("old");
  String16 wide(m_handle);
  wide.append(u"old");
  m_memory.refuse = true;
  EXPECT_EQ(oru::Utf16ToUtf8(m_wide, narrow), oru::MakeResultCode(0x80000041));
  EXPECT_EQ(oru::Utf16ToAnsi(std::u16string(100, u'x'), narrow), oru::MakeResultCode(0x80000041));
  EXPECT_EQ(oru::AnsiToUtf16(m_narrow, wide), oru::MakeResultCode(0x80000041));
  EXPECT_EQ(narrow.view(), "old");
  EXPECT_EQ(wide.view(), u"old");
  EXPECT_EQ(m_memory.requests.size(), 3u);
}

TEST_F(ConversionMemory, InvalidTextIsFoundBeforeMemoryIsTaken) {
  String8 target(m_handle);
  target.append("old");
  EXPECT_EQ(oru::Utf16ToAnsi(std::u16string(100, u'x') + u'\u20AC', target),
            oru::errInvalidArgument);
  EXPECT_EQ(target.view(), "old");
  EXPECT_TRUE(m_memory.requests.empty());
}

TEST(ThrowOnConversionFailure, ThrowsByTheCode) {
  EXPECT_NO_THROW(oru::ThrowOnConversionFailure(oru::sOk));
  EXPECT_NO_THROW(oru::ThrowOnConversionFailure(oru::sFalse));
  EXPECT_THROW(oru::ThrowOnConversionFailure(oru::errOutOfMemory), std::bad_alloc);
  EXPECT_THROW(oru::ThrowOnConversionFailure(oru::errInvalidArgument), std::bad_cast);
  EXPECT_THROW(oru::ThrowOnConversionFailure(oru::errUnexpected), std::bad_cast);
}

}  // namespace
