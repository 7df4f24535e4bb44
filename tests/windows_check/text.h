// Texts of Windows as the seam, the system's headers and the result file have them.
#ifndef TESTS_WINDOWS_CHECK_TEXT_H_
#define TESTS_WINDOWS_CHECK_TEXT_H_

#include <windows.h>

#include <cstdint>
#include <string>
#include <string_view>

#include "tests/support/text.h"

namespace windows_check {

[[nodiscard]] inline std::u16string ToSeam(std::wstring_view text) {
  return {text.begin(), text.end()};
}

[[nodiscard]] inline std::string ToUtf8(std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  const int size =
      ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  ::WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(), size, nullptr, nullptr);
  return bytes;
}

[[nodiscard]] inline std::wstring FromCodePage(std::string_view bytes, UINT codePage) {
  const int length = static_cast<int>(bytes.size());
  const int size = ::MultiByteToWideChar(codePage, 0, bytes.data(), length, nullptr, 0);
  std::wstring text(static_cast<std::size_t>(size), L'\0');
  ::MultiByteToWideChar(codePage, 0, bytes.data(), length, text.data(), size);
  return text;
}

[[nodiscard]] inline std::string Decimal(std::uint32_t number) { return std::to_string(number); }

[[nodiscard]] inline std::string Hexadecimal(std::uint32_t number) {
  return "0x" + tests::Hexadecimal(number);
}

[[nodiscard]] inline std::string YesOrNo(bool answer) { return answer ? "yes" : "no"; }

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_TEXT_H_
