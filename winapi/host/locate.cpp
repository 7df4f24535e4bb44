#include "winapi/host/locate.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <iterator>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/folder_stream.h"
#include "winapi/host/paths.h"
#include "winapi/host/root.h"
#include "winapi/host/text.h"

namespace winapi::host {
namespace {

// How many bytes of a path are opened at once; the host's limit is 4096 with the terminator.
constexpr std::size_t kChunk = 3500;
constexpr int kFolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

// What fails on the way to a file is its path, not the file.
Error FolderError(int number) {
  const Error error = ErrorOfErrno(number);
  return error == kErrorFileNotFound ? kErrorPathNotFound : error;
}

std::optional<struct stat> Look(const FileDescriptor& folder, const std::string& name) {
  struct stat data = {};
  if (::fstatat(folder.Get(), name.c_str(), &data, AT_SYMLINK_NOFOLLOW) != 0) return std::nullopt;
  return data;
}

// The name of the file in `folder` that `name` means: its own, whose status is told, else one that
// differs in case only. Of several such the one that the host lists first: Windows has one at the
// most.
std::string FindName(const FileDescriptor& folder, const std::string& name,
                     std::optional<struct stat>& status) {
  status = Look(folder, name);
  if (status) return name;
  FolderStream stream(folder);
  if (!stream.IsOpen()) return name;  // what is done with the name will say why
  const std::u16string wanted = ToUtf16(name);
  while (const dirent* entry = stream.Next()) {
    if (EqualIgnoringCase(ToUtf16(entry->d_name), wanted)) return entry->d_name;
  }
  return name;
}

Error Enter(FileDescriptor& folder, const std::string& relative) {
  FileDescriptor next(::openat(folder.Get(), relative.c_str(), kFolderFlags));
  if (!next.IsOpen()) return FolderError(errno);
  folder = std::move(next);
  return kErrorSuccess;
}

// By the host's own spelling where a name is there in several; see FindName.
Error EnterByAnyCase(FileDescriptor& folder, const std::vector<std::string>& names) {
  std::optional<struct stat> status;
  for (const std::string& name : names) {
    if (const Error error = Enter(folder, FindName(folder, name, status)); error != 0) return error;
  }
  return kErrorSuccess;
}

// At once where all names are spelled as they are on disk, which saves a search in each folder.
Error EnterChunk(FileDescriptor& folder, const std::vector<std::string>& names) {
  std::string relative;
  for (const std::string& name : names) relative.append(name).push_back('/');
  if (relative.empty() || Enter(folder, relative) == kErrorSuccess) return kErrorSuccess;
  return EnterByAnyCase(folder, names);
}

std::vector<std::string> NamesOf(std::u16string_view fullPath) {
  std::vector<std::string> names;
  std::size_t begin = 3;  // behind the drive
  while (begin < fullPath.size()) {
    const std::size_t end = std::min(fullPath.find(u'\\', begin), fullPath.size());
    names.push_back(ToUtf8(fullPath.substr(begin, end - begin)));
    begin = end + 1;
  }
  return names;
}

bool IsDrive(char16_t drive) { return drive == u'C' || drive == u'Z'; }

std::string FolderOf(char16_t drive) { return drive == u'C' ? DriveCFolder() : std::string("/"); }

// A machine without a drive C: is a new one, and gets it with what a new Windows has there.
Error OpenDrive(char16_t drive, FileDescriptor& folder) {
  if (!IsDrive(drive)) return kErrorPathNotFound;
  const std::string root = FolderOf(drive);
  folder = FileDescriptor(::open(root.c_str(), kFolderFlags));
  if (!folder.IsOpen() && errno == ENOENT && MakeDriveC()) {
    folder = FileDescriptor(::open(root.c_str(), kFolderFlags));
  }
  return folder.IsOpen() ? kErrorSuccess : FolderError(errno);
}

// In pieces, since the host takes no path of any length at once.
Error EnterAll(FileDescriptor& folder, const std::vector<std::string>& names) {
  std::vector<std::string> chunk;
  std::size_t bytes = 0;
  for (const std::string& name : names) {
    if (bytes + name.size() + 1 > kChunk) {
      if (const Error error = EnterChunk(folder, std::exchange(chunk, {})); error != 0) {
        return error;
      }
      bytes = 0;
    }
    chunk.push_back(name);
    bytes += name.size() + 1;
  }
  return EnterChunk(folder, chunk);
}

// At once where the path is short enough and all names are spelled as they are on disk; else from
// the drive on, which finds out what is wrong.
Error OpenBelowDrive(char16_t drive, const std::vector<std::string>& names,
                     FileDescriptor& folder) {
  if (!names.empty() && IsDrive(drive)) {
    std::string path = FolderOf(drive);
    for (const std::string& name : names) path.append(1, '/').append(name);
    if (path.size() <= kChunk) folder = FileDescriptor(::open(path.c_str(), kFolderFlags));
    if (folder.IsOpen()) return kErrorSuccess;
  }
  if (const Error error = OpenDrive(drive, folder); error != 0) return error;
  return EnterAll(folder, names);
}

}  // namespace

// Only what the operations here can meet; the rest, an I/O error first of all, is "a device
// attached to the system is not functioning".
Error ErrorOfErrno(int number) noexcept {
  struct Row {
    int number;
    Error error;
  };
  constexpr Row kRows[] = {
      {ENOENT, kErrorFileNotFound},      {ENOTDIR, kErrorPathNotFound},
      {EACCES, kErrorAccessDenied},      {EPERM, kErrorAccessDenied},
      {EISDIR, kErrorAccessDenied},      {EROFS, kErrorWriteProtect},
      {EMFILE, kErrorTooManyOpenFiles},  {ENFILE, kErrorTooManyOpenFiles},
      {EEXIST, kErrorFileExists},        {ENOTEMPTY, kErrorDirectoryNotEmpty},
      {ENOSPC, kErrorDiskFull},          {EDQUOT, kErrorDiskFull},
      {EFBIG, kErrorDiskFull},           {EBUSY, kErrorSharingViolation},
      {ETXTBSY, kErrorSharingViolation}, {ENAMETOOLONG, kErrorInvalidName},
      {ELOOP, kErrorCantResolveName},    {ENOMEM, kErrorNotEnoughMemory},
  };
  const Row* row = std::find_if(std::begin(kRows), std::end(kRows), [number](const Row& candidate) {
    return candidate.number == number;
  });
  return row == std::end(kRows) ? kErrorGenFailure : row->error;
}

Error OpenFolder(std::u16string_view fullPath, FileDescriptor& folder) {
  FileDescriptor opened;
  const Error error = OpenBelowDrive(fullPath[0], NamesOf(fullPath), opened);
  if (error != kErrorSuccess) return error;
  folder = std::move(opened);
  return kErrorSuccess;
}

Error Locate(const char16_t* path, Location& location) {
  const std::u16string_view text = path == nullptr ? std::u16string_view() : path;
  if (const Error error = FullPath(text, location.fullPath); error != 0) return error;
  std::vector<std::string> names = NamesOf(location.fullPath);
  location.isRoot = names.empty();
  std::string name = ".";
  if (!location.isRoot) {
    name = std::move(names.back());
    names.pop_back();
  }
  const Error error = OpenBelowDrive(location.fullPath[0], names, location.folder);
  if (error != kErrorSuccess) return error;
  location.endsInSeparator = !location.isRoot && location.fullPath.ends_with(u'\\');
  location.name = FindName(location.folder, name, location.status);
  return kErrorSuccess;
}

std::string HostPath(const Location& location) {
  char folder[PATH_MAX];
  const std::string link = "/proc/self/fd/" + std::to_string(location.folder.Get());
  const ssize_t length = ::readlink(link.c_str(), folder, sizeof folder);
  if (length <= 0 || length == sizeof folder) return {};
  std::string path(folder, static_cast<std::size_t>(length));
  if (location.isRoot) return path;
  if (path != "/") path += '/';
  return path + location.name;
}

}  // namespace winapi::host
