// A whole run: a command line's text on a small registry, with the trace that it asks for.
//
// The input is the command line up to its first zero, then what the machine is made of.
#include <fuzzer/FuzzedDataProvider.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include "fuzz/host_machine.h"
#include "fuzz/input.h"
#include "fuzz/installer_rule.h"
#include "fuzz/masking_rule.h"
#include "fuzz/texts.h"
#include "fuzz/utf_rules.h"
#include "standalone_tracer_lib/tracers.h"
#include "tests/support/captured_output.h"
#include "winapi/host/control.h"
#include "winapi/host/locate.h"
#include "winapi/host/paths.h"
#include "zum_setup_util/run.h"

namespace {

namespace host = winapi::host;
using standalone::trace::TracerHolder;

constexpr std::uint64_t kNow = 134'000'000'000'000'000;  // 2025-08-18 14:13:20 UTC
constexpr char kFailure[] = "Failed: 0xa1780003 (Problem in disable protective upgrade registry)";
constexpr std::uint32_t kFailureCode = 0xA1780003;

// What the run does with its command line, by a reading of its own.
struct Request {
  bool unblocks = false;
  std::u16string directory;  // of the trace; empty: none
};

Request Read(std::u16string_view line) {
  static constexpr std::u16string_view kKey = u"--trace-output=";
  static constexpr std::u16string_view kBlanks = u" \t\n\v\f\r";
  Request request;
  bool hasKey = false;
  bool isFirst = true;
  while (true) {
    line.remove_prefix(std::min(line.find_first_not_of(kBlanks), line.size()));
    if (line.empty()) return request;
    const std::u16string_view word = line.substr(0, line.find_first_of(kBlanks));
    line.remove_prefix(word.size());
    if (!isFirst && word == u"/unblock") request.unblocks = true;
    if (!isFirst && !hasKey && word.starts_with(kKey)) {
      hasKey = true;
      request.directory = word.substr(kKey.size());
    }
    isFirst = false;
  }
}

std::u16string TracePath(const std::u16string& directory) {
  const bool isSeparated = directory.ends_with(u'\\') || directory.ends_with(u'/');
  return directory + (isSeparated ? u"" : u"\\") + u"zum-setup-util-2025-08-18-14-13-20-all.log";
}

// A trace may only be made on the machine's own drive: Z: is the real system.
bool LeavesTheMachine(const std::u16string& path) {
  std::u16string full;
  return host::FullPath(path, full) == 0 && !full.starts_with(u"C:");
}

// Reads the file and takes it away; nullopt where there is none.
std::optional<std::string> TakeTrace(const std::u16string& path) {
  host::Location place;
  if (host::Locate(path.c_str(), place) != 0) return std::nullopt;
  const std::filesystem::path file = host::HostPath(place);
  if (file.empty() || !std::filesystem::is_regular_file(file)) return std::nullopt;
  std::ifstream stream(file, std::ios::binary);
  std::string bytes(std::istreambuf_iterator<char>(stream), {});
  std::filesystem::remove(file);
  return bytes;
}

std::string Record(const char* level, const std::string& text) {
  return std::string("14:13:20.000\t0x2a\t") + level + "\t" + text + "\r\n";
}

constexpr char kStage[] = "setup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade] ";

// The trace up to the stage's end or its failure, which is told with positions in the sources.
std::string TraceBeforeTheEnd(std::u16string_view line, const Request& request,
                              const fuzz::Rewritten& rewritten) {
  std::string trace =
      "TVX TRACE FILE\tTime: 18.08.2025 14:13  PID: 7(0x7)\r\nCommand line: Command line: " +
      fuzz::Utf8ByRule(fuzz::Mask(line).text) + "\r\nTime(UTC) : 18.08.2025 14:13  \r\n\r\n\r\n";
  trace += Record("INF", "zs_util\t[main]  begin");
  if (!request.unblocks) return trace;
  trace += Record("INF", std::string(kStage) + " begin");
  for (const std::u16string& update : rewritten.updates) {
    trace += Record("INF", kStage + fuzz::Utf8ByRule(update));
  }
  return trace;
}

std::string TraceFromTheEnd(const Request& request, bool failed) {
  std::string trace;
  if (request.unblocks) trace += Record("INF", std::string(kStage) + " end");
  trace += Record("INF", "zs_util\t[main]  end");
  if (failed) return Record("INF", "zs_util\t[main] exit with result = 0xa1780003");
  return trace + Record("INF", "zs_util\t[main] exit with result = 0x00000000");
}

void CheckTrace(const std::string& trace, std::u16string_view line, const Request& request,
                const fuzz::Rewritten& rewritten) {
  const bool failed = request.unblocks && rewritten.failed;
  const std::string head = TraceBeforeTheEnd(line, request, rewritten);
  const std::string tail =
      TraceFromTheEnd(request, failed) + "End of trace file, time: 18.08.2025 14:13:20\r\n";
  fuzz::Require(trace.starts_with(head), "the trace begins by the rule");
  fuzz::Require(trace.ends_with(tail), "the trace ends by the rule");
  if (!failed) fuzz::Require(trace.size() == head.size() + tail.size(), "nothing else is traced");
}

void Prepare(const fuzz::Branch& before, const std::u16string& line, const fuzz::Faults& faults) {
  host::ClearFaults();
  fuzz::PutIntoStore(before);
  host::SetRegistrySync(false);
  host::SetClock(kNow);
  host::SetIdentity(/*processId=*/7, /*threadId=*/42);
  host::SetCommandLine(line);
  if (faults.enumeration != 0) host::FailCall("RegEnumKeyW", faults.enumeration, 5);
  if (faults.write != 0) host::FailCall("RegSetValueExW", faults.write, 5);
  if (faults.removal != 0) host::FailCall("RegDeleteValueW", faults.removal, 5);
}

void RunOnce(const std::u16string& line, const Request& request, const fuzz::Rewritten& rewritten) {
  const bool fails = request.unblocks && rewritten.failed;
  const tests::CapturedOutput output;
  const auto status = static_cast<std::uint32_t>(zum_setup_util::RunSetupUtil());
  TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());
  fuzz::Require(status == (fails ? kFailureCode : 0), "the status is the rule's");
  fuzz::Require(output.Text() == (fails ? kFailure : "Completed"),
                "the output is the status's line");
  if (request.directory.empty()) return;
  const auto trace = TakeTrace(TracePath(request.directory));
  if (request.directory == u"C:\\t") fuzz::Require(trace.has_value(), "there is a trace");
  if (trace) CheckTrace(*trace, line, request, rewritten);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::HostMachine machine;
  const auto* const end = std::find(data, data + size, std::uint8_t{0});
  std::u16string line =
      fuzz::WideText({reinterpret_cast<const char*>(data), static_cast<std::size_t>(end - data)});
  line.resize(std::min(line.find(u'\0'), line.size()));
  const Request request = Read(line);
  if (!request.directory.empty() && LeavesTheMachine(TracePath(request.directory))) return 0;
  FuzzedDataProvider input(end, static_cast<std::size_t>(data + size - end));
  const fuzz::Faults faults = fuzz::TakeFaults(input);
  const fuzz::Branch before = fuzz::TakeBranch(input);
  const fuzz::Rewritten rewritten = fuzz::Rewrite(before, faults, fuzz::Rights::kAsTheyAre);

  // The first run makes what stays for the process.
  static bool isWarm = false;
  for (; !isWarm; isWarm = true) {
    Prepare(before, line, faults);
    RunOnce(line, request, rewritten);
  }
  Prepare(before, line, faults);
  const std::size_t open = fuzz::OpenThings();
  const int descriptor = fuzz::LowestDescriptor();
  RunOnce(line, request, rewritten);
  fuzz::Require(fuzz::OpenThings() == open, "nothing is left open");
  fuzz::Require(fuzz::LowestDescriptor() == descriptor, "no file is left open");
  fuzz::Require(fuzz::AreSame(fuzz::ReadStore(), request.unblocks ? rewritten.branch : before),
                "the registry is the rule's");
  host::ResetMachine();  // here, so that what is left shows as a leak
  return 0;
}
