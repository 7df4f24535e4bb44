// Result codes as tests write them down.
#ifndef TESTS_SUPPORT_RESULT_CODE_H_
#define TESTS_SUPPORT_RESULT_CODE_H_

#include <cstdint>

#include "oru/rtl/result_code.h"

namespace tests {

// The 32 bits, for a comparison with a number such as 0x80000041u.
[[nodiscard]] constexpr std::uint32_t Code(oru::ResultCode rc) noexcept {
  return static_cast<std::uint32_t>(rc);
}

// Of an argument that a caller mustn't give.
inline constexpr std::uint32_t kInvalidArgument = 0x80000046;

}  // namespace tests

#endif  // TESTS_SUPPORT_RESULT_CODE_H_
