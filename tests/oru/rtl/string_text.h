// What the tests of the two string types share: literals as text of either character type.
#ifndef TESTS_ORU_RTL_STRING_TEXT_H_
#define TESTS_ORU_RTL_STRING_TEXT_H_

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "oru/rtl/string.h"

namespace tests {

template <typename CharT>
std::basic_string<CharT> Text(std::string_view ascii) {
  return std::basic_string<CharT>(ascii.begin(), ascii.end());
}

template <typename CharT>
std::basic_string<CharT> Content(const oru::basic_string_t<CharT>& string) {
  return std::basic_string<CharT>(string.view());
}

// Content, and the zero behind it.
template <typename CharT>
::testing::AssertionResult Holds(const oru::basic_string_t<CharT>& string, std::string_view ascii) {
  if (string.view() != Text<CharT>(ascii)) {
    std::string shown;
    for (const CharT unit : string.view()) shown += unit < 0x7F ? static_cast<char>(unit) : '~';
    return ::testing::AssertionFailure() << "holds \"" << shown << "\", not \"" << ascii << "\"";
  }
  if (string.c_str()[string.size()] != CharT()) {
    return ::testing::AssertionFailure() << "isn't terminated";
  }
  return ::testing::AssertionSuccess();
}

struct CharacterTypeNames {
  template <typename CharT>
  static std::string GetName(int) {
    return sizeof(CharT) == 1 ? "Char8" : "Char16";
  }
};
using CharacterTypes = ::testing::Types<char, char16_t>;

}  // namespace tests

#endif  // TESTS_ORU_RTL_STRING_TEXT_H_
