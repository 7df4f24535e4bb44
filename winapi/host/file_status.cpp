#include "winapi/host/file_status.h"

#include <fcntl.h>

#include <cerrno>

#include "winapi/errors.h"
#include "winapi/files.h"

namespace winapi::host {

namespace {

FileStatus MakeStatus(const struct stat& data, int folder, const std::string& name) {
  FileStatus status{.data = data, .isLink = S_ISLNK(data.st_mode), .isDirectory = false};
  struct stat target = data;
  const bool isThere = !status.isLink || ::fstatat(folder, name.c_str(), &target, 0) == 0;
  status.isDirectory = isThere && S_ISDIR(target.st_mode);
  return status;
}

}  // namespace

Error StatusOf(const Location& location, FileStatus& status) {
  const int folder = location.folder.Get();
  if (!location.status) return StatusOf(folder, location.name, status);
  status = MakeStatus(*location.status, folder, location.name);
  return kErrorSuccess;
}

Error StatusOf(int folder, const std::string& name, FileStatus& status) {
  struct stat data = {};
  if (::fstatat(folder, name.c_str(), &data, AT_SYMLINK_NOFOLLOW) != 0) {
    return ErrorOfErrno(errno);
  }
  status = MakeStatus(data, folder, name);
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
