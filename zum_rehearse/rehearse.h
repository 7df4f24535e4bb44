// The rehearsal of one machine.
#ifndef ZUM_REHEARSE_REHEARSE_H_
#define ZUM_REHEARSE_REHEARSE_H_

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "winapi/rehearsal.h"
#include "zum_rehearse/judge.h"
#include "zum_rehearse/report.h"

namespace zum_rehearse {

// A machine that is ready to be rehearsed, or the reason why it isn't.
struct LoadedMachine {
  std::string name;
  std::vector<std::string> sources;
  std::string error;  // empty: `machine` holds one
  std::vector<std::string> notes;
  std::optional<winapi::rehearsal::Machine> machine;
  bool knowsSourceLists = true;
};

// Runs the correction itself on the machine and tells what came of it. Nothing of the machine is
// changed. `traceFolder` is where a trace file is made as the tool makes it; empty: none, and a
// file that can't be made is no failure. Throws std::bad_alloc, and std::exception for a trace
// folder whose name can't be converted.
[[nodiscard]] Report Rehearse(const LoadedMachine& loaded, const PackageLookup& lookup,
                              const std::filesystem::path& traceFolder);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_REHEARSE_H_
