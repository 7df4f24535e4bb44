// The whole "/unblock" run, with each call of the seam and each allocation failing, one after the
// other, once and for ever: what the process gives, prints, traces and leaves in the registry.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <sstream>

#include "tests/support/fault_sweep.h"
#include "tests/support/installer_keys.h"
#include "tests/support/test_registry.h"
#include "winapi/errors.h"
#include "zum_setup_util/run.h"

namespace {

namespace host = winapi::host;
using host::Repeat;
using tests::FailedCall;
using tests::Fault;
using tests::FaultRow;
using tests::FaultTable;
using tests::InKey;
using tests::InstallProperties;
using tests::RunResult;
using tests::SourceList;
using tests::StateOf;
using tests::With;

// Two products with both values marked (one with a text that doesn't fit the first read) and one
// without.
const std::u16string kLongPackage =
    u"C:\\windows\\Installer\\" + std::u16string(200, u'p') + u".msi";
const std::u16string kShortPackage = u"C:\\windows\\Installer\\1.msi";
const std::u16string kProducts[] = {u"PRODUCTA", u"PRODUCTB"};

std::u16string PackageOf(const std::u16string& product) {
  return product == kProducts[0] ? kLongPackage : kShortPackage;
}

void Prepare() {
  for (const std::u16string& product : kProducts) {
    tests::CreateKey(InstallProperties(product));
    tests::CreateKey(SourceList(product));
    tests::SetValue(InstallProperties(product),
                    {u"LocalPackageNotExist", 1, tests::Utf16Bytes(PackageOf(product))});
    tests::SetValue(SourceList(product),
                    {u"PackageNameNotExist", 1, tests::Utf16Bytes(u"old.msi")});
  }
  tests::CreateKey(InstallProperties(u"PRODUCTC"));
  tests::CreateKey(SourceList(u"PRODUCTC"));
  std::filesystem::create_directories(host::RootFolder() + "/drive_c/t");
  host::SetClock(134'000'000'000'000'000);
  host::SetTimeZone("Europe/Berlin");
  host::SetCommandLine(u"tool.exe --trace-output=C:\\t /unblock");
}

std::string ReadTrace() {
  std::string text;
  for (const auto& entry : std::filesystem::directory_iterator(host::RootFolder() + "/drive_c/t")) {
    std::ifstream file(entry.path(), std::ios::binary);
    text.append(std::istreambuf_iterator<char>(file), {});
  }
  return text;
}

std::map<std::string, std::string> Inspect() {
  std::map<std::string, std::string> facts;
  for (const std::u16string& product : kProducts) {
    const std::string name(product.begin(), product.end());
    facts[name + ".package"] = StateOf(InstallProperties(product), u"LocalPackage");
    facts[name + ".source"] = StateOf(SourceList(product), u"PackageName");
  }
  facts["trace"] = ReadTrace();
  return facts;
}

// The registry as one word a value: package and source of each product.
std::string RegistryOf(const RunResult& run) {
  std::string states;
  for (const char* fact :
       {"PRODUCTA.package", "PRODUCTA.source", "PRODUCTB.package", "PRODUCTB.source"}) {
    const auto found = run.facts.find(fact);
    states += found == run.facts.end() ? "?" : found->second.substr(0, 1);
  }
  return states;
}

class UnblockSweep : public tests::FaultSweep {
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
    const RunResult run =
        RunOnce({.prepare = Prepare,
                 .begin = {},
                 .entry = [] { return static_cast<std::uint32_t>(zum_setup_util::RunSetupUtil()); },
                 .inspect = Inspect},
                fault);
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

// What a run must give when a call fails. Registry: a letter each for the package and the source of
// both products (m marked, r restored, h both).
struct Expected {
  std::uint32_t code;
  const char* output;
  const char* registry;
};

constexpr Expected kCompleted = {0, "Completed", "rrrr"};
constexpr const char* kStageFailed =
    "Failed: 0xa1780003 (Problem in disable protective upgrade registry)";

constexpr Expected kStageEnded = {0xA1780003, kStageFailed, "mmmm"};
constexpr Expected kNoDateAtAll = {0x80000046, "Failed: 0x80000046 (Invalid argument)", "mmmm"};

// While the trace file's path is made; behind that the conversion concerns the trace alone.
bool IsOfThePath(const FailedCall& call) { return !call.Behind("OpenOutputStream"); }

// The typed table of what one failing call does. A listing that breaks off ends like one that is
// over; a key or value that can't be had leaves it and what depends on it as it was. The third
// product has nothing to restore, and the rest isn't looked at or concerns the trace alone.
constexpr FaultRow<Expected> kRows[] = {
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

constexpr const char* kOutOfMemory = "Failed: 0x80000041 (Out of memory)";

// All that one refused piece of memory may do.
constexpr Expected kWithoutOnePiece[] = {
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
constexpr Expected kFromSomePointOn[] = {
    {0, "Completed", "mmmm"}, {0, "Completed", "rmmm"}, {0, "Completed", "rrmm"},
    {0, "Completed", "rrrm"}, {0, "Completed", "rrrr"}, {0x80000041, "", "mmmm"},
    {0x80000041, "", "hmmm"}, {0x80000041, "", "rmmm"}, {0x80000041, "", "rhmm"},
    {0x80000041, "", "rrmm"}, {0x80000041, "", "rrhm"}, {0x80000041, "", "rrrm"},
    {0x80000041, "", "rrrh"}, {0x80000041, "", "rrrr"},
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

// Operations that give no failure, or whose failure isn't told apart from their success.
const std::set<std::string> kNeverFail = {"GetLastError",         "SetLastError",
                                          "GetCommandLineW",      "GetCurrentProcessId",
                                          "GetCurrentThreadId",   "GetSystemTimeAsFileTime",
                                          "VerSetConditionMask",  "CharacterToMultibyte",
                                          "MultibyteToCharacter", "ProcessExitStatus"};

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

struct ForEver {
  const char* operation;
  winapi::Error error;
  Expected expected;
};

// One operation alone that never works. The rest concerns the trace alone, or isn't looked at.
constexpr ForEver kNoticedForEver[] = {{"RegOpenKeyExW", 5, kStageEnded},
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
