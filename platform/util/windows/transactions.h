// Kernel transactions, by the functions of ktmw32.dll, which is loaded from the system directory at
// the first use.
#ifndef PLATFORM_UTIL_WINDOWS_TRANSACTIONS_H_
#define PLATFORM_UTIL_WINDOWS_TRANSACTIONS_H_

#include "winapi/types.h"

namespace windows_helpers {

// A new transaction without limits, to be closed by CloseHandle; a close without a commit drops its
// work. InvalidHandleValue() with the last error set on failure, 126 or 127 where the system has
// none. `description` is writable since the system's call may write into it.
[[nodiscard]] winapi::Handle CreateTransaction(char16_t* description) noexcept;

// 0 with the last error set on failure, 126 or 127 where the system has none.
[[nodiscard]] winapi::Bool CommitTransaction(winapi::Handle transaction) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_TRANSACTIONS_H_
