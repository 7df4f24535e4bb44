#include "winapi/host/reg_file_writer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "winapi/host/reg_file_text.h"
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
bool NeedsEscape(char16_t unit) {
  return unit == u'\\' || unit == u'"' || unit == u'\r' || unit == u'\n';
}

void AppendQuoted(std::u16string& line, std::u16string_view text) {
  line += u'"';
  while (!text.empty()) {
    const auto special = std::find_if(text.begin(), text.end(), NeedsEscape);
    const auto plain = static_cast<std::size_t>(special - text.begin());
    line.append(text.substr(0, plain));
    if (special == text.end()) break;
    line += u'\\';
    line += *special == u'\r' ? u'r' : *special == u'\n' ? u'n' : *special;
    text.remove_prefix(plain + 1);
  }
  line += u'"';
}

// The text of a REG_SZ that quotes carry exactly.
std::optional<std::u16string> QuotableText(const RegistryValue& value) {
  if (value.type != kRegSz || value.data.empty() || value.data.size() % 2 != 0) return std::nullopt;
  std::u16string text(value.data.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    text[i] = static_cast<char16_t>(value.data[2 * i] | (value.data[2 * i + 1] << 8));
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
    AppendUtf16(m_bytes, text);
    AppendUtf16(m_bytes, u"\r\n");
    if (m_bytes.size() >= kPortion) (void)Finish();
  }

  // Hands on what is left.
  bool Finish() {
    m_goesOn = m_goesOn && m_write(m_bytes);
    m_bytes.clear();
    return m_goesOn;
  }

  void Hive(const RegistryKey& hive) {
    m_path = hive.Name();
    if (!hive.Values().empty()) Key(hive);
    KeysBelow(hive);
  }

 private:
  static constexpr std::size_t kPortion = 65536;

  // The key at m_path.
  void Key(const RegistryKey& key) {
    m_line.assign(1, u'[').append(m_path).append(1, u']');
    Line(m_line);
    for (const auto& value : key.Values()) Value(value);
    Line(u"");
  }

  void KeysBelow(const RegistryKey& key) {
    const std::size_t length = m_path.size();
    for (const auto& child : key.SubKeys()) {
      if (!m_goesOn) return;
      m_path.append(1, u'\\').append(child->Name());
      Key(*child);
      KeysBelow(*child);
      m_path.resize(length);
    }
  }

  void Value(const RegistryValue& value) {
    m_line.clear();
    if (value.name.empty()) {
      m_line += u'@';
    } else {
      AppendQuoted(m_line, value.name);
    }
    m_line += u'=';
    if (const auto text = QuotableText(value)) {
      AppendQuoted(m_line, *text);
      Line(m_line);
    } else if (value.type == kRegDword && value.data.size() == 4) {
      Line(m_line + u"dword:" + DwordText(value.data));
    } else {
      HexLines(m_line, value);
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
  std::u16string m_path;  // of the key that is written
  std::u16string m_line;  // kept for its memory
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
    writer.Hive(*hive);
  }
  return writer.Finish();
}

}  // namespace winapi::host
