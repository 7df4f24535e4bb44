#include "winapi/host/reg_file_reader.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "winapi/host/reg_file_text.h"
#include "winapi/host/text.h"
#include "winapi/registry.h"

namespace winapi::host {
namespace {

constexpr std::u16string_view kHeader = u"Windows Registry Editor Version 5.00";
constexpr std::u16string_view kOlderHeader = u"REGEDIT4";

bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }
bool IsLineEnd(char16_t unit) { return unit == u'\r' || unit == u'\n'; }
bool EndsPlainText(char16_t unit) { return unit == u'"' || unit == u'\\' || IsLineEnd(unit); }
bool IsComment(char16_t unit) { return unit == u';' || unit == u'#'; }
// A comment isn't one: a key's name may go on with its sign.
bool StartsStatement(char16_t unit) { return unit == u'[' || unit == u'"' || unit == u'@'; }

std::optional<unsigned> HexDigit(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10U;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10U;
  return std::nullopt;
}

void AppendUnit(std::vector<std::uint8_t>& data, char16_t unit) {
  data.push_back(static_cast<std::uint8_t>(unit & 0xFF));
  data.push_back(static_cast<std::uint8_t>(unit >> 8));
}

// The bytes of a text with its terminator.
std::vector<std::uint8_t> StringData(std::u16string_view text) {
  std::vector<std::uint8_t> data;
  data.reserve((text.size() + 1) * 2);
  for (const char16_t unit : text) AppendUnit(data, unit);
  AppendUnit(data, /*unit=*/0);
  return data;
}

// The same characters in 16 bits each.
std::vector<std::uint8_t> WideData(const std::vector<std::uint8_t>& narrow) {
  std::vector<std::uint8_t> data;
  const std::string text(narrow.begin(), narrow.end());
  for (const char16_t unit : FromCodePage1252(text)) AppendUnit(data, unit);
  return data;
}

std::vector<std::uint8_t> DwordData(std::uint32_t number) {
  std::vector<std::uint8_t> data;
  for (unsigned shift = 0; shift < 32; shift += 8) {
    data.push_back(static_cast<std::uint8_t>(number >> shift));
  }
  return data;
}

// Thrown through the parser's functions, which all end at once and have nothing to release.
// The first thing wrong; ends the reading.
struct Damage {
  std::size_t line;
  const char* reason;
};

// One pass over the text, without going back: each function begins where the one before it stopped,
// and stops behind what it took. `m_line` is counted along, so that a failure can name it.
class Parser {
 public:
  Parser(const RegFileText& text, std::vector<RegFileError>& warnings,
         const std::vector<std::u16string>& branches)
      : m_text(text.text), m_isOlderForm(text.isOlderForm), m_warnings(warnings) {
    for (const std::u16string& branch : branches) m_branches.push_back(SplitKeyPath(branch));
  }

  RegistryTree Run() {
    ReadHeader();
    while (SkipToContent()) ReadStatement();
    ExpectLastLineEnd();
    return std::move(m_tree);
  }

 private:
  [[noreturn]] void Fail(const char* reason) const { throw Damage{m_line, reason}; }

  [[nodiscard]] bool AtEnd() const { return m_position == m_text.size(); }
  // What comes next; a zero at the end, where a zero in the text is as wrong as anything else.
  [[nodiscard]] char16_t Next() const { return AtEnd() ? u'\0' : m_text[m_position]; }
  [[nodiscard]] bool AtLineEnd() const { return AtEnd() || IsLineEnd(Next()); }

  bool Take(std::u16string_view expected) {
    if (!m_text.substr(m_position).starts_with(expected)) return false;
    m_position += expected.size();
    return true;
  }

  void SkipBlanks() {
    while (!AtEnd() && IsBlank(Next())) ++m_position;
  }

  void SkipLineEnd() {
    if (AtEnd()) return;
    if (!Take(u"\r\n")) ++m_position;
    ++m_line;
  }

