// Windows paths as text: what a path means, before any file is looked at (locate.h does that).
//
// C: is the folder drive_c of the machine, Z: is the host's root; the current directory is on C:
// when it lies in drive_c, else on Z:. Both separators count, "." and ".." are worked off in the
// text. Full stops and blanks at a path's very end fall away; inside, one full stop at the end of a
// name does, where it stands alone: "a \x" and "a..\x" are looked for as they stand, and "..." is
// a name. With "\\?\" in front only backslashes count, nothing is worked off, and the limit of 260
// characters is lifted.
//
// Left out: shares, devices (such as "nul"), streams, and a current directory per drive.
#ifndef WINAPI_HOST_PATHS_H_
#define WINAPI_HOST_PATHS_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "winapi/types.h"

namespace winapi::host {

// The current directory of the process, without a trailing separator except on a drive's root.
[[nodiscard]] std::u16string CurrentDirectory();

// What GetFullPathNameW gives: drive, backslashes, no relative part; a separator at the end stays.
// Nothing is refused, the length has no limit, shares and prefixes stay. Empty for a path of
// nothing but blanks.
[[nodiscard]] std::u16string FullPathName(std::u16string_view path);

// The same for a path of which a file is to be found, without the prefix: 3 for an empty path, one
// of blanks, a share or a path of 260 characters and more that had no prefix, 123 for a name with a
// character that none may have. Behind the prefix "." and ".." are refused, too (123): Windows
// takes them for names there, which no file of the host has.
[[nodiscard]] Error FullPath(std::u16string_view path, std::u16string& full);

// True for a path without the prefix "\\?\" that has `limit` characters or more in its full form.
[[nodiscard]] bool ReachesLimit(std::u16string_view path, std::size_t limit);

// The Windows path of an absolute host path: below C: if it lies in drive_c, else below Z:.
[[nodiscard]] std::u16string WindowsPath(std::string_view hostPath);

}  // namespace winapi::host

#endif  // WINAPI_HOST_PATHS_H_
