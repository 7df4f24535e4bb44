// A registry file in any spelling that the reader promises to take, against the machine that it was
// spelled from.
#include <fuzzer/FuzzedDataProvider.h>

#include <string>
#include <string_view>
#include <vector>

#include "fuzz/input.h"
#include "fuzz/installer_rule.h"
#include "fuzz/texts.h"
#include "fuzz/utf_rules.h"
#include "winapi/host/reg_file_reader.h"
#include "winapi/host/registry_tree.h"

namespace {

namespace host = winapi::host;

// Spells a machine, each time in another way that means the same.
class Speller {
 public:
  explicit Speller(FuzzedDataProvider& input)
      : m_input(input), m_lineEnd(Pick({u"\r\n", u"\n", u"\r"})) {
    m_text = u"Windows Registry Editor Version 5.00";
    m_text += Pick({u"", u" ", u"\t"});
    End();
  }

  void Spell(const fuzz::Branch& branch) {
    for (const auto& [folded, key] : branch) {
      Filler();
      if (Chance()) Line(u"[-" + key.path + u"\\gone]");
      Bracket(Chance() ? key.path : fuzz::Upper(key.path));
      for (const auto& [name, value] : key.values) SpellValue(value);
    }
    // A key that is told of again keeps what it has.
    for (const auto& [folded, key] : branch) {
      if (Chance()) Bracket(fuzz::Upper(key.path));
    }
  }

  [[nodiscard]] const std::u16string& Text() const { return m_text; }

 private:
  bool Chance() { return m_input.ConsumeBool(); }
  std::u16string Pick(std::initializer_list<std::u16string_view> choices) {
    return std::u16string(
        choices.begin()[m_input.ConsumeIntegralInRange<std::size_t>(0, choices.size() - 1)]);
  }

  void End() { m_text += m_lineEnd; }
  void Line(const std::u16string& line) {
    m_text += line;
    End();
  }

  // What means nothing.
  void Filler() {
    m_text += Pick({u"", m_lineEnd, u"; a [comment]" + m_lineEnd, u"# \"x\"=1" + m_lineEnd,
                    u" \t" + m_lineEnd});
  }

  void Bracket(const std::u16string& path) {
    Line(Pick({u"", u" ", u"\t"}) + u"[" + path + Pick({u"", u"\\"}) + u"]" +
         Pick({u"", u" ", u" ; told"}));
  }

  static std::u16string Quoted(std::u16string_view text, bool escapes) {
    std::u16string quoted = u"\"";
    for (const char16_t unit : text) {
      if (unit == u'"' || unit == u'\\') quoted += u'\\';
      if (unit == u'\0') {
        quoted += u"\\0";
      } else if (escapes && unit == u'\n') {
        quoted += u"\\n";
      } else if (escapes && unit == u'\r') {
        quoted += u"\\r";
      } else {
        quoted += unit;
      }
    }
    return quoted + u"\"";
  }

  void SpellValue(const fuzz::StoredValue& value) {
    std::u16string name = Quoted(value.name, /*escapes=*/true);
    if (value.name.empty() && Chance()) name = u"@";
    if (Chance()) Line(name + Pick({u"=-", u"=\"wrong\"", u"=hex(7):01,02"}));
    m_text += Pick({u"", u" "}) + name + Pick({u"=", u" = ", u"\t="});
    if (!SpellText(value) && !SpellNumber(value)) SpellBytes(value);
    m_text += Pick({u"", u" ", u" ; it \"says\""});
    End();
  }

  bool SpellText(const fuzz::StoredValue& value) {
    const std::size_t size = value.data.size();
    const bool isText = value.type == 1 && size >= 2 && size % 2 == 0 &&
                        value.data[size - 1] == 0 && value.data[size - 2] == 0;
    if (!isText || Chance()) return false;
    std::u16string text;
    for (std::size_t i = 0; i + 2 < size; i += 2) {
      text += static_cast<char16_t>(value.data[i] | value.data[i + 1] << 8);
    }
    m_text += Quoted(text, Chance());
    return true;
  }

