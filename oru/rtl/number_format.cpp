#include "oru/rtl/number_format.h"

#include <limits>

namespace oru {
namespace {

constexpr std::int32_t kMaxBase = 39;

// Base 39 is admitted though there are 36 digits; the three missing ones have a place of their own.
constexpr char kDigits[kMaxBase + 1] = "0123456789abcdefghijklmnopqrstuvwxyz???";

// Settled so: a negative base is the greatest one to the 64-bit forms and no base to the narrower.
template <typename T>
unsigned EffectiveBase(std::int32_t base) noexcept {
  const bool negativeIsMost = sizeof(T) == sizeof(std::int64_t);
  if (base > kMaxBase || (negativeIsMost && base < 0)) return kMaxBase;
  return base < 2 ? 10 : static_cast<unsigned>(base);
}

std::string_view BasePrefix(unsigned base) noexcept {
  if (base == 16) return "0x";
  return base == 8 ? "0" : "";
}

template <typename T>
NumberText MakeText(T value, const FormatSpec& spec) noexcept {
  using Pattern = std::make_unsigned_t<T>;
  const unsigned base = EffectiveBase<T>(spec.base);
  std::uint64_t rest{static_cast<Pattern>(value)};
  NumberText text;
  if (std::numeric_limits<T>::is_signed && value < 0 && base == 10) {
    // As unsigned, since the magnitude of the smallest number has no signed form.
    rest = static_cast<Pattern>(0 - rest);
    text.SetPrefix("-");
  } else if (spec.showBase) {
    // Of a negative number too in base 16 or 8, where it is an unsigned pattern.
    text.SetPrefix(BasePrefix(base));
  }
  do {
    text.PushDigit(kDigits[rest % base]);
    rest /= base;
  } while (rest != 0);
  return text;
}

}  // namespace

NumberText MakeNumberText(std::int16_t value, const FormatSpec& spec) noexcept {
  return MakeText(value, spec);
}
NumberText MakeNumberText(std::uint16_t value, const FormatSpec& spec) noexcept {
  return MakeText(value, spec);
}
NumberText MakeNumberText(std::int32_t value, const FormatSpec& spec) noexcept {
  return MakeText(value, spec);
}
NumberText MakeNumberText(std::uint32_t value, const FormatSpec& spec) noexcept {
  return MakeText(value, spec);
}
NumberText MakeNumberText(std::int64_t value, const FormatSpec& spec) noexcept {
  return MakeText(value, spec);
}
NumberText MakeNumberText(std::uint64_t value, const FormatSpec& spec) noexcept {
  return MakeText(value, spec);
}

Padding PaddingFor(const FormatSpec& spec, std::size_t length) noexcept {
  if (spec.width <= 0 || static_cast<std::size_t>(spec.width) <= length) return {};
  // A difference of two lengths; the width is at most 2^31, so it fits.
  const auto missing = static_cast<std::uint32_t>(static_cast<std::size_t>(spec.width) - length);
  if (spec.alignment < 0) return {.behind = missing};
  if (spec.alignment == 0) return {.between = missing};
  return {.front = missing};
}

}  // namespace oru
