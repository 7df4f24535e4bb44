#include "winapi/host/registry_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/file_content.h"
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

FileDescriptor Open(const std::string& path, int flags) {
  int file = -1;
  do {
    file = ::open(path.c_str(), flags | O_CLOEXEC, 0666);
  } while (file < 0 && errno == EINTR);
  return FileDescriptor(file);
}

// The file itself where the path is a link, or a chain of them, whether it is there or not.
std::filesystem::path BehindLinks(std::filesystem::path path) {
  constexpr int kMostLinks = 40;  // the host's own limit
  std::error_code error;
  for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(path, error); ++i) {
    path = path.parent_path() / std::filesystem::read_symlink(path, error);
  }
  return path;
}

// The new file keeps the old one's access rights.
void CopyMode(const std::string& path, int file) {
  struct stat status = {};
  if (::stat(path.c_str(), &status) == 0) (void)::fchmod(file, status.st_mode & 07777);
}

bool LockFile(const FileDescriptor& file) {
  if (!file.IsOpen()) return false;
  int result = ::flock(file.Get(), LOCK_EX);
  while (result != 0 && errno == EINTR) result = ::flock(file.Get(), LOCK_EX);
  return result == 0;
}

// Whether the file still lies at the path.
bool LiesAt(const FileDescriptor& file, const std::string& path) {
  struct stat own = {};
  struct stat there = {};
  return ::fstat(file.Get(), &own) == 0 && ::stat(path.c_str(), &there) == 0 &&
         own.st_dev == there.st_dev && own.st_ino == there.st_ino;
}

// The file for the new content, empty, and this process's alone for as long as it is open: two
// machines may share the registry's file by links. Not open on failure.
FileDescriptor OpenAlone(const std::string& path) {
  for (;;) {
    FileDescriptor file = Open(path, O_WRONLY | O_CREAT);
    if (!file.IsOpen()) return file;
    (void)LockFile(file);  // the folder's file system may know no locks
    // Who had the lock has renamed what it was on.
    if (!LiesAt(file, path)) continue;
    return ::ftruncate(file.Get(), 0) == 0 ? std::move(file) : FileDescriptor();
  }
}

bool WriteNewFile(const FileDescriptor& file, const std::string& oldPath, const RegistryTree& tree,
                  bool syncs) {
  if (!file.IsOpen()) return false;
  CopyMode(oldPath, file.Get());
  const auto write = [&file](std::string_view portion) { return WriteAll(file, portion); };
  return WriteRegFile(tree, write) && (!syncs || ::fsync(file.Get()) == 0);
}

// So that the renaming itself survives a power cut. Some file systems can't; the content is safe
// anyway.
void SyncFolder(const std::string& path) {
  const FileDescriptor folder = Open(path, O_RDONLY | O_DIRECTORY);
  if (folder.IsOpen()) (void)::fsync(folder.Get());
}

constexpr const char* kWithoutTheChanges =
    ": the file stays as it was, without the last changes of the registry";

bool ReplaceFile(const std::string& path, const RegistryTree& tree, bool syncs) {
  const std::filesystem::path target = BehindLinks(path);
  const std::string temporary = target.string() + ".new";
  const FileDescriptor file = OpenAlone(temporary);
  if (!WriteNewFile(file, target, tree, syncs) ||
      ::rename(temporary.c_str(), target.c_str()) != 0) {
    Tell(path, std::string(std::strerror(errno)) + kWithoutTheChanges);
    if (file.IsOpen()) (void)::unlink(temporary.c_str());
    return false;
  }
  if (syncs) SyncFolder(target.parent_path());
  return true;
}

// Who has changes that can't be kept hasn't done what its status says. Nothing but the status is
// different then: this runs behind everything else of the program (see `exitWriter`), and the
// streams are written out here.
void FlushAtExit(int status, void* /*unused*/) {
  const SeamMark mark;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  if (!store.MustBeWritten() || store.Flush()) return;
  (void)std::fflush(nullptr);
  ::_exit((status & 0xFF) == 0 ? EXIT_FAILURE : status);
}

// Registered before the static objects of the program come into being, so it runs behind their
// end: what they still change is kept, and what they still write is written when it ends the
// process. 101 is the first priority that a program may use; those of the tests' machine have it.
struct ExitWriter {
  ExitWriter() { (void)::on_exit(FlushAtExit, nullptr); }
};
[[maybe_unused]] const ExitWriter exitWriter __attribute__((init_priority(102)));

}  // namespace

RegistryStore& RegistryStore::Instance() {
  static RegistryStore& store = *new RegistryStore;
  return store;
}

Error RegistryStore::Load() {
  if (m_state == State::kUnread) {
    m_state = TakeLock() && ReadFile() ? State::kRead : State::kDamaged;
    m_owner = ::getpid();
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
  if (LockFile(m_lockFile)) return true;
  TellError(path);
  return false;
}

bool RegistryStore::ReadFile() {
  const std::string path = RegistryFilePath();
  const FileDescriptor file = Open(path, O_RDONLY);
  if (!file.IsOpen() && errno == ENOENT) return true;
  std::string bytes;
  if (!file.IsOpen() || !ReadAll(file, bytes)) {
    TellError(path);
    return false;
  }
  RegFileError error;
  std::vector<RegFileError> warnings;
  const bool isRead = ParseRegFile(std::move(bytes), m_tree, error, &warnings);
  if (!isRead) warnings.push_back(std::move(error));
  for (const RegFileError& told : warnings) {
    Tell(path + ":" + std::to_string(told.line), told.reason);
  }
  return isRead;
}

bool RegistryStore::MustBeWritten() const {
  return m_state == State::kRead && m_changed && m_owner == ::getpid();
}

bool RegistryStore::Flush() {
  if (!MustBeWritten()) return m_state != State::kDamaged;
  if (!ReplaceFile(RegistryFilePath(), m_tree, m_syncs)) return false;
  m_changed = false;
  return true;
}

void RegistryStore::Forget() {
  m_tree = RegistryTree();
  m_state = State::kUnread;
  m_changed = false;
  m_lockFile = FileDescriptor();
}

}  // namespace winapi::host
