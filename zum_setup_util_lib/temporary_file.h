// New empty files with names of their own. Nothing here throws.
#ifndef ZUM_SETUP_UTIL_LIB_TEMPORARY_FILE_H_
#define ZUM_SETUP_UTIL_LIB_TEMPORARY_FILE_H_

#include <string>
#include <string_view>

#include "oru/rtl/result_code.h"

namespace correct_setup::helpers {

// Appends a unique name that begins with `prefix` to the directory `path`, the temporary directory
// when it is empty. A directory that doesn't exist or isn't a plain one gives "Path not found", a
// path above 260 characters "Buffer too small"; `path` is the directory then, or the name that has
// become too long.
[[nodiscard]] oru::ResultCode MakeUniqueFileName(std::u16string_view prefix,
                                                 std::u16string& path) noexcept;

// Does that and creates the file, empty and closed. When only the creation fails, which is reported
// as a failed check too, `path` is the file's. The code is then Win32ErrorToResult's of the last
// error: a success where the system left 0, with a second check that reports it.
[[nodiscard]] oru::ResultCode CreateTemporaryFile(std::u16string_view prefix,
                                                  std::u16string& path) noexcept;

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_TEMPORARY_FILE_H_
