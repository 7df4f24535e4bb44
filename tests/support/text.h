// Texts and numbers in the form in which tests compare and show them.
#ifndef TESTS_SUPPORT_TEXT_H_
#define TESTS_SUPPORT_TEXT_H_

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

#include "oru/rtl/string.h"

namespace tests {

// A text of the product in the library's form, which tests print.
[[nodiscard]] inline std::u16string Text(const oru::String16& text) {
  return std::u16string(text.view());
}

// ASCII text in 8 bits; of any other character the low byte.
[[nodiscard]] inline std::string Narrow(std::u16string_view text) {
  return {text.begin(), text.end()};
}

// The bytes of a text, low byte first, with `zeros` zero characters behind it.
[[nodiscard]] inline std::vector<std::uint8_t> Utf16Bytes(std::u16string_view text, int zeros = 1) {
  std::vector<std::uint8_t> bytes;
  for (const char16_t unit : text) {
    bytes.push_back(static_cast<std::uint8_t>(unit & 0xFF));
    bytes.push_back(static_cast<std::uint8_t>(unit >> 8));
  }
  bytes.insert(bytes.end(), static_cast<std::size_t>(zeros) * 2, 0);
  return bytes;
}

// Eight capital digits.
[[nodiscard]] inline std::string Hexadecimal(std::uint32_t number) {
  char text[9];
  (void)std::snprintf(text, sizeof(text), "%08X", static_cast<unsigned>(number));
  return text;
}

}  // namespace tests

#endif  // TESTS_SUPPORT_TEXT_H_
