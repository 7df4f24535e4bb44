// The typed tables of what may come of a "/unblock" run in which something fails.
#ifndef TESTS_ZUM_SETUP_UTIL_UNBLOCK_OUTCOMES_H_
#define TESTS_ZUM_SETUP_UTIL_UNBLOCK_OUTCOMES_H_

#include <cstdint>
#include <set>
#include <string>

#include "tests/support/failed_call.h"
#include "winapi/types.h"

namespace tests::unblock {

// What a run must give when a call fails. Registry: a letter each for the package and the source of
// both products (m marked, r restored, h both).
struct Expected {
  std::uint32_t code;
  const char* output;
  const char* registry;
};

inline constexpr Expected kCompleted = {0, "Completed", "rrrr"};
inline constexpr const char* kStageFailed =
    "Failed: 0xa1780003 (Problem in disable protective upgrade registry)";

inline constexpr Expected kStageEnded = {0xA1780003, kStageFailed, "mmmm"};
inline constexpr Expected kNoDateAtAll = {0x80000046, "Failed: 0x80000046 (Invalid argument)",
                                          "mmmm"};

// While the trace file's path is made; behind that the conversion concerns the trace alone.
inline bool IsOfThePath(const FailedCall& call) { return !call.Behind("OpenOutputStream"); }

// The typed table of what one failing call does. A listing that breaks off ends like one that is
// over; a key or value that can't be had leaves it and what depends on it as it was. The third
// product has nothing to restore, and the rest isn't looked at or concerns the trace alone.
inline constexpr FaultRow<Expected> kRows[] = {
    {"FileTimeToSystemTime", IsOfThePath, kNoDateAtAll},
    {"SystemTimeToFileTime", IsOfThePath, kNoDateAtAll},
    {"RegEnumKeyW", With<"index", "0">, {0, "Completed", "mmmm"}},
    {"RegEnumKeyW", With<"index", "1">, {0, "Completed", "rrmm"}},
    {"RegOpenKeyExW", InKey<"UserData\\S-1-5-18\\Products">, kStageEnded},
    {"RegOpenKeyExW", InKey<"PRODUCTA\\InstallProperties">, {0, "Completed", "mmrr"}},
    {"RegQueryValueExW", InKey<"PRODUCTA\\InstallProperties">, {0, "Completed", "mrrr"}},
    {"RegSetValueExW", InKey<"PRODUCTA\\InstallProperties">, kStageEnded},
    {"RegDeleteValueW", InKey<"PRODUCTA\\InstallProperties">, {0xA1780003, kStageFailed, "hmmm"}},
    {"RegOpenKeyExW", InKey<"PRODUCTA\\SourceList">, {0, "Completed", "rmrr"}},
    {"RegQueryValueExW", InKey<"PRODUCTA\\SourceList">, {0, "Completed", "rmrr"}},
    {"RegSetValueExW", InKey<"PRODUCTA\\SourceList">, {0xA1780003, kStageFailed, "rmmm"}},
    {"RegDeleteValueW", InKey<"PRODUCTA\\SourceList">, {0xA1780003, kStageFailed, "rhmm"}},
    {"RegOpenKeyExW", InKey<"PRODUCTB\\InstallProperties">, {0, "Completed", "rrmm"}},
    {"RegQueryValueExW", InKey<"PRODUCTB\\InstallProperties">, {0, "Completed", "rrmr"}},
    {"RegSetValueExW", InKey<"PRODUCTB\\InstallProperties">, {0xA1780003, kStageFailed, "rrmm"}},
    {"RegDeleteValueW", InKey<"PRODUCTB\\InstallProperties">, {0xA1780003, kStageFailed, "rrhm"}},
    {"RegOpenKeyExW", InKey<"PRODUCTB\\SourceList">, {0, "Completed", "rrrm"}},
    {"RegQueryValueExW", InKey<"PRODUCTB\\SourceList">, {0, "Completed", "rrrm"}},
    {"RegSetValueExW", InKey<"PRODUCTB\\SourceList">, {0xA1780003, kStageFailed, "rrrm"}},
    {"RegDeleteValueW", InKey<"PRODUCTB\\SourceList">, {0xA1780003, kStageFailed, "rrrh"}}};

inline constexpr const char* kOutOfMemory = "Failed: 0x80000041 (Out of memory)";

// All that one refused piece of memory may do.
inline constexpr Expected kWithoutOnePiece[] = {
    kCompleted,  // a record or the trace file is missing, no more
    // A value that can't be read into memory is passed over.
    {0, "Completed", "mrrr"},
    {0, "Completed", "rmrr"},
    {0, "Completed", "rrmr"},
    {0, "Completed", "rrrm"},
    // The set-up of the run.
    {0x80000041, kOutOfMemory, "mmmm"},
    // Inside the stage, which ends there.
    {0xA1780003, kStageFailed, "mmmm"},
    {0xA1780003, kStageFailed, "rmmm"},
    {0xA1780003, kStageFailed, "rrmm"},
    {0xA1780003, kStageFailed, "rrrm"},
    {0xA1780003, kStageFailed, "rrrr"},
};

// All that may come of every call being refused from some point on: values are restored up to
// there, and a failure can't be put into words any more, so nothing is printed.
inline constexpr Expected kFromSomePointOn[] = {
    {0, "Completed", "mmmm"}, {0, "Completed", "rmmm"}, {0, "Completed", "rrmm"},
    {0, "Completed", "rrrm"}, {0, "Completed", "rrrr"}, {0x80000041, "", "mmmm"},
    {0x80000041, "", "hmmm"}, {0x80000041, "", "rmmm"}, {0x80000041, "", "rhmm"},
    {0x80000041, "", "rrmm"}, {0x80000041, "", "rrhm"}, {0x80000041, "", "rrrm"},
    {0x80000041, "", "rrrh"}, {0x80000041, "", "rrrr"},
};

struct ForEver {
  const char* operation;
  winapi::Error error;
  Expected expected;
};

// One operation alone that never works. The rest concerns the trace alone, or isn't looked at.
inline constexpr ForEver kNoticedForEver[] = {
    {"RegOpenKeyExW", 5, kStageEnded},
    {"RegEnumKeyW", 5, {0, "Completed", "mmmm"}},
    {"RegQueryValueExW", 5, {0, "Completed", "mmmm"}},
    {"RegSetValueExW", 5, kStageEnded},
    {"RegDeleteValueW", 5, {0xA1780003, kStageFailed, "hmmm"}},
    {"FileTimeToSystemTime", 87, kNoDateAtAll},
    {"SystemTimeToFileTime", 87, kNoDateAtAll},
    // Framework strings that don't fit into their objects: the
    // masked command line, and then the report.
    {"GetProcessHeap", 5, {0x80000041, "", "mmmm"}},
    {"HeapAlloc", 5, {0x80000041, "", "mmmm"}}};

// Operations that give no failure, or whose failure isn't told apart from their success.
inline const std::set<std::string> kNeverFail = {"GetLastError",         "SetLastError",
                                                 "GetCommandLineW",      "GetCurrentProcessId",
                                                 "GetCurrentThreadId",   "GetSystemTimeAsFileTime",
                                                 "VerSetConditionMask",  "CharacterToMultibyte",
                                                 "MultibyteToCharacter", "ProcessExitStatus"};

}  // namespace tests::unblock

#endif  // TESTS_ZUM_SETUP_UTIL_UNBLOCK_OUTCOMES_H_
