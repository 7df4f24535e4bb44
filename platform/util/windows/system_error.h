// Failures of Windows calls as texts and as exceptions.
#ifndef PLATFORM_UTIL_WINDOWS_SYSTEM_ERROR_H_
#define PLATFORM_UTIL_WINDOWS_SYSTEM_ERROR_H_

#include <cstdint>
#include <string>

#include "oru/rtl/exception.h"
#include "winapi/types.h"

namespace windows_helpers {

// The system's English text for an error number or a status, trimmed as below; empty where there is
// none. Throws std::bad_alloc.
[[nodiscard]] std::u16string FormatSystemMessage(winapi::Dword status);

namespace detail {

// Takes away all carriage returns, line feeds and full stops at the end, in whatever order.
void TrimSystemMessage(std::u16string& text) noexcept;

}  // namespace detail

// A call of Windows that failed, named by its expression. Thrown with its position behind it:
//
//   throw WindowsErrorException(error, "CopyFileW(from, to)")
//       << SetFile(kSourceFile) << SetLine(__LINE__);
struct WindowsErrorException
    : public oru::ExceptionBase<WindowsErrorException, oru::ResultCodeException> {
  // `status` is an error number or a status such as an HRESULT, `expression` the failed call as the
  // source has it, 8-bit.
  WindowsErrorException(winapi::Dword status, const char* expression);
  WindowsErrorException(const WindowsErrorException&) = default;
  WindowsErrorException(WindowsErrorException&&) noexcept = default;
  ~WindowsErrorException() override;

  std::uint32_t systemError;  // the status as it was passed
};

// The exception for an error that a wrapper returned. Its message is "system result code: " and the
// error in decimal; what the thrower appends follows directly.
[[nodiscard]] oru::CheckResultFailedException MakeWin32CheckFailure(const char* file,
                                                                    std::uint32_t line,
                                                                    winapi::Error error);

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_SYSTEM_ERROR_H_
