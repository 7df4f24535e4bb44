// The operations by which the dropper copies. secure_directory.h makes what it copies into.
//
// All throw on failure: oru::CheckResultFailedException with the result code of the Win32 error,
// which is "Unspecified error" where the call leaves none, or with "Invalid argument" for an
// argument that is refused without a call, and std::bad_alloc for a lack of memory.
#ifndef ZUM_SETUP_UTIL_LIB_FILESYSTEM_ACTIONS_H_
#define ZUM_SETUP_UTIL_LIB_FILESYSTEM_ACTIONS_H_

#include <string>

#include "zum_setup_util_lib/filesystem_object.h"

namespace correct_setup::FileSystemActions {

// Replaces a file that stands at `to`.
void CopyFileT(const std::u16string& from, const std::u16string& to);

// One directory, without its parents, with default security; it must not be there yet.
void CreateDirectoryT(const std::u16string& directory);

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
