#include "winapi/host/locate.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/files.h"
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

bool Exists(const FileDescriptor& folder, const std::string& name) {
  struct stat data = {};
  return ::fstatat(folder.Get(), name.c_str(), &data, AT_SYMLINK_NOFOLLOW) == 0;
}

// The name of the file in `folder` that `name` means: its own, else one that differs in case only.
std::string FindName(const FileDescriptor& folder, const std::string& name) {
  if (Exists(folder, name)) return name;
  FileDescriptor readable = OpenForReading(folder);
  if (!readable.IsOpen()) return name;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::fdopendir(readable.Release()), ::closedir);
  if (stream == nullptr) return name;
  const std::u16string wanted = ToUtf16(name);
  while (const dirent* entry = ::readdir(stream.get())) {
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

Error EnterByAnyCase(FileDescriptor& folder, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (const Error error = Enter(folder, FindName(folder, name)); error != 0) return error;
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

Error OpenDrive(char16_t drive, FileDescriptor& folder) {
  if (drive != u'C' && drive != u'Z') return kErrorPathNotFound;
  const std::string root = drive == u'C' ? DriveCFolder() : std::string("/");
  folder = FileDescriptor(::open(root.c_str(), kFolderFlags));
  if (!folder.IsOpen() && errno == ENOENT && MakeFolders(root)) {
    folder = FileDescriptor(::open(root.c_str(), kFolderFlags));
  }
  return folder.IsOpen() ? kErrorSuccess : FolderError(errno);
}

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

}  // namespace

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
  if (const Error error = OpenDrive(fullPath[0], opened); error != 0) return error;
  if (const Error error = EnterAll(opened, NamesOf(fullPath)); error != 0) return error;
  folder = std::move(opened);
  return kErrorSuccess;
}

FileDescriptor OpenForReading(const FileDescriptor& folder) {
  return FileDescriptor(::openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

Error Locate(const char16_t* path, Location& location) {
  const std::u16string_view text = path == nullptr ? std::u16string_view() : path;
  if (const Error error = FullPath(text, location.fullPath); error != 0) return error;
  location.endsInSeparator = text.ends_with(u'\\') || text.ends_with(u'/');
  if (const Error error = OpenDrive(location.fullPath[0], location.folder); error != 0) {
    return error;
  }
  std::vector<std::string> names = NamesOf(location.fullPath);
  location.isRoot = names.empty();
  location.name = std::string(".");
  if (location.isRoot) return kErrorSuccess;
  const std::string name = std::move(names.back());
  names.pop_back();
  if (const Error error = EnterAll(location.folder, names); error != 0) return error;
  location.name = FindName(location.folder, name);
  return kErrorSuccess;
}

Error StatusOf(const FileDescriptor& folder, const std::string& name, FileStatus& status) {
  FileStatus found;
  if (::fstatat(folder.Get(), name.c_str(), &found.data, AT_SYMLINK_NOFOLLOW) != 0) {
    return ErrorOfErrno(errno);
  }
  found.isLink = S_ISLNK(found.data.st_mode);
  found.isDirectory = S_ISDIR(found.data.st_mode);
  if (found.isLink) {
    struct stat target = {};
    found.isDirectory =
        ::fstatat(folder.Get(), name.c_str(), &target, 0) == 0 && S_ISDIR(target.st_mode);
  }
  status = found;
  return kErrorSuccess;
}

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
