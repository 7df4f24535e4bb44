// What a failed call of Windows gives as a result.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_FAILURE_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_FAILURE_H_

#include "oru/rtl/error_mapping.h"
#include "oru/rtl/result_code.h"
#include "winapi/errors.h"

namespace product_platform::filesystem {

// The result code of a call that has failed with that error, never a success: some calls fail
// without setting the last error, and an old 0 must not hide that. It gives errUnspecified.
[[nodiscard]] inline oru::ResultCode FailureOf(winapi::Error error) noexcept {
  const oru::ResultCode rc = oru::Win32ErrorToResult(error);
  return ORU_FAILED(rc) ? rc : oru::errUnspecified;
}

// The same of the last error; to be asked right behind the call.
[[nodiscard]] inline oru::ResultCode LastFailure() noexcept {
  return FailureOf(winapi::GetLastError());
}

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_FAILURE_H_
