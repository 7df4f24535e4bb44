// A list of pending renames as the system itself writes it.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_SYSTEM_PENDING_LIST_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_SYSTEM_PENDING_LIST_H_

#include <cstdint>
#include <iterator>
#include <string_view>
#include <vector>

#include "tests/support/test_registry.h"

namespace tests {

// Five requests of MoveFileExW: a deletion, a rename, a replacing rename to the same target, a
// plain one to it, and a deletion.
inline constexpr char16_t kPendingListOfTheSystem[] =
    u"\\??\\C:\\zum pending\\a\0\0"
    u"\\??\\C:\\zum pending\\a\0\\??\\C:\\zum pending\\b\0"
    u"\\??\\C:\\zum pending\\c\0!\\??\\C:\\zum pending\\b\0"
    u"\\??\\C:\\zum pending\\d\0\\??\\C:\\zum pending\\b\0"
    u"\\??\\C:\\zum pending\\e\0\0";  // and the literal's own zero

inline std::vector<std::uint8_t> PendingBytesOfTheSystem() {
  return Utf16Bytes({kPendingListOfTheSystem, std::size(kPendingListOfTheSystem)}, 0);
}

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_SYSTEM_PENDING_LIST_H_
