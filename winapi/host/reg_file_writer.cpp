#include "winapi/host/reg_file_writer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "winapi/registry.h"

namespace winapi::host {
namespace {

constexpr std::size_t kLineLimit = 77;  // "xx," must fit behind it, and the backslash

char16_t Digit(unsigned nibble) {
  return static_cast<char16_t>(nibble < 10 ? u'0' + nibble : u'a' + (nibble - 10));
}

// At least `digits` digits.
std::u16string Hexadecimal(std::uint32_t number, std::size_t digits) {
  std::u16string text;
  for (; number != 0 || text.size() < digits; number /= 16) text += Digit(number % 16);
  std::reverse(text.begin(), text.end());
  return text;
}

// Line breaks never come here from data (QuotableText refuses them), but names may have them.
std::u16string Escaped(std::u16string_view text) {
  std::u16string escaped;
  escaped.reserve(text.size());
  for (const char16_t unit : text) {
    if (unit == u'\r') {
      escaped += u"\\r";
    } else if (unit == u'\n') {
      escaped += u"\\n";
    } else {
      if (unit == u'\\' || unit == u'"') escaped += u'\\';
      escaped += unit;
    }
  }
  return escaped;
}

// The text of a REG_SZ that quotes carry exactly.
std::optional<std::u16string> QuotableText(const RegistryValue& value) {
  if (value.type != kRegSz || value.data.empty() || value.data.size() % 2 != 0) return std::nullopt;
  std::u16string text;
  for (std::size_t i = 0; i < value.data.size(); i += 2) {
    text += static_cast<char16_t>(value.data[i] | (value.data[i + 1] << 8));
  }
  if (text.back() != u'\0') return std::nullopt;
  text.pop_back();
  const auto isControl = [](char16_t unit) { return unit < u' '; };
  if (std::any_of(text.begin(), text.end(), isControl)) return std::nullopt;
  return text;
}

// The whole file as text first: a registry of this size (megabytes at the most) fits, and a file
// that is written at once is whole or not there.
class Writer {
 public:
  void Line(std::u16string_view text) { m_text.append(text).append(u"\r\n"); }

  void Key(const std::u16string& path, const RegistryKey& key) {
    Line(u"[" + path + u"]");
    for (const auto& [upper, value] : key.Values()) Value(value);
    Line(u"");
  }

  void KeysBelow(const std::u16string& path, const RegistryKey& key) {
    for (const auto& [upper, child] : key.SubKeys()) {
      const std::u16string childPath = path + u"\\" + child->Name();
      Key(childPath, *child);
      KeysBelow(childPath, *child);
    }
  }

  [[nodiscard]] const std::u16string& Text() const { return m_text; }

 private:
  void Value(const RegistryValue& value) {
    std::u16string line = value.name.empty() ? u"@=" : u"\"" + Escaped(value.name) + u"\"=";
    if (const auto text = QuotableText(value)) {
      Line(line + u"\"" + Escaped(*text) + u"\"");
    } else if (value.type == kRegDword && value.data.size() == 4) {
      Line(line + u"dword:" + DwordText(value.data));
    } else {
      HexLines(std::move(line), value);
    }
  }

  static std::u16string DwordText(const std::vector<std::uint8_t>& data) {
    std::u16string text;
    for (std::size_t i = data.size(); i-- > 0;) text += Hexadecimal(data[i], /*digits=*/2);
    return text;
  }

  void HexLines(std::u16string line, const RegistryValue& value) {
    line += value.type == kRegBinary ? u"hex:"
                                     : u"hex(" + Hexadecimal(value.type, /*digits=*/1) + u"):";
    for (std::size_t i = 0; i < value.data.size(); ++i) {
      line += Hexadecimal(value.data[i], /*digits=*/2);
      if (i + 1 == value.data.size()) break;
      line += u',';
      if (line.size() < kLineLimit) continue;
      Line(line + u"\\");
      line = u"  ";
    }
    Line(line);
  }

  std::u16string m_text;
};

std::string Utf16Bytes(std::u16string_view text) {
  std::string bytes = "\xFF\xFE";
  bytes.reserve(2 + text.size() * 2);
  for (const char16_t unit : text) {
    bytes += static_cast<char>(unit & 0xFF);
    bytes += static_cast<char>(unit >> 8);
  }
  return bytes;
}

}  // namespace

std::string WriteRegFile(const RegistryTree& tree) {
  Writer writer;
  writer.Line(u"Windows Registry Editor Version 5.00");
  writer.Line(u"");
  for (const RegistryKeyPtr& hive : tree.Hives()) {
    if (!hive->Values().empty()) writer.Key(hive->Name(), *hive);
    writer.KeysBelow(hive->Name(), *hive);
  }
  return Utf16Bytes(writer.Text());
}

}  // namespace winapi::host
