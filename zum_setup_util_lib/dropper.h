// Taking a private copy of the package: the operations. The pipeline's stage is drop_files_stage.h.
#ifndef ZUM_SETUP_UTIL_LIB_DROPPER_H_
#define ZUM_SETUP_UTIL_LIB_DROPPER_H_

#include <string>
#include <utility>
#include <vector>

#include "zum_setup_util_lib/filesystem_object.h"

namespace correct_setup {

// Owns a directory and removes it with all it holds when it dies: 11 tries with 100 ms between
// them. A directory that can't be removed stays, with one line in the trace. One that was moved
// from does nothing.
class ScopedRemoveDirectory {
 public:
  explicit ScopedRemoveDirectory(std::u16string path) noexcept : m_path(std::move(path)) {}
  ScopedRemoveDirectory(ScopedRemoveDirectory&& other) noexcept
      : m_path(std::exchange(other.m_path, {})) {}
  ScopedRemoveDirectory(const ScopedRemoveDirectory&) = delete;
  ScopedRemoveDirectory& operator=(const ScopedRemoveDirectory&) = delete;
  ScopedRemoveDirectory& operator=(ScopedRemoveDirectory&&) = delete;
  virtual ~ScopedRemoveDirectory();

 private:
  std::u16string m_path;
};

// Makes the secure directory `to`, copies into it what `objects` names of the directory `from`, and
// gives its owner. On failure the directory is gone again, unless it couldn't be removed.
[[nodiscard]] ScopedRemoveDirectory DropFilesystemObjects(
    const std::u16string& from, const std::u16string& to,
    const std::vector<FilesystemObject>& objects);

// Copies each plain file and directory of `from` that an entry of the same type matches, under its
// name on the disk, into the directory `to`. An entry that matches nothing is no failure, and
// neither is a `from` that can't be listed.
void CopyFilesystemObjects(const std::u16string& from, const std::u16string& to,
                           const std::vector<FilesystemObject>& objects);

}  // namespace correct_setup

#endif  // ZUM_SETUP_UTIL_LIB_DROPPER_H_
