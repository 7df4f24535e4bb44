#include "winapi/host/file_status.h"

#include <fcntl.h>

#include <cerrno>

#include "winapi/errors.h"
#include "winapi/files.h"

namespace winapi::host {

Error StatusOf(const Location& location, FileStatus& status) {
  return StatusOf(location.folder.Get(), location.name, status);
}

Error StatusOf(int folder, const std::string& name, FileStatus& status) {
  FileStatus found;
  if (::fstatat(folder, name.c_str(), &found.data, AT_SYMLINK_NOFOLLOW) != 0) {
    return ErrorOfErrno(errno);
  }
  found.isLink = S_ISLNK(found.data.st_mode);
  found.isDirectory = S_ISDIR(found.data.st_mode);
  if (found.isLink) {
    struct stat target = {};
    found.isDirectory = ::fstatat(folder, name.c_str(), &target, 0) == 0 && S_ISDIR(target.st_mode);
  }
  status = found;
  return kErrorSuccess;
}

// Windows has more attributes (hidden, system, compressed ...), which the product never asks for.
// "Archive" is what a file has that nobody has backed up.
Dword AttributesOf(const FileStatus& status) noexcept {
  if (status.isLink) {
    return kFileAttributeReparsePoint |
           (status.isDirectory ? kFileAttributeDirectory : kFileAttributeArchive);
  }
  if (status.isDirectory) return kFileAttributeDirectory;
  const bool readOnly = (status.data.st_mode & S_IWUSR) == 0;
  return kFileAttributeArchive | (readOnly ? kFileAttributeReadOnly : 0);
}

}  // namespace winapi::host
