// Matching paths and names against masks with "*" and "?".
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_PATH_MASK_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_PATH_MASK_H_

#include <string_view>

namespace product_platform::filesystem {

// Equal, both separators, or equal without regard to case (ASCII letters).
[[nodiscard]] bool IsSamePathChar(char16_t a, char16_t b) noexcept;

// "*" is any run of characters, also none, "?" any one. A mask of "name.*" doesn't match "name".
[[nodiscard]] bool MatchWildcard(std::u16string_view name, std::u16string_view mask) noexcept;

// Whether a path matches a mask, which may have a directory part. A relative one must be the end of
// the path's directory. An absolute one must be the whole of it; with a wildcard in it, the path
// must only begin as the mask does before the wildcard, less one character. A name of "", "*" or
// "*.*" matches every name that isn't empty. The "?" of a mask's long-path prefix is a wildcard
// like any other.
[[nodiscard]] bool MatchPathMask(std::u16string_view path, std::u16string_view mask) noexcept;

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_PATH_MASK_H_
