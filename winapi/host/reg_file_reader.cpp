#include "winapi/host/reg_file_reader.h"

#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "winapi/host/text.h"
#include "winapi/registry.h"

namespace winapi::host {
namespace {

constexpr std::u16string_view kHeader = u"Windows Registry Editor Version 5.00";

bool IsBlank(char16_t unit) { return unit == u' ' || unit == u'\t'; }
bool IsLineEnd(char16_t unit) { return unit == u'\r' || unit == u'\n'; }
bool IsComment(char16_t unit) { return unit == u';' || unit == u'#'; }

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

std::u16string DecodeUtf16(std::string_view bytes) {
  if (bytes.size() % 2 != 0) throw Damage{1, "the UTF-16 text has an odd number of bytes"};
  std::u16string text(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto low = static_cast<unsigned char>(bytes[2 * i]);
    const auto high = static_cast<unsigned char>(bytes[2 * i + 1]);
    text[i] = static_cast<char16_t>(low | (high << 8));
  }
  return text;
}

std::u16string Decode(std::string_view bytes) {
  if (bytes.starts_with("\xFF\xFE")) return DecodeUtf16(bytes.substr(2));
  if (bytes.starts_with("\xFE\xFF"))
    throw Damage{1, "UTF-16 with the high byte first isn't supported"};
  if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
  std::u16string text;
  if (!ToUtf16Strict(bytes, text)) throw Damage{1, "the text is neither UTF-16 nor UTF-8"};
  return text;
}

// One pass over the text, without going back: each function begins where the one before it stopped,
// and stops behind what it took. `m_line` is counted along, so that a failure can name it.
class Parser {
 public:
  explicit Parser(std::u16string_view text) : m_text(text) {}

  RegistryTree Run() {
    ReadHeader();
    while (SkipToContent()) ReadStatement();
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
  void ReadStatement();
  void ReadKey();
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
  std::size_t m_position = 0;
  std::size_t m_line = 1;
  RegistryTree m_tree;
  RegistryKeyPtr m_key;  // null below a deletion, whose values mean nothing
  bool m_keySeen = false;
};

// Told apart from damage where it can be: the older form and an empty file are ordinary mistakes.
void Parser::ReadHeader() {
  if (m_text.empty()) Fail("the file is empty");
  if (m_text.starts_with(u"REGEDIT4"))
    Fail("this is the older form (REGEDIT4), which isn't supported");
  if (!Take(kHeader)) Fail("the header \"Windows Registry Editor Version 5.00\" is missing");
  SkipBlanks();
  if (!AtLineEnd()) Fail("there is text behind the header");
}

void Parser::ReadStatement() {
  if (Next() == u'[') return ReadKey();
  if (Next() != u'"' && Next() != u'@') Fail("this is neither a key nor a value nor a comment");
  if (!m_keySeen) Fail("a value stands before the first key");
  ReadValue();
}

// The name ends at the line's last bracket, since brackets may stand in it.
void Parser::ReadKey() {
  const std::size_t start = m_position + 1;
  const std::u16string_view rest = TakeRestOfLine().substr(1);
  const std::size_t length = rest.rfind(u']');
  if (length == std::u16string_view::npos) Fail("the bracket that closes the key is missing");
  m_position = start + length + 1;
  ExpectEndOfStatement("there is text behind the key");
  const std::u16string_view path = rest.substr(0, length);
  m_keySeen = true;
  m_key = nullptr;
  if (path.starts_with(u'-')) {
    (void)m_tree.Delete(path.substr(1));  // a key that isn't there is as deleted as it can be
    return;
  }
  m_key = m_tree.Create(path);
  if (m_key == nullptr) Fail("no key can have this path");
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
  Store(name, type, ReadBytes());
}

// Bytes of one or two digits with commas between; none at all is empty data.
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

std::uint8_t Parser::ReadByte() {
  return static_cast<std::uint8_t>(
      ReadHexNumber(/*maxDigits=*/2, "a byte of one or two hexadecimal digits is missing"));
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

bool ParseRegFile(std::string_view bytes, RegistryTree& tree, RegFileError& error) {
  try {
    const std::u16string text = Decode(bytes);
    tree = Parser(text).Run();
    return true;
  } catch (const Damage& damage) {
    error = {damage.line, damage.reason};
    return false;
  }
}

}  // namespace winapi::host
