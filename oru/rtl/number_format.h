// The format of one inserted value, shared by all text sinks: the trace stream, the 16-bit string
// and the host's output streams. MakeNumberText or LimitedText gives the characters of a value,
// PaddingFor or PutPadded the place of its padding.
#ifndef ORU_RTL_NUMBER_FORMAT_H_
#define ORU_RTL_NUMBER_FORMAT_H_

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>

#include "oru/rtl/result_code.h"

namespace oru {

struct FormatSpec {
  std::int32_t width = 0;   // minimum field width, in the sink's characters
  std::int32_t base = 10;   // number base, limited to 39
  std::int32_t limit = -1;  // most characters taken from a text; negative: to its terminating zero
  // 1 and above pads in front, 0 between prefix and digits, negative behind.
  std::int32_t alignment = 1;
  std::uint32_t fill = 0x20;  // padding character, a code point
  bool showBase = false;      // "0x" for base 16, "0" for base 8, unless there is a sign
};

// A value with its format: `sink << Format(value, spec)`. Texts are zero-terminated and held by
// pointer.
template <typename T>
struct Formatted {
  T value;
  FormatSpec spec;
};
template <typename T>
[[nodiscard]] constexpr Formatted<std::decay_t<const T>> Format(const T& value,
                                                                const FormatSpec& spec) noexcept {
  return {value, spec};
}

// A result code as it stands in every text of the system: "0x" and eight lower-case digits.
struct ResultCodeText {
  ResultCode code;
};

// The digits behind the "0x" of a result code.
inline constexpr FormatSpec kResultCodeDigits{.width = 8, .base = 16, .fill = u'0'};

// The characters of a number, all of them ASCII.
class NumberText {
 public:
  // "-", "0x", "0" or nothing; what internal padding stands behind.
  [[nodiscard]] std::string_view Prefix() const noexcept { return m_prefix; }
  // At least one, the most significant first.
  [[nodiscard]] std::string_view Digits() const noexcept {
    return {m_buffer + m_first, sizeof(m_buffer) - m_first};
  }

  // For MakeNumberText. `prefix` is a literal.
  void SetPrefix(std::string_view prefix) noexcept { m_prefix = prefix; }
  // In front of the digits so far; 64 have room.
  void PushDigit(char digit) noexcept { m_buffer[--m_first] = digit; }

 private:
  char m_buffer[64] = {};
  std::size_t m_first = sizeof(m_buffer);
  std::string_view m_prefix;
};

// The characters of `value` by `base` and `showBase` of the format.
//
// Digits come from "0123456789abcdefghijklmnopqrstuvwxyz". In base 10 a negative value is "-" and
// its magnitude; in any other base it is the unsigned pattern of its own width. A base above 39
// counts as 39, and so does a negative one for the 64-bit types; any other base below 2 counts
// as 10. The table has no digits for 36, 37 and 38, which bases 37 to 39 can need: they are "?".
[[nodiscard]] NumberText MakeNumberText(std::int16_t value, const FormatSpec& spec) noexcept;
[[nodiscard]] NumberText MakeNumberText(std::uint16_t value, const FormatSpec& spec) noexcept;
[[nodiscard]] NumberText MakeNumberText(std::int32_t value, const FormatSpec& spec) noexcept;
[[nodiscard]] NumberText MakeNumberText(std::uint32_t value, const FormatSpec& spec) noexcept;
[[nodiscard]] NumberText MakeNumberText(std::int64_t value, const FormatSpec& spec) noexcept;
[[nodiscard]] NumberText MakeNumberText(std::uint64_t value, const FormatSpec& spec) noexcept;

// What of a zero-terminated text is inserted: up to `limit` characters or its zero, whichever comes
// first. Nothing behind that is read. Null counts as empty.
template <typename CharT>
[[nodiscard]] constexpr std::basic_string_view<CharT> LimitedText(const CharT* text,
                                                                  std::int32_t limit) noexcept {
  if (text == nullptr) return {};
  if (limit < 0) return text;
  std::size_t length = 0;
  while (length < static_cast<std::size_t>(limit) && text[length] != CharT()) ++length;
  return {text, length};
}

// How many fill characters stand at each of the three places; at most one of them isn't 0.
struct Padding {
  std::uint32_t front = 0;    // in front of prefix and text
  std::uint32_t between = 0;  // between prefix and text
  std::uint32_t behind = 0;
};

// For prefix and text of `length` characters together.
[[nodiscard]] Padding PaddingFor(const FormatSpec& spec, std::size_t length) noexcept;

// Puts prefix, text and padding into a sink, and gives the number of characters that went in. A
// fill that can't be converted leaves the padding out. What a sink has:
//
// - ConvertFill(codePoint): a std::optional of its character, empty where one can't hold it.
// - Reserve(n): comes next; all that goes in is `n` long.
// - PutFill(n, fill): `n` times the converted fill.
// - PutText(text): for the types of prefix and text.
template <typename Sink, typename Prefix, typename Text>
std::size_t PutPadded(Sink&& sink, const FormatSpec& spec, const Prefix& prefix, const Text& text) {
  const auto fill = sink.ConvertFill(spec.fill);
  const std::size_t length = prefix.size() + text.size();
  const Padding padding = fill.has_value() ? PaddingFor(spec, length) : Padding{};
  const std::size_t total = length + padding.front + padding.between + padding.behind;
  sink.Reserve(total);
  if (padding.front != 0) sink.PutFill(padding.front, *fill);
  sink.PutText(prefix);
  if (padding.between != 0) sink.PutFill(padding.between, *fill);
  sink.PutText(text);
  if (padding.behind != 0) sink.PutFill(padding.behind, *fill);
  return total;
}

}  // namespace oru

#endif  // ORU_RTL_NUMBER_FORMAT_H_
