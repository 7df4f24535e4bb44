#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/host/call.h"
#include "winapi/host/file_content.h"
#include "winapi/host/file_descriptor.h"
#include "winapi/host/file_rules.h"
#include "winapi/host/file_status.h"
#include "winapi/host/last_error.h"
#include "winapi/host/locate.h"
#include "winapi/host/open_files.h"
#include "winapi/host/plain_file.h"

namespace winapi {
namespace {

using host::FileDescriptor;

// What speaks against writing over the file at the target.
Error CheckOldTarget(const struct stat& target, const struct stat& source, bool failIfExists) {
  if (host::IsGoing(target)) return kErrorAccessDenied;
  if (failIfExists) return kErrorFileExists;
  if (!S_ISREG(target.st_mode)) return kErrorAccessDenied;
  if (host::IsSameFile(target, source)) return kErrorSharingViolation;
  if (const Error error = host::ErrorOfChanging(target); error != 0) return error;
  return (target.st_mode & S_IWUSR) == 0 ? kErrorAccessDenied : kErrorSuccess;
}

Error CheckTarget(const host::Location& location, const struct stat& source, bool failIfExists) {
  if (location.endsInSeparator) return kErrorInvalidName;
  struct stat target = {};
  if (::fstatat(location.folder.Get(), location.name.c_str(), &target, 0) == 0) {
    return CheckOldTarget(target, source, failIfExists);
  }
  if (errno != ENOENT) return host::ErrorOfErrno(errno);
  return host::IsReadOnly(location.folder) ? kErrorAccessDenied : kErrorSuccess;
}

Error CopyContent(const FileDescriptor& from, const FileDescriptor& to) {
  std::array<char, 65536> buffer;
  while (true) {
    const ssize_t bytes = ::read(from.Get(), buffer.data(), buffer.size());
    if (bytes == 0) return kErrorSuccess;
    if (bytes < 0 && errno == EINTR) continue;
    if (bytes < 0) return host::ErrorOfErrno(errno);
    if (!host::WriteAll(to, {buffer.data(), static_cast<std::size_t>(bytes)})) {
      return host::ErrorOfErrno(errno);
    }
  }
}

// The copy has the attributes and the time of the last write of its source.
Error CopyTraits(const struct stat& source, const FileDescriptor& to) {
  struct stat target = {};
  if (::fstat(to.Get(), &target) != 0) return host::ErrorOfErrno(errno);
  if ((source.st_mode & S_IWUSR) == 0) {
    const mode_t readOnly = target.st_mode & ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH);
    if (::fchmod(to.Get(), readOnly & 07777) != 0) return host::ErrorOfErrno(errno);
  }
  const std::array<timespec, 2> times = {source.st_atim, source.st_mtim};
  return ::futimens(to.Get(), times.data()) == 0 ? kErrorSuccess : host::ErrorOfErrno(errno);
}

// The source is opened before the target is looked at, so a missing source is told first, as on
// Windows. The target is written in place: a reader of the old file sees it change, also as on
// Windows.
Error Copy(const char16_t* from, const char16_t* to, bool failIfExists) {
  host::PlainFile source;
  host::Location location;
  if (const Error error = host::OpenPlainFile(from, source); error != 0) return error;
  if (const Error error = host::Locate(to, location); error != 0) return error;
  if (const Error error = CheckTarget(location, source.data, failIfExists); error != 0) {
    return error;
  }
  const FileDescriptor target(::openat(location.folder.Get(), location.name.c_str(),
                                       O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
  if (!target.IsOpen()) return host::ErrorOfErrno(errno);
  Error error = CopyContent(source.descriptor, target);
  if (error == kErrorSuccess) error = CopyTraits(source.data, target);
  // Half a copy doesn't stay.
  if (error != kErrorSuccess) (void)::unlinkat(location.folder.Get(), location.name.c_str(), 0);
  return error;
}

}  // namespace

Bool CopyFileW(const char16_t* from, const char16_t* to, Bool failIfExists) noexcept {
  host::Call call("CopyFileW");
  call.Argument("from", from).Argument("to", to);
  call.Argument("failIfExists", static_cast<Dword>(failIfExists));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const Error error = Copy(from, to, failIfExists != 0);
  return error == 0 ? 1 : host::FailWith(error, Bool{0});
}

}  // namespace winapi
