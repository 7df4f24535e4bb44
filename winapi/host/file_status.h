// What the host's file system knows of a file, as Windows tells it.
#ifndef WINAPI_HOST_FILE_STATUS_H_
#define WINAPI_HOST_FILE_STATUS_H_

#include <sys/stat.h>

#include <string>

#include "winapi/host/locate.h"
#include "winapi/types.h"

namespace winapi::host {

// Of a link, not of what it leads to, but for `isDirectory`.
struct FileStatus {
  struct stat data = {};
  bool isLink = false;
  bool isDirectory = false;  // it, or what it leads to
};

// The file at that place, as it was when the place was looked for, or `name` in the folder of that
// descriptor. 2 where there is none.
[[nodiscard]] Error StatusOf(const Location& location, FileStatus& status);
[[nodiscard]] Error StatusOf(int folder, const std::string& name, FileStatus& status);

// FILE_ATTRIBUTE_...; a file that its owner can't write is read-only. A directory never is: the
// write bit of one means something else on Windows, and nothing there obeys it.
[[nodiscard]] Dword AttributesOf(const FileStatus& status) noexcept;

// Which file it is, whatever it is called. Good for as long as the file is there: the number of one
// that has gone may be given to another.
[[nodiscard]] inline bool IsSameFile(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

}  // namespace winapi::host

#endif  // WINAPI_HOST_FILE_STATUS_H_
