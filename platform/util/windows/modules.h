// Functions of the system that are found by name at run time, since not every system has them.
#ifndef PLATFORM_UTIL_WINDOWS_MODULES_H_
#define PLATFORM_UTIL_WINDOWS_MODULES_H_

#include "winapi/types.h"

namespace windows_helpers {

// The last error, or `fallback` where the system left none: a failure must not look like a success.
[[nodiscard]] winapi::Error LastErrorOr(winapi::Error fallback) noexcept;

// Finds a function in a loaded module. On failure `procedure` is null and the error 127, or that of
// the call; never 0.
[[nodiscard]] winapi::Error FindProcedure(winapi::Module module, const char* name,
                                          winapi::Procedure& procedure) noexcept;

// The same in a module that is loaded for as long as the process lives, such as "advapi32.dll"; 126
// where there is none of that name.
[[nodiscard]] winapi::Error FindProcedure(const char16_t* module, const char* name,
                                          winapi::Procedure& procedure) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_MODULES_H_
