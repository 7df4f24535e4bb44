#include "oru/rtl/trace_inserters.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/recording_tracer.h"

namespace {

using oru::Format;
using oru::FormatSpec;
using oru::MakeResultCode;
using oru::TraceStream;
using Fill = std::function<void(TraceStream&)>;

std::string Traced(const Fill& fill) {
  tests::RecordingTracer tracer;
  oru::RecordHandle record;
  EXPECT_TRUE(record.Open(&tracer, 700));
  TraceStream stream(record);
  fill(stream);
  stream.Commit();
  return tracer.Records().at(0).text;
}

template <typename T>
std::string Inserted(const T& value) {
  return Traced([&](TraceStream& stream) { stream << value; });
}

TEST(TraceInserters, NullTextsAreShown) {
  EXPECT_EQ(Inserted(static_cast<const char*>(nullptr)), "(null)");
  EXPECT_EQ(Inserted(static_cast<const char16_t*>(nullptr)), "(null)");
  EXPECT_EQ(Inserted(Format(static_cast<const char*>(nullptr), FormatSpec{})), "(null)");
  EXPECT_EQ(Inserted(Format(static_cast<const char16_t*>(nullptr), FormatSpec{})), "(null)");
}

TEST(TraceInserters, EightBitTextGoesInUnchanged) {
  EXPECT_EQ(Inserted("\x01\x7F\x80\xE9\xFF\r\n"), "\x01\x7F\x80\xE9\xFF\r\n");
  EXPECT_EQ(Inserted(oru::String8("\xC3\x28")), "\xC3\x28");
  using namespace std::string_view_literals;
  EXPECT_EQ(Inserted("a\0b"sv), "a\0b"sv);
}

TEST(TraceInserters, SixteenBitTextGoesInAsUtf8) {
  const struct {
    const char* name;
    std::u16string text;
    std::string expected;
  } kRows[] = {
      {"empty", u"", ""},
      {"last of one byte", u"\x7F", "\x7F"},
      {"first of two bytes", u"\u0080", "\xC2\x80"},
      {"last of two bytes", u"\u07FF", "\xDF\xBF"},
      {"first of three bytes", u"\u0800", "\xE0\xA0\x80"},
      {"last of three bytes", u"\uFFFF", "\xEF\xBF\xBF"},
      {"first pair", {u'\xD800', u'\xDC00'}, "\xF0\x90\x80\x80"},
      {"last pair", {u'\xDBFF', u'\xDFFF'}, "\xF4\x8F\xBF\xBF"},
      {"lone high one",
       {u'a', u'\xD800', u'b'},
       "a\xED\xA0\x80"
       "b"},
      {"high one at the end", {u'\xDBFF'}, "\xED\xAF\xBF"},
      {"lone low one", {u'\xDC00', u'x'}, "\xED\xB0\x80x"},
      {"pair the wrong way round", {u'\xDC00', u'\xD800'}, "\xED\xB0\x80\xED\xA0\x80"},
      {"a zero inside", {u'a', u'\0', u'b'}, std::string("a\0b", 3)},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Inserted(row.text), row.expected) << row.name;
    EXPECT_EQ(Inserted(oru::String16(std::u16string_view(row.text))), row.expected) << row.name;
  }
}

TEST(TraceInserters, SixteenBitTextThatHasNoPlaceIsLeftOutWhole) {
  tests::RecordingTracer tracer;
  oru::RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 700));
  TraceStream stream(record);
  stream << "kept ";
  stream.SetWidth(0xFFFFFFFF);  // 5 more wrap
  EXPECT_EQ(stream.InsertUtf16(u"text"), oru::errOutOfMemory);
  EXPECT_EQ(stream.InsertUtf16(u"end"), oru::sOk);
  stream.Commit();
  EXPECT_EQ(tracer.Texts(), (std::vector<std::string>{"kept end"}));
}

TEST(TraceInserters, SixteenBitTextCountsItsBytesForGrowth) {
  tests::RecordingTracer tracer;
  oru::RecordHandle record;
  ASSERT_TRUE(record.Open(&tracer, 700));
  TraceStream stream(record);
  stream << std::u16string(171, u'\u20AC');  // 513 bytes
  EXPECT_EQ(stream.Length(), 513u);
  EXPECT_EQ(stream.Capacity(), 1024u);
  stream.Commit();
}

