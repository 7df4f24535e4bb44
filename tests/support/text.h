// Texts and numbers in the form in which tests compare and show them.
#ifndef TESTS_SUPPORT_TEXT_H_
#define TESTS_SUPPORT_TEXT_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace tests {

// ASCII text in 8 bits; of any other character the low byte.
[[nodiscard]] inline std::string Narrow(std::u16string_view text) {
  return {text.begin(), text.end()};
}

// Eight capital digits.
[[nodiscard]] inline std::string Hexadecimal(std::uint32_t number) {
  char text[9];
  std::snprintf(text, sizeof(text), "%08X", static_cast<unsigned>(number));
  return text;
}

}  // namespace tests

#endif  // TESTS_SUPPORT_TEXT_H_
