// Which files a machine is read from.
#ifndef ZUM_REHEARSE_HOST_MACHINE_FILES_H_
#define ZUM_REHEARSE_HOST_MACHINE_FILES_H_

#include <filesystem>
#include <string>
#include <vector>

namespace zum_rehearse {

// True for a registry hive, by its first bytes.
[[nodiscard]] bool IsHive(const std::filesystem::path& path);

struct MachineFiles {
  std::vector<std::string> read;
  // Passed over:
  std::vector<std::string> logs;  // of hives
  std::vector<std::string> made;  // by a rehearsal, which tell of no machine's state
};

// Parts the logs of hives from files that were named: by the header that a log shares with its
// hive, or by a log's name that begins with the name of a hive among the files.
[[nodiscard]] MachineFiles WithoutLogs(const std::vector<std::string>& named);

// Finds the exports and hives in a folder, in the order of their names; its subfolders are passed
// over, whatever their names, and so is what a rehearsal made. On failure false, with the reason.
[[nodiscard]] bool FindMachineFiles(const std::string& folder, MachineFiles& files,
                                    std::string& reason);

// What was passed over and why, for the reader; empty: nothing was.
[[nodiscard]] std::string PassedOver(const MachineFiles& files);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_HOST_MACHINE_FILES_H_
