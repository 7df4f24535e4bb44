// Operations on files and directories that give a result code and throw nothing.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_FILE_OPERATIONS_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_FILE_OPERATIONS_H_

#include <string>

#include "oru/rtl/result_code.h"
#include "winapi/types.h"

namespace product_platform::filesystem {

// `attributes` is untouched on failure.
[[nodiscard]] oru::ResultCode QueryFileAttributes(const std::u16string& path,
                                                  winapi::Dword& attributes) noexcept;

// sOk for a plain directory, sFalse for anything else that is there, a link to a directory too,
// else the failure.
[[nodiscard]] oru::ResultCode TestDirectory(const std::u16string& path) noexcept;

[[nodiscard]] oru::ResultCode RemoveFile(const std::u16string& path) noexcept;
[[nodiscard]] oru::ResultCode RemoveEmptyDirectory(const std::u16string& path) noexcept;

// Deletes a tree. A link, at the top or inside, is removed and never followed. What can't be
// deleted stays with the directories above it, and the failure of removing `path` itself is the
// result; the rest is gone. errInvalidArgument for an empty path.
[[nodiscard]] oru::ResultCode RemoveDirectoryRecursive(const std::u16string& path) noexcept;

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_FILE_OPERATIONS_H_
