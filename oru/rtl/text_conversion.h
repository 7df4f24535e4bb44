// Conversions between 8-bit and 16-bit text.
//
// Each counts first, allocates at most once, and converts; an empty source gives an empty target
// and sOk. On failure the target is as it was. Out of memory inside a target string gives
// errOutOfMemory; text that can't be converted gives errInvalidArgument. There is no conversion
// from UTF-8 to 16-bit text.
#ifndef ORU_RTL_TEXT_CONVERSION_H_
#define ORU_RTL_TEXT_CONVERSION_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"

namespace oru {

// One code point at `first`, which moves behind it: a pair of surrogates gives the code point they
// stand for, any other unit stands for itself, an unpaired surrogate included. `first` isn't
// `last`.
[[nodiscard]] std::uint32_t DecodeUtf16(const char16_t*& first, const char16_t* last) noexcept;

// Writes the UTF-8 form, 1 to 4 bytes, and gives its length; 0 from 0x110000 on. A surrogate gives
// the three bytes of its own value.
[[nodiscard]] unsigned EncodeUtf8(std::uint32_t codePoint, char (&bytes)[4]) noexcept;

// The UTF-8 form as the trace stream wants it, into memory of its own: the first gives the number
// of bytes, the second writes them. Nothing is refused, and so needs a "?" in its place: what
// 16-bit text can hold ends at 0x10FFFF.
[[nodiscard]] std::size_t CountUtf8(std::u16string_view source) noexcept;
void WriteUtf8(std::u16string_view source, char* bytes) noexcept;

[[nodiscard]] ResultCode Utf16ToUtf8(std::u16string_view source, String8& target) noexcept;

// Each code point by the C library's multi-byte conversion of its low 16 bits.
[[nodiscard]] ResultCode Utf16ToAnsi(std::u16string_view source, String8& target) noexcept;

// Each position by the C library's multi-byte decoding; code points from 0x10000 up become a pair.
[[nodiscard]] ResultCode AnsiToUtf16(std::string_view source, String16& target) noexcept;

// errOutOfMemory throws std::bad_alloc, any other failure std::bad_cast, a success nothing.
void ThrowOnConversionFailure(ResultCode rc);

}  // namespace oru

#endif  // ORU_RTL_TEXT_CONVERSION_H_
