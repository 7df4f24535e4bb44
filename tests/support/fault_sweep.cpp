#include "tests/support/fault_sweep.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

namespace tests {
namespace {

void ExpectSoundEnd(const RunResult& run) {
  ASSERT_TRUE(run.ended) << "signal " << run.status << '\n' << run.errors;
  EXPECT_FALSE(run.threw);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status, static_cast<int>(run.code & 0xFF));
  // What fails to close is let go of all the same, but for blocks of memory.
  EXPECT_EQ(run.live.keys, 0u);
  EXPECT_EQ(run.live.handles, 0u);
  EXPECT_LE(run.live.localBlocks, Count(run, "LocalFree", true));
  EXPECT_LE(run.live.heapBlocks, Count(run, "HeapFree", true) + Count(run, "GetProcessHeap", true));
}

}  // namespace

std::size_t Count(const RunResult& run, std::string_view operation, bool failed) {
  return static_cast<std::size_t>(
      std::count_if(run.calls.begin(), run.calls.end(), [&](const winapi::host::CallRecord& call) {
        return call.operation == operation && call.failed == failed;
      }));
}

RunResult FaultSweep::RunOnce(const RunPlan& plan, const Fault& fault) {
  const std::filesystem::path folder = m_folder.Path() / std::to_string(++m_runs);
  std::filesystem::create_directory(folder);
  RunResult run = RunFaulted(plan, fault, folder.string());
  std::filesystem::remove_all(folder);
  ExpectSoundEnd(run);
  return run;
}

void FaultSweep::Note(const RunResult& run, const std::string& outcome) {
  m_outcomes.insert(outcome);
  // An allocation that failed isn't among the calls.
  m_injected += run.injectedFaults + (run.callsBeforeAllocationFault ? 1 : 0);
}

void FaultSweep::FailEachCall(const std::set<std::string>& neverFail, const CheckOfCall& check) {
  std::set<std::string> failed;
  std::size_t nth = 1;
  for (;; ++nth) {
    const Fault first{Fault::Kind::kCall, nth, 5, winapi::host::Repeat::kOnce};
    const RunResult run = Run(first);
    if (run.injectedFaults == 0) break;
    const FailedCall call(run);
    failed.insert(call.Operation());
    for (const winapi::Error error : ErrorsOf(call.Operation())) {
      SCOPED_TRACE(call.Describe() + ": error " + std::to_string(error));
      Fault fault = first;
      fault.error = error;
      check(call, error, error == first.error ? run : Run(fault));
    }
  }
  PrintSummary("calls", nth - 1);
  ExpectAllIn(Run({}), failed, neverFail);
}

void FaultSweep::FailAllCallsFromEachOn(const std::function<void(const RunResult&)>& check) {
  std::size_t nth = 1;
  for (;; ++nth) {
    const RunResult run = Run({Fault::Kind::kCall, nth, 5, winapi::host::Repeat::kForever});
    if (run.injectedFaults == 0) break;
    SCOPED_TRACE(FailedCall(run).Describe() + " and all behind it");
    check(run);
  }
  PrintSummary("calls", nth - 1);
}

void FaultSweep::FailEachAllocation(winapi::host::Repeat repeat,
                                    const std::function<void(const RunResult&)>& check) {
  std::size_t nth = 1;
  for (;; ++nth) {
    const Fault fault{Fault::Kind::kAllocation, nth, 0, repeat};
    const RunResult run = Run(fault);
    if (!run.callsBeforeAllocationFault) break;
    SCOPED_TRACE(Describe(fault));
    check(run);
  }
  EXPECT_GT(nth, 1u) << "no allocation failed";
  PrintSummary("allocations", nth - 1);
}

void FaultSweep::ExpectAllIn(const RunResult& run, const std::set<std::string>& failed,
                             const std::set<std::string>& neverFail) {
  for (const winapi::host::CallRecord& call : run.calls) {
    EXPECT_TRUE(failed.contains(call.operation) || neverFail.contains(call.operation))
        << call.operation << " was never failed";
  }
}

void FaultSweep::PrintSummary(const char* what, std::size_t seen) const {
  std::cout << what << ": " << seen << " seen, " << m_injected << " faults injected in " << m_runs
            << " runs, " << m_outcomes.size() << " distinct outcomes\n";
  for (const std::string& outcome : m_outcomes) std::cout << "  " << outcome << '\n';
}

}  // namespace tests
