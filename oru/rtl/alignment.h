// Arithmetic on alignments, by division: an alignment needn't be a power of two.
//
// An alignment of 0 and one whose double doesn't fit its type are reported as failed checks
// ("0 < alignment", "alignment < alignment * 2"), and the arithmetic goes on. Since nothing can be
// divided by 0, an alignment of 0 then counts as 1.
#ifndef ORU_RTL_ALIGNMENT_H_
#define ORU_RTL_ALIGNMENT_H_

#include <concepts>
#include <cstdint>

#include "oru/rtl/check.h"

namespace oru_std {

// What the process heap aligns its blocks to, in both worlds: 8 bytes.
struct alignas(8) max_align_t {};

}  // namespace oru_std

namespace oru::math {

namespace detail {

// What lies between `x` and the multiple of `alignment` at or below it.
template <std::unsigned_integral T>
[[nodiscard]] T remainder(T x, T alignment) noexcept {
  // The product wraps in the type itself, a type narrower than int included.
  ORU_CHECK(0 < alignment);
  ORU_CHECK_TEXT(alignment < static_cast<T>(alignment * 2u), "alignment < alignment * 2");
  return alignment == 0 ? T{0} : static_cast<T>(x % alignment);
}

}  // namespace detail

// Whether `x` is a multiple of `alignment`.
template <std::unsigned_integral T>
[[nodiscard]] bool is_aligned(T x, T alignment) noexcept {
  return detail::remainder(x, alignment) == 0;
}

// The same for an address, with `alignment` in bytes; null is aligned to everything.
[[nodiscard]] inline bool is_aligned(const void* pointer, std::uintptr_t alignment) noexcept {
  return is_aligned(reinterpret_cast<std::uintptr_t>(pointer), alignment);
}

// The greatest multiple of `alignment` that isn't above `x`.
template <std::unsigned_integral T>
[[nodiscard]] T align_down(T x, T alignment) noexcept {
  return static_cast<T>(x - detail::remainder(x, alignment));
}

}  // namespace oru::math

#endif  // ORU_RTL_ALIGNMENT_H_
