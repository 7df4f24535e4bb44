#include "zum_rehearse/printable.h"

#include <gtest/gtest.h>

#include <string>

#include "winapi/registry.h"

namespace {

using zum_rehearse::Cut;
using zum_rehearse::Fit;
using zum_rehearse::Printable;
using zum_rehearse::Utf16;
using zum_rehearse::Utf8;
using zum_rehearse::Value;
using zum_rehearse::Width;
using namespace std::string_literals;

TEST(Printable, LeavesOrdinaryTextAlone) {
  EXPECT_EQ(Printable(u"C:\\Windows\\a b\"<'&.msi"), "C:\\Windows\\a b\"<'&.msi");
  EXPECT_EQ(Printable(u"\u00E4\u20AC\u0416\U0001F600"), "\u00E4\u20AC\u0416\U0001F600");
}

TEST(Printable, ShowsWhatMovesTheCursorOrTurnsText) {
  EXPECT_EQ(Printable(u"\x1B[2J"), "\\u{1b}[2J");
  EXPECT_EQ(Printable(u"a\tb\r\nc"), "a\\u{9}b\\u{d}\\u{a}c");
  EXPECT_EQ(Printable(u"\u0000\u007F\u009B"s), "\\u{0}\\u{7f}\\u{9b}");
  EXPECT_EQ(Printable(u"\u202E\u2066\u2069\u200F\u061C"),
            "\\u{202e}\\u{2066}\\u{2069}\\u{200f}\\u{61c}");
  EXPECT_EQ(Printable(u"\u200B\uFEFF\u2028\u00AD"), "\\u{200b}\\u{feff}\\u{2028}\\u{ad}");
  EXPECT_EQ(Printable(u"\U000E0041"), "\\u{e0041}");
}

// Blank letters, joiners, selectors and controls of scripts and of music.
TEST(Printable, ShowsWhatCantBeSeen) {
  EXPECT_EQ(Printable(u"\u3164\u115F\u1160\uFFA0"), "\\u{3164}\\u{115f}\\u{1160}\\u{ffa0}");
  EXPECT_EQ(Printable(u"a\u034Fb\uFE0F\u180B\u17B4"), "a\\u{34f}b\\u{fe0f}\\u{180b}\\u{17b4}");
  EXPECT_EQ(Printable(u"\U0001BCA0\U0001D173\uFFF0"), "\\u{1bca0}\\u{1d173}\\u{fff0}");
  EXPECT_EQ(Printable(u"\u1161\u3165\uFF9F\U0001D17B"), "\u1161\u3165\uFF9F\U0001D17B");
}

TEST(Printable, ShowsLoneSurrogates) {
  EXPECT_EQ(Printable(u"a\xD83Dz"), "a\\u{d83d}z");
  EXPECT_EQ(Printable(u"\xDE00\xD83D"), "\\u{de00}\\u{d83d}");
}

TEST(Printable, ShowsMalformedBytes) {
  EXPECT_EQ(Printable("\xFF\xE2\x82"), "\\x{ff}\\x{e2}\\x{82}");
  EXPECT_EQ(Printable("\xC0\x80\xED\xA0\x80"), "\\x{c0}\\x{80}\\x{ed}\\x{a0}\\x{80}");
  EXPECT_EQ(Printable("\xE2\x82\xAC\x1B"), "\u20AC\\u{1b}");
  EXPECT_EQ(Printable("\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80"), "\\u{80}\u0800\U00010000");
  EXPECT_EQ(Printable("\xF4\x90\x80\x80"), "\\x{f4}\\x{90}\\x{80}\\x{80}");
}

TEST(Printable, ShowsValuesByTheirType) {
  EXPECT_EQ(Printable(Value{winapi::kRegSz, {'a', 0, 0, 0}}), "\"a\"");
  EXPECT_EQ(Printable(Value{winapi::kRegSz, {'a', 0}}), "\"a\"");
  EXPECT_EQ(Printable(Value{winapi::kRegSz, {'a', 0, 0, 0, 'b', 0}}), "\"a\\u{0}b\"");
  EXPECT_EQ(Printable(Value{winapi::kRegSz, {}}), "\"\"");
  EXPECT_EQ(Printable(Value{winapi::kRegSz, {'a', 0, 'b'}}), "REG_SZ 610062");
  EXPECT_EQ(Printable(Value{winapi::kRegExpandSz, {'%', 0}}), "REG_EXPAND_SZ \"%\"");
  EXPECT_EQ(Printable(Value{winapi::kRegDword, {1, 0, 0, 0xFF}}), "REG_DWORD 010000ff");
  EXPECT_EQ(Printable(Value{winapi::kRegNone, {}}), "REG_NONE (no bytes)");
  EXPECT_EQ(Printable(Value{77, {1}}), "type 77 01");
}

TEST(Utf8, ConvertsThereAndBack) {
  EXPECT_EQ(Utf8(u"a\u00E9\u20AC\U0001F600"), "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  EXPECT_EQ(Utf16("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"), u"a\u00E9\u20AC\U0001F600");
  EXPECT_EQ(Utf8(u"\xD800"), "\uFFFD");
  EXPECT_EQ(Utf16("\xFFz"), u"\uFFFDz");
}

TEST(Width, CountsColumns) {
  EXPECT_EQ(Width("abc"), 3U);
  EXPECT_EQ(Width("\u00E9\u4E2D\uAC00"), 5U);
  EXPECT_EQ(Width("e\u0301"), 1U);
}

TEST(Fit, CutsAndFillsByColumns) {
  EXPECT_EQ(Cut("abcdef", 6), "abcdef");
  EXPECT_EQ(Cut("abcdef", 5), "abcd\u2026");
  EXPECT_EQ(Cut("\u4E2D\u4E2D\u4E2D", 4), "\u4E2D\u2026");
  EXPECT_EQ(Fit("ab", 4), "ab  ");
  EXPECT_EQ(Fit("\u4E2D\u4E2D\u4E2D", 4), "\u4E2D\u2026 ");
}

}  // namespace
