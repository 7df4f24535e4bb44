// A 16-bit string as a sink of formatted text: `text << u"name = " << name << Format(value, spec)`.
//
// 16-bit text goes in unchanged. 8-bit text goes in character by character, by the C library's
// conversion of its default locale, up to the first character that fails; what was put in until
// then stays. A null 8-bit or 16-bit text puts in nothing. Numbers stand in decimal without padding
// unless a FormatSpec says otherwise. A fill from 0x10000 up, which isn't one 16-bit character,
// leaves the padding out. Texts may be part of the string itself. What runs out of memory throws
// and leaves the string as it was.
#ifndef ORU_RTL_STRING_SINK_H_
#define ORU_RTL_STRING_SINK_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "oru/rtl/number_format.h"
#include "oru/rtl/string.h"

namespace oru {

String16& operator<<(String16& sink, const char16_t* text);
String16& operator<<(String16& sink, std::u16string_view text);
String16& operator<<(String16& sink, const String16& text);
String16& operator<<(String16& sink, const char* text);
String16& operator<<(String16& sink, std::int16_t value);
String16& operator<<(String16& sink, std::uint16_t value);
String16& operator<<(String16& sink, std::int32_t value);
String16& operator<<(String16& sink, std::uint32_t value);
String16& operator<<(String16& sink, std::int64_t value);
String16& operator<<(String16& sink, std::uint64_t value);
String16& operator<<(String16& sink, ResultCodeText code);

// Characters and truth values would go in as numbers.
String16& operator<<(String16& sink, char character) = delete;
String16& operator<<(String16& sink, char16_t character) = delete;
String16& operator<<(String16& sink, bool value) = delete;

String16& operator<<(String16& sink, const Formatted<const char16_t*>& text);
String16& operator<<(String16& sink, const Formatted<const char*>& text);
String16& operator<<(String16& sink, const Formatted<std::int16_t>& value);
String16& operator<<(String16& sink, const Formatted<std::uint16_t>& value);
String16& operator<<(String16& sink, const Formatted<std::int32_t>& value);
String16& operator<<(String16& sink, const Formatted<std::uint32_t>& value);
String16& operator<<(String16& sink, const Formatted<std::int64_t>& value);
String16& operator<<(String16& sink, const Formatted<std::uint64_t>& value);

// Appends a text with its padding, and gives the number of characters that went in: without the
// padding when the fill can't be put in.
std::size_t AppendFormatted(String16& sink, std::u16string_view text, const FormatSpec& spec);
// The same for a number; its prefix stands in front of padding between.
std::size_t AppendFormatted(String16& sink, const NumberText& number, const FormatSpec& spec);

}  // namespace oru

#endif  // ORU_RTL_STRING_SINK_H_
