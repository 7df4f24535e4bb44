// The entries of a folder, one after the other.
#ifndef WINAPI_HOST_FOLDER_STREAM_H_
#define WINAPI_HOST_FOLDER_STREAM_H_

#include <dirent.h>
#include <fcntl.h>

#include <memory>

#include "winapi/host/file_descriptor.h"

namespace winapi::host {

class FolderStream {
 public:
  FolderStream() = default;
  // `folder` may be one that is good for openat only. Not open on a failure, with errno set.
  explicit FolderStream(const FileDescriptor& folder) {
    FileDescriptor readable(::openat(folder.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!readable.IsOpen()) return;
    m_stream.reset(::fdopendir(readable.Get()));
    if (m_stream != nullptr) (void)readable.Release();  // the stream's now
  }

  [[nodiscard]] bool IsOpen() const { return m_stream != nullptr; }
  void Close() { m_stream.reset(); }

  // Null at the end (errno 0) and where reading fails (errno set). Good until the next call.
  [[nodiscard]] const dirent* Next() {
    errno = 0;
    return ::readdir(m_stream.get());
  }
  // The stream's own descriptor, for openat and its like; the stream keeps it.
  [[nodiscard]] int Descriptor() const { return ::dirfd(m_stream.get()); }

 private:
  struct CloseStream {
    void operator()(DIR* stream) const { ::closedir(stream); }
  };

  std::unique_ptr<DIR, CloseStream> m_stream;
};

}  // namespace winapi::host

#endif  // WINAPI_HOST_FOLDER_STREAM_H_
