// Machines that are read from files, on the host only.
#ifndef WINAPI_REHEARSAL_FILES_H_
#define WINAPI_REHEARSAL_FILES_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "winapi/rehearsal.h"

namespace winapi::rehearsal {

// Why a file can't be read, or what is to be known of one that can.
struct FileRemark {
  std::size_t line = 0;  // from 1; where the bad thing starts
  std::string reason;    // English, one line, without a full stop
};

// What a reader of a hive must know though it could be read.
struct HiveState {
  bool inUse = false;  // it was written to when it was copied: its logs aren't looked at
  std::size_t unreadableValues = 0;  // left out
};

// Puts a machine together from its exported files.
class MachineFromFiles {
 public:
  MachineFromFiles();

  // Adds what the bytes of an export ("Windows Registry Editor Version 5.00", or the older form)
  // say of the keys at and below `branches`, which begin with the full name of a hive. Values of a
  // later file win. `remarks` gets what was read otherwise than it may have been meant. False for a
  // damaged file, wherever in it the damage is: it adds nothing.
  [[nodiscard]] bool AddExport(std::string bytes, const std::vector<std::u16string>& branches,
                               std::vector<FileRemark>& remarks, FileRemark& damage);

  // Adds what stands below the key `from` to the key `to`, where values that are there stay, and
  // takes it away from `from`. False when there is no such key.
  bool Move(std::u16string_view from, std::u16string_view to);

  // Adds branches of a hive in the file of `path`, which is opened for reading only: `branches` are
  // paths below the hive's root, which comes to stand at `mount`, such as
  // u"HKEY_LOCAL_MACHINE\\SOFTWARE". A branch that isn't there is passed over. False with the
  // reason where the file can't be read as a hive; branches before the bad place may be added then.
  [[nodiscard]] bool AddHive(const std::string& path, std::u16string_view mount,
                             const std::vector<std::u16string_view>& branches, HiveState& state,
                             std::string& reason);

  // True when the key or one below it stands in the files so far.
  [[nodiscard]] bool Holds(std::u16string_view path) const;

  // The machine of what was added so far; to be called once, last.
  [[nodiscard]] Machine Take();

 private:
  std::shared_ptr<MachineContent> m_content;
};

}  // namespace winapi::rehearsal

#endif  // WINAPI_REHEARSAL_FILES_H_
