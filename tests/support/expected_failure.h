// The failure that a test expects: an exception with a code, a message and a source position.
#ifndef TESTS_SUPPORT_EXPECTED_FAILURE_H_
#define TESTS_SUPPORT_EXPECTED_FAILURE_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
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

// Whether the traced text of a failure ends with the position of its cause: this source file, and a
// line of it, which is never 0.
[[nodiscard]] inline bool EndsAtALineOf(std::string_view text, const std::string& file) {
  const std::string head = ". At " + file + "(";
  const std::size_t start = text.rfind(head);
  if (start == std::string_view::npos) return false;
  const std::string_view line = text.substr(start + head.size());
  const std::size_t end = line.find_first_not_of("0123456789");
  return end != std::string_view::npos && line[0] >= '1' && line[0] <= '9' &&
         line.substr(end) == ") ";
}

}  // namespace tests

#endif  // TESTS_SUPPORT_EXPECTED_FAILURE_H_
