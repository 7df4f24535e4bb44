// What a test has set up against files and directories: locks, and directories that nobody may
// change.
#ifndef WINAPI_HOST_FILE_RULES_H_
#define WINAPI_HOST_FILE_RULES_H_

#include <sys/stat.h>

#include "winapi/host/file_descriptor.h"

namespace winapi::host {

// Held open by somebody who shares it with nobody.
[[nodiscard]] bool IsLocked(const struct stat& file);

// Nothing may be made or removed in it.
[[nodiscard]] bool IsReadOnly(const FileDescriptor& folder);

}  // namespace winapi::host

#endif  // WINAPI_HOST_FILE_RULES_H_
