// The blocks of operator new that are live in this process: the test program's own operator keeps a
// list.
#ifndef TESTS_ZUM_SETUP_UTIL_LIVE_BLOCKS_H_
#define TESTS_ZUM_SETUP_UTIL_LIVE_BLOCKS_H_

#include <string_view>

namespace tests {

// True when a live block begins with this text; none begins with an empty one. The text itself
// mustn't stand in one.
[[nodiscard]] bool LiveBlockBeginsWith(std::u16string_view text);

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIVE_BLOCKS_H_
