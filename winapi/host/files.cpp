#include "winapi/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <utility>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/file_descriptor.h"
#include "winapi/host/file_rules.h"
#include "winapi/host/file_status.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/last_error.h"
#include "winapi/host/locate.h"
#include "winapi/host/open_files.h"

namespace winapi {
namespace {

// What a handle of CreateFileW stands for.
class FileHandle final : public host::KernelObject {
 public:
  FileHandle(host::FileDescriptor descriptor, const struct stat& file)
      : m_descriptor(std::move(descriptor)), m_hold(file, host::OpenFile::Sharing::kEverything) {}

 private:
  host::FileDescriptor m_descriptor;
  host::OpenFile m_hold;
};

// By the host's own path, since a stream takes no descriptor.
bool OpenPath(std::ofstream& stream, const char16_t* path) {
  host::Location location;
  host::FileStatus status;
  if (host::Locate(path, location) != kErrorSuccess || location.endsInSeparator) return false;
  if (host::StatusOf(location, status) == kErrorSuccess &&
      host::ErrorOfChanging(status.data) != kErrorSuccess) {
    return false;
  }
  stream.open(host::HostPath(location), std::ios::out | std::ios::binary | std::ios::trunc);
  return stream.is_open();
}

// The name is looked for first, in any spelling: the host's own exclusive open would take "File"
// beside "file".
Error CreateNew(const char16_t* path, host::FileDescriptor& file, struct stat& data) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (location.endsInSeparator) return kErrorInvalidName;
  if (host::StatusOf(location, status) == kErrorSuccess) {
    return host::IsGoing(status.data) ? kErrorAccessDenied : kErrorFileExists;
  }
  if (host::IsReadOnly(location.folder)) return kErrorAccessDenied;
  file = host::FileDescriptor(::openat(location.folder.Get(), location.name.c_str(),
                                       O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  return file.IsOpen() && ::fstat(file.Get(), &data) == 0 ? kErrorSuccess
                                                          : host::ErrorOfErrno(errno);
}

// A link to a directory is refused as a directory, though only the link would go: so does Windows.
Error Delete(const char16_t* path) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (location.endsInSeparator) return kErrorInvalidName;
  if (const Error error = host::StatusOf(location, status); error != 0) return error;
  if (status.isDirectory) return kErrorAccessDenied;
  if (const Error error = host::ErrorOfChanging(status.data); error != 0) return error;
  const bool readOnly = (host::AttributesOf(status) & kFileAttributeReadOnly) != 0;
  if (readOnly || host::IsReadOnly(location.folder)) return kErrorAccessDenied;
  return host::DeleteOpenFile(location, status.data);
}

Error FindAttributes(const char16_t* path, Dword& attributes) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (const Error error = host::StatusOf(location, status); error != 0) return error;
  if (location.endsInSeparator && !status.isDirectory) return kErrorInvalidName;
  if (host::IsGoing(status.data)) return kErrorAccessDenied;
  attributes = host::AttributesOf(status);
  return kErrorSuccess;
}

}  // namespace

// A stream tells nothing of why, so the error of a failed open gets lost here.
void OpenOutputStream(std::ofstream& stream, const char16_t* path) {
  host::Call call("OpenOutputStream");
  call.Argument("path", path);
  if (call.Fault() || !OpenPath(stream, path)) stream.setstate(std::ios::failbit);
}

Handle CreateFileW(const char16_t* path, Dword access, Dword share,
                   const SecurityAttributes* security, Dword disposition, Dword flags,
                   Handle templateFile) noexcept {
  host::Call call("CreateFileW");
  call.Argument("path", path).Mask("access", access).Mask("share", share);
  call.Argument("security", security).Argument("disposition", disposition).Mask("flags", flags);
  call.Argument("templateFile", templateFile);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, InvalidHandleValue());
  if (access != 0 || share != 0 || security != nullptr || disposition != kCreateNew || flags != 0 ||
      templateFile != nullptr) {
    return host::FailWith(kErrorInvalidParameter, InvalidHandleValue());
  }
  host::FileDescriptor file;
  struct stat data = {};
  if (const Error error = CreateNew(path, file, data); error != 0) {
    return host::FailWith(error, InvalidHandleValue());
  }
  return host::OpenHandle(std::make_shared<FileHandle>(std::move(file), data));
}

Bool DeleteFileW(const char16_t* path) noexcept {
  host::Call call("DeleteFileW");
  call.Argument("path", path);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const Error error = Delete(path);
  return error == 0 ? 1 : host::FailWith(error, Bool{0});
}

Dword GetFileAttributesW(const char16_t* path) noexcept {
  host::Call call("GetFileAttributesW");
  call.Argument("path", path);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, kInvalidFileAttributes);
  Dword attributes = 0;
  const Error error = FindAttributes(path, attributes);
  return error == 0 ? attributes : host::FailWith(error, kInvalidFileAttributes);
}

}  // namespace winapi
