// What the tests of the filesystem actions share.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_ACTION_FAILURE_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_ACTION_FAILURE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string_view>

#include "oru/rtl/exception.h"

namespace tests {

// Expects this very failure of an action, with no message unless one is named.
inline void ExpectFailure(std::uint32_t code, const std::function<void()>& action,
                          std::u16string_view message = {}) {
  try {
    action();
    FAIL() << "it returned";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(static_cast<std::uint32_t>(exception.Code()), code);
    EXPECT_EQ(exception.Message().view(), message);
    EXPECT_STREQ(exception.File(), "zum_setup_util_lib/filesystem_actions");
    EXPECT_GT(exception.Line(), 0u);
  }
}

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_ACTION_FAILURE_H_
