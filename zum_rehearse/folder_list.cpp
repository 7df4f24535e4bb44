#include "zum_rehearse/folder_list.h"

#include <algorithm>
#include <cstddef>
#include <sstream>
#include <string_view>

#include "zum_rehearse/files.h"
#include "zum_rehearse/printable.h"

namespace zum_rehearse {
namespace {

constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleEndianMark = "\xFF\xFE";
constexpr std::string_view kBigEndianMark = "\xFE\xFF";

// What is wrong with a list, and where in its text; no reason: nothing is.
struct Fault {
  std::size_t line = 0;  // from 1; 0: the whole of it
  std::string reason;
};

template <typename Text>
std::size_t LineAt(const Text& text, std::size_t place) {
  const auto end = text.begin() + static_cast<std::ptrdiff_t>(place);
  return 1 + static_cast<std::size_t>(std::count(text.begin(), end, '\n'));
}

// The line in which a text became another one on its way through another encoding and back.
template <typename Text>
std::size_t LineOfChange(const Text& before, const Text& after) {
  const auto place = std::mismatch(before.begin(), before.end(), after.begin(), after.end()).first;
  return LineAt(before, static_cast<std::size_t>(place - before.begin()));
}

Fault FromUtf16(std::string_view bytes, bool bigEndian, std::string& text) {
  if (bytes.size() % 2 != 0) return {0, "it begins as UTF-16 and has an odd number of bytes"};
  std::u16string units;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    units += static_cast<char16_t>(bigEndian ? first << 8 | second : second << 8 | first);
  }
  text = Utf8(units);
  const std::u16string again = Utf16(text);
  if (again != units) return {LineOfChange(units, again), "the line isn't UTF-16"};
  return {};
}

Fault FromMarkedUtf8(std::string_view bytes, std::string& text) {
  text = bytes;
  const std::string again = Utf8(Utf16(text));
  if (again != text) return {LineOfChange(text, again), "the line isn't UTF-8"};
  return {};
}

Fault Decode(std::string_view bytes, std::string& text) {
  const auto begins = [bytes](std::string_view mark) { return bytes.starts_with(mark); };
  if (begins(kLittleEndianMark)) return FromUtf16(bytes.substr(2), /*bigEndian=*/false, text);
  if (begins(kBigEndianMark)) return FromUtf16(bytes.substr(2), /*bigEndian=*/true, text);
  if (begins(kUtf8Mark)) return FromMarkedUtf8(bytes.substr(kUtf8Mark.size()), text);
  text = bytes;
  return {};
}

Fault FindZero(const std::string& text) {
  const std::size_t zero = text.find('\0');
  if (zero == std::string::npos) return {};
  return {LineAt(text, zero),
          "the line has a zero byte; a list in UTF-16 must begin with its mark"};
}

}  // namespace

bool ReadFolderList(const std::string& file, std::vector<std::string>& names, std::string& reason) {
  std::string bytes;
  if (!ReadWholeFile(PathOf(file), bytes, reason)) {
    reason = file + ": " + reason;
    return false;
  }
  std::string text;
  Fault fault = Decode(bytes, text);
  if (fault.reason.empty()) fault = FindZero(text);
  if (!fault.reason.empty()) {
    const std::string place = fault.line == 0 ? file : file + ":" + std::to_string(fault.line);
    reason = place + ": " + fault.reason;
    return false;
  }
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (!line.empty()) names.push_back(line);
  }
  return true;
}

}  // namespace zum_rehearse
