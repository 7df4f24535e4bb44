#include "oru/rtl/host_stream_sink.h"

#include <optional>

#include "oru/rtl/compact_string.h"
#include "oru/rtl/text_conversion.h"
#include "oru/rtl/text_conversion_impl.h"

namespace oru {
namespace {

// PutPadded's view of a stream. Unformatted output, so the stream's own formatting has no part in
// it.
class PaddedSink {
 public:
  explicit PaddedSink(std::ostream& stream) noexcept : m_stream(stream) {}

  [[nodiscard]] static std::optional<char> ConvertFill(std::uint32_t codePoint) noexcept {
    char units[detail::kMaxUnits];
    if (detail::EncodeAnsi(codePoint, units) != 1) return std::nullopt;
    return units[0];
  }
  // A stream has no room to be made.
  void Reserve(std::size_t) noexcept {}
  void PutFill(std::uint32_t n, char fill) {
    for (; n != 0; --n) m_stream.put(fill);
  }
  void PutText(std::string_view text) {
    m_stream.write(text.data(), static_cast<std::streamsize>(text.size()));
  }

 private:
  std::ostream& m_stream;
};

// Converted whole before the first byte is written, so a text that can't be leaves no half of it.
CompactString ConvertForHost(std::u16string_view text) {
  CompactString bytes;
  ThrowOnConversionFailure(Utf16ToAnsi(text, bytes));
  return bytes;
}

template <typename T>
std::ostream& WriteNumber(std::ostream& stream, const Formatted<T>& value) {
  WriteFormatted(stream, MakeNumberText(value.value, value.spec), value.spec);
  return stream;
}

}  // namespace

// A stream that has failed takes nothing and doesn't say so: the count is that of the text.
std::size_t WriteFormatted(std::ostream& stream, std::string_view text, const FormatSpec& spec) {
  return PutPadded(PaddedSink(stream), spec, std::string_view(), text);
}

std::size_t WriteFormatted(std::ostream& stream, const NumberText& number, const FormatSpec& spec) {
  return PutPadded(PaddedSink(stream), spec, number.Prefix(), number.Digits());
}

std::ostream& operator<<(std::ostream& stream, const String8& text) {
  WriteFormatted(stream, text.view(), {});
  return stream;
}
std::ostream& operator<<(std::ostream& stream, const String16& text) {
  WriteFormatted(stream, ConvertForHost(text.view()).view(), {});
  return stream;
}
std::ostream& operator<<(std::ostream& stream, ResultCodeText code) {
  WriteFormatted(stream, "0x", {});
  return stream << Format(static_cast<std::uint32_t>(code.code), kResultCodeDigits);
}

std::ostream& operator<<(std::ostream& stream, const Formatted<const char16_t*>& text) {
  const CompactString bytes = ConvertForHost(LimitedText(text.value, text.spec.limit));
  WriteFormatted(stream, bytes.view(), text.spec);
  return stream;
}
std::ostream& operator<<(std::ostream& stream, const Formatted<const char*>& text) {
  WriteFormatted(stream, LimitedText(text.value, text.spec.limit), text.spec);
  return stream;
}
std::ostream& operator<<(std::ostream& stream, const Formatted<std::int16_t>& value) {
  return WriteNumber(stream, value);
}
std::ostream& operator<<(std::ostream& stream, const Formatted<std::uint16_t>& value) {
  return WriteNumber(stream, value);
}
std::ostream& operator<<(std::ostream& stream, const Formatted<std::int32_t>& value) {
  return WriteNumber(stream, value);
}
std::ostream& operator<<(std::ostream& stream, const Formatted<std::uint32_t>& value) {
  return WriteNumber(stream, value);
}
std::ostream& operator<<(std::ostream& stream, const Formatted<std::int64_t>& value) {
  return WriteNumber(stream, value);
}
std::ostream& operator<<(std::ostream& stream, const Formatted<std::uint64_t>& value) {
  return WriteNumber(stream, value);
}

}  // namespace oru