  bool SpellNumber(const fuzz::StoredValue& value) {
    if (value.type != 4 || value.data.size() != 4 || Chance()) return false;
    m_text += u"dword:" + Pick({u"", u" "});
    bool leads = Chance();
    for (std::size_t i = 4; i-- > 0;) {
      if (leads && i != 0 && value.data[i] == 0) continue;  // zeros at the head may be left out
      leads = false;
      AppendByte(value.data[i]);
    }
    return true;
  }

  void AppendByte(std::uint8_t byte) {
    const std::u16string_view digits = Chance() ? u"0123456789abcdef" : u"0123456789ABCDEF";
    m_text += digits[byte >> 4];
    m_text += digits[byte & 0xF];
  }

  void SpellBytes(const fuzz::StoredValue& value) {
    if (value.type == 3 && Chance()) {
      m_text += u"hex:";
    } else {
      m_text += u"hex(";
      if (Chance()) m_text += u"00";
      AppendByte(static_cast<std::uint8_t>(value.type));
      m_text += u"):";
    }
    for (std::size_t i = 0; i < value.data.size(); ++i) {
      if (i != 0) m_text += u',';
      if (m_input.ConsumeIntegralInRange(0, 7) == 7) {
        m_text += Pick({u"\\", u" \\", u"\\ "}) + m_lineEnd;
        Filler();
        m_text += Pick({u"  ", u"", u"\t"});
      }
      AppendByte(value.data[i]);
    }
  }

  FuzzedDataProvider& m_input;
  std::u16string m_lineEnd;
  std::u16string m_text;
};

std::string Encoded(const std::u16string& text, unsigned encoding) {
  if (encoding < 2) return (encoding == 0 ? "\xEF\xBB\xBF" : "") + fuzz::Utf8ByRule(text);
  const bool lowFirst = encoding % 2 == 0;
  std::string bytes = encoding < 4 ? lowFirst ? "\xFF\xFE" : "\xFE\xFF" : "";
  for (const char16_t unit : text) {
    const char halves[] = {static_cast<char>(unit & 0xFF), static_cast<char>(unit >> 8)};
    bytes += halves[lowFirst ? 0 : 1];
    bytes += halves[lowFirst ? 1 : 0];
  }
  return bytes;
}

std::size_t Check(const host::RegistryKey& found, const std::u16string& path,
                  const fuzz::Branch& branch) {
  const fuzz::Key* const expected = fuzz::FindKey(branch, path);
  fuzz::Require(expected != nullptr, "no key is there that isn't in the file");
  if (expected == nullptr) return 0;
  fuzz::Require(found.Values().size() == expected->values.size(), "a key has the file's values");
  for (const auto& value : found.Values()) {
    const fuzz::StoredValue* const wanted = fuzz::FindValue(*expected, value.name);
    fuzz::Require(wanted != nullptr && wanted->type == value.type && wanted->data == value.data,
                  "a value is the file's");
  }
  std::size_t count = 1;
  for (const auto& child : found.SubKeys())
    count += Check(*child, path + u"\\" + child->Name(), branch);
  return count;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const unsigned encoding = input.ConsumeIntegralInRange(0U, 5U);
  const fuzz::Branch branch = fuzz::TakeBranch(input);
  Speller speller(input);
  speller.Spell(branch);
  host::RegistryTree tree;
  host::RegFileError error;
  std::vector<host::RegFileError> warnings;
  const bool isRead = host::ParseRegFile(Encoded(speller.Text(), encoding), tree, error, &warnings);
  if (!isRead) std::fprintf(stderr, "line %zu: %s\n", error.line, error.reason.c_str());
  fuzz::Require(isRead && warnings.empty(), "each spelling can be read");
  const auto hive = tree.Find(u"HKEY_LOCAL_MACHINE");
  fuzz::Require(Check(*hive, u"HKEY_LOCAL_MACHINE", branch) == branch.size(),
                "all keys of the file are there");
  return 0;
}
