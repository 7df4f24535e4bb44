#include "winapi/host/file_rules.h"

#include <fcntl.h>

#include <algorithm>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/file_status.h"
#include "winapi/host/locate.h"
#include "winapi/host/reset.h"

namespace winapi::host {
namespace {

// A set of files, whatever they are called. Each is kept open, so that its number isn't given to
// another file when it goes.
class FileSet {
 public:
  [[nodiscard]] bool Contains(const struct stat& file) {
    const std::lock_guard lock(m_mutex);
    return Find(file) != m_files.end();
  }

  [[nodiscard]] bool IsEmpty() {
    const std::lock_guard lock(m_mutex);
    return m_files.empty();
  }

  void Add(const struct stat& file, FileDescriptor descriptor) {
    const std::lock_guard lock(m_mutex);
    if (Find(file) == m_files.end()) m_files.push_back({file, std::move(descriptor)});
  }

  void Clear() {
    const std::lock_guard lock(m_mutex);
    m_files.clear();
  }

  void Remove(const struct stat& file) {
    const std::lock_guard lock(m_mutex);
    if (const auto found = Find(file); found != m_files.end()) m_files.erase(found);
  }

 private:
  struct Entry {
    struct stat file;
    FileDescriptor descriptor;
  };

  std::vector<Entry>::iterator Find(const struct stat& file) {
    return std::find_if(m_files.begin(), m_files.end(),
                        [&file](const Entry& entry) { return IsSameFile(entry.file, file); });
  }

  std::mutex m_mutex;
  std::vector<Entry> m_files;
};

FileSet& LockedFiles() {
  static FileSet& files = *new FileSet;
  return files;
}

FileSet& ReadOnlyFolders() {
  static FileSet& folders = *new FileSet;
  return folders;
}

// Puts the file of that path into the set or takes it out of it.
// Of a link it is the link itself that is locked, as an operation sees it that doesn't follow it.
bool Change(FileSet& set, std::u16string_view path, bool contained) {
  Location location;
  FileStatus status;
  if (Locate(std::u16string(path).c_str(), location) != kErrorSuccess) return false;
  if (StatusOf(location, status) != kErrorSuccess) return false;
  if (!contained) {
    set.Remove(status.data);
    return true;
  }
  FileDescriptor descriptor(
      ::openat(location.folder.Get(), location.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (!descriptor.IsOpen()) return false;
  set.Add(status.data, std::move(descriptor));
  return true;
}

}  // namespace

bool IsLocked(const struct stat& file) { return LockedFiles().Contains(file); }

bool IsReadOnly(const FileDescriptor& folder) {
  if (ReadOnlyFolders().IsEmpty()) return false;  // as ever but in a test: the host isn't asked
  struct stat data = {};
  return ::fstat(folder.Get(), &data) == 0 && ReadOnlyFolders().Contains(data);
}

void ForgetFileRules() {
  LockedFiles().Clear();
  ReadOnlyFolders().Clear();
}

bool LockFile(std::u16string_view path) {
  const SeamMark mark;
  return Change(LockedFiles(), path, true);
}

bool UnlockFile(std::u16string_view path) {
  const SeamMark mark;
  return Change(LockedFiles(), path, false);
}

bool SetReadOnlyDirectory(std::u16string_view path, bool readOnly) {
  const SeamMark mark;
  return Change(ReadOnlyFolders(), path, readOnly);
}

}  // namespace winapi::host
