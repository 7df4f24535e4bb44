// A machine of the host layer for a target that runs the product again and again in one process: a
// folder in memory, which goes with the process.
#ifndef FUZZ_HOST_MACHINE_H_
#define FUZZ_HOST_MACHINE_H_

#include <stdlib.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

#include "fuzz/input.h"
#include "winapi/host/control.h"

namespace fuzz {

// To be made once, before the first call of the host. The current folder stays: the fuzzer's own
// paths may be relative.
class HostMachine {
 public:
  HostMachine() {
    const std::string memory = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    std::string folder = memory + "/zum-fuzz-XXXXXX";
    Require(::mkdtemp(folder.data()) != nullptr, "the machine's folder is made");
    m_folder = folder;
    Require(::setenv("ZUM_HOST_ROOT", folder.c_str(), /*overwrite=*/1) == 0, "the machine is set");
    Require(::setenv("TZ", "UTC0", /*overwrite=*/1) == 0, "the machine's zone is set");
    std::filesystem::create_directories(Drive() + "/t");
  }
  HostMachine(const HostMachine&) = delete;
  HostMachine& operator=(const HostMachine&) = delete;
  // What is in the registry's memory isn't to be written when the process ends.
  ~HostMachine() {
    winapi::host::ReloadRegistry();
    std::error_code error;
    std::filesystem::remove_all(m_folder, error);
  }

  [[nodiscard]] std::string Drive() const { return m_folder + "/drive_c"; }
  [[nodiscard]] const std::string& Folder() const { return m_folder; }

 private:
  std::string m_folder;
};

// The lowest number that a new descriptor gets: higher than before where a file was left open.
inline int LowestDescriptor() {
  const int file = ::dup(STDERR_FILENO);
  (void)::close(file);
  return file;
}

// What is open in the host, as one number to compare.
inline std::size_t OpenThings() {
  const winapi::host::LiveResources live = winapi::host::Live();
  return live.keys + live.handles + live.moduleReferences + live.heapBlocks + live.localBlocks +
         live.trustStates;
}

}  // namespace fuzz

#endif  // FUZZ_HOST_MACHINE_H_
