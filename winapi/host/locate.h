// Finds the file of the host that a Windows path means, however long the host's path is: the
// folders are opened one below the other, and what is to be done happens by a name in the last of
// them.
#ifndef WINAPI_HOST_LOCATE_H_
#define WINAPI_HOST_LOCATE_H_

#include <sys/stat.h>

#include <optional>
#include <string>
#include <string_view>

#include "winapi/host/file_descriptor.h"
#include "winapi/types.h"

namespace winapi::host {

struct Location {
  FileDescriptor folder;    // that holds the file; good for openat and its like only
  std::string name;         // in it; "." for the root of a drive
  std::u16string fullPath;  // on Windows, see FullPath
  // Of the file, if there is one of exactly that name: looked at when the place was looked for. Of
  // a link, not of what it leads to.
  std::optional<struct stat> status;
  bool isRoot = false;           // of a drive
  bool endsInSeparator = false;  // the path does, and is no root: it can't mean a file
};

// Whether the file itself is there doesn't matter. Where the folder holds nothing of exactly its
// name, one that differs in case only is taken. The errors of FullPath; 3 for a folder that isn't
// there, 5 for one that can't be entered. A null path is an empty one.
[[nodiscard]] Error Locate(const char16_t* path, Location& location);

// The folder that a full path of FullPath means, for openat and its like; not for reading.
[[nodiscard]] Error OpenFolder(std::u16string_view fullPath, FileDescriptor& folder);

// The host's own path of a place, with all links of its folder followed, for functions that take no
// descriptor. Empty where the folder has gone or the host's path is too long for those.
[[nodiscard]] std::string HostPath(const Location& location);

// The Windows error for a number of errno.
[[nodiscard]] Error ErrorOfErrno(int number) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_LOCATE_H_