  [[nodiscard]] std::u16string_view TakeRestOfLine() {
    const std::size_t start = m_position;
    while (!AtLineEnd()) ++m_position;
    return m_text.substr(start, m_position - start);
  }

  // Over blank lines and comments. False at the end of the text.
  bool SkipToContent() {
    while (!AtEnd()) {
      SkipBlanks();
      if (!AtEnd() && IsComment(Next())) (void)TakeRestOfLine();
      if (!AtLineEnd()) return true;
      SkipLineEnd();
    }
    return false;
  }

  void ExpectEndOfStatement(const char* reason) {
    SkipBlanks();
    if (!AtEnd() && Next() == u';') (void)TakeRestOfLine();
    if (!AtLineEnd()) Fail(reason);
  }

  void ReadHeader();
  void ExpectLastLineEnd() const;
  void ReadStatement();
  void ReadKey();
  [[nodiscard]] std::u16string_view TakePath();
  [[nodiscard]] bool IsKnownHive(std::u16string_view path);
  [[nodiscard]] bool IsWanted(std::u16string_view path) const;
  void ReadValue();
  void ReadData(const std::u16string& name);
  void ReadDword(const std::u16string& name);
  void ReadHex(const std::u16string& name);
  [[nodiscard]] std::vector<std::uint8_t> ReadBytes();
  [[nodiscard]] std::uint8_t ReadByte();
  void SkipContinuation();
  [[nodiscard]] std::uint32_t ReadHexNumber(std::size_t maxDigits, const char* reason);
  [[nodiscard]] std::u16string ReadQuoted();
  [[nodiscard]] char16_t ReadEscape();

  void Store(const std::u16string& name, Dword type, std::vector<std::uint8_t> data) {
    if (m_key != nullptr) m_key->SetValue(name, type, std::move(data));
  }

