// Opening a file that is there, as Windows' own operations do that read one.
#ifndef WINAPI_HOST_PLAIN_FILE_H_
#define WINAPI_HOST_PLAIN_FILE_H_

#include <sys/stat.h>

#include "winapi/host/file_descriptor.h"
#include "winapi/host/locate.h"
#include "winapi/types.h"

namespace winapi::host {

struct PlainFile {
  Location location;
  FileDescriptor descriptor;  // for reading
  struct stat data = {};      // of the file itself, links followed
};

// The errors of Locate, 2 for a missing file, 5 for what is no plain file, a folder first of all,
// 123 for a path that ends in a separator, 32 for a file that a test has locked.
[[nodiscard]] Error OpenPlainFile(const char16_t* path, PlainFile& file);

}  // namespace winapi::host

#endif  // WINAPI_HOST_PLAIN_FILE_H_
