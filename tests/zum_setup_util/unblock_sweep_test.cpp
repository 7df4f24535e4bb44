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
#include "tests/support/test_registry.h"
#include "winapi/errors.h"
#include "zum_setup_util/run.h"

namespace {

namespace host = winapi::host;
using host::Repeat;
using tests::Fault;
using tests::RunResult;

const std::u16string kProperties =
    u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData\\S-1-5-18\\Products\\";
const std::u16string kSources = u"SOFTWARE\\Classes\\Installer\\Products\\";

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
    tests::CreateKey(kProperties + product + u"\\InstallProperties");
    tests::CreateKey(kSources + product + u"\\SourceList");
    tests::SetValue(kProperties + product + u"\\InstallProperties",
                    {u"LocalPackageNotExist", 1, tests::Utf16Bytes(PackageOf(product))});
    tests::SetValue(kSources + product + u"\\SourceList",
                    {u"PackageNameNotExist", 1, tests::Utf16Bytes(u"old.msi")});
  }
  tests::CreateKey(kProperties + u"PRODUCTC\\InstallProperties");
  tests::CreateKey(kSources + u"PRODUCTC\\SourceList");
  std::filesystem::create_directories(host::RootFolder() + "/drive_c/t");
  host::SetClock(134'000'000'000'000'000);
  host::SetTimeZone("Europe/Berlin");
  host::SetCommandLine(u"tool.exe --trace-output=C:\\t /unblock");
}

bool Has(const std::u16string& key, const std::u16string& name) {
  return tests::GetValue(key, name).has_value();
}

