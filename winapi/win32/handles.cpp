#include "winapi/handles.h"

#include <windows.h>

namespace winapi {

static_assert(kWaitObject0 == WAIT_OBJECT_0);
static_assert(kWaitAbandoned == WAIT_ABANDONED);
static_assert(kWaitTimeout == WAIT_TIMEOUT);
static_assert(kWaitFailed == WAIT_FAILED);
static_assert(kInfinite == INFINITE);

// The real macro casts to a pointer, which no constant expression may hold; where HANDLE is a
// number it can be compared with the number that InvalidHandleValue() casts.
namespace numbers {
using HANDLE = std::intptr_t;
static_assert(INVALID_HANDLE_VALUE == -1);
}  // namespace numbers

Bool CloseHandle(Handle handle) noexcept { return ::CloseHandle(handle); }

Dword WaitForSingleObjectEx(Handle handle, Dword milliseconds, Bool alertable) noexcept {
  return ::WaitForSingleObjectEx(handle, milliseconds, alertable);
}

}  // namespace winapi
