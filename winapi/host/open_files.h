// The files and directories that this process holds open, and what that keeps everybody from, the
// process itself included.
//
// The host's own system lets any file be deleted while it is open. Windows doesn't, and where it
// does the name stays until the last handle is closed; a program that relies on either works on the
// host and fails there. So the operations ask here first.
//
// Known are the handles of the seam. A stream of OpenOutputStream isn't: nothing tells of its end.
// Files held by other processes aren't either, but for those that a test locks (control.h).
#ifndef WINAPI_HOST_OPEN_FILES_H_
#define WINAPI_HOST_OPEN_FILES_H_

#include <sys/stat.h>

#include <utility>

#include "winapi/host/locate.h"
#include "winapi/types.h"

namespace winapi::host {

// While one lives, the file is held open. Files are told by device and number, not by name. Who
// makes one sees to it that the file stays, by a descriptor of it; a search does without, since
// deep trees have more open searches than the process may have descriptors. (So if somebody else
// removes a searched directory, a new one with its number counts as searched until the search
// ends.)
class OpenFile {
 public:
  enum class Sharing {
    kEverything,  // a handle without any access: keeps nobody from anything but the name
    kReading,     // a file that is read or a directory that is searched: not written, not deleted
  };

  OpenFile() = default;  // holds nothing
  OpenFile(const struct stat& file, Sharing sharing);
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  OpenFile& operator=(OpenFile&& other) noexcept;
  // The last one of a file whose deletion was asked for takes its name away.
  ~OpenFile();

 private:
  std::pair<dev_t, ino_t> m_number = {};
  Sharing m_sharing = Sharing::kEverything;
  bool m_holds = false;
};

// What speaks against reading a file, or against writing to it or removing it: 5 for one whose
// deletion was asked for and only waits for its last handle, 32 for one that somebody holds open
// and doesn't share so, else 0.
[[nodiscard]] Error ErrorOfReading(const struct stat& file);
[[nodiscard]] Error ErrorOfChanging(const struct stat& file);

// Deletion was asked for: the name is still there, and nobody can use it.
[[nodiscard]] bool IsGoing(const struct stat& file);

// Deletes the file at that place, or leaves that to the last of those that hold it open.
[[nodiscard]] Error DeleteOpenFile(const Location& location, const struct stat& file);

}  // namespace winapi::host

#endif  // WINAPI_HOST_OPEN_FILES_H_
