#include "oru/rtl/string_sink.h"

#include <algorithm>
#include <optional>

#include "oru/rtl/text_conversion_impl.h"

namespace oru {
namespace {

// PutPadded's view of a string: all place is made beforehand, so nothing of it throws.
class PaddedSink {
 public:
  explicit PaddedSink(String16& target) noexcept : m_target(target) {}

  [[nodiscard]] static std::optional<char16_t> ConvertFill(std::uint32_t codePoint) noexcept {
    if (codePoint >= 0x10000) return std::nullopt;
    return static_cast<char16_t>(codePoint);
  }
  // What doesn't fit 32 bits becomes a number that no string has place for, and throws.
  void Reserve(std::size_t n) {
    m_target.reserve_extra(static_cast<std::uint32_t>(std::min<std::uint64_t>(n, 0xFFFFFFFF)));
  }
  void PutFill(std::uint32_t n, char16_t fill) { m_target.append(n, fill); }
  void PutText(std::u16string_view text) { m_target.append(text); }
  // Digits and prefixes, which are ASCII.
  void PutText(std::string_view text) {
    for (const char character : text) m_target.push_back(static_cast<char16_t>(character));
  }

 private:
  String16& m_target;
};

template <typename T>
String16& AppendNumber(String16& sink, const Formatted<T>& value) {
  AppendFormatted(sink, MakeNumberText(value.value, value.spec), value.spec);
  return sink;
}

template <typename T>
String16& AppendDecimal(String16& sink, T value) {
  return AppendNumber(sink, Formatted<T>{value, {}});
}

}  // namespace

std::size_t AppendFormatted(String16& sink, std::u16string_view text, const FormatSpec& spec) {
  const String16 source(text);  // the sink may hold it
  return PutPadded(PaddedSink(sink), spec, std::string_view(), source.view());
}

std::size_t AppendFormatted(String16& sink, const NumberText& number, const FormatSpec& spec) {
  return PutPadded(PaddedSink(sink), spec, number.Prefix(), number.Digits());
}

String16& operator<<(String16& sink, const char16_t* text) { return sink.append(text); }
String16& operator<<(String16& sink, std::u16string_view text) { return sink.append(text); }
String16& operator<<(String16& sink, const String16& text) { return sink.append(text.view()); }
String16& operator<<(String16& sink, const char* text) {
  detail::AppendWidened(sink, LimitedText(text, /*limit=*/-1), detail::DecodeAnsi);
  return sink;
}
String16& operator<<(String16& sink, std::int16_t value) { return AppendDecimal(sink, value); }
String16& operator<<(String16& sink, std::uint16_t value) { return AppendDecimal(sink, value); }
String16& operator<<(String16& sink, std::int32_t value) { return AppendDecimal(sink, value); }
String16& operator<<(String16& sink, std::uint32_t value) { return AppendDecimal(sink, value); }
String16& operator<<(String16& sink, std::int64_t value) { return AppendDecimal(sink, value); }
String16& operator<<(String16& sink, std::uint64_t value) { return AppendDecimal(sink, value); }
// In one piece: what throws has to leave the string as it was, so all place is made first.
String16& operator<<(String16& sink, ResultCodeText code) {
  sink.reserve_extra(2 + static_cast<std::uint32_t>(kResultCodeDigits.width));
  return sink << u"0x" << Format(static_cast<std::uint32_t>(code.code), kResultCodeDigits);
}

String16& operator<<(String16& sink, const Formatted<const char16_t*>& text) {
  AppendFormatted(sink, LimitedText(text.value, text.spec.limit), text.spec);
  return sink;
}
String16& operator<<(String16& sink, const Formatted<const char*>& text) {
  // Converted apart: the padding goes by the length that comes out, which may end early. With the
  // sink's own allocator, whose memory the caller has chosen.
  String16 wide(sink.get_allocator());
  detail::AppendWidened(wide, LimitedText(text.value, text.spec.limit), detail::DecodeAnsi);
  AppendFormatted(sink, wide.view(), text.spec);
  return sink;
}
String16& operator<<(String16& sink, const Formatted<std::int16_t>& value) {
  return AppendNumber(sink, value);
}
String16& operator<<(String16& sink, const Formatted<std::uint16_t>& value) {
  return AppendNumber(sink, value);
}
String16& operator<<(String16& sink, const Formatted<std::int32_t>& value) {
  return AppendNumber(sink, value);
}
String16& operator<<(String16& sink, const Formatted<std::uint32_t>& value) {
  return AppendNumber(sink, value);
}
String16& operator<<(String16& sink, const Formatted<std::int64_t>& value) {
  return AppendNumber(sink, value);
}
String16& operator<<(String16& sink, const Formatted<std::uint64_t>& value) {
  return AppendNumber(sink, value);
}

}  // namespace oru