  std::u16string_view m_text;
  bool m_isOlderForm;
  std::vector<RegFileError>& m_warnings;
  std::vector<std::vector<std::u16string_view>> m_branches;  // none: all are wanted
  std::set<std::u16string> m_unknownHives;                   // those that were told of
  std::size_t m_position = 0;
  std::size_t m_line = 1;
  RegistryTree m_tree;
  RegistryTree::Trail m_trail;  // of the last key that was made
  // Null where values mean nothing: below a deletion, an unknown hive, a key that isn't wanted.
  RegistryKeyPtr m_key;
  bool m_keySeen = false;
};

// Told apart from damage where it can be: an empty file is an ordinary mistake.
void Parser::ReadHeader() {
  if (m_text.empty()) Fail("the file is empty");
  if (!Take(m_isOlderForm ? kOlderHeader : kHeader)) {
    Fail("the header \"Windows Registry Editor Version 5.00\" is missing");
  }
  SkipBlanks();
  if (!AtLineEnd()) Fail("there is text behind the header");
  if (!m_isOlderForm) return;
  const auto foreign =
      std::find_if(m_text.begin(), m_text.end(), [](char16_t unit) { return unit > 0x7F; });
  if (foreign == m_text.end()) return;
  const auto line = std::count(m_text.begin(), foreign, u'\n') + 1;
  m_warnings.push_back({static_cast<std::size_t>(line),
                        "a file of this form doesn't name its code page; 1252 is taken"});
}

// Every exporter ends the last line. What a torn one says may well pass for whole: of
// "dword:00000012" each beginning is a number too.
void Parser::ExpectLastLineEnd() const {
  if (!IsLineEnd(m_text.back())) Fail("the last line has no end: the file is torn");
}

void Parser::ReadStatement() {
  if (Next() == u'[') return ReadKey();
  if (Next() != u'"' && Next() != u'@') Fail("this is neither a key nor a value nor a comment");
  if (!m_keySeen) Fail("a value stands before the first key");
  ReadValue();
}

void Parser::ReadKey() {
  const std::u16string_view path = TakePath();
  ExpectEndOfStatement("there is text behind the key");
  m_keySeen = true;
  m_key = nullptr;
  if (path.starts_with(u'-')) {
    (void)m_tree.Delete(path.substr(1));  // a key that isn't there is as deleted as it can be
    m_trail.clear();
    return;
  }
  if (!IsKnownHive(path)) return;
  if (IsWanted(path)) m_key = m_tree.Create(path, m_trail);
  if (m_key == nullptr && !m_tree.CanHold(path)) Fail("no key can have this path");
}

// What stands between the brackets. The name ends at the line's last bracket, since brackets may
// stand in it; a line without one goes on in the next, for a name may have line breaks. But not in
// one that looks like a key or a value: there the bracket got lost.
std::u16string_view Parser::TakePath() {
  const std::size_t start = m_position + 1;
  const std::size_t startLine = m_line;
  std::size_t length = std::u16string_view::npos;
  while (length == std::u16string_view::npos) {
    const std::size_t lineStart = m_position;
    const std::size_t bracket = TakeRestOfLine().rfind(u']');
    if (bracket != std::u16string_view::npos) {
      length = lineStart + bracket - start;
      break;
    }
    SkipLineEnd();
    if (AtEnd() || StartsStatement(Next())) {
      m_line = startLine;
      Fail("the bracket that closes the key is missing");
    }
  }
  m_position = start + length + 1;
  return m_text.substr(start, length);
}

// Windows leaves out what it has no hive for, and so do we, saying so once for each.
bool Parser::IsKnownHive(std::u16string_view path) {
  const std::u16string_view hive = path.substr(0, path.find(u'\\'));
  if (hive.empty() || m_tree.Find(hive) != nullptr) return true;
  if (m_unknownHives.insert(Upcase(hive)).second) {
    m_warnings.push_back(
        {m_line, "the hive " + ToUtf8(hive) + " isn't known; its keys are left out"});
  }
  return false;
}

// By its parts: a path with an empty one leads to the same key as the path without it.
bool Parser::IsWanted(std::u16string_view path) const {
  if (m_branches.empty()) return true;
  const std::vector<std::u16string_view> parts = SplitKeyPath(path);
  return std::ranges::any_of(m_branches, [&parts](const auto& branch) {
    return parts.size() >= branch.size() &&
           std::equal(branch.begin(), branch.end(), parts.begin(), EqualIgnoringCase);
  });
}

void Parser::ReadValue() {
  std::u16string name;
  if (!Take(u"@")) {
    name = ReadQuoted();
    if (name.find(u'\0') != std::u16string::npos) Fail("there is a zero in the value's name");
  }
  SkipBlanks();
  if (!Take(u"=")) Fail("the = behind the value's name is missing");
  SkipBlanks();
  ReadData(name);
}

void Parser::ReadData(const std::u16string& name) {
  if (Next() == u'"') {
    Store(name, kRegSz, StringData(ReadQuoted()));
  } else if (Take(u"-")) {
    if (m_key != nullptr) (void)m_key->RemoveValue(name);
  } else if (Take(u"dword:")) {
    ReadDword(name);
  } else if (Take(u"hex")) {
    ReadHex(name);
  } else {
    Fail("the value's data is of no known form");
  }
  ExpectEndOfStatement("there is text behind the value's data");
}

void Parser::ReadDword(const std::u16string& name) {
  SkipBlanks();
  Store(name, kRegDword,
        DwordData(ReadHexNumber(/*maxDigits=*/8, "dword: needs one to eight hexadecimal digits")));
}

void Parser::ReadHex(const std::u16string& name) {
  Dword type = kRegBinary;
  if (Take(u"(")) {
    type = ReadHexNumber(/*maxDigits=*/8, "hex( needs a type of one to eight hexadecimal digits");
    if (!Take(u")")) Fail("the bracket behind the type is missing");
  }
  if (!Take(u":")) Fail("the colon behind hex is missing");
  std::vector<std::uint8_t> data = ReadBytes();
  const bool isText = m_isOlderForm && (type == kRegExpandSz || type == kRegMultiSz);
  Store(name, type, isText ? WideData(data) : std::move(data));
}

// Bytes of two digits with commas between; none at all is empty data.
std::vector<std::uint8_t> Parser::ReadBytes() {
  std::vector<std::uint8_t> data;
  SkipContinuation();
  if (AtLineEnd() || Next() == u';') return data;
  for (;;) {
    data.push_back(ReadByte());
    SkipBlanks();
    if (!Take(u",")) return data;
    SkipContinuation();
  }
}

// Of two digits, never one: exporters write both, and a torn file may end in one.
std::uint8_t Parser::ReadByte() {
  constexpr const char* kReason = "a byte of two hexadecimal digits is missing";
  const std::size_t start = m_position;
  const std::uint32_t byte = ReadHexNumber(/*maxDigits=*/2, kReason);
  if (m_position - start != 2) Fail(kReason);
  return static_cast<std::uint8_t>(byte);
}

// Blanks, and a backslash at the end of the line with all that may lie before the data goes on.
void Parser::SkipContinuation() {
  SkipBlanks();
  if (!Take(u"\\")) return;
  SkipBlanks();
  if (!AtLineEnd()) Fail("there is text behind the backslash that continues the data");
  if (!SkipToContent()) Fail("the file ends within the value's data");
}

// The limit on the digits keeps the number inside 32 bits.
std::uint32_t Parser::ReadHexNumber(std::size_t maxDigits, const char* reason) {
  std::uint32_t number = 0;
  std::size_t digits = 0;
  for (; const auto digit = HexDigit(Next()); ++m_position) {
    if (++digits > maxDigits) Fail(reason);
    number = number * 16 + *digit;
  }
  if (digits == 0) Fail(reason);
  return number;
}

// A missing quote is told of the line where the text begins: where the file ends says nothing.
std::u16string Parser::ReadQuoted() {
  const std::size_t startLine = m_line;
  std::u16string text;
  ++m_position;  // the quote
  while (!AtEnd()) {
    const std::size_t start = m_position;
    while (!AtEnd() && !EndsPlainText(Next())) ++m_position;
    text.append(m_text.substr(start, m_position - start));
    if (AtEnd()) break;
    const char16_t unit = Next();
    if (Take(u"\"")) return text;
    if (IsLineEnd(unit)) ++m_line;
    if (Take(u"\r\n")) {
      text += u"\r\n";
    } else {
      ++m_position;
      text += unit == u'\\' ? ReadEscape() : unit;
    }
  }
  m_line = startLine;
  Fail("the quote that closes the text is missing");
}

char16_t Parser::ReadEscape() {
  const char16_t unit = Next();
  if (!AtEnd()) ++m_position;
  switch (unit) {
    case u'\\':
    case u'"':
      return unit;
    case u'n':
      return u'\n';
    case u'r':
      return u'\r';
    case u'0':
      return u'\0';
    default:
      Fail("the backslash in the text begins no known escape");
  }
}

}  // namespace

bool ParseRegFile(std::string bytes, RegistryTree& tree, RegFileError& error,
                  std::vector<RegFileError>* warnings,
                  const std::vector<std::u16string>& branches) {
  RegFileText text;
  if (const char* const reason = DecodeRegFile(bytes, text)) {
    error = {1, reason};
    return false;
  }
  std::string().swap(bytes);  // a large file's bytes, its text and its tree are much at once
  try {
    std::vector<RegFileError> told;
    tree = Parser(text, told, branches).Run();
    if (warnings != nullptr) *warnings = std::move(told);
    return true;
  } catch (const Damage& damage) {
    error = {damage.line, damage.reason};
    return false;
  }
}

}  // namespace winapi::host
