// Where the process looks for modules, and where it lies itself.
#ifndef ZUM_SETUP_UTIL_DLL_SEARCH_H_
#define ZUM_SETUP_UTIL_DLL_SEARCH_H_

#include <cstdint>
#include <string>

#include "oru/rtl/result_code.h"

namespace zum_setup_util {

inline constexpr std::uint32_t kLoadLibrarySearchSystem32 = 0x800;  // LOAD_LIBRARY_SEARCH_SYSTEM32

// Narrows the search for modules to the folders of `flags`, by SetDefaultDllDirectories. A system
// that lacks the function gives oru::sOk too. A failure gives that of the last error. Holds no
// reference of the system's module when it returns.
[[nodiscard]] oru::ResultCode EnableSystemDllSearch(std::uint32_t flags) noexcept;

// The program's own full path. Throws oru::CheckResultFailedException: with the last error's
// failure when the system refuses, with oru::errUnspecified when the path is still cut in a buffer
// of 4160 characters.
[[nodiscard]] std::u16string GetExecutablePath();

}  // namespace zum_setup_util

#endif  // ZUM_SETUP_UTIL_DLL_SEARCH_H_
