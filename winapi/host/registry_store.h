// The registry's file behind the tree in memory.
//
// At the first use the lock file is taken, which makes a second process wait until this one ends,
// and the file is read; no file is an empty registry. When something changed, the file is written
// anew as a whole at process exit: into a temporary file beside it, synced, and renamed over it, so
// that a killed run leaves the old file or the new one. Where registry.reg is a link, all of that
// happens to the file that it leads to; the lock stays the machine's, so two machines that share a
// file by links don't wait for each other before they write: the later one's file, a whole one,
// counts then. A process that is forked off later doesn't write.
//
// What can't be written back at process exit is told on the standard error stream, and the process
// ends with 1 where it would have ended with 0. The rights of the old file don't matter to that,
// those of its folder do, since the file is replaced and not written to.
//
// A file that can't be read, or a lock that can't be had, is told once on the standard error
// stream; each use then fails with 1009, and the file is left alone.
#ifndef WINAPI_HOST_REGISTRY_STORE_H_
#define WINAPI_HOST_REGISTRY_STORE_H_

#include <sys/types.h>

#include <mutex>

#include "winapi/host/file_descriptor.h"
#include "winapi/host/registry_tree.h"
#include "winapi/types.h"

namespace winapi::host {

class RegistryStore {
 public:
  // Made at the first call and never destroyed: static objects use the registry to the very end.
  [[nodiscard]] static RegistryStore& Instance();

  // To be held over everything below.
  [[nodiscard]] std::unique_lock<std::mutex> Lock() { return std::unique_lock(m_mutex); }

  // Reads the file unless that was done. 0, or 1009.
  [[nodiscard]] Error Load();
  // Empty before Load.
  [[nodiscard]] RegistryTree& Tree() { return m_tree; }
  void MarkChanged() { m_changed = true; }
  // Something changed that isn't in the file yet, and this is the process that read it.
  [[nodiscard]] bool MustBeWritten() const;
  // Writes the file when something changed. False, with the reason told, when it couldn't be
  // written.
  bool Flush();
  // Whether Flush waits for the disk.
  void SetSync(bool syncs) { m_syncs = syncs; }
  // Drops what is in memory, unwritten changes too, and the lock; the next Load starts afresh.
  void Forget();

 private:
  enum class State { kUnread, kRead, kDamaged };

  RegistryStore() = default;
  [[nodiscard]] bool TakeLock();
  [[nodiscard]] bool ReadFile();

  std::mutex m_mutex;
  RegistryTree m_tree;
  State m_state = State::kUnread;
  bool m_changed = false;
  bool m_syncs = true;
  FileDescriptor m_lockFile;
  pid_t m_owner = 0;  // the process that read the file
};

}  // namespace winapi::host

#endif  // WINAPI_HOST_REGISTRY_STORE_H_
