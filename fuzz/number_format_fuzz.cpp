// Numbers in their formats, and texts in theirs, against the standard library.
#include <fuzzer/FuzzedDataProvider.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iomanip>
#include <ios>
#include <limits>
#include <sstream>
#include <string>
#include <string_view>
#include <type_traits>

#include "fuzz/input.h"
#include "oru/rtl/host_stream_sink.h"
#include "oru/rtl/number_format.h"
#include "oru/rtl/string_sink.h"

namespace {

using fuzz::Require;
using oru::FormatSpec;

// What can be told apart: a sign or the base's mark, and the digits.
struct Number {
  std::string prefix;
  std::string digits;
};

// Bases that the library doesn't have; there are digits up to 35.
std::string LargeBaseDigits(std::uint64_t value, unsigned base) {
  std::string digits;
  for (; value != 0 || digits.empty(); value /= base) {
    const auto digit = static_cast<unsigned>(value % base);
    const char letter =
        digit < 10 ? static_cast<char>('0' + digit) : static_cast<char>('a' + digit - 10);
    digits.insert(digits.begin(), digit > 35 ? '?' : letter);
  }
  return digits;
}

template <typename T>
std::string Digits(T value, unsigned base) {
  if (base > 36) return LargeBaseDigits(static_cast<std::make_unsigned_t<T>>(value), base);
  char buffer[80];
  const auto end = base == 10 ? std::to_chars(buffer, buffer + sizeof(buffer), value)
                              : std::to_chars(buffer, buffer + sizeof(buffer),
                                              static_cast<std::make_unsigned_t<T>>(value),
                                              static_cast<int>(base));
  return {buffer, end.ptr};
}

template <typename T>
unsigned Base(std::int32_t base) {
  if (base < 0) return sizeof(T) == 8 ? 39 : 10;
  if (base < 2) return 10;
  return base > 39 ? 39 : static_cast<unsigned>(base);
}

template <typename T>
Number NumberByRule(T value, const FormatSpec& spec) {
  const unsigned base = Base<T>(spec.base);
  Number number{"", Digits(value, base)};
  if (number.digits.front() == '-') {
    number.prefix = "-";
    number.digits.erase(0, 1);
  } else if (spec.showBase) {
    number.prefix = base == 16 ? "0x" : base == 8 ? "0" : "";
  }
  return number;
}

std::string Padded(const Number& number, const FormatSpec& spec, char fill) {
  const std::size_t length = number.prefix.size() + number.digits.size();
  std::string padding;
  if (spec.width > 0 && static_cast<std::size_t>(spec.width) > length) {
    padding.assign(static_cast<std::size_t>(spec.width) - length, fill);
  }
  if (spec.alignment < 0) return number.prefix + number.digits + padding;
  if (spec.alignment == 0) return number.prefix + padding + number.digits;
  return padding + number.prefix + number.digits;
}

// The library's own formatting, where it says the same: of a 0 it shows no base, of a value of 8 or
// 16 bits in base 8 or 16 the pattern of its width.
template <typename T>
void CheckAgainstStream(T value, const FormatSpec& spec, const std::string& made) {
  const bool hasBase = spec.base == 8 || spec.base == 10 || spec.base == 16;
  if (!hasBase || (spec.showBase && value == 0) || spec.fill > 0x7F) return;
  std::ostringstream stream;
  stream << std::setw(spec.width) << std::setfill(static_cast<char>(spec.fill));
  stream << std::setbase(spec.base) << (spec.showBase ? std::showbase : std::noshowbase);
  stream.setf(spec.alignment < 0    ? std::ios::left
              : spec.alignment == 0 ? std::ios::internal
                                    : std::ios::right,
              std::ios::adjustfield);
  stream << value;
  // An octal mark is a digit to the library, which pads in front of it.
  if (spec.alignment == 0 && spec.base == 8 && spec.showBase) return;
  Require(stream.str() == made, "the library's stream writes the same");
}

std::string Narrow(std::u16string_view text) {
  std::string bytes;
  for (const char16_t unit : text) {
    Require(unit < 0x100, "only characters of one byte were put in");
    bytes += static_cast<char>(unit);
  }
  return bytes;
}

// Fills of one byte in all sinks.
template <typename T>
void CheckNumber(T value, const FormatSpec& spec) {
  const Number number = NumberByRule(value, spec);
  const oru::NumberText text = oru::MakeNumberText(value, spec);
  Require(text.Prefix() == number.prefix, "the prefix is the rule's");
  Require(text.Digits() == number.digits, "the digits are the library's");

  const std::string padded = Padded(number, spec, static_cast<char>(spec.fill));
  oru::String16 wide;
  wide << u"<" << oru::Format(value, spec);
  Require(Narrow(wide.view()) == "<" + padded, "the string holds the number");
  std::ostringstream stream;
  stream << oru::Format(value, spec);
  Require(stream.str() == padded, "the stream holds the number");
  CheckAgainstStream(value, spec, padded);
}

template <typename T>
void CheckBoth(std::uint64_t bits, const FormatSpec& spec) {
  CheckNumber(static_cast<T>(bits), spec);
  CheckNumber(static_cast<std::make_signed_t<T>>(bits), spec);
}

template <typename T>
void CheckPlain(T value) {
  oru::String16 wide;
  wide << value;
  Require(Narrow(wide.view()) == std::to_string(value), "a plain number is in decimal");
}

// A fill that isn't one character of the sink leaves the padding out; the count tells.
void CheckFill(const FormatSpec& spec, const std::string& text) {
  const Number plain{"", text};
  oru::String16 wide;
  const std::u16string source(text.begin(), text.end());
  const std::size_t put = oru::AppendFormatted(wide, source, spec);
  const std::size_t padded = Padded(plain, spec, '.').size();
  Require(put == (spec.fill < 0x10000 ? padded : text.size()), "as many went into the string");
  Require(wide.size() == put, "the count is the string's");
  std::ostringstream stream;
  const std::size_t written = oru::WriteFormatted(stream, text, spec);
  Require(written == ((spec.fill & 0xFFFF) < 0x100 ? padded : text.size()),
          "as many went into the stream");
  Require(stream.str().size() == written, "the count is the stream's");
}

// `text` is ASCII without a zero.
void CheckText(const std::string& text, const FormatSpec& spec) {
  const std::string cut =
      spec.limit < 0 ? text : text.substr(0, static_cast<std::size_t>(spec.limit));
  const std::string padded = Padded({"", cut}, spec, static_cast<char>(spec.fill));
  const std::u16string source(text.begin(), text.end());
  oru::String16 wide;
  wide << oru::Format(source.c_str(), spec) << oru::Format(text.c_str(), spec);
  Require(Narrow(wide.view()) == padded + padded, "the string holds both texts");
  std::ostringstream stream;
  stream << oru::Format(source.c_str(), spec) << oru::Format(text.c_str(), spec);
  Require(stream.str() == padded + padded, "the stream holds both texts");
}

// Without a format: texts as they are, a result code in eight digits.
void CheckPlainTexts(const std::string& text, oru::ResultCode code) {
  char digits[16];
  (void)std::snprintf(digits, sizeof(digits), "0x%08x", static_cast<std::uint32_t>(code));
  const std::u16string source(text.begin(), text.end());
  const oru::String16 wideText{std::u16string_view(source)};
  oru::String16 wide;
  wide << source.c_str() << std::u16string_view(source) << wideText << text.c_str();
  wide << oru::ResultCodeText{code};
  Require(Narrow(wide.view()) == text + text + text + text + digits, "the string holds them all");
  std::ostringstream stream;
  stream << wideText << oru::String8(std::string_view(text)) << oru::ResultCodeText{code};
  Require(stream.str() == text + text + digits, "the stream holds them all");
}

void CheckPadding(std::int32_t width, std::int32_t alignment, std::size_t length) {
  const oru::Padding padding = oru::PaddingFor({.width = width, .alignment = alignment}, length);
  const std::int64_t missing = std::int64_t{width} - static_cast<std::int64_t>(length);
  Require(std::int64_t{padding.front} + padding.between + padding.behind ==
              (width > 0 && missing > 0 ? missing : 0),
          "what is missing is padded");
  Require((padding.front == 0 || alignment > 0) && (padding.between == 0 || alignment == 0) &&
              (padding.behind == 0 || alignment < 0),
          "the padding stands in its place");
}

FormatSpec TakeSpec(FuzzedDataProvider& input) {
  FormatSpec spec;
  spec.width = input.ConsumeBool() ? input.ConsumeIntegralInRange(-3, 90) : 0;
  spec.base = input.PickValueInArray<std::int32_t>({10, 16, 8, 2, 36, 37, 39, 40, 0, 1, -1});
  if (input.ConsumeBool()) spec.base = input.ConsumeIntegral<std::int32_t>();
  spec.limit = input.ConsumeIntegralInRange(-2, 12);
  spec.alignment = input.ConsumeIntegralInRange(-2, 2);
  spec.fill = input.ConsumeIntegralInRange(1U, 0x7FU);
  spec.showBase = input.ConsumeBool();
  return spec;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  FormatSpec spec = TakeSpec(input);
  auto bits = input.ConsumeIntegral<std::uint64_t>();
  // Edges of the widths as often as numbers at random.
  if (input.ConsumeBool()) bits = std::uint64_t{1} << (bits % 64);
  if (input.ConsumeBool()) bits = 0 - bits;
  CheckBoth<std::uint16_t>(bits, spec);
  CheckBoth<std::uint32_t>(bits, spec);
  CheckBoth<std::uint64_t>(bits, spec);
  CheckPlain(static_cast<std::int16_t>(bits));
  CheckPlain(static_cast<std::uint16_t>(bits));
  CheckPlain(static_cast<std::int32_t>(bits));
  CheckPlain(static_cast<std::uint32_t>(bits));
  CheckPlain(static_cast<std::int64_t>(bits));
  CheckPlain(bits);
  CheckPadding(input.ConsumeIntegral<std::int32_t>(), input.ConsumeIntegral<std::int32_t>(),
               input.ConsumeIntegral<std::uint32_t>());
  std::string text = input.ConsumeRandomLengthString(20);
  for (char& c : text) c = static_cast<char>(c < '!' ? 'x' : c);
  CheckText(text, spec);
  CheckPlainTexts(text, static_cast<oru::ResultCode>(bits));
  spec.fill = input.ConsumeIntegral<std::uint32_t>() % 0x20000;
  CheckFill(spec, text);
  return 0;
}
