// The base of tests that fail every call and every allocation of a whole run, one after the other.
// Natively only.
#ifndef TESTS_SUPPORT_FAULT_SWEEP_H_
#define TESTS_SUPPORT_FAULT_SWEEP_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/faulted_run.h"
#include "tests/support/temporary_folder.h"

namespace tests {

// The calls of an operation that failed, by a fault, or didn't.
[[nodiscard]] std::size_t Count(const RunResult& run, std::string_view operation, bool failed);

class FaultSweep : public testing::Test {
 protected:
  // Runs in a folder of its own, and expects what holds for every run, whatever failed: it ends by
  // itself, writes nothing to the standard error stream, and leaves nothing open but blocks of
  // memory whose release was made to fail.
  RunResult RunOnce(const RunPlan& plan, const Fault& fault);

  // Keeps what came of a run for the summary.
  void Note(const RunResult& run, const std::string& outcome);
  // Expects that each operation of the run is in one of the two.
  static void ExpectAllIn(const RunResult& run, const std::set<std::string>& failed,
                          const std::set<std::string>& neverFail);
  void PrintSummary(const char* what, std::size_t seen) const;

 private:
  TemporaryFolder m_folder;
  std::size_t m_runs = 0;
  std::size_t m_injected = 0;
  std::set<std::string> m_outcomes;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_FAULT_SWEEP_H_
