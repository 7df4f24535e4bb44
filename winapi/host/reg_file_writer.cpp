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

// Gathers lines and hands them on in portions; nothing more once somebody wants no more.
class Writer {
 public:
  explicit Writer(const std::function<bool(std::string_view)>& write) : m_write(write) {}

  void Line(std::u16string_view text) {
    Append(text);
    Append(u"\r\n");
    if (m_bytes.size() >= kPortion) (void)Finish();
  }

  // Hands on what is left.
  bool Finish() {
    m_goesOn = m_goesOn && m_write(m_bytes);
    m_bytes.clear();
    return m_goesOn;
  }

  void Key(const std::u16string& path, const RegistryKey& key) {
    Line(u"[" + path + u"]");
    for (const auto& value : key.Values()) Value(value);
    Line(u"");
  }

  void KeysBelow(const std::u16string& path, const RegistryKey& key) {
    for (const auto& child : key.SubKeys()) {
      if (!m_goesOn) return;
      const std::u16string childPath = path + u"\\" + child->Name();
      Key(childPath, *child);
      KeysBelow(childPath, *child);
    }
  }

 private:
  static constexpr std::size_t kPortion = 65536;

  void Append(std::u16string_view text) {
    std::size_t at = m_bytes.size();
    m_bytes.resize(at + text.size() * 2);
    for (const char16_t unit : text) {
      m_bytes[at++] = static_cast<char>(unit & 0xFF);
      m_bytes[at++] = static_cast<char>(unit >> 8);
    }
  }

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

  const std::function<bool(std::string_view)>& m_write;
  std::string m_bytes = "\xFF\xFE";
  bool m_goesOn = true;
};

}  // namespace

std::string WriteRegFile(const RegistryTree& tree) {
  std::string bytes;
  (void)WriteRegFile(tree, [&bytes](std::string_view portion) {
    bytes.append(portion);
    return true;
  });
  return bytes;
}

bool WriteRegFile(const RegistryTree& tree, const std::function<bool(std::string_view)>& write) {
  Writer writer(write);
  writer.Line(u"Windows Registry Editor Version 5.00");
  writer.Line(u"");
  for (const RegistryKeyPtr& hive : tree.Hives()) {
    if (!hive->Values().empty()) writer.Key(hive->Name(), *hive);
    writer.KeysBelow(hive->Name(), *hive);
  }
  return writer.Finish();
}

}  // namespace winapi::host
