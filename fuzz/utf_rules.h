// UTF-16 and UTF-8 by the C library's iconv, with the rule for half pairs around it: half a pair
// has the three bytes of its own value, which iconv refuses.
#ifndef FUZZ_UTF_RULES_H_
#define FUZZ_UTF_RULES_H_

#include <iconv.h>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "fuzz/input.h"
#include "fuzz/texts.h"

namespace fuzz {

// One direction of iconv; nullopt for what it refuses.
template <typename From, typename To>
class Iconv {
 public:
  Iconv(const char* from, const char* to) : m_converter(::iconv_open(to, from)) {
    Require(m_converter != reinterpret_cast<iconv_t>(-1), "iconv knows the encodings");
  }
  Iconv(const Iconv&) = delete;
  Iconv& operator=(const Iconv&) = delete;
  ~Iconv() { ::iconv_close(m_converter); }

  [[nodiscard]] std::optional<std::basic_string<To>> operator()(std::basic_string_view<From> text) {
    std::basic_string<From> source(text);
    std::basic_string<To> result(4 * source.size() + 4, To());
    char* from = reinterpret_cast<char*>(source.data());
    char* to = reinterpret_cast<char*>(result.data());
    std::size_t fromLeft = source.size() * sizeof(From);
    std::size_t toLeft = result.size() * sizeof(To);
    (void)::iconv(m_converter, nullptr, nullptr, nullptr, nullptr);
    if (::iconv(m_converter, &from, &fromLeft, &to, &toLeft) == static_cast<std::size_t>(-1)) {
      return std::nullopt;
    }
    result.resize(result.size() - toLeft / sizeof(To));
    return result;
  }

 private:
  iconv_t m_converter;
};

inline bool IsHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
inline bool IsLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

// The well-formed stretches by iconv, the halves by their own value.
inline std::string Utf8ByRule(std::u16string_view text) {
  static auto& convert = *new Iconv<char16_t, char>("UTF-16LE", "UTF-8");
  std::string bytes;
  std::u16string stretch;
  const auto flush = [&] {
    const auto converted = convert(stretch);
    Require(converted.has_value(), "iconv takes a well-formed text");
    bytes += *converted;
    stretch.clear();
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (IsHigh(text[i]) && i + 1 < text.size() && IsLow(text[i + 1])) {
      stretch += text.substr(i++, 2);
    } else if (IsHigh(text[i]) || IsLow(text[i])) {
      flush();
      AppendUtf8(bytes, text[i]);
    } else {
      stretch += text[i];
    }
  }
  flush();
  return bytes;
}

}  // namespace fuzz

#endif  // FUZZ_UTF_RULES_H_
