// The whole "/unblock" run, with each call of the seam and each allocation failing, one after the
// other, once and for ever: what the process gives, prints, traces and leaves in the registry.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <set>
#include <sstream>

#include "tests/support/fault_sweep.h"
#include "tests/zum_setup_util/unblock_outcomes.h"
#include "tests/zum_setup_util/unblock_run.h"
#include "winapi/errors.h"

namespace tests::unblock {
namespace {

namespace host = winapi::host;
using host::Repeat;

class UnblockSweep : public FaultSweep {
 protected:
  [[nodiscard]] std::vector<winapi::Error> ErrorsOf(const std::string& operation) const override {
    if (operation == "RegOpenKeyExW") return {2, 5, 1009};
    if (operation == "RegQueryValueExW") return {2, 5, 1018};
    if (operation == "RegSetValueExW") return {5, 8, 1018};
    if (operation == "RegDeleteValueW") return {2, 5, 1018};
    if (operation == "RegEnumKeyW") return {5, 234, 259};
    if (operation == "RegCloseKey") return {6};
    if (operation == "FileTimeToSystemTime" || operation == "SystemTimeToFileTime") return {87};
    return {5};
  }

  RunResult Run(const Fault& fault) override {
    const RunResult run = RunOnce(UnblockPlan(), fault);
    ExpectSoundEnd(run);
    Note(run, Outcome(run));
    return run;
  }

  static std::string Outcome(const RunResult& run) {
    std::ostringstream text;
    text << std::hex << run.code << ' ' << run.output << ' ' << RegistryOf(run) << ' '
         << (TraceOf(run).empty() ? "untraced" : "traced");
    return text.str();
  }

  static const std::string& TraceOf(const RunResult& run) { return run.facts.at("trace"); }

  // What holds for every run, whatever failed.
  static void ExpectSoundEnd(const RunResult& run) {
    EXPECT_EQ(run.live.moduleReferences, 0u);
    EXPECT_EQ(run.live.localBlocks, 0u);
    EXPECT_EQ(RegistryOf(run).find_first_of("l?"), std::string::npos) << RegistryOf(run);
    ExpectNeverLost(run);
  }

