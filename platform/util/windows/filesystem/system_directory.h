// Where Windows keeps its own programs.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_SYSTEM_DIRECTORY_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_SYSTEM_DIRECTORY_H_

#include <string>

namespace product_platform::windows::detail {

// The system directory's path. Throws oru::CheckResultFailedException when the system doesn't tell
// it.
[[nodiscard]] std::u16string GetSystemFilesDirectory();

}  // namespace product_platform::windows::detail

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_SYSTEM_DIRECTORY_H_
