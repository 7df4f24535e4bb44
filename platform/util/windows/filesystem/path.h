// Paths as text: nothing here touches the disk but MakeLongPath, which asks for the current
// directory.
//
// Both separators, "\" and "/", count unless a comment says otherwise. Functions may throw
// std::bad_alloc.
#ifndef PLATFORM_UTIL_WINDOWS_FILESYSTEM_PATH_H_
#define PLATFORM_UTIL_WINDOWS_FILESYSTEM_PATH_H_

#include <cstddef>
#include <string>
#include <string_view>

namespace product_platform::filesystem {

[[nodiscard]] constexpr bool IsPathSeparator(char16_t c) noexcept {
  return c == u'\\' || c == u'/';
}

// Begins with two backslashes; slashes don't count.
[[nodiscard]] bool IsRootedPath(std::u16string_view path) noexcept;

// "C:\" and what follows; the first character may be any.
[[nodiscard]] bool IsDriveAbsolutePath(std::u16string_view path) noexcept;

// Begins with "\\?\" or "\\.\".
[[nodiscard]] bool HasLongPathPrefix(std::u16string_view path) noexcept;

// Where the last component of a path begins; the path's length where that is empty.
[[nodiscard]] std::size_t FileNameStart(std::u16string_view path) noexcept;

// The last component: what stands behind the last separator, else behind a colon in second place,
// else the whole. Empty for a path that ends in a separator.
[[nodiscard]] std::u16string GetFileNamePart(std::u16string_view path);

// What stands before the last component, without the separator between them unless that is a
// drive's root. Empty for a bare name.
[[nodiscard]] std::u16string GetParentPath(std::u16string_view path);

// `left`, a backslash unless `left` is empty or ends in a separator, and `right`; `left` alone when
// `right` is empty. `right` isn't looked at: an absolute one is appended like any other.
[[nodiscard]] std::u16string JoinPath(std::u16string_view left, std::u16string_view right);

// The path in the form that has no length limit: a drive-absolute or relative one made absolute,
// normalised and given the prefix "\\?\", a rooted one as it is. Throws oru::ResultCodeException
// when the current directory can't be told.
[[nodiscard]] std::u16string MakeLongPath(std::u16string_view path);

// Takes empty segments, "." and "..", with the segment before it, out of a path, and writes its
// separators behind the root as backslashes. A trailing separator goes. A ".." that has nothing
// left to take is lost behind a root and kept elsewhere; a "." that begins a relative path stays.
void NormalizePath(std::u16string& path);

}  // namespace product_platform::filesystem

#endif  // PLATFORM_UTIL_WINDOWS_FILESYSTEM_PATH_H_
