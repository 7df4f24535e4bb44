// What the tests of the filesystem actions share.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_ACTION_FAILURE_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_ACTION_FAILURE_H_

#include <cstdint>
#include <functional>
#include <string_view>

#include "tests/support/expected_failure.h"

namespace tests {

inline constexpr std::uint32_t kFileNotFound = 0x80010102;
inline constexpr std::uint32_t kPathNotFound = 0x80010103;
inline constexpr std::uint32_t kAlreadyExists = 0x80010105;

// Expects this very failure of an action, with no message unless one is named.
inline void ExpectFailure(std::uint32_t code, const std::function<void()>& action,
                          std::u16string_view message = {}) {
  ExpectFailureOf("zum_setup_util_lib/filesystem_actions", code, action, message);
}

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_ACTION_FAILURE_H_