// "marked", "restored", or "half" for both names at once, which a delete that failed leaves; "lost"
// never.
std::string StateOf(const std::u16string& key, const std::u16string& ordinary) {
  const bool marked = Has(key, ordinary + u"NotExist");
  const bool restored = Has(key, ordinary);
  return marked && restored ? "half" : marked ? "marked" : restored ? "restored" : "lost";
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
    facts[name + ".package"] =
        StateOf(kProperties + product + u"\\InstallProperties", u"LocalPackage");
    facts[name + ".source"] = StateOf(kSources + product + u"\\SourceList", u"PackageName");
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
  RunResult Run(const Fault& fault) {
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

std::string ProductIn(const std::string& subKey) {
  return subKey.find("PRODUCTA") != std::string::npos   ? "A"
         : subKey.find("PRODUCTB") != std::string::npos ? "B"
                                                        : "";
}

// The call that was made to fail first, and the key that it is about.
struct FailedCall {
  std::string operation;
  std::string subKey;         // of the open itself, else of the last key opened before it
  std::string index;          // of an enumeration
  bool beforeTheFile = true;  // while the trace file's path is made
  bool inTheHeader = false;   // between the opening of the file and the first record
  bool inTheFooter = false;   // behind the last record
};

FailedCall FirstFailure(const RunResult& run) {
  FailedCall failure;
  std::vector<std::string> open;
  bool scopeBegun = false;
  bool handlerRemoved = false;
  for (const host::CallRecord& call : run.calls) {
    if (call.operation == "RegOpenKeyExW") open.push_back(call.Argument("subKey"));
    if (call.failed) {
      failure.operation = call.operation;
      failure.index = call.Argument("index");
      failure.subKey = open.empty() ? "" : open.back();
      failure.inTheHeader = !failure.beforeTheFile && !scopeBegun;
      failure.inTheFooter = handlerRemoved;
      return failure;
    }
    if (call.operation == "RegCloseKey" && !open.empty()) open.pop_back();
    if (call.operation == "OpenOutputStream") failure.beforeTheFile = false;
    // The number of the thread is asked for when a record is committed.
    if (call.operation == "GetCurrentThreadId") scopeBegun = true;
    if (call.operation == "RemoveVectoredExceptionHandler") handlerRemoved = true;
  }
  return failure;
}

Expected ExpectedForOpen(const FailedCall& call, bool first, bool source) {
  if (call.subKey.ends_with("Products")) return {0xA1780003, kStageFailed, "mmmm"};
  if (ProductIn(call.subKey).empty()) return kCompleted;
  if (source) return {0, "Completed", first ? "rmrr" : "rrrm"};
  return {0, "Completed", first ? "mmrr" : "rrmm"};
}

// The typed table of what one failing call does.
Expected ExpectedFor(const FailedCall& call) {
  const bool first = ProductIn(call.subKey) == "A";
  const bool source = call.subKey.find("SourceList") != std::string::npos;
  if (call.operation == "RegOpenKeyExW") return ExpectedForOpen(call, first, source);
  if (call.operation == "RegQueryValueExW") {
    if (ProductIn(call.subKey).empty()) return kCompleted;
    if (source) return {0, "Completed", first ? "rmrr" : "rrrm"};
    return {0, "Completed", first ? "mrrr" : "rrmr"};
  }
  if (call.operation == "RegSetValueExW") {
    if (source) return {0xA1780003, kStageFailed, first ? "rmmm" : "rrrm"};
    return {0xA1780003, kStageFailed, first ? "mmmm" : "rrmm"};
  }
  if (call.operation == "RegDeleteValueW") {
    if (source) return {0xA1780003, kStageFailed, first ? "rhmm" : "rrrh"};
    return {0xA1780003, kStageFailed, first ? "hmmm" : "rrhm"};
  }
  const bool conversion =
      call.operation == "FileTimeToSystemTime" || call.operation == "SystemTimeToFileTime";
  if (conversion && call.beforeTheFile) {
    return {0x80000046, "Failed: 0x80000046 (Invalid argument)", "mmmm"};
  }
  return kCompleted;
}

// Errors that the operations really give.
std::vector<winapi::Error> ErrorsFor(const std::string& operation) {
  if (operation == "RegOpenKeyExW") return {2, 5, 1009};
  if (operation == "RegQueryValueExW") return {2, 5, 1018};
  if (operation == "RegSetValueExW") return {5, 8, 1018};
  if (operation == "RegDeleteValueW") return {2, 5, 1018};
  if (operation == "RegEnumKeyW") return {5, 234, 259};
  if (operation == "RegCloseKey") return {6};
  if (operation == "FileTimeToSystemTime" || operation == "SystemTimeToFileTime") return {87};
  return {5};
}

// A listing that breaks off ends like one that is over: the products behind it stay as they are.
Expected ExpectedForListing(const std::string& index) {
  if (index == "0") return {0, "Completed", "mmmm"};
  if (index == "1") return {0, "Completed", "rrmm"};
  return kCompleted;
}

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
  const bool conversion =
      call.operation == "FileTimeToSystemTime" || call.operation == "SystemTimeToFileTime";
  if (call.operation == "OpenOutputStream" || (conversion && call.beforeTheFile)) {
    EXPECT_EQ(trace, "");
    return;
  }
  if (conversion && call.inTheHeader) return;  // the file is there, and nothing is promised of it
  EXPECT_TRUE(trace.starts_with(kHeader)) << trace;
  EXPECT_EQ(trace.find(kFooter) != std::string::npos, !(conversion && call.inTheFooter)) << trace;
  if (run.code != 0xA1780003) return;
  EXPECT_NE(trace.find("system result code: " + std::to_string(error)), std::string::npos) << trace;
  EXPECT_NE(trace.find("ERR\tzs_util\t[main] CheckResultFailedException - 0xa1780003"),
            std::string::npos)
      << trace;
  EXPECT_NE(trace.find("[main] exit with result = 0xa1780003"), std::string::npos) << trace;
  if (call.operation == "RegSetValueExW" || call.operation == "RegDeleteValueW") {
    const bool source = call.subKey.find("SourceList") != std::string::npos;
    const std::string value = std::string(source ? "PackageName" : "LocalPackage") +
                              (call.operation == "RegDeleteValueW" ? "NotExist" : "");
    EXPECT_NE(trace.find("system result code: " + std::to_string(error) +
                         "[correct_setup::detail::DisableProtectiveMeasuresUpgrade] value = " +
                         value + ": 0x"),
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
  std::set<std::string> failed;
  std::size_t nth = 1;
  for (;; ++nth) {
    Fault fault{Fault::Kind::kCall, nth, 5, Repeat::kOnce};
    RunResult run = Run(fault);
    if (run.injectedFaults == 0) break;
    const FailedCall call = FirstFailure(run);
    failed.insert(call.operation);
    for (const winapi::Error error : ErrorsFor(call.operation)) {
      fault.error = error;
      run = Run(fault);
      SCOPED_TRACE(tests::Describe(fault) + ": " + call.operation + ' ' + call.subKey);
      if (call.operation == "HeapAlloc" || call.operation == "GetProcessHeap") {
        EXPECT_TRUE(IsOneOf(run, kWithoutOnePiece)) << Outcome(run);
        EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
        continue;
      }
      const Expected expected =
          call.operation == "RegEnumKeyW" ? ExpectedForListing(call.index) : ExpectedFor(call);
      EXPECT_EQ(run.code, expected.code);
      EXPECT_EQ(run.output, expected.output);
      EXPECT_EQ(RegistryOf(run), expected.registry);
      ExpectTrace(call, error, run);
    }
  }
  PrintSummary("calls", nth - 1);
  ExpectAllIn(Run({}), failed, kNeverFail);
}

TEST_F(UnblockSweep, AllCallsFailFromEachOneOn) {
  std::size_t nth = 1;
  for (;; ++nth) {
    const Fault fault{Fault::Kind::kCall, nth, 5, Repeat::kForever};
    const RunResult run = Run(fault);
    if (run.injectedFaults == 0) break;
    SCOPED_TRACE(tests::Describe(fault) + ": " + FirstFailure(run).operation);
    EXPECT_TRUE(IsOneOf(run, kFromSomePointOn)) << Outcome(run);
    EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
  }
  PrintSummary("calls", nth - 1);
}

struct ForEver {
  const char* operation;
  winapi::Error error;
  Expected expected;
};

// One operation alone that never works. The rest concerns the trace alone, or isn't looked at.
constexpr ForEver kNoticedForEver[] = {
    {"RegOpenKeyExW", 5, {0xA1780003, kStageFailed, "mmmm"}},
    {"RegEnumKeyW", 5, {0, "Completed", "mmmm"}},
    {"RegQueryValueExW", 5, {0, "Completed", "mmmm"}},
    {"RegSetValueExW", 5, {0xA1780003, kStageFailed, "mmmm"}},
    {"RegDeleteValueW", 5, {0xA1780003, kStageFailed, "hmmm"}},
    {"FileTimeToSystemTime", 87, {0x80000046, "Failed: 0x80000046 (Invalid argument)", "mmmm"}},
    {"SystemTimeToFileTime", 87, {0x80000046, "Failed: 0x80000046 (Invalid argument)", "mmmm"}},
    // Framework strings that don't fit into their objects: the masked command line, and then the
    // report.
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

// The heap behind the framework's strings is the seam's, and swept with its calls.
TEST_F(UnblockSweep, EachAllocationFailsOnceAndForEver) {
  for (const Repeat repeat : {Repeat::kOnce, Repeat::kForever}) {
    std::size_t nth = 1;
    for (;; ++nth) {
      const Fault fault{Fault::Kind::kAllocation, nth, 0, repeat};
      const RunResult run = Run(fault);
      if (run.allocations < nth) break;
      SCOPED_TRACE(tests::Describe(fault));
      EXPECT_TRUE(IsOneOf(run, kWithoutOnePiece)) << Outcome(run);
      EXPECT_TRUE(IsSoundTrace(run)) << TraceOf(run);
    }
    EXPECT_GT(nth, 1u);
    PrintSummary("allocations", nth - 1);
  }
}

}  // namespace
