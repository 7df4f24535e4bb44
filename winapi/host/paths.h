// Windows paths on the host: which file of the host a path means.
//
// C: is the folder drive_c of the machine, Z: is the host's root; the current directory is on C:
// when it lies in drive_c, else on Z:. Both separators count, names ignore case, "." and ".." are
// worked off in the text, and full stops and blanks at the end of a name fall away. With "\\?\" in
// front only backslashes count, nothing is worked off, and the limit of 260 characters is lifted.
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

// Makes a path full: drive, backslashes, no relative part; a separator at the end stays. 3 for an
// empty path, a share or a path of 260 characters and more without the prefix, 123 for a name with
// a character that none may have.
[[nodiscard]] Error FullPath(std::u16string_view path, std::u16string& full);

// What GetFullPathNameW gives: full like the above, but nothing is refused. The length has no
// limit, shares and prefixes stay, and of full stops and blanks only those at the very end fall
// away, and one full stop at the end of any other part. Empty for a path of nothing but blanks.
[[nodiscard]] std::u16string FullPathName(std::u16string_view path);

// The host file that a path means, whether it is there or not, without a separator at the end.
// Where a folder holds no file of exactly a part's name, one that differs in case only is taken.
// Errors as above, and 3 for a drive that isn't there.
[[nodiscard]] Error HostPath(std::u16string_view path, std::string& hostPath);

// True for a path without the prefix "\\?\" that has `limit` characters or more in its full form.
[[nodiscard]] bool ReachesLimit(std::u16string_view path, std::size_t limit);

// What speaks against reading or starting the file of an absolute host path: 5 for a folder, 2 for
// none of that name, 3 where its folder is missing too, else 0.
[[nodiscard]] Error ErrorOfFile(const std::string& hostPath);

// The Windows path of an absolute host path: below C: if it lies in drive_c, else below Z:.
[[nodiscard]] std::u16string WindowsPath(std::string_view hostPath);

}  // namespace winapi::host

#endif  // WINAPI_HOST_PATHS_H_
