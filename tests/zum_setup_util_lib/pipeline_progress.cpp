#include "tests/zum_setup_util_lib/pipeline_progress.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <set>
#include <string>

#include "tests/support/fault_sweep.h"
#include "tests/zum_setup_util_lib/pipeline_run.h"

namespace tests {
namespace {

namespace host = winapi::host;

// The call that is the first sign of each step, in their order.
bool IsSignOf(Progress step, const host::CallRecord& call) {
  const std::string& operation = call.operation;
  switch (step) {
    case Progress::kStart:
      return false;
    case Progress::kSelfDefense:
      return operation == "GetFileAttributesW";
    case Progress::kCommand:
      return operation == "DeleteFileW";
    case Progress::kDrop:
      return operation == "CoCreateGuid";
    case Progress::kCopied:
      return operation == "FindClose";
    case Progress::kSignature:
      return operation == "GetSystemDirectoryW";
    case Progress::kVerified:
      return operation == "WinVerifyTrust" && call.Argument("dwStateAction") == "2";
    case Progress::kRegistry:
      return operation == "RegOpenKeyExW";
    case Progress::kLaunch:
      return operation == "GetSystemDirectoryW";
    case Progress::kEnded:
      return operation == "GetExitCodeProcess";
    case Progress::kPending:
      return operation == "GetSystemDirectoryW";
    case Progress::kRemoval:
      return operation == "GetFileAttributesW";
  }
  return false;
}

// The codes by which a run may end when memory is refused at that point: those of the guarded
// blocks that may be open there, and plain lack of memory where one is between two stages.
std::set<std::string> CodesAt(Progress progress) {
  switch (progress) {
    case Progress::kStart:
      return {kOutOfMemory, kSelfDefenseCode};
    case Progress::kSelfDefense:
      return {kSelfDefenseCode};
    case Progress::kCommand:
      return {kOutOfMemory, kDropCode};
    case Progress::kDrop:
      return {kDropCode};
    case Progress::kCopied:
      return {kDropCode, kOutOfMemory, kSignatureCode};
    case Progress::kSignature:
      return {kSignatureCode};
    case Progress::kVerified:
      return {kRegistryCode};
    case Progress::kRegistry:
      return {kRegistryCode, kOutOfMemory, kLaunchCode};
    case Progress::kLaunch:
      return {kLaunchCode};
    case Progress::kEnded:
    case Progress::kPending:
      return {kPendingCode};
    case Progress::kRemoval:
      return {};
  }
  return {};
}

// What may be left behind each outcome, memory or calls being refused somewhere. Where a run came
// to its end, single values may have been passed over.
bool IsConsistent(const RunResult& run) {
  const std::string outcome = OutcomeOf(run);
  const std::string& records = run.facts.at("records");
  const bool started = Count(run, "CreateProcessW", false) != 0;
  const bool corrected = run.facts.at("renames") == "corrected";
  if (outcome == kSelfDefenseCode || outcome == kDropCode || outcome == kSignatureCode) {
    return records == "marked" && !started && !corrected;
  }
  if (outcome == kOutOfMemory) return !started && !corrected;
  if (outcome == kRegistryCode) return !started && !corrected;
  if (outcome == kLaunchCode) return !corrected;
  return started && (outcome == kPassed || (outcome == kPendingCode && !corrected));
}

// The last call of the registry or of a transaction among the first `count`.
host::CallRecord LastOfTheRegistry(const RunResult& run, std::size_t count) {
  const auto end =
      std::make_reverse_iterator(run.calls.begin() + static_cast<std::ptrdiff_t>(count));
  const auto found = std::find_if(end, run.calls.rend(), [](const host::CallRecord& call) {
    return call.operation.starts_with("Reg") || call.operation.ends_with("Transaction");
  });
  return found == run.calls.rend() ? host::CallRecord() : *found;
}

void ExpectPossible(const RunResult& run, Progress progress, const std::set<std::string>& codes) {
  const std::string outcome = OutcomeOf(run);
  EXPECT_TRUE(outcome == kPassed || codes.contains(outcome))
      << ToText(run) << ", at step " << static_cast<int>(progress);
  EXPECT_TRUE(IsConsistent(run)) << ToText(run);
}

}  // namespace

Progress ProgressAt(const RunResult& run, std::size_t position) {
  auto progress = Progress::kStart;
  for (std::size_t i = 0; i < position && i < run.calls.size(); ++i) {
    if (progress == Progress::kRemoval) break;
    const auto next = static_cast<Progress>(static_cast<int>(progress) + 1);
    if (IsSignOf(next, run.calls[i])) progress = next;
  }
  return progress;
}

std::size_t PositionOfFirstFailure(const RunResult& run) {
  const auto failed = std::find_if(run.calls.begin(), run.calls.end(),
                                   [](const host::CallRecord& call) { return call.failed; });
  return static_cast<std::size_t>(failed - run.calls.begin());
}

void ExpectPossible(const RunResult& run, Progress progress) {
  ExpectPossible(run, progress, CodesAt(progress));
}

// Calls or allocations go on failing: where the step itself doesn't mind, the next one does.
void ExpectPossibleForEver(const RunResult& run, Progress progress) {
  std::set<std::string> codes = CodesAt(progress);
  if (progress != Progress::kRemoval) {
    codes.merge(CodesAt(static_cast<Progress>(static_cast<int>(progress) + 1)));
  }
  ExpectPossible(run, progress, codes);
}

void ExpectEndWithoutMemory(const RunResult& run, host::Repeat repeat) {
  const std::size_t position = run.callsBeforeAllocationFault.value();
  const std::string outcome = OutcomeOf(run);
  if (repeat == host::Repeat::kForever) {
    ExpectPossibleForEver(run, ProgressAt(run, position));
  } else {
    ExpectPossible(run, ProgressAt(run, position));
  }
  EXPECT_EQ(run.facts.at("probes"), "0");
  // The stage's own question isn't asked again, what the attempts lack is tried on.
  const bool asked = ProgressAt(run, position) != Progress::kStart;
  if (outcome == kSelfDefenseCode) {
    EXPECT_EQ(run.sleeps, asked && repeat == host::Repeat::kForever ? 100u : 0u);
  }
  const bool refused = outcome == kSignatureCode && Count(run, "WinVerifyTrust", false) != 0;
  EXPECT_EQ(run.live.trustStates, refused ? 1u : 0u);
  if (outcome == kLaunchCode) {
    EXPECT_EQ(Count(run, "CreateProcessW", false), 0u);
  }
  if (repeat != host::Repeat::kOnce) return;
  EXPECT_LE(run.sleeps, 1u);
  // Only where their reading lacks memory are the renames skipped.
  if (outcome == kPassed && run.facts.at("renames") != "corrected") {
    EXPECT_EQ(LastOfTheRegistry(run, position).Argument("name"), "PendingFileRenameOperations");
  }
}

// True when a call of the private directory's removal failed; it works on long paths.
bool RemovalFailed(const RunResult& run) {
  return std::any_of(run.calls.begin(), run.calls.end(), [](const host::CallRecord& call) {
    return call.failed && (call.Argument("path").starts_with("\\\\?\\") ||
                           call.Argument("pattern").starts_with("\\\\?\\"));
  });
}

}  // namespace tests