  // Replays the changing calls: a marked value goes only when the ordinary one has been written.
  static void ExpectNeverLost(const RunResult& run) {
    std::set<std::string> written;
    for (const host::CallRecord& call : run.calls) {
      if (call.failed) continue;
      const std::string value = call.Argument("key") + '/' + call.Argument("name");
      if (call.operation == "RegSetValueExW") written.insert(value);
      if (call.operation == "RegDeleteValueW") {
        const std::string ordinary = value.substr(0, value.size() - std::string("NotExist").size());
        EXPECT_TRUE(written.contains(ordinary)) << value << " deleted before " << ordinary;
      }
    }
  }
};

template <std::size_t N>
bool IsOneOf(const RunResult& run, const Expected (&outcomes)[N]) {
  return std::any_of(std::begin(outcomes), std::end(outcomes), [&](const Expected& outcome) {
    return run.code == outcome.code && run.output == outcome.output &&
           RegistryOf(run) == outcome.registry;
  });
}

constexpr const char* kHeader = "TVX TRACE FILE\tTime: ";
constexpr const char* kFooter = "End of trace file, time: ";

// A trace file is empty or whole from its header on, whatever could not be had.
bool IsSoundTrace(const RunResult& run) {
  const std::string& trace = run.facts.at("trace");
  return trace.empty() || trace.starts_with(kHeader);
}

// What the trace of a run with one failing call must have.
void ExpectTrace(const FailedCall& call, winapi::Error error, const RunResult& run) {
  const std::string& trace = run.facts.at("trace");
  const bool conversion = call.Is("FileTimeToSystemTime") || call.Is("SystemTimeToFileTime");
  if (call.Is("OpenOutputStream") || (conversion && IsOfThePath(call))) {
    EXPECT_EQ(trace, "");
    return;
  }
  // The thread's number is asked for at each commit. Of a file whose header could not be composed
  // nothing is promised, and the footer comes behind the end of the run.
  if (conversion && !call.Behind("GetCurrentThreadId")) return;
  const bool inTheFooter = call.Behind("RemoveVectoredExceptionHandler");
  EXPECT_TRUE(trace.starts_with(kHeader)) << trace;
  EXPECT_EQ(trace.find(kFooter) != std::string::npos, !(conversion && inTheFooter)) << trace;
  if (run.code != 0xA1780003) return;
  EXPECT_NE(trace.find("system result code: " + std::to_string(error)), std::string::npos) << trace;
  EXPECT_NE(trace.find("ERR\tzs_util\t[main] CheckResultFailedException - 0xa1780003"),
            std::string::npos)
      << trace;
  EXPECT_NE(trace.find("[main] exit with result = 0xa1780003"), std::string::npos) << trace;
  if (call.Is("RegSetValueExW") || call.Is("RegDeleteValueW")) {
    EXPECT_NE(trace.find("system result code: " + std::to_string(error) +
                         "[correct_setup::detail::DisableProtectiveMeasuresUpgrade] value = " +
                         call.Argument("name") + ": 0x"),
              std::string::npos)
        << trace;
  }
}

TEST_F(UnblockSweep, NothingFailsWithoutAFault) {
  const RunResult run = Run({});
  EXPECT_EQ(run.code, 0u);
  EXPECT_EQ(run.output, "Completed");
  EXPECT_EQ(RegistryOf(run), "rrrr");
  EXPECT_EQ(run.injectedFaults, 0u);
  EXPECT_NE(TraceOf(run).find(kFooter), std::string::npos);
}

TEST_F(UnblockSweep, EachCallFailsOnce) {
  FaultTable<Expected> table(kRows, kCompleted);
  FailEachCall(kNeverFail, [&](const FailedCall& call, winapi::Error error, const RunResult& run) {
    if (call.Is("HeapAlloc") || call.Is("GetProcessHeap")) {
      EXPECT_TRUE(IsOneOf(run, kWithoutOnePiece)) << Outcome(run);
      EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
      return;
    }
    const Expected& expected = table.For(call);
    EXPECT_EQ(run.code, expected.code);
    EXPECT_EQ(run.output, expected.output);
    EXPECT_EQ(RegistryOf(run), expected.registry);
    ExpectTrace(call, error, run);
  });
}

TEST_F(UnblockSweep, AllCallsFailFromEachOneOn) {
  FailAllCallsFromEachOn([](const RunResult& run) {
    EXPECT_TRUE(IsOneOf(run, kFromSomePointOn)) << Outcome(run);
    EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
  });
}

TEST_F(UnblockSweep, EachOperationFailsForEver) {
  std::set<std::string> operations;
  for (const host::CallRecord& call : Run({}).calls) {
    if (!kNeverFail.contains(call.operation)) operations.insert(call.operation);
  }
  for (const ForEver& row : kNoticedForEver) {
    EXPECT_TRUE(operations.contains(row.operation)) << row.operation << " isn't called";
  }
  for (const std::string& operation : operations) {
    SCOPED_TRACE(operation);
    const auto row =
        std::find_if(std::begin(kNoticedForEver), std::end(kNoticedForEver),
                     [&](const ForEver& noticed) { return noticed.operation == operation; });
    const bool noticed = row != std::end(kNoticedForEver);
    const Expected& expected = noticed ? row->expected : kCompleted;
    const RunResult run =
        Run({Fault::Kind::kOperation, 1, noticed ? row->error : 5, Repeat::kForever, operation});
    EXPECT_GT(run.injectedFaults, 0u);
    EXPECT_EQ(run.code, expected.code);
    EXPECT_EQ(run.output, expected.output);
    EXPECT_EQ(RegistryOf(run), expected.registry);
    EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
  }
  PrintSummary("operations", operations.size());
}

TEST_F(UnblockSweep, EachAllocationFailsOnceAndForEver) {
  for (const Repeat repeat : {Repeat::kOnce, Repeat::kForever}) {
    FailEachAllocation(repeat, [](const RunResult& run) {
      EXPECT_TRUE(IsOneOf(run, kWithoutOnePiece)) << Outcome(run);
      EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
    });
  }
}

}  // namespace
}  // namespace tests::unblock
