#include "fuzz/shown_text.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "fuzz/input.h"
#include "fuzz/texts.h"

namespace fuzz {
namespace {

using Points = std::vector<char32_t>;

struct Block {
  char32_t first;
  char32_t last;
};

// Unicode's property Default_Ignorable_Code_Point.
constexpr Block kIgnorable[] = {
    {0xAD, 0xAD},       {0x34F, 0x34F},    {0x61C, 0x61C},   {0x115F, 0x1160}, {0x17B4, 0x17B5},
    {0x180B, 0x180F},   {0x200B, 0x200F},  {0x202A, 0x202E}, {0x2060, 0x206F}, {0x3164, 0x3164},
    {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},  {0xFFA0, 0xFFA0}, {0xFFF0, 0xFFF8}, {0x1BCA0, 0x1BCA3},
    {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}};
// The controls, the line separators, the annotation marks, the halves of pairs, and what is no
// character.
constexpr Block kControls[] = {{0, 0x1F},        {0x7F, 0x9F},     {0x2028, 0x2029},
                               {0xFFF9, 0xFFFB}, {0xD800, 0xDFFF}, {0xFFFE, 0xFFFF}};

constexpr Block kWithoutColumn[] = {
    {0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},   {0x64B, 0x65F},
    {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}};
constexpr Block kWithTwo[] = {
    {0x1100, 0x115F}, {0x2E80, 0x303E}, {0x3041, 0xA4CF}, {0xAC00, 0xD7A3},   {0xF900, 0xFAFF},
    {0xFE30, 0xFE6F}, {0xFF00, 0xFF60}, {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};

template <typename Blocks>
bool LiesIn(const Blocks& blocks, char32_t point) {
  return std::any_of(std::begin(blocks), std::end(blocks), [point](const Block& block) {
    return point >= block.first && point <= block.last;
  });
}

void AppendNumber(std::string& text, std::string_view head, char32_t number) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string digits;
  do {
    digits += kDigits[number % 16];
    number /= 16;
  } while (number != 0);
  text.append(head).append(digits.rbegin(), digits.rend()).append("}");
}

std::string ShownPoints(const Points& points) {
  std::string shown;
  for (const char32_t point : points) {
    if (point >= kMalformed) {
      AppendNumber(shown, "\\x{", point - kMalformed);
    } else if (IsHidden(point)) {
      AppendNumber(shown, "\\u{", point);
    } else {
      AppendUtf8(shown, point);
    }
  }
  return shown;
}

std::string TypeName(std::uint32_t type) {
  static constexpr std::string_view kNames[] = {"NONE",
                                                "SZ",
                                                "EXPAND_SZ",
                                                "BINARY",
                                                "DWORD",
                                                "DWORD_BIG_ENDIAN",
                                                "LINK",
                                                "MULTI_SZ",
                                                "RESOURCE_LIST",
                                                "FULL_RESOURCE_DESCRIPTOR",
                                                "RESOURCE_REQUIREMENTS_LIST",
                                                "QWORD"};
  if (type >= std::size(kNames)) return "type " + std::to_string(type);
  return "REG_" + std::string(kNames[type]);
}

std::string QuotedData(const std::vector<std::uint8_t>& data) {
  std::u16string text;
  for (std::size_t i = 0; i < data.size(); i += 2)
    text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
  if (text.ends_with(u'\0')) text.pop_back();
  return "\"" + Shown(text) + "\"";
}

}  // namespace

bool IsHidden(char32_t point) { return LiesIn(kIgnorable, point) || LiesIn(kControls, point); }

std::vector<char32_t> CodePointsOfUtf8(std::string_view bytes) {
  Points points;
  while (!bytes.empty()) {
    const auto lead = static_cast<unsigned char>(bytes.front());
    const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    static constexpr unsigned kMasks[] = {0, 0x7F, 0x1F, 0x0F, 0x07};
    char32_t point = lead & kMasks[size];
    for (std::size_t i = 1; i < size && i < bytes.size(); ++i) {
      point = point << 6 | (static_cast<unsigned char>(bytes[i]) & 0x3FU);
    }
    std::string back;  // well-formed is what comes out again as it went in
    if (point < 0x110000 && !IsSurrogate(point)) AppendUtf8(back, point);
    if (!back.empty() && bytes.starts_with(back)) {
      points.push_back(point);
      bytes.remove_prefix(back.size());
    } else {
      points.push_back(kMalformed + lead);
      bytes.remove_prefix(1);
    }
  }
  return points;
}

void RequireSeen(std::string_view line) {
  for (const char32_t point : CodePointsOfUtf8(line)) {
    Require(point < kMalformed, "a line is UTF-8");
    Require(!IsHidden(point), "a line has nothing that isn't seen");
  }
}

std::string Shown(std::u16string_view text) { return ShownPoints(CodePoints(text)); }

std::string ShownUtf8(std::string_view bytes) { return ShownPoints(CodePointsOfUtf8(bytes)); }

std::string Shown(const zum_rehearse::Value& value) {
  const bool isWhole = value.data.size() % 2 == 0;
  if (value.type == 1 && isWhole) return QuotedData(value.data);
  if (value.type == 2 && isWhole) return "REG_EXPAND_SZ " + QuotedData(value.data);
  std::string shown = TypeName(value.type) + " ";
  static constexpr char kDigits[] = "0123456789abcdef";
  for (const std::uint8_t byte : value.data) (shown += kDigits[byte / 16]) += kDigits[byte % 16];
  return value.data.empty() ? shown + "(no bytes)" : shown;
}

std::size_t Columns(std::string_view shown) {
  std::size_t columns = 0;
  for (const char32_t point : CodePointsOfUtf8(shown)) {
    if (!LiesIn(kWithoutColumn, point)) columns += LiesIn(kWithTwo, point) ? 2 : 1;
  }
  return columns;
}

}  // namespace fuzz
