#include "winapi/host/file_content.h"

#include <unistd.h>

#include <cerrno>

namespace winapi::host {

bool ReadAll(const FileDescriptor& file, std::string& bytes) {
  char buffer[65536];
  for (;;) {
    const ssize_t count = ::read(file.Get(), buffer, sizeof buffer);
    if (count == 0) return true;
    if (count > 0) {
      bytes.append(buffer, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
}

bool WriteAll(const FileDescriptor& file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file.Get(), bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

}  // namespace winapi::host
