#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/host/access_lists.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/file_rules.h"
#include "winapi/host/file_status.h"
#include "winapi/host/last_error.h"
#include "winapi/host/locate.h"
#include "winapi/host/open_files.h"
#include "winapi/host/paths.h"
#include "winapi/host/reset.h"
#include "winapi/host/text.h"

namespace winapi {
namespace {

using MaybeDescriptor = std::optional<host::CapturedDescriptor>;

// Room for a file name of the old form below the directory has to stay: MAX_PATH less 12.
constexpr std::size_t kMaxDirectoryPath = 248;

// The descriptors of the directories made, by full path in upper case.
struct Descriptors {
  std::mutex mutex;
  std::map<std::u16string, host::CapturedDescriptor> byPath;
};

Descriptors& TheDescriptors() {
  static Descriptors& descriptors = *new Descriptors;
  return descriptors;
}

std::u16string DescriptorKey(std::u16string_view fullPath) {
  if (fullPath.ends_with(u'\\')) fullPath.remove_suffix(1);
  return host::Upcase(fullPath);
}

void KeepDescriptor(std::u16string_view fullPath, MaybeDescriptor descriptor) {
  Descriptors& all = TheDescriptors();
  const std::lock_guard lock(all.mutex);
  const std::u16string key = DescriptorKey(fullPath);
  all.byPath.erase(key);
  if (descriptor) all.byPath.emplace(key, std::move(*descriptor));
}

// mkdir alone would do, but for the order: the host's system would tell "read-only" first, Windows
// tells that the name is taken.
Error MakeDirectory(const host::Location& location, mode_t mode) {
  host::FileStatus status;
  if (location.isRoot) return kErrorAccessDenied;
  if (host::StatusOf(location, status) == kErrorSuccess) {
    return host::IsGoing(status.data) ? kErrorAccessDenied : kErrorAlreadyExists;
  }
  if (host::IsReadOnly(location.folder)) return kErrorAccessDenied;
  if (::mkdirat(location.folder.Get(), location.name.c_str(), mode) == 0) return kErrorSuccess;
  return errno == EEXIST ? kErrorAlreadyExists : host::ErrorOfErrno(errno);
}

// A directory with an access list isn't open to others: that is all the host makes of the list.
// Windows enforces it, entry by entry; here a test reads it back.
Error Create(const char16_t* path, const SecurityAttributes* security) {
  MaybeDescriptor descriptor;
  if (security != nullptr && security->nLength != kSecurityAttributesSize) {
    return kErrorInvalidParameter;
  }
  if (security != nullptr && security->lpSecurityDescriptor != nullptr) {
    const Error error = host::CaptureDescriptor(security->lpSecurityDescriptor, descriptor);
    if (error != kErrorSuccess) return error;
  }
  if (path != nullptr && host::ReachesLimit(path, kMaxDirectoryPath)) return kErrorFilenameTooLong;
  host::Location location;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  const Error error = MakeDirectory(location, descriptor ? 0700 : 0777);
  if (error == kErrorSuccess) KeepDescriptor(location.fullPath, std::move(descriptor));
  return error;
}

// Windows holds the current directory open. By number, since it may be reached by another path.
bool IsCurrentDirectory(const struct stat& directory) {
  struct stat current = {};
  return ::stat(".", &current) == 0 && host::IsSameFile(current, directory);
}

// "Not empty" comes from the host's own system, last of all. Files that are deleted but still open
// are among what makes a directory not empty.
Error Remove(const char16_t* path) {
  host::Location location;
  host::FileStatus status;
  if (const Error error = host::Locate(path, location); error != 0) return error;
  if (const Error error = host::StatusOf(location, status); error != 0) return error;
  if (!status.isDirectory) return kErrorNotADirectory;
  if (location.isRoot || host::IsReadOnly(location.folder)) return kErrorAccessDenied;
  if (IsCurrentDirectory(status.data)) return kErrorSharingViolation;
  if (const Error error = host::ErrorOfChanging(status.data); error != 0) return error;
  // Of a link only the link goes.
  const int flags = status.isLink ? 0 : AT_REMOVEDIR;
  if (::unlinkat(location.folder.Get(), location.name.c_str(), flags) == 0) return kErrorSuccess;
  return errno == EEXIST ? kErrorDirectoryNotEmpty : host::ErrorOfErrno(errno);
}

}  // namespace

Bool CreateDirectoryW(const char16_t* path, const SecurityAttributes* security) noexcept {
  host::Call call("CreateDirectoryW");
  call.Argument("path", path).Argument("security", security);
  if (security != nullptr) {
    call.Argument("security.nLength", security->nLength);
    call.Argument("security.bInheritHandle", static_cast<Dword>(security->bInheritHandle));
  }
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const Error error = Create(path, security);
  return error == 0 ? 1 : host::FailWith(error, Bool{0});
}

Bool RemoveDirectoryW(const char16_t* path) noexcept {
  host::Call call("RemoveDirectoryW");
  call.Argument("path", path);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const Error error = Remove(path);
  return error == 0 ? 1 : host::FailWith(error, Bool{0});
}

void host::ForgetDescriptors() {
  Descriptors& all = TheDescriptors();
  const std::lock_guard lock(all.mutex);
  all.byPath.clear();
}

std::optional<host::CapturedDescriptor> host::DescriptorOf(std::u16string_view path) {
  const SeamMark mark;
  std::u16string fullPath;
  if (FullPath(path, fullPath) != kErrorSuccess) return std::nullopt;
  Descriptors& all = TheDescriptors();
  const std::lock_guard lock(all.mutex);
  const auto found = all.byPath.find(DescriptorKey(fullPath));
  return found == all.byPath.end() ? std::nullopt : std::optional(found->second);
}

}  // namespace winapi
