#include "platform/util/windows/unique_handle.h"

#include "oru/rtl/error_mapping.h"
#include "oru/rtl/last_error_keeper.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/registry.h"

namespace windows_helpers {

oru::ResultCode RegKeyTraits::Close(winapi::Key h) noexcept {
  ORU_CHECK(IsValid(h));
  // The error is the result itself; the registry's functions leave the last error alone.
  return oru::Win32ErrorToResult(winapi::RegCloseKey(h));
}

// A last error of 0 gives sOk here, for a close that failed: settled so.
oru::ResultCode KernelHandleTraits::Close(winapi::Handle h) noexcept {
  const oru::LastErrorKeeper keeper;
  ORU_CHECK(BaseType::IsValid(h));
  if (winapi::CloseHandle(h) != 0) return oru::sOk;
  return oru::Win32ErrorToResult(winapi::GetLastError());
}

oru::ResultCode WaitForHandle(const KernelHandle& handle, winapi::Dword milliseconds) noexcept {
  const winapi::Dword wait =
      winapi::WaitForSingleObjectEx(handle.GetValue(), milliseconds, /*alertable=*/0);
  // Taken before a report runs foreign code.
  const winapi::Error lastError = winapi::GetLastError();
  switch (wait) {
    case winapi::kWaitObject0:
      return oru::sOk;
    case winapi::kWaitAbandoned:
      // The object is the waiter's, and yet in whatever state its last owner left it.
      return oru::errWaitAbandoned;
    case winapi::kWaitTimeout:
      return oru::sFalse;
    default:
      ORU_CHECK_TEXT(wait == winapi::kWaitFailed, "wait == ((DWORD)0xFFFFFFFF)");
      return oru::Win32ErrorToResult(lastError);
  }
}

}  // namespace windows_helpers
