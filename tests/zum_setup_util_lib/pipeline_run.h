// The whole correction in a process and on a machine of its own, with at most one fault, and what
// came of it. Natively only.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_RUN_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_RUN_H_

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/faulted_run.h"

namespace tests {

// The run's tracer and arguments, before any fault.
void BeginPipelineRun();

// The facts are "returned" ("value" or "code"), "records", "renames", "drops" and "probes" (see
// PipelineMachine), and "trace".
[[nodiscard]] RunPlan PipelinePlan(const std::function<void()>& begin);

// What comes of a run.
struct Expected {
  const char* outcome;  // "value" or "code", and the number
  const char* records;
  const char* renames = "as it was";
  std::size_t installers = 0;   // that were started
  std::size_t trustStates = 0;  // left open
  std::size_t probes = 0;       // left in the product's data directory
  bool operator==(const Expected&) const = default;
};

inline constexpr const char* kPassed = "value 0x0";
inline constexpr const char* kSelfDefenseCode = "code 0xa1780001";
inline constexpr const char* kRegistryCode = "code 0xa1780003";
inline constexpr const char* kLaunchCode = "code 0xa1780005";
inline constexpr const char* kPendingCode = "code 0xa1780006";
inline constexpr const char* kSignatureCode = "code 0xa1780007";
inline constexpr const char* kDropCode = "code 0xa1780008";
inline constexpr const char* kOutOfMemory = "code 0x80000041";

inline constexpr Expected kCompleted = {kPassed, "restored", "corrected", 1};
// The listing of the renames, or the key that they are in, could not be had: a silent skip.
inline constexpr Expected kRenamesSkipped = {kPassed, "restored", "as it was", 1};
inline constexpr Expected kRefusedWithState = {kSignatureCode, "marked", "as it was", 0, 1};

// Both in one form, for comparing.
[[nodiscard]] std::string ToText(const Expected& expected);
[[nodiscard]] std::string ToText(const RunResult& run);

// "value" or "code", and the number.
[[nodiscard]] std::string OutcomeOf(const RunResult& run);

// A record in the trace of a scope that begins or ends.
struct ScopeRecord {
  std::string name;
  bool begins = false;
};

[[nodiscard]] std::vector<ScopeRecord> ScopesOf(const std::string& trace);

// How many records of begins and ends are missing for the scopes to be closed in order.
[[nodiscard]] std::size_t MissingScopeRecords(const std::string& trace);

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_RUN_H_
