// The public names of the text conversions, and their throwing form.
#ifndef PLATFORM_UTIL_TEXT_UTILS_H_
#define PLATFORM_UTIL_TEXT_UTILS_H_

#include <string_view>

#include "oru/rtl/string.h"
#include "oru/rtl/text_conversion.h"

namespace text_utils {

using oru::AnsiToUtf16;
using oru::Utf16ToAnsi;
using oru::Utf16ToUtf8;

// The UTF-8 form by value. Throws oru::CheckResultFailedException with the conversion's result code
// and the source position "platform/util/text_utils", line 53.
[[nodiscard]] oru::String8 Utf16ToUtf8(std::u16string_view source);

}  // namespace text_utils

#endif  // PLATFORM_UTIL_TEXT_UTILS_H_
