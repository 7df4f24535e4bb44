#include "winapi/host/open_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "winapi/errors.h"
#include "winapi/host/file_rules.h"
#include "winapi/host/file_status.h"

namespace winapi::host {
namespace {

// Where the name stands that the last handle takes away.
struct Name {
  FileDescriptor folder;
  std::string name;
};

struct Holders {
  std::size_t sharingEverything = 0;
  std::size_t sharingReading = 0;
  std::optional<Name> toDelete;

  [[nodiscard]] std::size_t& Count(OpenFile::Sharing sharing) {
    return sharing == OpenFile::Sharing::kReading ? sharingReading : sharingEverything;
  }
  [[nodiscard]] bool IsEmpty() const { return sharingEverything == 0 && sharingReading == 0; }
};

using Number = std::pair<dev_t, ino_t>;
Number NumberOf(const struct stat& file) { return {file.st_dev, file.st_ino}; }

struct OpenFileTable {
  std::mutex mutex;
  std::map<Number, Holders> files;
};

OpenFileTable& TheOpenFileTable() {
  static OpenFileTable& table = *new OpenFileTable;
  return table;
}

// Nothing can be told of a failure: who closes a handle didn't ask for the deletion. A name that
// somebody else gave to another file meanwhile stays.
void TakeAway(const Name& name, const Number& number) {
  FileStatus status;
  if (StatusOf(name.folder.Get(), name.name, status) != kErrorSuccess) return;
  if (NumberOf(status.data) != number) return;
  (void)::unlinkat(name.folder.Get(), name.name.c_str(), 0);
}

Error ErrorOfUse(const struct stat& file, bool changes) {
  if (IsLocked(file)) return kErrorSharingViolation;
  OpenFileTable& table = TheOpenFileTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.files.find(NumberOf(file));
  if (found == table.files.end()) return kErrorSuccess;
  if (found->second.toDelete) return kErrorAccessDenied;
  return changes && found->second.sharingReading != 0 ? kErrorSharingViolation : kErrorSuccess;
}

}  // namespace

OpenFile::OpenFile(const struct stat& file, Sharing sharing)
    : m_number(NumberOf(file)), m_sharing(sharing), m_holds(true) {
  OpenFileTable& table = TheOpenFileTable();
  const std::lock_guard lock(table.mutex);
  ++table.files[m_number].Count(sharing);
}

OpenFile& OpenFile::operator=(OpenFile&& other) noexcept {
  std::swap(m_number, other.m_number);
  std::swap(m_sharing, other.m_sharing);
  std::swap(m_holds, other.m_holds);
  return *this;
}

OpenFile::~OpenFile() {
  if (!m_holds) return;
  OpenFileTable& table = TheOpenFileTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.files.find(m_number);
  --found->second.Count(m_sharing);
  if (!found->second.IsEmpty()) return;
  if (found->second.toDelete) TakeAway(*found->second.toDelete, found->first);
  table.files.erase(found);
}

Error ErrorOfReading(const struct stat& file) { return ErrorOfUse(file, /*changes=*/false); }

Error ErrorOfChanging(const struct stat& file) { return ErrorOfUse(file, /*changes=*/true); }

bool IsGoing(const struct stat& file) {
  OpenFileTable& table = TheOpenFileTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.files.find(NumberOf(file));
  return found != table.files.end() && found->second.toDelete;
}

Error DeleteOpenFile(const Location& location, const struct stat& file) {
  OpenFileTable& table = TheOpenFileTable();
  const std::lock_guard lock(table.mutex);
  const auto found = table.files.find(NumberOf(file));
  if (found == table.files.end()) {
    return ::unlinkat(location.folder.Get(), location.name.c_str(), 0) == 0 ? kErrorSuccess
                                                                            : ErrorOfErrno(errno);
  }
  FileDescriptor folder(::fcntl(location.folder.Get(), F_DUPFD_CLOEXEC, 0));
  if (!folder.IsOpen()) return ErrorOfErrno(errno);
  found->second.toDelete = Name{std::move(folder), location.name};
  return kErrorSuccess;
}

}  // namespace winapi::host
