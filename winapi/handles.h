// Kernel handles and waiting on them.
#ifndef WINAPI_HANDLES_H_
#define WINAPI_HANDLES_H_

#include "winapi/types.h"

namespace winapi {

inline constexpr Dword kWaitObject0 = 0;          // WAIT_OBJECT_0
inline constexpr Dword kWaitAbandoned = 0x80;     // WAIT_ABANDONED
inline constexpr Dword kWaitTimeout = 258;        // WAIT_TIMEOUT
inline constexpr Dword kWaitFailed = 0xFFFFFFFF;  // WAIT_FAILED

// 0 with last error 6 for a handle that isn't open.
Bool CloseHandle(Handle handle) noexcept;

// Waits until the object is signalled or the time, in milliseconds, has passed. Gives one of the
// numbers above; the last error is set with kWaitFailed. The host ends the process with a
// line on the standard error stream where a wait without limit would never end.
[[nodiscard]] Dword WaitForSingleObjectEx(Handle handle, Dword milliseconds,
                                          Bool alertable) noexcept;

}  // namespace winapi

#endif  // WINAPI_HANDLES_H_
