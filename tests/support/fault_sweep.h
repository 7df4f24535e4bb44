// The base of tests that fail every call and every allocation of a whole run, one after the other.
// Natively only.
#ifndef TESTS_SUPPORT_FAULT_SWEEP_H_
#define TESTS_SUPPORT_FAULT_SWEEP_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "tests/support/failed_call.h"
#include "tests/support/faulted_run.h"
#include "tests/support/temporary_folder.h"

namespace tests {

// The calls of an operation that failed, by a fault, or didn't.
[[nodiscard]] std::size_t Count(const RunResult& run, std::string_view operation, bool failed);

class FaultSweep : public testing::Test {
 protected:
  // A run of what is swept, with what holds for all of its runs expected. Made of RunOnce and Note.
  virtual RunResult Run(const Fault& fault) = 0;
  // Errors that the operation really gives.
  [[nodiscard]] virtual std::vector<winapi::Error> ErrorsOf(const std::string& operation) const = 0;

  // Runs in a folder of its own, and expects what holds for every run, whatever failed: it ends by
  // itself, writes nothing to the standard error stream, and leaves nothing open but blocks of
  // memory whose release was made to fail.
  RunResult RunOnce(const RunPlan& plan, const Fault& fault);
  // Keeps what came of a run for the summary.
  void Note(const RunResult& run, const std::string& outcome);

  // Fails the first call that can fail, then the second, and so on to the last one, each with each
  // of its errors. Expects that every operation of the run was failed or is among `neverFail`.
  using CheckOfCall = std::function<void(const FailedCall&, winapi::Error, const RunResult&)>;
  void FailEachCall(const std::set<std::string>& neverFail, const CheckOfCall& check);
  // The same for that call and all behind it, with the error 5.
  void FailAllCallsFromEachOn(const std::function<void(const RunResult&)>& check);
  // The same for allocations. The heap behind the framework's strings is the seam's, and swept with
  // its calls.
  void FailEachAllocation(winapi::host::Repeat repeat,
                          const std::function<void(const RunResult&)>& check);

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

// A table that tells what must come of each call, and which of its rows were of use.
template <typename Expected>
class FaultTable {
 public:
  // What has no row comes out as `otherwise`.
  template <std::size_t N>
  FaultTable(const FaultRow<Expected> (&rows)[N], const Expected& otherwise)
      : m_rows(std::begin(rows), std::end(rows)), m_used(N), m_otherwise(otherwise) {}
  FaultTable(const FaultTable&) = delete;
  FaultTable& operator=(const FaultTable&) = delete;
  // A row that was of no use is a call that is made no more.
  ~FaultTable() {
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
      EXPECT_TRUE(m_used[i]) << "no call has come to row " << i << ", of " << m_rows[i].operation;
    }
  }

  // By the first row that is for the call.
  [[nodiscard]] const Expected& For(const FailedCall& call) {
    for (std::size_t i = 0; i < m_rows.size(); ++i) {
      if (!call.Is(m_rows[i].operation) || !m_rows[i].applies(call)) continue;
      m_used[i] = true;
      return m_rows[i].expected;
    }
    return m_otherwise;
  }

 private:
  std::vector<FaultRow<Expected>> m_rows;
  std::vector<bool> m_used;
  Expected m_otherwise;
};

}  // namespace tests

#endif  // TESTS_SUPPORT_FAULT_SWEEP_H_
