#include "winapi/host/reg_file_text.h"

#include <bit>
#include <cstddef>
#include <cstring>
#include <utility>

#include "winapi/host/text.h"

namespace winapi::host {
namespace {

using namespace std::string_view_literals;

// 0x80 to 0x9F; all others stand for the code point of their number.
constexpr char16_t kWindows1252[] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

// Where this machine has the upper half: text in its own order is copied as it is.
constexpr std::size_t kOwnHigh = std::endian::native == std::endian::little ? 1 : 0;

// `high` is where in each pair of bytes the upper half stands.
const char* DecodeUtf16(std::string_view bytes, std::size_t high, std::u16string& text) {
  if (bytes.size() % 2 != 0) return "the UTF-16 text has an odd number of bytes";
  text.resize(bytes.size() / 2);
  if (high == kOwnHigh) {
    if (!text.empty()) std::memcpy(text.data(), bytes.data(), bytes.size());
    return nullptr;
  }
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto upper = static_cast<unsigned char>(bytes[2 * i + high]);
    const auto lower = static_cast<unsigned char>(bytes[2 * i + 1 - high]);
    text[i] = static_cast<char16_t>(upper << 8 | lower);
  }
  return nullptr;
}

}  // namespace

const char* DecodeRegFile(std::string_view bytes, RegFileText& text) {
  RegFileText decoded;
  const char* reason = nullptr;
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    reason = DecodeUtf16(bytes.substr(2), bytes[0] == '\xFF' ? 1 : 0, decoded.text);
  } else if (bytes.starts_with("W\0i\0"sv) || bytes.starts_with("\0W\0i"sv)) {
    reason = DecodeUtf16(bytes, bytes[0] == 'W' ? 1 : 0, decoded.text);
  } else if (bytes.starts_with("REGEDIT4")) {
    decoded = {FromCodePage1252(bytes), /*isOlderForm=*/true};
  } else {
    if (bytes.starts_with("\xEF\xBB\xBF")) bytes.remove_prefix(3);
    if (!ToUtf16Strict(bytes, decoded.text)) reason = "the text is neither UTF-16 nor UTF-8";
  }
  if (reason == nullptr) text = std::move(decoded);
  return reason;
}

void AppendUtf16(std::string& bytes, std::u16string_view text) {
  if constexpr (kOwnHigh == 1) {
    bytes.append(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t));
  } else {
    for (const char16_t unit : text) {
      bytes += static_cast<char>(unit & 0xFF);
      bytes += static_cast<char>(unit >> 8);
    }
  }
}

std::u16string FromCodePage1252(std::string_view bytes) {
  std::u16string text;
  text.reserve(bytes.size());
  for (const char byte : bytes) {
    const auto number = static_cast<unsigned char>(byte);
    text += number >= 0x80 && number <= 0x9F ? kWindows1252[number - 0x80] : char16_t{number};
  }
  return text;
}

}  // namespace winapi::host
