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

// Why a file can't be read.
struct FileDamage {
  std::size_t line = 0;  // from 1; where the bad thing starts
  std::string reason;    // English, one line, without a full stop
};

// Puts a machine together from its exported files.
class MachineFromFiles {
 public:
  MachineFromFiles();

  // Adds what the bytes of an export say ("Windows Registry Editor Version 5.00"). Values of a
  // later file win. False for a damaged file, which adds nothing.
  [[nodiscard]] bool AddExport(std::string_view bytes, FileDamage& damage);

  // True when the key or one below it stands in the files so far.
  [[nodiscard]] bool Holds(std::u16string_view path) const;

  // The machine of what was added so far; to be called once, last.
  [[nodiscard]] Machine Take();

 private:
  std::shared_ptr<MachineContent> m_content;
};

}  // namespace winapi::rehearsal

#endif  // WINAPI_REHEARSAL_FILES_H_
