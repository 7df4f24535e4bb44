// What the product makes of a process's command line, for any text of it, in both worlds: under
// Windows a process is started with exactly that command line, natively the host layer is told the
// text.
#ifndef TESTS_ZUM_SETUP_UTIL_PROCESS_VIEW_H_
#define TESTS_ZUM_SETUP_UTIL_PROCESS_VIEW_H_

#include <cstddef>
#include <string>

#include "zum_setup_util/command_line.h"

namespace tests {

// Characters of the longest command line: the system's limit is 32,767 with the terminating zero.
inline constexpr std::size_t kLongestCommandLine = 32'766;

struct ProcessView {
  zum_setup_util::ArgumentList arguments;
  std::string maskedCommandLine;
};

[[nodiscard]] ProcessView ViewOf(const std::u16string& commandLine);

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_PROCESS_VIEW_H_
