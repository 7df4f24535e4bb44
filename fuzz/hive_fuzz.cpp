// The hive loader on any bytes: it ends, says what is wrong, and takes no more than the file holds.
#include <sys/mman.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "fuzz/input.h"
#include "winapi/rehearsal/host_machine.h"
#include "winapi/rehearsal_files.h"

namespace {

using winapi::host::RegistryKey;
using winapi::rehearsal::HiveState;
using winapi::rehearsal::Machine;
using winapi::rehearsal::MachineFromFiles;

constexpr std::u16string_view kInstaller = u"Microsoft\\Windows\\CurrentVersion\\Installer";
constexpr std::u16string_view kClasses = u"Classes\\Installer";

// A file without a place on the disk.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size)
      : m_file(::memfd_create("hive", MFD_CLOEXEC)) {
    fuzz::Require(m_file >= 0 && ::write(m_file, data, size) == static_cast<ssize_t>(size),
                  "the file is made");
  }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  ~MemoryFile() { (void)::close(m_file); }
  [[nodiscard]] std::string Path() const { return "/proc/self/fd/" + std::to_string(m_file); }

 private:
  int m_file;
};

std::size_t BytesBelow(const RegistryKey& key) {
  std::size_t bytes = 0;
  for (const auto& value : key.Values()) bytes += value.data.size();
  for (const auto& child : key.SubKeys()) bytes += BytesBelow(*child);
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const MemoryFile file(data, size);
  MachineFromFiles machine;
  HiveState state;
  std::string reason;
  const bool isRead = machine.AddHive(file.Path(), u"HKEY_LOCAL_MACHINE\\SOFTWARE",
                                      {kInstaller, kClasses}, state, reason);
  fuzz::Require(isRead == reason.empty(), "a hive that can't be read says why");
  const Machine taken = machine.Take();
  std::size_t bytes = 0;
  for (const auto& hive : taken.Content()->tree.Hives()) bytes += BytesBelow(*hive);
  fuzz::Require(bytes <= size, "no more is taken than the file holds");
  return 0;
}
