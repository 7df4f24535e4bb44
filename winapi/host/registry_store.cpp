#include "winapi/host/registry_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/reg_file_reader.h"
#include "winapi/host/reg_file_writer.h"
#include "winapi/host/root.h"

namespace winapi::host {
namespace {

void Tell(const std::string& path, const std::string& reason) {
  (void)std::fprintf(stderr, "zum-host: %s: %s\n", path.c_str(), reason.c_str());
}

// For the failure of the last system call.
void TellError(const std::string& path) { Tell(path, std::strerror(errno)); }

// A file descriptor that is closed on all ways out, keeping errno.
class Descriptor {
 public:
  explicit Descriptor(int number) : m_number(number) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    const int saved = errno;
    if (m_number >= 0) (void)::close(m_number);
    errno = saved;
  }
  [[nodiscard]] int Number() const { return m_number; }
  [[nodiscard]] bool IsOpen() const { return m_number >= 0; }

 private:
  int m_number;
};

int Open(const std::string& path, int flags) {
  int file = -1;
  do {
    file = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
  } while (file < 0 && errno == EINTR);
  return file;
}

bool ReadAll(int file, std::string& bytes) {
  char buffer[65536];
  for (;;) {
    const ssize_t count = ::read(file, buffer, sizeof buffer);
    if (count == 0) return true;
    if (count > 0) {
      bytes.append(buffer, static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
}

bool WriteAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::write(file, bytes.data(), bytes.size());
    if (count >= 0) {
      bytes.remove_prefix(static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      return false;
    }
  }
  return true;
}

// The new file keeps the old one's access rights.
void CopyMode(const std::string& path, int file) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0) (void)::fchmod(file, status.st_mode & 07777);
}

bool WriteNewFile(const std::string& path, const std::string& oldPath, std::string_view bytes) {
  const Descriptor file(Open(path, O_WRONLY | O_CREAT | O_TRUNC));
  if (!file.IsOpen()) return false;
  CopyMode(oldPath, file.Number());
  return WriteAll(file.Number(), bytes) && ::fsync(file.Number()) == 0;
}

// So that the renaming itself survives a power cut. Some file systems can't; the content is safe
// anyway.
void SyncFolder(const std::string& path) {
  const Descriptor folder(Open(path, O_RDONLY | O_DIRECTORY));
  if (folder.IsOpen()) (void)::fsync(folder.Number());
}

bool ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::string temporary = path + ".new";
  if (!WriteNewFile(temporary, path, bytes) || ::rename(temporary.c_str(), path.c_str()) != 0) {
    TellError(path);
    (void)::unlink(temporary.c_str());
    return false;
  }
  SyncFolder(Root());
  return true;
}

void FlushAtExit() {
  const SeamMark mark;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  (void)store.Flush();  // told already; the exit status is the program's own
}

}  // namespace

RegistryStore& RegistryStore::Instance() {
  static RegistryStore& store = *new RegistryStore;
  return store;
}

Error RegistryStore::Load() {
  if (m_state == State::kUnread) {
    m_state = TakeLock() && ReadFile() ? State::kRead : State::kDamaged;
    m_owner = ::getpid();
    if (!m_writesAtExit) m_writesAtExit = std::atexit(FlushAtExit) == 0;
  }
  return m_state == State::kRead ? kErrorSuccess : kErrorBadDatabase;
}

bool RegistryStore::TakeLock() {
  const std::string path = RegistryLockPath();
  if (!MakeFolders(Root())) {
    Tell(Root(), "the folder can't be made");
    return false;
  }
  m_lockFile = Open(path, O_RDWR | O_CREAT);
  int result = m_lockFile < 0 ? -1 : ::flock(m_lockFile, LOCK_EX);
  while (result != 0 && errno == EINTR) result = ::flock(m_lockFile, LOCK_EX);
  if (result != 0) TellError(path);
  return result == 0;
}

bool RegistryStore::ReadFile() {
  const std::string path = RegistryFilePath();
  const Descriptor file(Open(path, O_RDONLY));
  if (!file.IsOpen() && errno == ENOENT) return true;
  std::string bytes;
  if (!file.IsOpen() || !ReadAll(file.Number(), bytes)) {
    TellError(path);
    return false;
  }
  RegFileError error;
  if (ParseRegFile(bytes, m_tree, error)) return true;
  Tell(path + ":" + std::to_string(error.line), error.reason);
  return false;
}

bool RegistryStore::Flush() {
  if (m_state != State::kRead || !m_changed || m_owner != ::getpid())
    return m_state != State::kDamaged;
  if (!ReplaceFile(RegistryFilePath(), WriteRegFile(m_tree))) return false;
  m_changed = false;
  return true;
}

void RegistryStore::Forget() {
  m_tree = RegistryTree();
  m_state = State::kUnread;
  m_changed = false;
  if (m_lockFile >= 0) (void)::close(m_lockFile);
  m_lockFile = -1;
}

}  // namespace winapi::host