TEST(TraceInserters, PlainNumbers) {
  EXPECT_EQ(Inserted(std::uint32_t{0}), "0");
  EXPECT_EQ(Inserted(std::uint32_t{4294967295}), "4294967295");
  EXPECT_EQ(Inserted(std::uint16_t{65535}), "65535");
  EXPECT_EQ(Inserted(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
}

TEST(TraceInserters, PlainNumbersInABase) {
  const struct {
    std::uint64_t value;
    unsigned base;
    std::uint32_t flags;
    const char* expected;
  } kRows[] = {
      {255, 16, 0x201, "ff"},
      {255, 16, 0x209, "0xff"},
      {8, 8, 0x201, "10"},
      {8, 8, 0x209, "010"},
      {0, 8, 0x209, "00"},
      {0, 16, 0x209, "0x0"},
      {10, 10, 0x209, "10"},
      {5, 2, 0x209, "101"},
      {35, 36, 0x201, "23"},  // the base counts as 16
      {31, 17, 0x201, "1f"},
      {12, 1, 0x201, "12"},  // no base: 10
      {12, 0, 0x201, "12"},
      {0xFFFFFFFFFFFFFFFF, 2, 0x201,
       "1111111111111111111111111111111111111111111111111111111111111111"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Traced([&](TraceStream& stream) {
                stream.SetFlags(row.flags);
                stream.InsertUnsigned(row.value, row.base);
              }),
              row.expected)
        << row.value << " in base " << row.base;
  }
}

TEST(TraceInserters, FlagsNameTheBaseOfPlainNumbers) {
  const auto inserted = [](std::uint32_t flags) {
    return Traced([&](TraceStream& stream) {
      stream.SetFlags(flags);
      stream << std::uint32_t{255};
    });
  };
  EXPECT_EQ(inserted(0x201), "255");
  EXPECT_EQ(inserted(0x001), "255");
  EXPECT_EQ(inserted(0x401), "377");
  EXPECT_EQ(inserted(0x801), "ff");
  EXPECT_EQ(inserted(0x809), "0xff");
}

TEST(TraceInserters, ResultCodes) {
  EXPECT_EQ(Inserted(oru::ResultCodeText{MakeResultCode(0x80000046)}), "0x80000046");
  EXPECT_EQ(Inserted(oru::ResultCodeText{0}), "0x00000000");
  EXPECT_EQ(Inserted(oru::ResultCodeText{MakeResultCode(0xA178000B)}), "0xa178000b");
  EXPECT_EQ(Inserted(oru::ResultCodeText{3010}), "0x00000bc2");
}

TEST(TraceInserters, TextIsPaddedByWidthFlagsAndFill) {
  const struct {
    const char* name;
    std::uint32_t flags;
    std::uint32_t width;
    const char* expected;
  } kRows[] = {
      {"no width", 0x201, 0, "abc"},          {"less than the text", 0x201, 2, "abc"},
      {"just the text", 0x201, 3, "abc"},     {"one more", 0x201, 4, "*abc"},
      {"no adjustment", 0x201, 6, "***abc"},  {"right", 0x281, 6, "***abc"},
      {"left", 0x241, 6, "abc***"},           {"internal", 0x301, 6, "***abc"},
      {"left and right", 0x2C1, 6, "***abc"},
  };
  for (const auto& row : kRows) {
    for (const bool wide : {false, true}) {
      EXPECT_EQ(Traced([&](TraceStream& stream) {
                  stream.SetFlags(row.flags);
                  stream.SetFill('*');
                  stream.SetWidth(row.width);
                  if (wide) {
                    stream << u"abc";
                  } else {
                    stream << "abc";
                  }
                }),
                row.expected)
          << row.name << (wide ? ", 16-bit" : ", 8-bit");
    }
  }
}

TEST(TraceInserters, InternalPaddingStandsBehindThePrefix) {
  const auto padded = [](std::uint32_t flags, std::size_t prefix) {
    return Traced([&](TraceStream& stream) {
      stream.SetFlags(flags);
      stream.SetFill('.');
      stream.SetWidth(8);
      stream.InsertPadded("0x1f", prefix);
    });
  };
  EXPECT_EQ(padded(0x301, 2), "0x....1f");
  EXPECT_EQ(padded(0x301, 0), "....0x1f");
  EXPECT_EQ(padded(0x301, 4), "0x1f....");
  EXPECT_EQ(padded(0x301, 5), "0x1f....");
  EXPECT_EQ(padded(0x241, 2), "0x1f....");
  EXPECT_EQ(padded(0x281, 2), "....0x1f");
}

TEST(TraceInserters, NumbersArePaddedLikeText) {
  const auto padded = [](std::uint32_t flags) {
    return Traced([&](TraceStream& stream) {
      stream.SetFlags(flags);
      stream.SetFill('0');
      stream.SetWidth(8);
      stream << std::uint32_t{31};
    });
  };
  EXPECT_EQ(padded(0x201), "00000031");
  EXPECT_EQ(padded(0x909), "0x00001f");
  EXPECT_EQ(padded(0x849), "0x1f0000");
  EXPECT_EQ(padded(0x889), "00000x1f");
}

TEST(TraceInserters, WidthHoldsForOneInsertion) {
  const Fill kInsertions[] = {
      [](TraceStream& s) { s << "x"; },
      [](TraceStream& s) { s << u"x"; },
      [](TraceStream& s) { s << std::uint32_t{1}; },
      [](TraceStream& s) { s << Format(std::uint32_t{1}, {}); },
      [](TraceStream& s) { s << Format("x", {}); },
      [](TraceStream& s) { s << Format(u"x", {}); },
      [](TraceStream& s) { s << oru::ResultCodeText{0}; },
  };
  int number = 0;
  for (const Fill& insertion : kInsertions) {
    const std::string text = Traced([&](TraceStream& stream) {
      stream.SetWidth(12);
      insertion(stream);
      stream << "|";
    });
    EXPECT_EQ(text.find(" |"), std::string::npos) << number;
    EXPECT_EQ(text.back(), '|') << number;
    ++number;
  }
}

TEST(TraceInserters, AWidthThatHasNoPlaceIsGoneAllTheSame) {
  EXPECT_EQ(Traced([](TraceStream& stream) {
              stream << "a";
              stream.SetWidth(0xFFFFFFFF);
              stream << "b"
                     << "c";
            }),
            "ac");
}

TEST(TraceInserters, FormattedNumbers) {
  const struct {
    const char* name;
    Fill fill;
    const char* expected;
  } kRows[] = {
      {"default", [](TraceStream& s) { s << Format(std::int32_t{-5}, {}); }, "-5"},
      {"zero", [](TraceStream& s) { s << Format(std::uint32_t{0}, {}); }, "0"},
      {"front", [](TraceStream& s) { s << Format(std::int32_t{-5}, {.width = 5}); }, "   -5"},
      {"between sign and digits",
       [](TraceStream& s) {
         s << Format(std::int32_t{-5}, {.width = 5, .alignment = 0, .fill = u'0'});
       },
       "-0005"},
      {"behind",
       [](TraceStream& s) { s << Format(std::int32_t{-5}, {.width = 5, .alignment = -1}); },
       "-5   "},
      {"alignment above 1",
       [](TraceStream& s) { s << Format(std::int32_t{-5}, {.width = 5, .alignment = 7}); },
       "   -5"},
      {"alignment far below 0",
       [](TraceStream& s) { s << Format(std::int32_t{-5}, {.width = 5, .alignment = -9}); },
       "-5   "},
      {"between prefix and digits",
       [](TraceStream& s) {
         s << Format(std::uint32_t{31},
                     {.width = 8, .base = 16, .alignment = 0, .fill = u'0', .showBase = true});
       },
       "0x00001f"},
      {"prefix in front of the fill",
       [](TraceStream& s) {
         s << Format(std::uint32_t{31}, {.width = 8, .base = 16, .fill = u'.', .showBase = true});
       },
       "....0x1f"},
      {"base 8",
       [](TraceStream& s) { s << Format(std::uint32_t{8}, {.base = 8, .showBase = true}); }, "010"},
      {"zero in base 8",
       [](TraceStream& s) { s << Format(std::uint32_t{0}, {.base = 8, .showBase = true}); }, "00"},
      {"zero in base 16",
       [](TraceStream& s) { s << Format(std::uint32_t{0}, {.base = 16, .showBase = true}); },
       "0x0"},
      {"no prefix in base 10",
       [](TraceStream& s) { s << Format(std::uint32_t{8}, {.showBase = true}); }, "8"},
      {"negative in base 16", [](TraceStream& s) { s << Format(std::int32_t{-1}, {.base = 16}); },
       "ffffffff"},
      {"negative 16-bit in base 16",
       [](TraceStream& s) { s << Format(std::int16_t{-1}, {.base = 16}); }, "ffff"},
      {"negative 64-bit in base 16",
       [](TraceStream& s) { s << Format(std::int64_t{-1}, {.base = 16}); }, "ffffffffffffffff"},
      {"least of 32 bits",
       [](TraceStream& s) { s << Format(std::numeric_limits<std::int32_t>::min(), {}); },
       "-2147483648"},
      {"least of 64 bits",
       [](TraceStream& s) { s << Format(std::numeric_limits<std::int64_t>::min(), {}); },
       "-9223372036854775808"},
      {"16 bits", [](TraceStream& s) { s << Format(std::uint16_t{65535}, {}); }, "65535"},
      {"64 bits",
       [](TraceStream& s) { s << Format(std::numeric_limits<std::uint64_t>::max(), {}); },
       "18446744073709551615"},
      {"base 36", [](TraceStream& s) { s << Format(std::uint32_t{35}, {.base = 36}); }, "z"},
      {"base 40 is 39", [](TraceStream& s) { s << Format(std::uint32_t{39}, {.base = 40}); }, "10"},
      {"negative width", [](TraceStream& s) { s << Format(std::uint32_t{1}, {.width = -4}); }, "1"},
  };
  for (const auto& row : kRows) EXPECT_EQ(Traced(row.fill), row.expected) << row.name;
}

TEST(TraceInserters, FormatIgnoresTheStreamsOwnState) {
  EXPECT_EQ(Traced([](TraceStream& stream) {
              stream.SetFlags(0x849);
              stream.SetFill('#');
              stream.SetWidth(9);
              stream << Format(std::uint32_t{10}, {.width = 4});
            }),
            "  10");
}

TEST(TraceInserters, FormattedTexts) {
  const struct {
    const char* name;
    FormatSpec spec;
    const char* expected;
  } kRows[] = {
      {"all of it", {}, "abcdef"},
      {"limit 0", {.limit = 0}, ""},
      {"limit within", {.limit = 2}, "ab"},
      {"limit of the length", {.limit = 6}, "abcdef"},
      {"limit behind the end", {.limit = 100}, "abcdef"},
      {"front", {.width = 8}, "  abcdef"},
      {"between has no prefix", {.width = 8, .alignment = 0}, "  abcdef"},
      {"behind", {.width = 8, .alignment = -1, .fill = u'.'}, "abcdef.."},
      {"cut, then padded", {.width = 4, .limit = 3, .fill = u'-'}, "-abc"},
      {"the last single byte",
       {.width = 7, .fill = 0x7F},
       "\x7F"
       "abcdef"},
      {"a fill of two bytes pads nothing", {.width = 8, .fill = 0x80}, "abcdef"},
      {"a fill of two units pads nothing", {.width = 8, .fill = 0x10000}, "abcdef"},
  };
  for (const auto& row : kRows) {
    EXPECT_EQ(Inserted(Format("abcdef", row.spec)), row.expected) << row.name << ", 8-bit";
    EXPECT_EQ(Inserted(Format(u"abcdef", row.spec)), row.expected) << row.name << ", 16-bit";
  }
}

TEST(TraceInserters, ALimitEndsTheReading) {
  const char noTerminator[3] = {'a', 'b', 'c'};
  const char* const text = noTerminator;
  EXPECT_EQ(Inserted(Format(text, {.limit = 3})), "abc");
}

TEST(TraceInserters, SixteenBitFormatCountsTheRecordsBytes) {
  EXPECT_EQ(Inserted(Format(u"\u20AC", {.width = 5, .fill = u'.'})), "..\xE2\x82\xAC");
  // A limit counts units, so it can cut a pair.
  EXPECT_EQ(Inserted(Format(u"\U00010000", {.limit = 1})), "\xED\xA0\x80");
}

// Stands for the objects of the tool that bring their own inserter.
struct Item {
  const char* name;
};
TraceStream& operator<<(TraceStream& stream, const Item& item) { return stream << item.name; }

TEST(TraceInserters, Lists) {
  const auto list = [](const std::vector<Item>& items) {
    return Traced([&](TraceStream& stream) { oru::InsertList(stream, items) << "!"; });
  };
  EXPECT_EQ(list({}), "[  ]!");
  EXPECT_EQ(list({{"file:a"}}), "[ file:a ]!");
  EXPECT_EQ(list({{"file:a"}, {"dir:b"}, {"c"}}), "[ file:a,dir:b,c ]!");
}

}  // namespace
