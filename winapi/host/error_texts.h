// Windows' English texts for the error numbers that the tool can meet.
#ifndef WINAPI_HOST_ERROR_TEXTS_H_
#define WINAPI_HOST_ERROR_TEXTS_H_

#include <string_view>

#include "winapi/types.h"

namespace winapi::host {

// The text as Windows' message table holds it, CR LF at its end; a constant, terminated. Empty for
// a number without a text. Knows Win32 errors and the HRESULTs that Windows has texts for; an
// NTSTATUS has none in Windows' table either.
[[nodiscard]] std::u16string_view SystemErrorText(Dword number) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_ERROR_TEXTS_H_
