// The directory into which the package's private copy goes.
#ifndef ZUM_SETUP_UTIL_LIB_SECURE_DIRECTORY_H_
#define ZUM_SETUP_UTIL_LIB_SECURE_DIRECTORY_H_

#include <string>

namespace correct_setup::FileSystemActions {

// One new directory whose access list has entries for the local system and the process's user
// alone, with a mandatory label of the process's own integrity level where the token has one. What
// is made in it isn't handed these entries down, and the list isn't protected: Windows adds the
// entries that the parent directory hands down. A directory that is there already is never adopted.
//
// Nothing is created on failure. Throws windows_helpers::WindowsErrorException for a call of
// Windows that fails, oru::CheckResultFailedException with "Invalid argument" for an empty path,
// and std::bad_alloc.
void CreateSecureDirectory(const std::u16string& directory);

}  // namespace correct_setup::FileSystemActions

#endif  // ZUM_SETUP_UTIL_LIB_SECURE_DIRECTORY_H_
