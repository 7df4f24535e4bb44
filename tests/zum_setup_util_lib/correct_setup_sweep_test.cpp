// The whole correction, with each call of the seam, each function looked up and each allocation
// failing, one after the other, once and for ever: what comes back, what is traced, and what is
// left of the registry, the private directory, the installer and everything that was opened.

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/fault_sweep.h"
#include "tests/zum_setup_util_lib/pipeline_outcomes.h"
#include "tests/zum_setup_util_lib/pipeline_progress.h"
#include "tests/zum_setup_util_lib/pipeline_run.h"

namespace tests::pipeline {
namespace {

namespace host = winapi::host;
using host::Repeat;

class CorrectSetupSweep : public FaultSweep {
 protected:
  [[nodiscard]] std::vector<winapi::Error> ErrorsOf(const std::string& operation) const override {
    if (operation == "WinVerifyTrust") return {2, 5, 0x800B0100, 0x80096010};
    if (operation == "RegQueryValueExW") return {2, 5, 1018};
    if (operation == "RegOpenKeyExW" || operation == "RegOpenKeyTransactedW") return {2, 5, 6800};
    if (operation == "RegEnumKeyW") return {5, 259};
    if (operation == "CreateFileW" || operation == "CopyFileW") return {2, 5, 32, 112};
    if (operation == "DeleteFileW" || operation == "RemoveDirectoryW") return {2, 5, 32};
    if (operation == "CreateDirectoryW") return {3, 5, 183};
    if (operation == "CommitTransaction") return {5, 6800};
    if (operation.starts_with("Find")) return {2, 3, 5, 18};
    if (operation == "LoadLibraryW" || operation == "GetProcAddress") return {126, 127};
    if (operation == "CreateProcessW") return {2, 5, 740};
    return {5};
  }

  RunResult Run(const Fault& fault) override { return Run(fault, BeginPipelineRun); }
  RunResult Run(const Fault& fault, const std::function<void()>& begin) {
    const RunResult run = RunOnce(PipelinePlan(begin), fault);
    ExpectSoundEnd(run);
    Note(run, ToText(run));
    return run;
  }

