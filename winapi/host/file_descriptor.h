// An owned file descriptor of the host.
#ifndef WINAPI_HOST_FILE_DESCRIPTOR_H_
#define WINAPI_HOST_FILE_DESCRIPTOR_H_

#include <unistd.h>

#include <cerrno>
#include <utility>

namespace winapi::host {

class FileDescriptor {
 public:
  FileDescriptor() = default;
  // A negative number, as the system calls give it for a failure, is none.
  explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
  FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(other.Release()) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    std::swap(m_descriptor, other.m_descriptor);
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  // Leaves errno alone, so that a caller can still tell why what it did with the file failed.
  ~FileDescriptor() {
    const int saved = errno;
    if (IsOpen()) ::close(m_descriptor);
    errno = saved;
  }

  [[nodiscard]] bool IsOpen() const { return m_descriptor >= 0; }
  [[nodiscard]] int Get() const { return m_descriptor; }
  // Hands the descriptor over to the caller.
  [[nodiscard]] int Release() { return std::exchange(m_descriptor, -1); }

 private:
  int m_descriptor = -1;
};

}  // namespace winapi::host

#endif  // WINAPI_HOST_FILE_DESCRIPTOR_H_
