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
#include "tests/zum_setup_util_lib/pipeline_progress.h"
#include "tests/zum_setup_util_lib/pipeline_run.h"

namespace {

namespace host = winapi::host;
using host::Repeat;
using tests::Always;
using tests::Behind;
using tests::Count;
using tests::Expected;
using tests::FailedCall;
using tests::Fault;
using tests::FaultRow;
using tests::FaultTable;
using tests::InKey;
using tests::RunResult;
using tests::ToText;
using tests::With;
// The outcomes.
using tests::kCompleted;
using tests::kDropCode;
using tests::kLaunchCode;
using tests::kOutOfMemory;
using tests::kPassed;
using tests::kPendingCode;
using tests::kRefusedWithState;
using tests::kRegistryCode;
using tests::kRenamesSkipped;
using tests::kSelfDefenseCode;
using tests::kSignatureCode;

class CorrectSetupSweep : public tests::FaultSweep {
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

  RunResult Run(const Fault& fault) override { return Run(fault, tests::BeginPipelineRun); }
  RunResult Run(const Fault& fault, const std::function<void()>& begin) {
    const RunResult run = RunOnce(tests::PipelinePlan(begin), fault);
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

constexpr Expected kNotDropped = {kDropCode, "marked"};
constexpr Expected kRefused = {kSignatureCode, "marked"};
constexpr Expected kNotStarted = {kLaunchCode, "restored"};
// The installer runs or has run.
constexpr Expected kNotWaitedFor = {kLaunchCode, "restored", "as it was", 1};
constexpr Expected kProbeStays = {kPassed, "restored", "corrected", 1, 0, 1};
constexpr Expected kFirstProductMarked = {kPassed, "marked", "corrected", 1};
constexpr Expected kSourceMarked = {kPassed, "first", "corrected", 1};

// The size of a label: without one the token counts as one that has none.
bool IsLabelsSize(const FailedCall& call) {
  return call.Argument("informationClass") == "25" && call.Argument("length") == "0";
}

// The look-up behind the check itself.
bool ClosesTheState(const FailedCall& call) {
  return With<"name", "WinVerifyTrust">(call) && call.Behind("WinVerifyTrust");
}

// The typed table of what one failing call does. The rest is tried again, or its failure isn't
// looked at, or concerns the trace alone.
constexpr FaultRow<Expected> kRows[] = {
    // The probe. Its own question is asked again by each attempt, and the removal asks too.
    {"GetFileAttributesW", Behind<"GetFileAttributesW">, kCompleted},
    {"GetFileAttributesW", With<"path", "ZUM\\Data">, {kSelfDefenseCode, "marked"}},
    {"DeleteFileW", With<"path", "p.msi">, kCompleted},
    {"DeleteFileW", Always, kProbeStays},
    // The private directory and the copy in it.
    {"GetTempPathW", Always, kNotDropped},
    {"OpenProcessToken", Always, kNotDropped},
    {"GetTokenInformation", IsLabelsSize, kCompleted},
    {"GetTokenInformation", Always, kNotDropped},
    {"CreateWellKnownSid", Always, kNotDropped},
    {"InitializeAcl", Always, kNotDropped},
    {"AddAccessAllowedAce", Always, kNotDropped},
    {"GetModuleHandleA", With<"name", "advapi32">, kNotDropped},
    {"GetProcAddress", With<"name", "AddMandatoryAce">, kNotDropped},
    {"AddMandatoryAce", Always, kNotDropped},
    {"InitializeSecurityDescriptor", Always, kNotDropped},
    {"SetSecurityDescriptorDacl", Always, kNotDropped},
    {"SetSecurityDescriptorSacl", Always, kNotDropped},
    {"CreateDirectoryW", Always, kNotDropped},
    // A package that can't be listed isn't copied: its check finds no file, and so no signer.
    {"FindFirstFileExW", Behind<"CopyFileW">, kCompleted},
    {"FindFirstFileExW", Always, kRefusedWithState},
    {"FindNextFileW", Behind<"CopyFileW">, kCompleted},
    {"FindNextFileW", Always, kRefusedWithState},
    {"CopyFileW", Always, kNotDropped},
    // The signature. The second look-up of the provider is for the close of its state, whose result
    // doesn't count.
    {"GetSystemDirectoryW", Behind<"GetExitCodeProcess">, kRenamesSkipped},
    {"GetSystemDirectoryW", Behind<"RegOpenKeyExW">, kNotStarted},
    {"GetSystemDirectoryW", Behind<"LoadLibraryW">, kRefusedWithState},
    {"GetSystemDirectoryW", Always, kRefused},
    {"LoadLibraryW", With<"name", "wintrust.dll">, kRefused},
    {"LoadLibraryW", With<"name", "crypt32.dll">, kRefusedWithState},
    {"GetProcAddress", ClosesTheState, {kPassed, "restored", "corrected", 1, 1}},
    {"GetProcAddress", With<"name", "WinVerifyTrust">, kRefused},
    {"GetProcAddress", With<"name", "WTHelperProvDataFromStateData">, kRefusedWithState},
    {"GetProcAddress", With<"name", "WTHelperGetProvSignerFromChain">, kRefusedWithState},
    {"GetProcAddress", With<"name", "WTHelperGetProvCertFromChain">, kRefusedWithState},
    {"GetProcAddress", With<"name", "CertGetNameStringW">, kRefusedWithState},
    {"WinVerifyTrust", With<"dwStateAction", "1">, kRefused},
    {"WinVerifyTrust", With<"dwStateAction", "2">, kCompleted},
    {"WTHelperProvDataFromStateData", Always, kRefusedWithState},
    {"WTHelperGetProvSignerFromChain", Always, kRefusedWithState},
    {"WTHelperGetProvCertFromChain", Always, kRefusedWithState},
    {"CertGetNameStringW", Always, kRefusedWithState},
    {"LocalAlloc", Always, kRefusedWithState},
    // The records.
    {"RegOpenKeyExW", InKey<"S-1-5-18\\Products">, {kRegistryCode, "marked"}},
    {"RegEnumKeyW", With<"index", "0">, kFirstProductMarked},
    {"RegOpenKeyExW", InKey<"InstallProperties">, kFirstProductMarked},
    {"RegQueryValueExW", InKey<"InstallProperties">, {kPassed, "marked restored", "corrected", 1}},
    {"RegSetValueExW", InKey<"InstallProperties">, {kRegistryCode, "marked"}},
    {"RegDeleteValueW", InKey<"InstallProperties">, {kRegistryCode, "half marked"}},
    {"RegOpenKeyExW", InKey<"SourceList">, kSourceMarked},
    {"RegQueryValueExW", InKey<"SourceList">, kSourceMarked},
    {"RegSetValueExW", InKey<"SourceList">, {kRegistryCode, "first"}},
    {"RegDeleteValueW", InKey<"SourceList">, {kRegistryCode, "restored half"}},
    // The installer.
    {"CreateProcessW", Always, kNotStarted},
    {"WaitForSingleObjectEx", Always, kNotWaitedFor},
    {"GetExitCodeProcess", Always, kNotWaitedFor},
    // The renames: a list that can't be reached is skipped, and a write or a commit that fails is
    // repeated.
    {"LoadLibraryW", With<"name", "ktmw32.dll">, kRenamesSkipped},
    {"GetProcAddress", With<"name", "CreateTransaction">, kRenamesSkipped},
    {"CreateTransaction", Always, kRenamesSkipped},
    {"GetModuleHandleW", With<"name", "advapi32.dll">, kRenamesSkipped},
    {"GetProcAddress", With<"name", "RegOpenKeyTransactedW">, kRenamesSkipped},
    {"RegOpenKeyTransactedW", Always, kRenamesSkipped},
    {"RegQueryValueExW", InKey<"Session Manager">, kRenamesSkipped}};

// The record with which each stage tells of its failure.
const std::map<std::string, std::string> kErrorRecords = {
    {kSelfDefenseCode, "ERR\tsetup\t[correct_setup::detail::CheckSelfDefense] "},
    {kRegistryCode, "ERR\tsetup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "},
    {kLaunchCode, "ERR\tsetup\t[correct_setup::detail::LaunchMsiPackage] "},
    {kPendingCode, "ERR\tsetup\t[correct_setup::detail::TryCorrectPendingOperations] "},
    {kSignatureCode, "ERR\tsetup\t[correct_setup::detail::CheckVerisignSignature] "},
    {kDropCode, "ERR\tsetup\t[correct_setup::detail::DropFiles] "}};

void ExpectTraceOfFailure(const RunResult& run) {
  const auto record = kErrorRecords.find(tests::OutcomeOf(run));
  if (record == kErrorRecords.end()) return;
  EXPECT_NE(run.facts.at("trace").find(record->second), std::string::npos) << run.facts.at("trace");
}

// Operations of the tracer and of the strings, which work all the time.
const std::set<std::string> kOfTheTrace = {"HeapAlloc",
                                           "HeapReAlloc",
                                           "HeapFree",
                                           "GetProcessHeap",
                                           "FileTimeToSystemTime",
                                           "SystemTimeToFileTime",
                                           "GetTimeZoneInformationForYear",
                                           "GetTimeZoneInformation",
                                           "WriteOutputStream",
                                           "FlushOutputStream"};

// Operations that give no failure.
const std::set<std::string> kNeverFail = {
    "GetLastError",         "SetLastError",         "GetCurrentProcess",
    "GetCurrentProcessId",  "GetCurrentThreadId",   "GetSystemTimeAsFileTime",
    "CharacterToMultibyte", "MultibyteToCharacter", "lstrcmpiW",
    "GetLengthSid"};

TEST_F(CorrectSetupSweep, NothingFailsWithoutAFault) {
  const RunResult run = Run({});
  EXPECT_EQ(ToText(run), ToText(kCompleted));
  EXPECT_EQ(run.facts.at("drops"), "0");
  EXPECT_EQ(run.injectedFaults, 0u);
  EXPECT_EQ(run.live.moduleReferences, 3u);
  EXPECT_EQ(tests::MissingScopeRecords(run.facts.at("trace")), 0u);
  EXPECT_EQ(tests::ScopesOf(run.facts.at("trace")).size(), 14u);
}

TEST_F(CorrectSetupSweep, EachCallFailsOnce) {
  FaultTable<Expected> table(kRows, kCompleted);
  FailEachCall(kNeverFail, [&](const FailedCall& call, winapi::Error, const RunResult& run) {
    EXPECT_EQ(run.facts.at("drops"), "0");
    ExpectTraceOfFailure(run);
    if (call.Is("HeapAlloc") || call.Is("GetProcessHeap")) {
      tests::ExpectPossible(run, tests::ProgressAt(run, tests::PositionOfFirstFailure(run)));
      return;
    }
    EXPECT_EQ(ToText(run), ToText(table.For(call)));
    if (!kOfTheTrace.contains(call.Operation())) {
      EXPECT_EQ(tests::MissingScopeRecords(run.facts.at("trace")), 0u) << run.facts.at("trace");
    }
  });
}

// Steps that are tried again fail in the end, and a removal among them leaves the directory.
TEST_F(CorrectSetupSweep, AllCallsFailFromEachOneOn) {
  FailAllCallsFromEachOn([](const RunResult& run) {
    tests::ExpectPossibleForEver(run, tests::ProgressAt(run, tests::PositionOfFirstFailure(run)));
    EXPECT_LE(run.facts.at("drops"), tests::RemovalFailed(run) ? "1" : "0");
  });
}

struct ForEver {
  const char* operation;
  Expected expected;
  std::size_t drops = 0;  // directories left behind
};

// All attempts fail, and none of them leaves a trace in the registry.
constexpr Expected kNotCommitted = {kPendingCode, "restored", "as it was", 1};

// One operation alone that never works, in the order in which the correction comes to them.
constexpr ForEver kOperationsForEver[] = {
    {"GetFileAttributesW", {kSelfDefenseCode, "marked"}},
    {"CoCreateGuid", kCompleted},  // the zeros serve
    {"CreateFileW", {kSelfDefenseCode, "marked"}},
    {"CloseHandle", kCompleted},
    // The probe file stays, and so does the private directory, with the copy in it.
    {"DeleteFileW", kProbeStays, 1},
    {"GetTempPathW", kNotDropped},
    {"OpenProcessToken", kNotDropped},
    {"GetTokenInformation", kNotDropped},
    {"CreateWellKnownSid", kNotDropped},
    {"InitializeAcl", kNotDropped},
    {"AddAccessAllowedAce", kNotDropped},
    {"GetModuleHandleA", kNotDropped},
    {"GetProcAddress", kNotDropped},
    {"AddMandatoryAce", kNotDropped},
    {"InitializeSecurityDescriptor", kNotDropped},
    {"SetSecurityDescriptorDacl", kNotDropped},
    {"SetSecurityDescriptorSacl", kNotDropped},
    {"CreateDirectoryW", kNotDropped},
    {"CopyFileW", kNotDropped},
    // No package is found, so none is copied; the removal can't list either.
    {"FindFirstFileExW", kRefusedWithState, 1},
    {"FindNextFileW", kRefusedWithState},
    {"FindClose", kCompleted},
    {"GetSystemDirectoryW", kRefused},
    {"LoadLibraryW", kRefused},
    {"WinVerifyTrust", kRefused},
    {"WTHelperProvDataFromStateData", kRefusedWithState},
    {"WTHelperGetProvSignerFromChain", kRefusedWithState},
    {"WTHelperGetProvCertFromChain", kRefusedWithState},
    {"CertGetNameStringW", kRefusedWithState},
    {"LocalAlloc", kRefusedWithState},
    {"LocalFree", kCompleted},
    {"RegOpenKeyExW", {kRegistryCode, "marked"}},
    {"RegEnumKeyW", kFirstProductMarked},
    {"RegQueryValueExW", {kPassed, "marked", "as it was", 1}},
    {"RegSetValueExW", {kRegistryCode, "marked"}},
    {"RegDeleteValueW", {kRegistryCode, "half marked"}},
    {"RegCloseKey", kCompleted},
    // Framework strings that don't fit into their objects: the longer of the two values can't be
    // read and is passed over, and the installer's path fails its stage.
    {"GetProcessHeap", {kLaunchCode, "marked restored"}},
    {"HeapAlloc", {kLaunchCode, "marked restored"}},
    {"HeapFree", kCompleted},
    {"CreateProcessW", kNotStarted},
    {"WaitForSingleObjectEx", kNotWaitedFor},
    {"GetExitCodeProcess", kNotWaitedFor},
    {"CreateTransaction", kRenamesSkipped},
    {"GetModuleHandleW", kRenamesSkipped},
    {"RegOpenKeyTransactedW", kRenamesSkipped},
    {"CommitTransaction", kNotCommitted},
    {"RemoveDirectoryW", kCompleted, 1},
    // The trace alone.
    {"FileTimeToSystemTime", kCompleted},
    {"GetTimeZoneInformationForYear", kCompleted}};

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

struct Missing {
  const char* name;
  Expected expected;
};

constexpr Missing kMissingFunctions[] = {{"AddMandatoryAce", kNotDropped},
                                         {"WinVerifyTrust", kRefused},
                                         {"WTHelperProvDataFromStateData", kRefusedWithState},
                                         {"WTHelperGetProvSignerFromChain", kRefusedWithState},
                                         {"WTHelperGetProvCertFromChain", kRefusedWithState},
                                         {"CertGetNameStringW", kRefusedWithState},
                                         {"CreateTransaction", kRenamesSkipped},
                                         {"RegOpenKeyTransactedW", kRenamesSkipped},
                                         {"CommitTransaction", kNotCommitted}};

constexpr Missing kMissingLibraries[] = {{"wintrust.dll", kRefused},
                                         {"crypt32.dll", kRefusedWithState},
                                         {"ktmw32.dll", kRenamesSkipped}};

TEST_F(CorrectSetupSweep, EachFunctionThatIsLookedUpIsMissing) {
  for (const Missing& missing : kMissingFunctions) {
    SCOPED_TRACE(missing.name);
    const RunResult run = Run({}, [&missing] {
      tests::BeginPipelineRun();
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
      tests::BeginPipelineRun();
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
    tests::ExpectEndWithoutMemory(run, Repeat::kOnce);
    EXPECT_EQ(run.facts.at("drops"), "0");
    EXPECT_LE(tests::MissingScopeRecords(run.facts.at("trace")), 1u) << run.facts.at("trace");
    ExpectTraceOfFailure(run);
    codes.insert(tests::OutcomeOf(run));
  });
  // Every guarded block but the last one, whose attempts are repeated, was hit.
  EXPECT_EQ(codes, (std::set<std::string>{kPassed, kOutOfMemory, kSelfDefenseCode, kDropCode,
                                          kSignatureCode, kRegistryCode, kLaunchCode}));
}

TEST_F(CorrectSetupSweep, AllAllocationsFailFromEachOneOn) {
  std::set<std::string> codes;
  FailEachAllocation(Repeat::kForever, [&](const RunResult& run) {
    tests::ExpectEndWithoutMemory(run, Repeat::kForever);
    codes.insert(tests::OutcomeOf(run));
  });
  EXPECT_TRUE(codes.contains(kPassed));
  EXPECT_TRUE(codes.contains(kOutOfMemory));
}

}  // namespace
