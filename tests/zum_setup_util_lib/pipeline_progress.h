// How far a run of the whole correction had come when something failed, and how it may end then.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_PROGRESS_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_PROGRESS_H_

#include <cstddef>

#include "tests/support/faulted_run.h"

namespace tests {

// How far a run had come, from the calls that it had made.
enum class Progress {
  kStart,
  kSelfDefense,
  kCommand,
  kDrop,
  kCopied,
  kSignature,
  kVerified,
  kRegistry,
  kLaunch,
  kEnded,
  kPending,
  kRemoval,
};

// Where the run was when it had made that many of its calls.
[[nodiscard]] Progress ProgressAt(const RunResult& run, std::size_t position);
[[nodiscard]] std::size_t PositionOfFirstFailure(const RunResult& run);

// Expects an end that memory refused at that point may have, with the machine in the state that
// goes with it.
void ExpectPossible(const RunResult& run, Progress progress);
// The same for calls that go on failing from there on.
void ExpectPossibleForEver(const RunResult& run, Progress progress);

// Expects what goes with an allocation that was refused, once or with all behind it: an end that is
// possible at that point, and that no stage has done more than it tells.
void ExpectEndWithoutMemory(const RunResult& run, winapi::host::Repeat repeat);

// True when a call of the private directory's removal failed.
[[nodiscard]] bool RemovalFailed(const RunResult& run);

}  // namespace tests

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_PROGRESS_H_
