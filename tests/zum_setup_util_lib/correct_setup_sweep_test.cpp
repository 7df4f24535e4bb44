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
using tests::Count;
using tests::Expected;
using tests::Fault;
using tests::RunResult;
using tests::ToText;
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
  RunResult Run(const Fault& fault, const std::function<void()>& begin = tests::BeginPipelineRun) {
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

// The call that was made to fail, with what tells it from others of its operation.
struct FailedCall {
  host::CallRecord call;
  std::size_t nth = 0;  // of its operation, from 1
  bool copied = false;  // the package lies in the private directory

  [[nodiscard]] bool Is(std::string_view operation) const { return call.operation == operation; }
  [[nodiscard]] bool Has(const char* argument, std::string_view part) const {
    return call.Argument(argument).find(part) != std::string::npos;
  }
};

FailedCall FirstFailure(const RunResult& run) {
  FailedCall failure;
  std::map<std::string, std::size_t> seen;
  for (const host::CallRecord& call : run.calls) {
    const std::size_t nth = ++seen[call.operation];
    if (call.failed) {
      failure.call = call;
      failure.nth = nth;
      return failure;
    }
    if (call.operation == "CopyFileW") failure.copied = true;
  }
  return failure;
}

// Functions whose failure is the failure of the private copy, before the directory is made.
const std::set<std::string> kSecureDirectoryCalls = {"OpenProcessToken",
                                                     "CreateWellKnownSid",
                                                     "InitializeAcl",
                                                     "AddAccessAllowedAce",
                                                     "GetModuleHandleA",
                                                     "AddMandatoryAce",
                                                     "GetTempPathW",
                                                     "InitializeSecurityDescriptor",
                                                     "SetSecurityDescriptorDacl",
                                                     "SetSecurityDescriptorSacl",
                                                     "CreateDirectoryW",
                                                     "CopyFileW"};

// Those behind which a state of the trust provider stays open.
const std::set<std::string> kCertificateCalls = {
    "WTHelperProvDataFromStateData", "WTHelperGetProvSignerFromChain",
    "WTHelperGetProvCertFromChain", "CertGetNameStringW", "LocalAlloc"};

Expected ExpectedForLookUp(const FailedCall& failed) {
  const std::string name = failed.call.Argument("name");
  if (name == "AddMandatoryAce") return {kDropCode, "marked"};
  if (name == "WinVerifyTrust") {
    // The last look-up but those of the renames is for the close of the state, whose result doesn't
    // count.
    if (failed.nth > 2) return {kPassed, "restored", "corrected", 1, 1};
    return {kSignatureCode, "marked"};
  }
  if (kCertificateCalls.contains(name)) return kRefusedWithState;
  if (name == "CommitTransaction") return kCompleted;  // the next attempt does it
  return kRenamesSkipped;                              // CreateTransaction, RegOpenKeyTransactedW
}

// The loading of a library: its path's directory, or itself.
Expected ExpectedForLibrary(std::size_t library) {
  if (library == 1) return {kSignatureCode, "marked"};  // wintrust.dll
  if (library == 2) return kRefusedWithState;           // crypt32.dll: a signer without a name
  return kRenamesSkipped;                               // ktmw32.dll
}

Expected ExpectedForRegistry(const FailedCall& failed) {
  if (failed.Is("RegOpenKeyExW")) {
    if (failed.nth == 1) return {kRegistryCode, "marked"};
    return {kPassed, failed.nth == 2 ? "marked" : "first", "corrected", 1};
  }
  if (failed.Is("RegEnumKeyW")) {
    return failed.Has("index", "0") ? Expected{kPassed, "marked", "corrected", 1} : kCompleted;
  }
  if (failed.Has("name", "PendingFileRenameOperations")) {
    return failed.Is("RegQueryValueExW") ? kRenamesSkipped : kCompleted;
  }
  const bool package = failed.Has("name", "LocalPackage");
  if (failed.Is("RegQueryValueExW")) {
    return {kPassed, package ? "marked restored" : "first", "corrected", 1};
  }
  if (failed.Is("RegSetValueExW")) return {kRegistryCode, package ? "marked" : "first"};
  if (failed.Is("RegDeleteValueW"))
    return {kRegistryCode, package ? "half marked" : "restored half"};
  return kCompleted;  // RegCloseKey
}

Expected ExpectedForListing(const FailedCall& failed) {
  // A package that can't be listed isn't copied: its check finds no file, and so no signer.
  return failed.copied || failed.Is("FindClose") ? kCompleted : kRefusedWithState;
}

// The typed table of what one failing call does.
Expected ExpectedFor(const FailedCall& failed) {
  if (failed.Is("GetFileAttributesW") && failed.nth == 1) return {kSelfDefenseCode, "marked"};
  if (failed.Is("DeleteFileW") && failed.nth == 1) {
    return {kPassed, "restored", "corrected", 1, 0, 1};
  }
  if (kSecureDirectoryCalls.contains(failed.call.operation)) return {kDropCode, "marked"};
  if (failed.Is("GetTokenInformation")) {
    // Without a size for the label the token counts as one that has none.
    return failed.nth == 3 ? kCompleted : Expected{kDropCode, "marked"};
  }
  if (failed.call.operation.starts_with("Find")) return ExpectedForListing(failed);
  if (failed.Is("GetProcAddress")) return ExpectedForLookUp(failed);
  if (failed.Is("LoadLibraryW")) return ExpectedForLibrary(failed.nth);
  if (failed.Is("GetSystemDirectoryW")) {
    if (failed.nth <= 2) return ExpectedForLibrary(failed.nth);
    return failed.nth <= 4 ? Expected{kLaunchCode, "restored"} : kRenamesSkipped;
  }
  if (failed.Is("WinVerifyTrust")) {
    return failed.nth == 1 ? Expected{kSignatureCode, "marked"} : kCompleted;
  }
  if (kCertificateCalls.contains(failed.call.operation)) return kRefusedWithState;
  if (failed.Is("CreateTransaction") || failed.Is("RegOpenKeyTransactedW") ||
      failed.Is("GetModuleHandleW")) {
    return kRenamesSkipped;
  }
  if (failed.call.operation.starts_with("Reg")) return ExpectedForRegistry(failed);
  if (failed.Is("CreateProcessW")) return {kLaunchCode, "restored"};
  if (failed.Is("WaitForSingleObjectEx") || failed.Is("GetExitCodeProcess")) {
    return {kLaunchCode, "restored", "as it was", 1};
  }
  // The rest is tried again, or its failure isn't looked at, or concerns the trace alone.
  return kCompleted;
}

// Errors that the operations really give.
std::vector<winapi::Error> ErrorsFor(const std::string& operation) {
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
  std::set<std::string> failed;
  std::size_t nth = 1;
  for (;; ++nth) {
    Fault fault{Fault::Kind::kCall, nth, 5, Repeat::kOnce};
    RunResult run = Run(fault);
    if (run.injectedFaults == 0) break;
    const FailedCall call = FirstFailure(run);
    failed.insert(call.call.operation);
    for (const winapi::Error error : ErrorsFor(call.call.operation)) {
      if (error != fault.error) run = Run({Fault::Kind::kCall, nth, error, Repeat::kOnce});
      SCOPED_TRACE(call.call.operation + ' ' + std::to_string(call.nth) + ' ' +
                   call.call.Argument("name") + ", error " + std::to_string(error));
      EXPECT_EQ(run.facts.at("drops"), "0");
      ExpectTraceOfFailure(run);
      if (call.Is("HeapAlloc") || call.Is("GetProcessHeap")) {
        tests::ExpectPossible(run, tests::ProgressAt(run, tests::PositionOfFirstFailure(run)));
        continue;
      }
      EXPECT_EQ(ToText(run), ToText(ExpectedFor(call)));
      if (!kOfTheTrace.contains(call.call.operation)) {
        EXPECT_EQ(tests::MissingScopeRecords(run.facts.at("trace")), 0u) << run.facts.at("trace");
      }
    }
  }
  PrintSummary("calls", nth - 1);
  ExpectAllIn(Run({}), failed, kNeverFail);
}

// Steps that are tried again fail in the end, and a removal among them leaves the directory.
TEST_F(CorrectSetupSweep, AllCallsFailFromEachOneOn) {
  std::size_t nth = 1;
  for (;; ++nth) {
    const Fault fault{Fault::Kind::kCall, nth, 5, Repeat::kForever};
    const RunResult run = Run(fault);
    if (run.injectedFaults == 0) break;
    SCOPED_TRACE(tests::Describe(fault) + ": " + FirstFailure(run).call.operation);
    tests::ExpectPossibleForEver(run, tests::ProgressAt(run, tests::PositionOfFirstFailure(run)));
    EXPECT_LE(run.facts.at("drops"), tests::RemovalFailed(run) ? "1" : "0");
  }
  PrintSummary("calls", nth - 1);
}

struct ForEver {
  const char* operation;
  Expected expected;
  std::size_t drops = 0;  // directories left behind
};

constexpr Expected kRefused = {kSignatureCode, "marked"};
constexpr Expected kNotDropped = {kDropCode, "marked"};
// All attempts fail, and none of them leaves a trace in the registry.
constexpr Expected kNotCommitted = {kPendingCode, "restored", "as it was", 1};

// One operation alone that never works, in the order in which the correction comes to them.
constexpr ForEver kOperationsForEver[] = {
    {"GetFileAttributesW", {kSelfDefenseCode, "marked"}},
    {"CoCreateGuid", kCompleted},  // the zeros serve
    {"CreateFileW", {kSelfDefenseCode, "marked"}},
    {"CloseHandle", kCompleted},
    // The probe file stays, and so does the private directory, with the copy in it.
    {"DeleteFileW", {kPassed, "restored", "corrected", 1, 0, 1}, 1},
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
    {"RegEnumKeyW", {kPassed, "marked", "corrected", 1}},
    {"RegQueryValueExW", {kPassed, "marked", "as it was", 1}},
    {"RegSetValueExW", {kRegistryCode, "marked"}},
    {"RegDeleteValueW", {kRegistryCode, "half marked"}},
    {"RegCloseKey", kCompleted},
    // Framework strings that don't fit into their objects: the longer of the two values can't be
    // read and is passed over, and the installer's path fails its stage.
    {"GetProcessHeap", {kLaunchCode, "marked restored"}},
    {"HeapAlloc", {kLaunchCode, "marked restored"}},
    {"HeapFree", kCompleted},
    {"CreateProcessW", {kLaunchCode, "restored"}},
    {"WaitForSingleObjectEx", {kLaunchCode, "restored", "as it was", 1}},
    {"GetExitCodeProcess", {kLaunchCode, "restored", "as it was", 1}},
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

// The heap behind the framework's strings is the seam's, and swept with its calls.
TEST_F(CorrectSetupSweep, EachAllocationFailsOnce) {
  std::set<std::string> codes;
  std::size_t nth = 1;
  for (;; ++nth) {
    const RunResult run = Run({Fault::Kind::kAllocation, nth, 0, Repeat::kOnce});
    if (!run.callsBeforeAllocationFault) break;
    SCOPED_TRACE("allocation " + std::to_string(nth));
    tests::ExpectPossible(run, tests::ProgressAt(run, *run.callsBeforeAllocationFault));
    EXPECT_EQ(run.facts.at("drops"), "0");
    EXPECT_LE(tests::MissingScopeRecords(run.facts.at("trace")), 1u) << run.facts.at("trace");
    ExpectTraceOfFailure(run);
    codes.insert(tests::OutcomeOf(run));
  }
  PrintSummary("allocations", nth - 1);
  // Every guarded block but the last one, whose attempts are repeated, was hit.
  EXPECT_EQ(codes, (std::set<std::string>{kPassed, kOutOfMemory, kSelfDefenseCode, kDropCode,
                                          kSignatureCode, kRegistryCode, kLaunchCode}));
}

TEST_F(CorrectSetupSweep, AllAllocationsFailFromEachOneOn) {
  std::set<std::string> codes;
  std::size_t nth = 1;
  for (;; ++nth) {
    const RunResult run = Run({Fault::Kind::kAllocation, nth, 0, Repeat::kForever});
    if (!run.callsBeforeAllocationFault) break;
    SCOPED_TRACE("allocation " + std::to_string(nth) + " and all behind it");
    tests::ExpectPossible(run, tests::ProgressAt(run, *run.callsBeforeAllocationFault));
    codes.insert(tests::OutcomeOf(run));
  }
  PrintSummary("allocations", nth - 1);
  EXPECT_TRUE(codes.contains(kPassed));
  EXPECT_TRUE(codes.contains(kOutOfMemory));
}

}  // namespace
