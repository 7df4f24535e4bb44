#include "oru/rtl/trace_inserters.h"

namespace oru {
namespace {

constexpr char kNull[] = "(null)";

// Hexadecimal goes first where both flags are set.
unsigned BaseOf(std::uint32_t flags) noexcept {
  if ((flags & TraceStream::kHexadecimal) != 0) return 16;
  return (flags & TraceStream::kOctal) != 0 ? 8 : 10;
}

template <typename Number>
TraceStream& InsertNumber(TraceStream& stream, const Formatted<Number>& value) noexcept {
  const NumberText number = MakeNumberText(value.value, value.spec);
  stream.InsertFormatted(number.Prefix(), number.Digits(), value.spec);
  return stream;
}

}  // namespace

// Null is shown rather than left out: a record is read to find out why something was missing.
TraceStream& operator<<(TraceStream& stream, const char* text) noexcept {
  return stream << std::string_view(text != nullptr ? text : kNull);
}

TraceStream& operator<<(TraceStream& stream, std::string_view text) noexcept {
  stream.InsertPadded(text, /*prefix=*/0);
  return stream;
}

TraceStream& operator<<(TraceStream& stream, const String8& text) noexcept {
  return stream << text.view();
}

TraceStream& operator<<(TraceStream& stream, const char16_t* text) noexcept {
  if (text == nullptr) return stream << std::string_view(kNull);
  return stream << std::u16string_view(text);
}

TraceStream& operator<<(TraceStream& stream, std::u16string_view text) noexcept {
  // A text that finds no place is left out, like any other.
  (void)stream.InsertUtf16(text);
  return stream;
}

TraceStream& operator<<(TraceStream& stream, const String16& text) noexcept {
  return stream << text.view();
}

// Plain numbers are unsigned only; a signed one needs a Format, which says what its sign becomes.
TraceStream& operator<<(TraceStream& stream, std::uint16_t value) noexcept {
  return stream << std::uint64_t{value};
}

TraceStream& operator<<(TraceStream& stream, std::uint32_t value) noexcept {
  return stream << std::uint64_t{value};
}

TraceStream& operator<<(TraceStream& stream, std::uint64_t value) noexcept {
  stream.InsertUnsigned(value, BaseOf(stream.Flags()));
  return stream;
}

TraceStream& operator<<(TraceStream& stream, ResultCodeText code) noexcept {
  return stream << "0x" << Format(static_cast<std::uint32_t>(code.code), kResultCodeDigits);
}

// Each goes by its own type, since a negative number in a base other than 10 is the pattern of its
// own width.
TraceStream& operator<<(TraceStream& stream, const Formatted<std::int16_t>& value) noexcept {
  return InsertNumber(stream, value);
}

TraceStream& operator<<(TraceStream& stream, const Formatted<std::uint16_t>& value) noexcept {
  return InsertNumber(stream, value);
}

TraceStream& operator<<(TraceStream& stream, const Formatted<std::int32_t>& value) noexcept {
  return InsertNumber(stream, value);
}

TraceStream& operator<<(TraceStream& stream, const Formatted<std::uint32_t>& value) noexcept {
  return InsertNumber(stream, value);
}

TraceStream& operator<<(TraceStream& stream, const Formatted<std::int64_t>& value) noexcept {
  return InsertNumber(stream, value);
}

TraceStream& operator<<(TraceStream& stream, const Formatted<std::uint64_t>& value) noexcept {
  return InsertNumber(stream, value);
}

TraceStream& operator<<(TraceStream& stream, const Formatted<const char*>& text) noexcept {
  const char* const source = text.value != nullptr ? text.value : kNull;
  stream.InsertFormatted({}, LimitedText(source, text.spec.limit), text.spec);
  return stream;
}

TraceStream& operator<<(TraceStream& stream, const Formatted<const char16_t*>& text) noexcept {
  const char16_t* const source = text.value != nullptr ? text.value : u"(null)";
  // A text that finds no place is left out, like any other.
  (void)stream.InsertFormatted(LimitedText(source, text.spec.limit), text.spec);
  return stream;
}

}  // namespace oru
