#include "tests/support/faulted_run.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "tests/support/directory_tree.h"

namespace tests {
namespace {

namespace host = winapi::host;

// What the child needs when its process ends; it has one run.
struct ChildRun {
  const RunPlan* plan = nullptr;
  std::string reportPath;
  std::uint32_t code = 0;
  bool threw = false;
};
ChildRun childRun;

// One field a line; line ends and back strokes inside a field are escaped.
std::string Escape(const std::string& text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '\\')
      escaped += "\\\\";
    else if (c == '\n')
      escaped += "\\n";
    else if (c == '\t')
      escaped += "\\t";
    else
      escaped += c;
  }
  return escaped;
}

std::string Unescape(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\' || i + 1 == text.size()) {
      plain += text[i];
      continue;
    }
    ++i;
    plain += text[i] == 'n' ? '\n' : text[i] == 't' ? '\t' : text[i];
  }
  return plain;
}

// True when blocks of the heap could not be given back, by the very fault.
bool LeaksByDesign(const std::vector<host::CallRecord>& calls) {
  return std::any_of(calls.begin(), calls.end(), [](const host::CallRecord& call) {
    return call.failed && (call.operation == "HeapFree" || call.operation == "GetProcessHeap");
  });
}

// Registered before the run, so it comes when the tracer and all else of the product has ended.
void WriteReport() {
  const host::LiveResources live = host::Live();
  const std::size_t fallible = host::FallibleCallCount();
  const std::size_t injected = host::InjectedFaultCount();
  const std::size_t allocations = host::AllocationCount();
  const std::optional<std::size_t> position = host::CallsBeforeAllocationFault();
  host::ClearFaults();  // what follows needs memory
  const std::vector<host::CallRecord> calls = host::CallLog();
  std::ofstream report(childRun.reportPath);
  report << "code\t" << childRun.code << "\nthrew\t" << childRun.threw << "\ncounts\t" << fallible
         << '\t' << injected << '\t' << allocations << "\nlive\t" << live.keys << '\t'
         << live.handles << '\t' << live.moduleReferences << '\t' << live.heapBlocks << '\t'
         << live.localBlocks << '\t' << live.trustStates << "\nprograms\t"
         << host::RunningPrograms() << "\nsleeps\t" << host::Sleeps().size() << '\n';
  if (position) report << "position\t" << *position << '\n';
  for (const host::CallRecord& call : calls) {
    report << "call\t" << call.operation << '\t' << call.failed;
    for (const auto& [name, value] : call.arguments) {
      report << '\t' << name << '\t' << Escape(value);
    }
    report << '\n';
  }
  if (childRun.plan->inspect) {
    for (const auto& [name, value] : childRun.plan->inspect()) {
      report << "fact\t" << Escape(name) << '\t' << Escape(value) << '\n';
    }
  }
  if (LeaksByDesign(calls)) {
    // The leak checker would end the process with a status of its own.
    report.flush();
    std::cout.flush();
    std::_Exit(static_cast<int>(childRun.code & 0xFF));
  }
}

void SetFault(const Fault& fault) {
  switch (fault.kind) {
    case Fault::Kind::kNone:
      host::ClearFaults();
      break;
    case Fault::Kind::kCall:
      host::FailAnyCall(fault.nth, fault.error, fault.repeat);
      break;
    case Fault::Kind::kOperation:
      host::FailCall(fault.operation, fault.nth, fault.error, fault.repeat);
      break;
    case Fault::Kind::kAllocation:
      host::FailAllocation(fault.nth, fault.repeat);
      break;
  }
}

void RedirectTo(int descriptor, const std::string& path) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || ::dup2(file, descriptor) < 0) std::_Exit(126);
  ::close(file);
}

[[noreturn]] void RunChild(const RunPlan& plan, const Fault& fault, const std::string& folder) {
  ::setenv("ZUM_HOST_ROOT", (folder + "/root").c_str(), 1);
  RedirectTo(STDOUT_FILENO, folder + "/stdout");
  RedirectTo(STDERR_FILENO, folder + "/stderr");
  host::SetRegistrySync(false);
  childRun = {&plan, folder + "/report", 0, false};
  try {
    plan.prepare();
  } catch (const std::exception& exception) {
    std::cerr << "the machine could not be set up: " << exception.what() << std::endl;
    std::_Exit(126);
  }
  if (std::atexit(WriteReport) != 0) std::_Exit(126);
  if (plan.begin) plan.begin();
  host::StartCallLog();
  host::ClearCallLog();
  host::ClearFaults();
  SetFault(fault);
  try {
    childRun.code = plan.entry();
  } catch (const std::exception&) {
    childRun.threw = true;
  }
  std::exit(static_cast<int>(childRun.code & 0xFF));
}

std::vector<std::string> Fields(const std::string& line) {
  std::vector<std::string> fields;
  std::istringstream stream(line);
  for (std::string field; std::getline(stream, field, '\t');) fields.push_back(Unescape(field));
  if (line.ends_with('\t')) fields.emplace_back();
  return fields;
}

std::size_t Number(const std::string& field) { return std::stoul(field); }

void ReadLine(const std::vector<std::string>& fields, RunResult& result) {
  if (fields[0] == "code") result.code = static_cast<std::uint32_t>(Number(fields.at(1)));
  if (fields[0] == "threw") result.threw = fields.at(1) == "1";
  if (fields[0] == "counts") {
    result.fallibleCalls = Number(fields.at(1));
    result.injectedFaults = Number(fields.at(2));
    result.allocations = Number(fields.at(3));
  }
  if (fields[0] == "live") {
    result.live = {Number(fields.at(1)), Number(fields.at(2)), Number(fields.at(3)),
                   Number(fields.at(4)), Number(fields.at(5)), Number(fields.at(6))};
  }
  if (fields[0] == "position") result.callsBeforeAllocationFault = Number(fields.at(1));
  if (fields[0] == "programs") result.runningPrograms = Number(fields.at(1));
  if (fields[0] == "sleeps") result.sleeps = Number(fields.at(1));
  if (fields[0] == "fact") result.facts[fields.at(1)] = fields.at(2);
  if (fields[0] == "call") {
    host::CallRecord call;
    call.operation = fields.at(1);
    call.failed = fields.at(2) == "1";
    for (std::size_t i = 3; i + 1 < fields.size(); i += 2) {
      call.arguments.emplace_back(fields[i], fields[i + 1]);
    }
    result.calls.push_back(std::move(call));
  }
}

}  // namespace

std::string Describe(const Fault& fault) {
  std::ostringstream text;
  if (fault.kind == Fault::Kind::kNone) return "no fault";
  text << (fault.kind == Fault::Kind::kAllocation ? "allocation " : fault.operation + " call ")
       << fault.nth;
  if (fault.kind != Fault::Kind::kAllocation) text << " with error " << fault.error;
  if (fault.repeat == host::Repeat::kForever) text << " and all behind it";
  return text.str();
}

RunResult RunFaulted(const RunPlan& plan, const Fault& fault, const std::string& folder) {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) RunChild(plan, fault, folder);
  int status = 0;
  if (::waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid failed");
  RunResult result;
  result.ended = WIFEXITED(status);
  result.status = result.ended ? WEXITSTATUS(status) : WTERMSIG(status);
  // A child that ended early didn't come to write all of them.
  result.output = ReadIfThere(folder + "/stdout");
  result.errors = ReadIfThere(folder + "/stderr");
  std::istringstream report(ReadIfThere(folder + "/report"));
  for (std::string line; std::getline(report, line);) ReadLine(Fields(line), result);
  return result;
}

}  // namespace tests
