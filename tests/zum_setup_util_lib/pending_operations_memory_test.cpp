// The pending rename correction where memory runs out.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <vector>

#include "tests/support/allocation_faults.h"
#include "tests/zum_setup_util_lib/pending_on_host.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/pending_operations.h"

namespace host = winapi::host;
using correct_setup::detail::TryCorrectPendingOperations;
using tests::ListBytes;
using tests::PendingOnHost;

namespace {

using Bytes = std::vector<std::uint8_t>;

// Strings that don't fit into an object.
const Bytes kLongBefore =
    ListBytes({u"\\A long enough for a block", u"\\B long enough for a block"});
const Bytes kLongAfter =
    ListBytes({u"\\B long enough for a block", u"", u"\\A long enough for a block",
               u"\\B long enough for a block"});

class PendingWithoutMemory : public PendingOnHost {
 protected:
  struct Outcome {
    // Of the registry and the transaction, before the first allocation that failed: 1 behind the
    // creation, 2 the open, 3 the query, 4 the write, 5 the commit.
    std::size_t callsBefore;
    bool isRewritten;
    std::size_t repeats;
  };

  // A first run loads the modules, so that all others make the same allocations.
  PendingWithoutMemory() {
    SetRaw(7, kLongBefore);
    TryCorrectPendingOperations();
  }

  // What each run with a fault came to. Nothing is checked while allocations fail: a failure's text
  // takes memory.
  static std::vector<Outcome> Sweep(host::Repeat repeat) {
    std::vector<Outcome> outcomes;
    outcomes.reserve(1000);
    const host::RegistryValue before = {tests::kPendingValue, 7, kLongBefore};
    const std::size_t faults = tests::SweepAllocations(
        [&](std::size_t) {
          (void)host::SetRegistryValue(tests::kPendingKey, before);
          host::ClearCallLog();
          const std::size_t sleeps = host::Sleeps().size();
          TryCorrectPendingOperations();
          const auto calls = host::CallsBeforeAllocationFault();
          if (!calls) return;
          const bool isRewritten =
              host::RegistryValues(tests::kPendingKey)->front().data == kLongAfter;
          outcomes.push_back({OwnCallsAmong(*calls), isRewritten, host::Sleeps().size() - sleeps});
          leaks += host::Live().handles + host::Live().keys;
        },
        repeat);
    EXPECT_EQ(outcomes.size(), faults);
    EXPECT_EQ(leaks, 0u);
    return outcomes;
  }

  // How many of the log's first `count` calls are the attempt's own.
  static std::size_t OwnCallsAmong(std::size_t count) {
    const auto first = host::CallLog().begin();
    return static_cast<std::size_t>(std::count_if(
        first, first + static_cast<std::ptrdiff_t>(count), [](const host::CallRecord& call) {
          return call.operation.starts_with("Reg") || call.operation.ends_with("Transaction");
        }));
  }

  static inline std::size_t leaks = 0;
};

// What was read is copied out of the reader's own array and taken apart into two strings, for which
// the list grows twice.
constexpr std::size_t kAllocationsOfTheReading = 5;

// Only where the reading lacks memory does the attempt end as one that can't read. Where the
// rewriting or the write lacks it the attempt fails and is repeated, and the trace does without.
TEST_F(PendingWithoutMemory, EachAllocationFailsOnce) {
  const std::vector<Outcome> outcomes = Sweep(host::Repeat::kOnce);
  std::size_t skipped = 0;
  std::size_t repeated = 0;
  bool isBehindTheReading = false;
  for (const Outcome& one : outcomes) {
    SCOPED_TRACE("behind call " + std::to_string(one.callsBefore));
    if (one.isRewritten) {
      isBehindTheReading = isBehindTheReading || one.callsBefore >= 3;
      EXPECT_LE(one.repeats, one.callsBefore == 3 ? 1u : 0u);
      repeated += one.repeats;
    } else {
      ++skipped;
      EXPECT_EQ(one.callsBefore, 3u);
      EXPECT_FALSE(isBehindTheReading);
      EXPECT_EQ(one.repeats, 0u);
    }
  }
  EXPECT_EQ(skipped, kAllocationsOfTheReading);
  EXPECT_GT(repeated, 0u);
}

// The attempt that memory fails in is repeated, and the next one ends where it can't even read.
TEST_F(PendingWithoutMemory, AllAllocationsFailFromEachOneOn) {
  const std::vector<Outcome> outcomes = Sweep(host::Repeat::kForever);
  std::size_t skippedAtOnce = 0;
  std::size_t repeated = 0;
  for (const Outcome& one : outcomes) {
    SCOPED_TRACE("behind call " + std::to_string(one.callsBefore));
    EXPECT_EQ(one.isRewritten, one.callsBefore >= 4);
    EXPECT_LE(one.repeats, one.callsBefore == 3 ? 1u : 0u);
    if (one.callsBefore != 3) continue;
    (one.repeats == 0 ? skippedAtOnce : repeated) += 1;
    EXPECT_TRUE(one.repeats != 0 || repeated == 0) << "the reading comes first";
  }
  EXPECT_EQ(skippedAtOnce, kAllocationsOfTheReading);
  EXPECT_GT(repeated, 0u);
}

}  // namespace
