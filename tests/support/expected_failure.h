// The failure that a test expects: an exception with a code, a message and a source position.
#ifndef TESTS_SUPPORT_EXPECTED_FAILURE_H_
#define TESTS_SUPPORT_EXPECTED_FAILURE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string_view>

#include "oru/rtl/exception.h"
#include "tests/support/result_code.h"
#include "tests/support/text.h"

namespace tests {

// Expects a CheckResultFailedException of this source file out of the action, with no message
// unless one is named. The line is some line.
inline void ExpectFailureOf(const char* file, std::uint32_t code,
                            const std::function<void()>& action, std::u16string_view message = {}) {
  try {
    action();
    FAIL() << "it returned";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(Code(exception.Code()), code);
    EXPECT_EQ(Narrow(exception.Message().view()), Narrow(message));
    EXPECT_STREQ(exception.File(), file);
    EXPECT_GT(exception.Line(), 0u);
  }
}

}  // namespace tests

#endif  // TESTS_SUPPORT_EXPECTED_FAILURE_H_
