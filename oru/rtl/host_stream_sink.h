// The host's output streams as a sink of the framework's texts, with the rules of all sinks.
//
// 8-bit text goes in unchanged; so do the characters of numbers and result codes. 16-bit text is
// converted by the C library's default locale first: std::bad_alloc when memory runs out there,
// std::bad_cast for a character that it can't convert, with nothing of the text written. The
// stream's own width, fill and flags have no part in it and stay as they are.
//
// A fill goes through that conversion too, which looks at the low 16 bits of a code point only:
// U+0041 and U+10041 pad with "A", U+10000 with zero bytes. One that has no single 8-bit character
// there (0x100 and above) leaves the padding out.
#ifndef ORU_RTL_HOST_STREAM_SINK_H_
#define ORU_RTL_HOST_STREAM_SINK_H_

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string_view>

#include "oru/rtl/number_format.h"
#include "oru/rtl/string.h"

namespace oru {

std::ostream& operator<<(std::ostream& stream, const String8& text);
std::ostream& operator<<(std::ostream& stream, const String16& text);
std::ostream& operator<<(std::ostream& stream, ResultCodeText code);

// A null text counts as empty.
std::ostream& operator<<(std::ostream& stream, const Formatted<const char16_t*>& text);
std::ostream& operator<<(std::ostream& stream, const Formatted<const char*>& text);
std::ostream& operator<<(std::ostream& stream, const Formatted<std::int16_t>& value);
std::ostream& operator<<(std::ostream& stream, const Formatted<std::uint16_t>& value);
std::ostream& operator<<(std::ostream& stream, const Formatted<std::int32_t>& value);
std::ostream& operator<<(std::ostream& stream, const Formatted<std::uint32_t>& value);
std::ostream& operator<<(std::ostream& stream, const Formatted<std::int64_t>& value);
std::ostream& operator<<(std::ostream& stream, const Formatted<std::uint64_t>& value);

// Writes a text with its padding, and gives the number of characters: without the padding when the
// fill can't be written.
std::size_t WriteFormatted(std::ostream& stream, std::string_view text, const FormatSpec& spec);
// The same for a number; its prefix stands in front of padding between.
std::size_t WriteFormatted(std::ostream& stream, const NumberText& number, const FormatSpec& spec);

}  // namespace oru

#endif  // ORU_RTL_HOST_STREAM_SINK_H_
