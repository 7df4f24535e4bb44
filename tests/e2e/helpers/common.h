// What the helper programs share. They run beside the program under test and use Windows alone, so
// that nothing of the product takes part in the judgement on it.
#ifndef TESTS_E2E_HELPERS_COMMON_H_
#define TESTS_E2E_HELPERS_COMMON_H_

#include <windows.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace helpers {

// Ends the program with a line on the standard error stream and status 99.
[[noreturn]] inline void Die(const char* what, unsigned long error) {
  (void)std::fprintf(stderr, "%s: error %lu\n", what, error);
  std::exit(99);
}

inline int DigitValue(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  Die("not a hexadecimal digit", static_cast<unsigned char>(digit));
}

// "-" stands for no bytes at all, since a blank separates.
inline std::vector<unsigned char> BytesOf(const std::string& digits) {
  std::vector<unsigned char> bytes;
  if (digits == "-") return bytes;
  for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes.push_back(
        static_cast<unsigned char>(DigitValue(digits[i]) * 16 + DigitValue(digits[i + 1])));
  }
  return bytes;
}

// UTF-16, low byte first.
inline std::wstring TextOf(const std::string& digits) {
  const std::vector<unsigned char> bytes = BytesOf(digits);
  std::wstring text;
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    text.push_back(static_cast<wchar_t>(bytes[i] | (bytes[i + 1] << 8)));
  }
  return text;
}

inline std::string DigitsOf(const void* data, std::size_t count) {
  static const char kDigits[] = "0123456789abcdef";
  if (count == 0) return "-";
  std::string digits;
  const auto* bytes = static_cast<const unsigned char*>(data);
  for (std::size_t i = 0; i < count; ++i) {
    digits += kDigits[bytes[i] / 16];
    digits += kDigits[bytes[i] % 16];
  }
  return digits;
}

inline std::string DigitsOf(const std::wstring& text) {
  return DigitsOf(text.data(), text.size() * 2);
}

// The words of a line, between single blanks.
inline std::vector<std::string> WordsOf(const std::string& line) {
  std::vector<std::string> words(1);
  for (const char c : line) {
    if (c == '\r' || c == '\n') break;
    if (c == ' ') {
      words.emplace_back();
    } else {
      words.back() += c;
    }
  }
  return words;
}

// The next line of the standard input, of any length; false at its end.
inline bool ReadLine(std::string& line) {
  line.clear();
  for (int c = std::getchar(); c != EOF; c = std::getchar()) {
    if (c == '\n') return true;
    line += static_cast<char>(c);
  }
  return !line.empty();
}

}  // namespace helpers

#endif  // TESTS_E2E_HELPERS_COMMON_H_
