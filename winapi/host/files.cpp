#include "winapi/files.h"

#include <fcntl.h>

#include <cerrno>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/file_descriptor.h"
#include "winapi/host/file_rules.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/last_error.h"
#include "winapi/host/locate.h"
#include "winapi/host/paths.h"

namespace winapi {
namespace {

class OpenFile final : public host::KernelObject {
 public:
  explicit OpenFile(host::FileDescriptor descriptor) : m_descriptor(std::move(descriptor)) {}

 private:
  host::FileDescriptor m_descriptor;
};

// The mapping drops a separator at the end, and a file of that name could be opened.
bool NamesFolder(std::u16string_view path) { return path.ends_with(u'\\') || path.ends_with(u'/'); }

bool OpenPath(std::ofstream& stream, const char16_t* path) {
  std::string hostPath;
  if (path == nullptr || NamesFolder(path)) return false;
  if (host::HostPath(path, hostPath) != kErrorSuccess) return false;
  stream.open(hostPath, std::ios::out | std::ios::binary | std::ios::trunc);
  return stream.is_open();
}

Error CreateNew(const char16_t* path, host::FileDescriptor& file) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (location.endsInSeparator && !location.isRoot) return kErrorInvalidName;
  if (host::StatusOf(location.folder, location.name, status) == kErrorSuccess) {
    return kErrorFileExists;
  }
  if (host::IsReadOnly(location.folder)) return kErrorAccessDenied;
  file = host::FileDescriptor(::openat(location.folder.Get(), location.name.c_str(),
                                       O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
  return file.IsOpen() ? kErrorSuccess : host::ErrorOfErrno(errno);
}

Error Delete(const char16_t* path) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (location.endsInSeparator && !location.isRoot) return kErrorInvalidName;
  if (const Error error = host::StatusOf(location.folder, location.name, status); error != 0) {
    return error;
  }
  if (status.isDirectory) return kErrorAccessDenied;
  if (host::IsLocked(status.data)) return kErrorSharingViolation;
  const bool readOnly = (host::AttributesOf(status) & kFileAttributeReadOnly) != 0;
  if (readOnly || host::IsReadOnly(location.folder)) return kErrorAccessDenied;
  return ::unlinkat(location.folder.Get(), location.name.c_str(), 0) == 0
             ? kErrorSuccess
             : host::ErrorOfErrno(errno);
}

Error FindAttributes(const char16_t* path, Dword& attributes) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (const Error error = host::StatusOf(location.folder, location.name, status); error != 0) {
    return error;
  }
  if (location.endsInSeparator && !status.isDirectory) return kErrorInvalidName;
  attributes = host::AttributesOf(status);
  return kErrorSuccess;
}

}  // namespace

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
  if (const Error error = CreateNew(path, file); error != 0) {
    return host::FailWith(error, InvalidHandleValue());
  }
  return host::OpenHandle(std::make_shared<OpenFile>(std::move(file)));
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
