#include "tests/zum_setup_util_lib/pipeline_run.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <sstream>
#include <thread>

#include "oru/rtl/exception_guard.h"
#include "oru/rtl/trace_level.h"
#include "standalone_tracer_lib/tracers.h"
#include "tests/support/directory_tree.h"
#include "tests/support/fault_sweep.h"
#include "tests/zum_setup_util_lib/pipeline_machine.h"
#include "zum_setup_util_lib/correct_setup.h"

namespace tests {
namespace {

namespace host = winapi::host;

// The child process's own.
bool returned = false;
std::vector<std::u16string>& Arguments() {
  static auto& arguments = *new std::vector<std::u16string>;
  return arguments;
}

void Prepare() {
  PipelineMachine::SetUp();
  std::filesystem::create_directories(host::RootFolder() + "/drive_c/t");
}

std::uint32_t Enter() {
  try {
    const std::uint32_t value = correct_setup::ExecuteCorrectSetup(Arguments());
    returned = true;
    return value;
  } catch (const std::exception&) {
    return static_cast<std::uint32_t>(oru::ExceptionGuard());
  }
}

// A stand-in that was left running writes to the machine's files.
void LetInstallersEnd() {
  while (host::RunningPrograms() != 0) std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

std::map<std::string, std::string> Inspect() {
  LetInstallersEnd();
  return {{"returned", returned ? "value" : "code"},
          {"records", PipelineMachine::Records()},
          {"renames", PipelineMachine::Renames()},
          {"drops", std::to_string(PipelineMachine::DropDirectories())},
          {"probes", std::to_string(PipelineMachine::ProbeFiles())},
          {"trace", ReadIfThere(host::RootFolder() + "/drive_c/t/trace.log")}};
}

}  // namespace

void BeginPipelineRun() {
  Arguments() = PipelineMachine::Arguments();
  standalone::trace::TracerHolder::Instance().Install(standalone::trace::CreateFileTracer(
      oru::String16(u"C:\\t\\trace.log"), "", {true, oru::kTraceLevelInfo}));
}

RunPlan PipelinePlan(const std::function<void()>& begin) {
  return {.prepare = Prepare, .begin = begin, .entry = Enter, .inspect = Inspect};
}

std::string ToText(const Expected& expected) {
  std::ostringstream text;
  text << expected.outcome << ", " << expected.records << ", renames " << expected.renames << ", "
       << expected.installers << " started, " << expected.trustStates << " states, "
       << expected.probes << " probes";
  return text.str();
}

std::string OutcomeOf(const RunResult& run) {
  std::ostringstream text;
  text << run.facts.at("returned") << " 0x" << std::hex << run.code;
  return text.str();
}

std::string ToText(const RunResult& run) {
  return OutcomeOf(run) + ", " + run.facts.at("records") + ", renames " + run.facts.at("renames") +
         ", " + std::to_string(Count(run, "CreateProcessW", false)) + " started, " +
         std::to_string(run.live.trustStates) + " states, " + run.facts.at("probes") + " probes";
}

std::vector<ScopeRecord> ScopesOf(const std::string& trace) {
  std::vector<ScopeRecord> scopes;
  std::istringstream stream(trace);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const bool begins = line.ends_with("]  begin");
    if (!begins && !line.ends_with("]  end")) continue;
    const std::size_t name = line.find('[');
    scopes.push_back({line.substr(name, line.rfind(']') - name), begins});
  }
  return scopes;
}

// How many records of begins and ends are missing for the scopes to be closed in order.
std::size_t MissingScopeRecords(const std::string& trace) {
  std::size_t missing = 0;
  std::vector<std::string> open;
  for (const ScopeRecord& scope : ScopesOf(trace)) {
    if (scope.begins) {
      open.push_back(scope.name);
      continue;
    }
    if (std::count(open.begin(), open.end(), scope.name) == 0) {
      ++missing;  // its begin
      continue;
    }
    while (open.back() != scope.name) {
      open.pop_back();
      ++missing;
    }
    open.pop_back();
  }
  return missing + open.size();
}

}  // namespace tests
