// The operations by which the dropper makes a directory and copies into it. All throw on failure:
// CreateSecureDirectory windows_helpers::WindowsErrorException, the others
// oru::CheckResultFailedException with the result code of the Win32 error. An argument that is
// refused without a call is an oru::CheckResultFailedException with "Invalid argument", a lack of
// memory std::bad_alloc.
#ifndef ZUM_SETUP_UTIL_LIB_FILESYSTEM_ACTIONS_H_
#define ZUM_SETUP_UTIL_LIB_FILESYSTEM_ACTIONS_H_

#include <string>

#include "zum_setup_util_lib/filesystem_object.h"

namespace correct_setup::FileSystemActions {

// Replaces a file that stands at `to`.
void CopyFileT(const std::u16string& from, const std::u16string& to);

// One directory, without its parents, with default security; it must not be there yet.
void CreateDirectoryT(const std::u16string& directory);

// One new directory that only the local system and the process's user may enter, with a mandatory
// label of the process's own integrity level where the token has one. None of its entries is
// inherited. Nothing is created on failure, and a directory that is there already is never adopted.
// An empty path is refused.
void CreateSecureDirectory(const std::u16string& directory);

// A directory with all plain files and directories in it, into a new directory `to`. Links aren't
// copied. What was copied before a failure stays. A `from` that is no plain directory is refused.
void CopyDirectoryT(const std::u16string& from, const std::u16string& to);

// Copies the object of that name from the directory `from` into the directory `to`, by CopyFileT or
// CopyDirectoryT as its type says.
void CopyObjectT(const FilesystemObject& object, const std::u16string& from,
                 const std::u16string& to);

// False where there is no such file or directory; any other failure throws.
[[nodiscard]] bool ExistsT(const std::u16string& path);

// True for a plain directory; a missing path throws.
[[nodiscard]] bool IsDirectoryT(const std::u16string& path);

}  // namespace correct_setup::FileSystemActions

#endif  // ZUM_SETUP_UTIL_LIB_FILESYSTEM_ACTIONS_H_