  // What holds for every run, whatever failed.
  static void ExpectSoundEnd(const RunResult& run) {
    EXPECT_EQ(run.output, "");
    // The three libraries of the pipeline stay with the process.
    EXPECT_LE(run.live.moduleReferences, 3u);
    EXPECT_NE(run.facts.at("renames"), "damaged");
    EXPECT_EQ(run.facts.at("records").find("lost"), std::string::npos);
    EXPECT_LE(run.runningPrograms, Count(run, "WaitForSingleObjectEx", true));
    EXPECT_TRUE(run.facts.at("trace").starts_with("TVX TRACE FILE\tTime: "));
  }
};

void ExpectTraceOfFailure(const RunResult& run) {
  const auto record = kErrorRecords.find(OutcomeOf(run));
  if (record == kErrorRecords.end()) return;
  EXPECT_NE(run.facts.at("trace").find(record->second), std::string::npos) << run.facts.at("trace");
}

TEST_F(CorrectSetupSweep, NothingFailsWithoutAFault) {
  const RunResult run = Run({});
  EXPECT_EQ(ToText(run), ToText(kCompleted));
  EXPECT_EQ(run.facts.at("drops"), "0");
  EXPECT_EQ(run.injectedFaults, 0u);
  EXPECT_EQ(run.live.moduleReferences, 3u);
  EXPECT_EQ(MissingScopeRecords(run.facts.at("trace")), 0u);
  EXPECT_EQ(ScopesOf(run.facts.at("trace")).size(), 14u);
}

TEST_F(CorrectSetupSweep, EachCallFailsOnce) {
  FaultTable<Expected> table(kRows, kCompleted);
  FailEachCall(kNeverFail, [&](const FailedCall& call, winapi::Error, const RunResult& run) {
    EXPECT_EQ(run.facts.at("drops"), "0");
    ExpectTraceOfFailure(run);
    if (call.Is("HeapAlloc") || call.Is("GetProcessHeap")) {
      ExpectPossible(run, ProgressAt(run, PositionOfFirstFailure(run)));
      return;
    }
    EXPECT_EQ(ToText(run), ToText(table.For(call)));
    if (!kOfTheTrace.contains(call.Operation())) {
      EXPECT_EQ(MissingScopeRecords(run.facts.at("trace")), 0u) << run.facts.at("trace");
    }
  });
}

// Steps that are tried again fail in the end, and a removal among them leaves the directory.
TEST_F(CorrectSetupSweep, AllCallsFailFromEachOneOn) {
  FailAllCallsFromEachOn([](const RunResult& run) {
    ExpectPossibleForEver(run, ProgressAt(run, PositionOfFirstFailure(run)));
    EXPECT_LE(run.facts.at("drops"), RemovalFailed(run) ? "1" : "0");
  });
}

TEST_F(CorrectSetupSweep, EachOperationFailsForEver) {
  std::set<std::string> failed;
  for (const ForEver& row : kOperationsForEver) {
    SCOPED_TRACE(row.operation);
    failed.insert(row.operation);
    const RunResult run = Run({Fault::Kind::kOperation, 1, 5, Repeat::kForever, row.operation});
    EXPECT_GT(run.injectedFaults, 0u);
    EXPECT_EQ(ToText(run), ToText(row.expected));
    EXPECT_EQ(run.facts.at("drops"), std::to_string(row.drops));
    if (!kOfTheTrace.contains(row.operation)) ExpectTraceOfFailure(run);
  }
  PrintSummary("operations", std::size(kOperationsForEver));
  ExpectAllIn(Run({}), failed, kNeverFail);
}

TEST_F(CorrectSetupSweep, EachFunctionThatIsLookedUpIsMissing) {
  for (const Missing& missing : kMissingFunctions) {
    SCOPED_TRACE(missing.name);
    const RunResult run = Run({}, [&missing] {
      BeginPipelineRun();
      host::HideProcedure(missing.name);
    });
    EXPECT_EQ(ToText(run), ToText(missing.expected));
    EXPECT_EQ(run.facts.at("drops"), "0");
    ExpectTraceOfFailure(run);
  }
  for (const host::CallRecord& call : Run({}).calls) {
    if (call.operation != "GetProcAddress") continue;
    EXPECT_TRUE(
        std::any_of(std::begin(kMissingFunctions), std::end(kMissingFunctions),
                    [&](const Missing& missing) { return missing.name == call.Argument("name"); }))
        << call.Argument("name") << " was never missing";
  }
}

TEST_F(CorrectSetupSweep, EachLibraryIsMissing) {
  for (const Missing& missing : kMissingLibraries) {
    SCOPED_TRACE(missing.name);
    const RunResult run = Run({}, [&missing] {
      BeginPipelineRun();
      host::HideModule(missing.name);
    });
    EXPECT_EQ(ToText(run), ToText(missing.expected));
    EXPECT_EQ(run.facts.at("drops"), "0");
    ExpectTraceOfFailure(run);
  }
}

TEST_F(CorrectSetupSweep, EachAllocationFailsOnce) {
  std::set<std::string> codes;
  FailEachAllocation(Repeat::kOnce, [&](const RunResult& run) {
    ExpectEndWithoutMemory(run, Repeat::kOnce);
    EXPECT_EQ(run.facts.at("drops"), "0");
    EXPECT_LE(MissingScopeRecords(run.facts.at("trace")), 1u) << run.facts.at("trace");
    ExpectTraceOfFailure(run);
    codes.insert(OutcomeOf(run));
  });
  // Every guarded block but the last one, whose attempts are repeated, was hit.
  EXPECT_EQ(codes, (std::set<std::string>{kPassed, kOutOfMemory, kSelfDefenseCode, kDropCode,
                                          kSignatureCode, kRegistryCode, kLaunchCode}));
}

TEST_F(CorrectSetupSweep, AllAllocationsFailFromEachOneOn) {
  std::set<std::string> codes;
  FailEachAllocation(Repeat::kForever, [&](const RunResult& run) {
    ExpectEndWithoutMemory(run, Repeat::kForever);
    codes.insert(OutcomeOf(run));
  });
  EXPECT_TRUE(codes.contains(kPassed));
  EXPECT_TRUE(codes.contains(kOutOfMemory));
}

}  // namespace
}  // namespace tests::pipeline
