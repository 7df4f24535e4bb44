// Runs an entry in a process of its own, on a machine of its own, with at most one fault, and tells
// all that came of it. Natively only.
#ifndef TESTS_SUPPORT_FAULTED_RUN_H_
#define TESTS_SUPPORT_FAULTED_RUN_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "winapi/host/control.h"

namespace tests {

struct Fault {
  enum class Kind { kNone, kCall, kOperation, kAllocation };
  Kind kind = Kind::kNone;
  std::size_t nth = 0;  // of the calls that can fail, those of the operation, or of the
                        // allocations; from 1
  winapi::Error error = 0;
  winapi::host::Repeat repeat = winapi::host::Repeat::kOnce;
  std::string operation = {};  // for kOperation
};

[[nodiscard]] std::string Describe(const Fault& fault);

// What a run is made of; all of it happens in the run's own process.
struct RunPlan {
  std::function<void()> prepare;  // sets the machine up by the host layer's test face
  // Called in front of the entry, before the first fault: what belongs to the process and not to
  // the run, such as its tracer. May be empty.
  std::function<void()> begin;
  std::function<std::uint32_t()> entry;  // gives the code that the process ends with
  // Called when everything of the process has ended but the host layer: what it gives is handed
  // back.
  std::function<std::map<std::string, std::string>()> inspect;
};

struct RunResult {
  bool ended = false;                        // by its own exit, and not by a signal
  int status = 0;                            // what the system shows: the low 8 bits
  std::uint32_t code = 0;                    // what the entry gave
  bool threw = false;                        // the entry let an exception out
  std::string output;                        // the standard output
  std::string errors;                        // the standard error stream
  std::map<std::string, std::string> facts;  // of inspect
  std::vector<winapi::host::CallRecord> calls;
  winapi::host::LiveResources live;
  std::size_t runningPrograms = 0;  // started by the run and not ended
  std::size_t sleeps = 0;           // that were asked for
  std::size_t fallibleCalls = 0;
  std::size_t injectedFaults = 0;
  std::size_t allocations = 0;
  // How many of `calls` came before the allocation that was failed.
  std::optional<std::size_t> callsBeforeAllocationFault;
};

// The files of the run's machine are below `folder`, which must be empty.
[[nodiscard]] RunResult RunFaulted(const RunPlan& plan, const Fault& fault,
                                   const std::string& folder);

}  // namespace tests

#endif  // TESTS_SUPPORT_FAULTED_RUN_H_
