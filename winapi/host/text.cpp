#include "winapi/host/text.h"

#include <algorithm>
#include <cstddef>

namespace winapi::host {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

unsigned ByteAt(std::string_view text, std::size_t position) {
  return static_cast<unsigned char>(text[position]);
}

bool IsLead(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsTrail(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// The length that a first byte announces; 0 for a byte that begins nothing.
std::size_t AnnouncedLength(unsigned first) {
  if (first < 0x80) return 1;
  if (first >= 0xC2 && first <= 0xDF) return 2;
  if (first >= 0xE0 && first <= 0xEF) return 3;
  return first >= 0xF0 && first <= 0xF4 ? 4 : 0;
}

// Overlong forms and numbers past the last code point; surrogates pass.
bool InRange(char32_t point, std::size_t length) {
  if (length == 3) return point >= 0x800;
  return length != 4 || (point >= 0x10000 && point <= 0x10FFFF);
}

// By hand, since no library at hand takes lone surrogates, which names of keys and files have on
// Windows: iconv refuses them, and the standard library's conversion is deprecated. Decodes at
// `position` and moves it on: over one byte where the sequence is bad.
bool DecodeOne(std::string_view text, std::size_t& position, char32_t& point) {
  const unsigned first = ByteAt(text, position);
  const std::size_t length = AnnouncedLength(first);
  const std::size_t start = position++;
  if (length == 0 || text.size() - start < length) return false;
  if (length == 1) {
    point = first;
    return true;
  }
  char32_t decoded = first & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    const unsigned next = ByteAt(text, start + i);
    if ((next & 0xC0U) != 0x80U) return false;
    decoded = (decoded << 6) | (next & 0x3FU);
  }
  if (!InRange(decoded, length)) return false;
  position = start + length;
  point = decoded;
  return true;
}

void AppendPoint(std::u16string& text, char32_t point) {
  if (point < 0x10000) {
    text += static_cast<char16_t>(point);
    return;
  }
  text += static_cast<char16_t>(0xD800 + ((point - 0x10000) >> 10));
  text += static_cast<char16_t>(0xDC00 + ((point - 0x10000) & 0x3FF));
}

void AppendUtf8(std::string& text, char32_t point) {
  const auto add = [&text](char32_t bits) { text += static_cast<char>(bits); };
  if (point < 0x80) return add(point);
  if (point < 0x800) {
    add(0xC0 | (point >> 6));
  } else {
    if (point < 0x10000) {
      add(0xE0 | (point >> 12));
    } else {
      add(0xF0 | (point >> 18));
      add(0x80 | ((point >> 12) & 0x3F));
    }
    add(0x80 | ((point >> 6) & 0x3F));
  }
  add(0x80 | (point & 0x3F));
}

// Tables rather than a library's: Windows' own mapping stands still, for the names on disk depend
// on it, while ICU's and the C library's grow with each Unicode (Georgian, Cherokee) and map "ı"
// and "ſ" to ASCII. Upper-case letters that lie `distance` below their lower-case ones, and ranges
// in which they take turns, the upper one first.
struct ShiftedRange {
  char16_t first, last;  // lower case
  int distance;
};
constexpr ShiftedRange kShifted[] = {
    {u'a', u'z', 0x20},     {0x00E0, 0x00F6, 0x20}, {0x00F8, 0x00FE, 0x20}, {0x00FF, 0x00FF, -0x79},
    {0x03AC, 0x03AC, 0x26}, {0x03AD, 0x03AF, 0x25}, {0x03B1, 0x03C1, 0x20}, {0x03C2, 0x03C2, 0x1F},
    {0x03C3, 0x03CB, 0x20}, {0x03CC, 0x03CC, 0x40}, {0x03CD, 0x03CE, 0x3F}, {0x0430, 0x044F, 0x20},
    {0x0450, 0x045F, 0x50}, {0x0561, 0x0586, 0x30}, {0x2170, 0x217F, 0x10}, {0x24D0, 0x24E9, 0x1A},
    {0xFF41, 0xFF5A, 0x20},
};
struct PairedRange {
  char16_t first, last;  // from an upper-case letter to a lower-case one
};
constexpr PairedRange kPaired[] = {
    {0x0100, 0x012F}, {0x0132, 0x0137}, {0x0139, 0x0148}, {0x014A, 0x0177}, {0x0179, 0x017E},
    {0x0460, 0x0481}, {0x048A, 0x04BF}, {0x04C1, 0x04CE}, {0x04D0, 0x0513},
};

bool AreSameIgnoringCase(char16_t a, char16_t b) noexcept {
  return a == b || Upcase(a) == Upcase(b);
}

}  // namespace

std::u16string ToUtf16(std::string_view utf8) {
  std::u16string text;
  text.reserve(utf8.size());
  for (std::size_t position = 0; position < utf8.size();) {
    char32_t point = kReplacement;
    (void)DecodeOne(utf8, position, point);  // a bad byte leaves the replacement
    AppendPoint(text, point);
  }
  return text;
}

bool ToUtf16Strict(std::string_view utf8, std::u16string& result) {
  std::u16string text;
  text.reserve(utf8.size());
  for (std::size_t position = 0; position < utf8.size();) {
    char32_t point = 0;
    if (!DecodeOne(utf8, position, point)) return false;
    AppendPoint(text, point);
  }
  result = std::move(text);
  return true;
}

std::string ToUtf8(std::u16string_view text) {
  std::string utf8;
  utf8.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t point = text[i];
    if (IsLead(text[i]) && i + 1 < text.size() && IsTrail(text[i + 1])) {
      point = 0x10000 + ((point - 0xD800) << 10) + (text[++i] - 0xDC00U);
    }
    AppendUtf8(utf8, point);
  }
  return utf8;
}

char16_t UpcaseBeyondAscii(char16_t unit) noexcept {
  for (const ShiftedRange& range : kShifted) {
    if (unit >= range.first && unit <= range.last) {
      return static_cast<char16_t>(unit - range.distance);
    }
  }
  for (const PairedRange& range : kPaired) {
    if (unit >= range.first && unit <= range.last) {
      return static_cast<char16_t>(unit - (unit - range.first) % 2);
    }
  }
  return unit;
}

std::u16string Upcase(std::u16string_view text) {
  std::u16string upper(text);
  for (char16_t& unit : upper) unit = Upcase(unit);
  return upper;
}

bool EqualIgnoringCase(std::u16string_view left, std::u16string_view right) noexcept {
  return left.size() == right.size() &&
         std::equal(left.begin(), left.end(), right.begin(), AreSameIgnoringCase);
}

bool IsLessIgnoringCase(std::u16string_view left, std::u16string_view right) noexcept {
  const auto common = static_cast<std::ptrdiff_t>(std::min(left.size(), right.size()));
  const auto [a, b] =
      std::mismatch(left.begin(), left.begin() + common, right.begin(), AreSameIgnoringCase);
  if (a == left.begin() + common) return left.size() < right.size();
  return Upcase(*a) < Upcase(*b);
}

}  // namespace winapi::host
