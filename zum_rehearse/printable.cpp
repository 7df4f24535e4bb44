#include "zum_rehearse/printable.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "winapi/registry.h"

namespace zum_rehearse {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Range {
  char32_t first;
  char32_t last;
};

// Controls, line separators, halves of pairs, what is no character, and all that Unicode counts as
// ignorable: it isn't seen, or turns what stands beside it.
constexpr Range kUnsafe[] = {
    {0x00, 0x1F},      {0x7F, 0x9F},     {0xAD, 0xAD},     {0x34F, 0x34F},     {0x61C, 0x61C},
    {0x115F, 0x1160},  {0x17B4, 0x17B5}, {0x180B, 0x180F}, {0x200B, 0x200F},   {0x2028, 0x202E},
    {0x2060, 0x206F},  {0x3164, 0x3164}, {0xD800, 0xDFFF}, {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},
    {0xFFA0, 0xFFA0},  {0xFFF0, 0xFFFB}, {0xFFFE, 0xFFFF}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A},
    {0xE0000, 0xE0FFF}};
// Without a column of their own, and with two: the blocks that names are likely to have.
constexpr Range kCombining[] = {
    {0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},   {0x64B, 0x65F},
    {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
constexpr Range kWide[] = {
    {0x1100, 0x115F}, {0x2E80, 0x303E}, {0x3041, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <std::size_t Count>
bool IsIn(const Range (&ranges)[Count], char32_t character) {
  return std::any_of(std::begin(ranges), std::end(ranges), [character](const Range& range) {
    return character >= range.first && character <= range.last;
  });
}

bool IsHigh(char32_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool IsLow(char32_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// One character, a lone surrogate included; `position` moves behind it.
char32_t Next(std::u16string_view text, std::size_t& position) {
  const char32_t first = text[position++];
  if (!IsHigh(first) || position == text.size() || !IsLow(text[position])) return first;
  return 0x10000 + ((first - 0xD800) << 10) + (text[position++] - 0xDC00U);
}

void Append(std::string& text, char32_t character) {
  const auto put = [&text](char32_t byte) { text += static_cast<char>(byte); };
  if (character < 0x80) {
    put(character);
  } else if (character < 0x800) {
    put(0xC0 | (character >> 6));
    put(0x80 | (character & 0x3F));
  } else if (character < 0x10000) {
    put(0xE0 | (character >> 12));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  } else {
    put(0xF0 | (character >> 18));
    put(0x80 | ((character >> 12) & 0x3F));
    put(0x80 | ((character >> 6) & 0x3F));
    put(0x80 | (character & 0x3F));
  }
}

// One character of UTF-8; false for a malformed byte, which alone is passed then.
bool Next(std::string_view text, std::size_t& position, char32_t& character) {
  const auto byte = static_cast<unsigned char>(text[position++]);
  if (byte < 0x80) {
    character = byte;
    return true;
  }
  const std::size_t more = byte >= 0xF0 ? 3 : byte >= 0xE0 ? 2 : 1;
  if (byte < 0xC2 || byte > 0xF4 || text.size() - position < more) return false;
  char32_t value = byte & (0x3FU >> more);
  for (std::size_t i = 0; i < more; ++i) {
    const auto next = static_cast<unsigned char>(text[position + i]);
    if ((next & 0xC0) != 0x80) return false;
    value = (value << 6) | (next & 0x3FU);
  }
  const char32_t least = more == 1 ? 0x80 : more == 2 ? 0x800 : 0x10000;
  if (value < least || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF)) return false;
  position += more;
  character = value;
  return true;
}

std::string Number(const char* format, unsigned number) {
  char text[24];
  const int length = std::snprintf(text, sizeof text, format, number);
  return std::string(text, static_cast<std::size_t>(length));
}

void AppendPrintable(std::string& text, char32_t character) {
  if (IsUnsafe(character)) {
    text += Number("\\u{%x}", static_cast<unsigned>(character));
  } else {
    Append(text, character);
  }
}

std::size_t WidthOf(char32_t character) {
  if (IsIn(kCombining, character)) return 0;
  return IsIn(kWide, character) ? 2 : 1;
}

// All characters of a string value but the last zero; a zero inside shows.
std::string QuotedText(const Value& value) {
  std::u16string text;
  for (std::size_t i = 0; i + 1 < value.data.size(); i += 2) {
    text += static_cast<char16_t>(value.data[i] | (value.data[i + 1] << 8));
  }
  if (!text.empty() && text.back() == u'\0') text.pop_back();
  return Concat({"\"", Printable(text), "\""});
}

}  // namespace

std::string Utf8(std::u16string_view text) {
  std::string utf8;
  for (std::size_t i = 0; i < text.size();) {
    const char32_t character = Next(text, i);
    Append(utf8, IsHigh(character) || IsLow(character) ? kReplacement : character);
  }
  return utf8;
}

std::u16string Utf16(std::string_view utf8) {
  std::u16string text;
  for (std::size_t i = 0; i < utf8.size();) {
    char32_t character = 0;
    if (!Next(utf8, i, character)) character = kReplacement;
    if (character < 0x10000) {
      text += static_cast<char16_t>(character);
    } else {
      text += static_cast<char16_t>(0xD800 + ((character - 0x10000) >> 10));
      text += static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    }
  }
  return text;
}

bool IsUnsafe(char32_t character) noexcept { return IsIn(kUnsafe, character); }

std::string Printable(std::u16string_view text) {
  std::string printable;
  for (std::size_t i = 0; i < text.size();) AppendPrintable(printable, Next(text, i));
  return printable;
}

std::string Printable(std::string_view utf8) {
  std::string printable;
  for (std::size_t i = 0; i < utf8.size();) {
    const std::size_t start = i;
    char32_t character = 0;
    if (Next(utf8, i, character)) {
      AppendPrintable(printable, character);
    } else {
      printable += Number("\\x{%x}", static_cast<unsigned char>(utf8[start]));
    }
  }
  return printable;
}

std::string Printable(const Value& value) {
  if (value.type == winapi::kRegSz && value.data.size() % 2 == 0) return QuotedText(value);
  const std::string text = TypeName(value.type);
  if (value.type == winapi::kRegExpandSz && value.data.size() % 2 == 0) {
    return Concat({text, " ", QuotedText(value)});
  }
  return Concat({text, " ", value.data.empty() ? "(no bytes)" : HexDigits(value.data)});
}

std::string TypeName(winapi::Dword type) {
  static constexpr const char* kNames[] = {"REG_NONE",
                                           "REG_SZ",
                                           "REG_EXPAND_SZ",
                                           "REG_BINARY",
                                           "REG_DWORD",
                                           "REG_DWORD_BIG_ENDIAN",
                                           "REG_LINK",
                                           "REG_MULTI_SZ",
                                           "REG_RESOURCE_LIST",
                                           "REG_FULL_RESOURCE_DESCRIPTOR",
                                           "REG_RESOURCE_REQUIREMENTS_LIST",
                                           "REG_QWORD"};
  return type < std::size(kNames) ? kNames[type] : Concat({"type ", std::to_string(type)});
}

std::string HexDigits(const std::vector<std::uint8_t>& bytes) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(bytes.size() * 2);
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

std::string Concat(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

std::size_t Width(std::string_view utf8) {
  std::size_t width = 0;
  for (std::size_t i = 0; i < utf8.size();) {
    char32_t character = kReplacement;
    (void)Next(utf8, i, character);  // a malformed byte counts as the replacement
    width += WidthOf(character);
  }
  return width;
}

std::size_t FittingBytes(std::string_view utf8, std::size_t columns) {
  std::size_t end = 0;
  for (std::size_t used = 0, i = 0; i < utf8.size(); end = i) {
    char32_t character = kReplacement;
    (void)Next(utf8, i, character);
    used += WidthOf(character);
    if (used > columns) return end;
  }
  return end;
}

std::string Cut(std::string_view utf8, std::size_t columns) {
  if (Width(utf8) <= columns) return std::string(utf8);
  const std::size_t room = columns == 0 ? 0 : columns - 1;  // beside the ellipsis
  return Concat({utf8.substr(0, FittingBytes(utf8, room)), "\u2026"});
}

std::string Fit(std::string_view utf8, std::size_t columns) {
  std::string text = Cut(utf8, columns);
  text.append(columns - std::min(columns, Width(text)), ' ');
  return text;
}

}  // namespace zum_rehearse
