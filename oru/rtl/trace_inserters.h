// What goes into a trace record by `stream << value`: texts, unsigned numbers, result codes, values
// with a format, and lists. exception_text.h has exceptions; a type of another folder brings its
// own inserter. A value that finds no place is left out.
#ifndef ORU_RTL_TRACE_INSERTERS_H_
#define ORU_RTL_TRACE_INSERTERS_H_

#include <cstdint>
#include <string_view>

#include "oru/rtl/number_format.h"
#include "oru/rtl/string.h"
#include "oru/rtl/trace_stream.h"

namespace oru {

// A null text of either kind is "(null)".
TraceStream& operator<<(TraceStream& stream, const char* text) noexcept;
TraceStream& operator<<(TraceStream& stream, std::string_view text) noexcept;
TraceStream& operator<<(TraceStream& stream, const String8& text) noexcept;
TraceStream& operator<<(TraceStream& stream, const char16_t* text) noexcept;
TraceStream& operator<<(TraceStream& stream, std::u16string_view text) noexcept;
TraceStream& operator<<(TraceStream& stream, const String16& text) noexcept;
// In the base that the flags name: 16, 8, else 10.
TraceStream& operator<<(TraceStream& stream, std::uint16_t value) noexcept;
TraceStream& operator<<(TraceStream& stream, std::uint32_t value) noexcept;
TraceStream& operator<<(TraceStream& stream, std::uint64_t value) noexcept;
// "0x" and eight lower-case digits.
TraceStream& operator<<(TraceStream& stream, ResultCodeText code) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<std::int16_t>& value) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<std::uint16_t>& value) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<std::int32_t>& value) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<std::uint32_t>& value) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<std::int64_t>& value) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<std::uint64_t>& value) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<const char*>& text) noexcept;
TraceStream& operator<<(TraceStream& stream, const Formatted<const char16_t*>& text) noexcept;

// Inserts "[ ", the elements joined by ",", and " ]".
template <typename Range>
TraceStream& InsertList(TraceStream& stream, const Range& elements) {
  stream << "[ ";
  bool first = true;
  for (const auto& element : elements) {
    if (!first) stream << ",";
    first = false;
    stream << element;
  }
  return stream << " ]";
}

}  // namespace oru

#endif  // ORU_RTL_TRACE_INSERTERS_H_
