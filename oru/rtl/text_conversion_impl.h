// The algorithm of all text conversions, with decoder and encoder as parameters: the C library's
// conversions refuse nothing of what the default locale can be given in one direction, so their
// failures can be met by tests only with others in their place.
//
//   bool decode(const Source*& first, const Source* last, std::uint32_t& codePoint)
//     moves `first` behind one code point; false where there is none
//   unsigned encode(std::uint32_t codePoint, Target (&units)[kMaxUnits])
//     gives the number of units written; 0 where the code point has no form
#ifndef ORU_RTL_TEXT_CONVERSION_IMPL_H_
#define ORU_RTL_TEXT_CONVERSION_IMPL_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string_view>

#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"

namespace oru::detail {

// What the C library asks for one character.
inline constexpr std::size_t kMaxUnits = 16;

[[nodiscard]] bool DecodeWide(const char16_t*& first, const char16_t* last,
                              std::uint32_t& codePoint) noexcept;
[[nodiscard]] bool DecodeAnsi(const char*& first, const char* last,
                              std::uint32_t& codePoint) noexcept;
[[nodiscard]] unsigned EncodeUtf8Units(std::uint32_t codePoint, char (&units)[kMaxUnits]) noexcept;
[[nodiscard]] unsigned EncodeAnsi(std::uint32_t codePoint, char (&units)[kMaxUnits]) noexcept;
// Nothing from 0x110000 on.
[[nodiscard]] unsigned EncodeWide(std::uint32_t codePoint, char16_t (&units)[kMaxUnits]) noexcept;

// Gives each code point's units to `put(units, n)`. False at the first one that can't be converted.
template <typename Target, typename Source, typename Decode, typename Encode, typename Put>
bool ConvertEach(std::basic_string_view<Source> source, Decode decode, Encode encode, Put put) {
  const Source* first = source.data();
  const Source* const last = first + source.size();
  while (first != last) {
    std::uint32_t codePoint = 0;
    Target units[kMaxUnits];
    if (!decode(first, last, codePoint)) return false;
    const unsigned n = encode(codePoint, units);
    if (n == 0) return false;
    put(units, n);
  }
  return true;
}

// Makes the target `length` units of undefined content, of which the first is at `place`: the one
// step that may fail for want of memory, with the target as it was.
template <typename String>
ResultCode MakePlace(String& target, std::uint64_t length,
                     typename String::value_type*& place) noexcept {
  // In 64 bits, since a text's bytes may be three times its units.
  if (length > String::max_size()) return errOutOfMemory;
  try {
    place = target.resize_for_overwrite(static_cast<std::uint32_t>(length));
  } catch (const std::exception&) {  // std::bad_alloc or std::length_error
    return errOutOfMemory;
  }
  return sOk;
}

// The two passes. The second one meets what the first one has met, so it can't fail.
template <typename Source, typename String, typename Decode, typename Encode>
ResultCode ConvertText(std::basic_string_view<Source> source, String& target, Decode decode,
                       Encode encode) noexcept {
  using Target = typename String::value_type;
  std::uint64_t length = 0;
  const auto count = [&](const Target*, unsigned n) { length += n; };
  if (!ConvertEach<Target>(source, decode, encode, count)) return errInvalidArgument;
  Target* to = nullptr;
  const ResultCode rc = MakePlace(target, length, to);
  if (rc != sOk) return rc;
  const auto copy = [&](const Target* units, unsigned n) { to = std::copy_n(units, n, to); };
  (void)ConvertEach<Target>(source, decode, encode, copy);
  return sOk;
}

// Appends the text up to its first character that can't be converted. Place is made beforehand for
// a unit a byte, which is the most that the library's decoder gives: the string is unchanged when
// this throws.
template <typename Decode>
void AppendWidened(String16& target, std::string_view text, Decode decode) {
  target.reserve_extra(
      static_cast<std::uint32_t>(std::min<std::uint64_t>(text.size(), 0xFFFFFFFF)));
  const auto append = [&](const char16_t* units, unsigned n) { target.append(units, n); };
  (void)ConvertEach<char16_t>(text, decode, EncodeWide, append);
}

}  // namespace oru::detail

#endif  // ORU_RTL_TEXT_CONVERSION_IMPL_H_
