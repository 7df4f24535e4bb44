#include "zum_rehearse/reg_text.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <map>
#include <optional>
#include <string_view>
#include <utility>

#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

// Begin the first comment, by which the files are known again.
constexpr char kChangesHead[] = "What /unblock would change on ";
constexpr char kUndoHead[] = "Undoes what /unblock does on ";
constexpr std::size_t kLineLimit = 77;  // "xx," must fit behind it, and the backslash

bool CanStandInAFile(std::u16string_view name) {
  return name.find_first_of(std::u16string_view(u"\0\r\n", 3)) == std::u16string_view::npos;
}

// One value of the machine, before the first change of it and after the last.
struct Net {
  std::u16string key;
  std::u16string name;
  std::optional<Value> before;
  std::optional<Value> after;
};

// In the order of the first changes. The correction spells each name in one way.
std::vector<Net> NetChanges(const Report& report) {
  std::vector<Net> nets;
  std::map<std::pair<std::u16string, std::u16string>, std::size_t> known;
  for (const Change& change : report.changes) {
    if (!CanStandInAFile(change.key)) continue;
    const auto [found, isNew] = known.try_emplace({change.key, change.name}, nets.size());
    if (isNew) nets.push_back({change.key, change.name, change.before, {}});
    nets[found->second].after = change.after;
  }
  return nets;
}

std::string QuotedName(std::u16string_view name) {
  std::string quoted = "\"";
  for (const char character : Utf8(name)) {
    if (character == '"' || character == '\\') quoted += '\\';
    quoted += character;
  }
  return quoted + "\"=";
}

class RegWriter {
 public:
  RegWriter() { Line(u"Windows Registry Editor Version 5.00"); }

  void Comment(std::string_view text) { Line(Utf16(Concat({"; ", Printable(text)}))); }

  void Entry(const Net& net, const std::optional<Value>& value) {
    if (net.key != m_key) {
      Line(u"");
      Line(u"[" + net.key + u"]");
      m_key = net.key;
    }
    std::string line = QuotedName(net.name);
    if (!value) {
      Line(Utf16(line + "-"));
      return;
    }
    char type[24];
    (void)std::snprintf(type, sizeof type, "hex(%x):", static_cast<unsigned>(value->type));
    Bytes(line + type, value->data);
  }

  // The bytes of the file.
  [[nodiscard]] std::string Take() {
    Line(u"");
    return BytesOf(m_text);
  }

  // How a file begins whose first comment begins so.
  [[nodiscard]] static std::string Beginning(std::string_view head) {
    RegWriter writer;
    return BytesOf(writer.m_text + Utf16(Concat({"; ", head})));
  }

 private:
  static std::string BytesOf(std::u16string_view text) {
    std::string bytes = "\xFF\xFE";
    for (const char16_t unit : text) {
      bytes += static_cast<char>(unit & 0xFF);
      bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
  }

  void Line(std::u16string_view text) { m_text.append(text).append(u"\r\n"); }

  void Bytes(std::string line, const std::vector<std::uint8_t>& data) {
    const std::string digits = HexDigits(data);
    for (std::size_t i = 0; i < digits.size(); i += 2) {
      line.append(digits, i, 2);
      if (i + 2 == digits.size()) break;
      line += ',';
      if (line.size() < kLineLimit) continue;
      Line(Utf16(line + "\\"));
      line = "  ";
    }
    Line(Utf16(line));
  }

  std::u16string m_text;
  std::u16string m_key;
};

}  // namespace

bool IsMadeByRehearsal(std::string_view bytes) {
  return bytes.starts_with(RegWriter::Beginning(kChangesHead)) ||
         bytes.starts_with(RegWriter::Beginning(kUndoHead));
}

std::string ChangesFile(const Report& report, const std::string& time) {
  RegWriter writer;
  writer.Comment(Concat({kChangesHead, report.machine}));
  writer.Comment(
      Concat({"as rehearsed at ", time, ": what has changed since then isn't known here."}));
  for (const Net& net : NetChanges(report)) writer.Entry(net, net.after);
  return writer.Take();
}

std::string UndoFile(const Report& report, const std::string& time) {
  RegWriter writer;
  writer.Comment(Concat({kUndoHead, report.machine}));
  writer.Comment(Concat({"as rehearsed at ", time, ". This file is as old as that rehearsal: it"}));
  writer.Comment(
      "overwrites whatever has changed in these values since then. Import it after /unblock only.");
  for (const Net& net : NetChanges(report)) writer.Entry(net, net.before);
  return writer.Take();
}

std::vector<std::u16string> KeysThatNoFileCarries(const Report& report) {
  std::vector<std::u16string> keys;
  for (const Change& change : report.changes) {
    if (CanStandInAFile(change.key)) continue;
    if (std::find(keys.begin(), keys.end(), change.key) == keys.end()) keys.push_back(change.key);
  }
  return keys;
}

std::string TimeNow() {
  const std::time_t now = std::time(nullptr);
  std::tm parts = {};
#ifdef _WIN32
  if (const std::tm* const found = std::gmtime(&now)) parts = *found;
#else
  (void)::gmtime_r(&now, &parts);
#endif
  char text[40];
  const std::size_t length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S UTC", &parts);
  return std::string(text, length);
}

}  // namespace zum_rehearse
