#include "winapi/host/plain_file.h"

#include <fcntl.h>

#include <cerrno>

#include "winapi/errors.h"
#include "winapi/host/open_files.h"

namespace winapi::host {

Error OpenPlainFile(const char16_t* path, PlainFile& file) {
  if (const Error error = Locate(path, file.location); error != 0) return error;
  if (file.location.endsInSeparator) return kErrorInvalidName;
  const int folder = file.location.folder.Get();
  const char* const name = file.location.name.c_str();
  if (::fstatat(folder, name, &file.data, 0) != 0) return ErrorOfErrno(errno);
  // Not opened to find out: the open of a pipe would wait for its other end.
  if (!S_ISREG(file.data.st_mode)) return kErrorAccessDenied;
  if (const Error error = ErrorOfReading(file.data); error != 0) return error;
  file.descriptor = FileDescriptor(::openat(folder, name, O_RDONLY | O_CLOEXEC));
  return file.descriptor.IsOpen() ? kErrorSuccess : ErrorOfErrno(errno);
}

}  // namespace winapi::host
