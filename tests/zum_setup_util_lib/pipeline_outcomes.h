// The typed tables of what comes of a run of the whole correction in which something fails or is
// missing.
#ifndef TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_OUTCOMES_H_
#define TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_OUTCOMES_H_

#include <cstddef>
#include <map>
#include <set>
#include <string>

#include "tests/support/failed_call.h"
#include "tests/zum_setup_util_lib/pipeline_run.h"

namespace tests::pipeline {

inline constexpr Expected kNotDropped = {kDropCode, "marked"};
inline constexpr Expected kRefused = {kSignatureCode, "marked"};
inline constexpr Expected kNotStarted = {kLaunchCode, "restored"};
// The installer runs or has run.
inline constexpr Expected kNotWaitedFor = {kLaunchCode, "restored", "as it was", 1};
inline constexpr Expected kProbeStays = {kPassed, "restored", "corrected", 1, 0, 1};
inline constexpr Expected kFirstProductMarked = {kPassed, "marked", "corrected", 1};
inline constexpr Expected kSourceMarked = {kPassed, "first", "corrected", 1};

// The size of a label: without one the token counts as one that has none.
inline bool IsLabelsSize(const FailedCall& call) {
  return call.Argument("informationClass") == "25" && call.Argument("length") == "0";
}

// The look-up behind the check itself.
inline bool ClosesTheState(const FailedCall& call) {
  return With<"name", "WinVerifyTrust">(call) && call.Behind("WinVerifyTrust");
}

// The typed table of what one failing call does. The rest is tried again, or its failure isn't
// looked at, or concerns the trace alone.
inline constexpr FaultRow<Expected> kRows[] = {
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
inline const std::map<std::string, std::string> kErrorRecords = {
    {kSelfDefenseCode, "ERR\tsetup\t[correct_setup::detail::CheckSelfDefense] "},
    {kRegistryCode, "ERR\tsetup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] "},
    {kLaunchCode, "ERR\tsetup\t[correct_setup::detail::LaunchMsiPackage] "},
    {kPendingCode, "ERR\tsetup\t[correct_setup::detail::TryCorrectPendingOperations] "},
    {kSignatureCode, "ERR\tsetup\t[correct_setup::detail::CheckVerisignSignature] "},
    {kDropCode, "ERR\tsetup\t[correct_setup::detail::DropFiles] "}};

// Operations of the tracer and of the strings, which work all the time.
inline const std::set<std::string> kOfTheTrace = {"HeapAlloc",
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
inline const std::set<std::string> kNeverFail = {
    "GetLastError",         "SetLastError",         "GetCurrentProcess",
    "GetCurrentProcessId",  "GetCurrentThreadId",   "GetSystemTimeAsFileTime",
    "CharacterToMultibyte", "MultibyteToCharacter", "lstrcmpiW",
    "GetLengthSid"};

struct ForEver {
  const char* operation;
  Expected expected;
  std::size_t drops = 0;  // directories left behind
};

// All attempts fail, and none of them leaves a trace in the registry.
inline constexpr Expected kNotCommitted = {kPendingCode, "restored", "as it was", 1};

// One operation alone that never works, in the order in which the correction comes to them.
inline constexpr ForEver kOperationsForEver[] = {
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

struct Missing {
  const char* name;
  Expected expected;
};

inline constexpr Missing kMissingFunctions[] = {
    {"AddMandatoryAce", kNotDropped},
    {"WinVerifyTrust", kRefused},
    {"WTHelperProvDataFromStateData", kRefusedWithState},
    {"WTHelperGetProvSignerFromChain", kRefusedWithState},
    {"WTHelperGetProvCertFromChain", kRefusedWithState},
    {"CertGetNameStringW", kRefusedWithState},
    {"CreateTransaction", kRenamesSkipped},
    {"RegOpenKeyTransactedW", kRenamesSkipped},
    {"CommitTransaction", kNotCommitted}};

inline constexpr Missing kMissingLibraries[] = {{"wintrust.dll", kRefused},
                                                {"crypt32.dll", kRefusedWithState},
                                                {"ktmw32.dll", kRenamesSkipped}};

}  // namespace tests::pipeline

#endif  // TESTS_ZUM_SETUP_UTIL_LIB_PIPELINE_OUTCOMES_H_
