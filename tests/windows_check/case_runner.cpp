#include "tests/windows_check/case_runner.h"

#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/own_process.h"
#include "tests/windows_check/child.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"

namespace windows_check {
namespace {

using Cases = std::vector<std::string>;
using nlohmann::json;

constexpr std::uint32_t kLimit = 300;  // seconds for one process
// How a case ends that needs what only Wine has behind it.
constexpr char kNoShell[] = "there is no shell behind this Windows";

struct Outcome {
  bool passed = false;
  bool skipped = false;
  std::string text;
};
using Outcomes = std::map<std::string, Outcome>;

class Program {
 public:
  Program(const std::string& name, const Scratch& scratch)
      : m_path(ProgramFolder() + L"\\" + std::wstring(name.begin(), name.end())),
        m_folder(scratch.Folder()) {}

  // `flags` are lines of a file, since a command line has too little room.
  [[nodiscard]] ChildOutcome Run(const std::string& flags) const {
    const std::wstring file = m_folder + L"\\flags.txt";
    if (!WriteWhole(file, flags)) throw std::runtime_error("the flags can't be written");
    ChildOutcome outcome =
        RunChild(m_path, L"\"--gtest_flagfile=" + file + L"\"", m_folder, kLimit, m_folder);
    ::DeleteFileW(file.c_str());
    return outcome;
  }

 private:
  std::wstring m_path;
  std::wstring m_folder;
};

// "Suite." and its cases below, set in by two blanks; a comment may follow.
Cases ParseList(const std::string& output) {
  Cases cases;
  std::string suite;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const std::string name = line.substr(0, line.find("  #"));
    if (name.starts_with("  ")) {
      cases.push_back(suite + name.substr(2));
    } else if (name.ends_with(".")) {
      suite = name;
    }
  }
  return cases;
}

// The cases that came to their end, each with what was printed in it.
Outcomes ParseRun(const std::string& output, std::string& unfinished) {
  Outcomes outcomes;
  std::string text;
  unfinished.clear();
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    constexpr std::size_t kMark = 13;  // "[ RUN      ] "
    const std::string mark = line.substr(0, kMark);
    const std::string name =
        line.size() > kMark ? line.substr(kMark, line.find_first_of(", ", kMark) - kMark) : "";
    if (mark == "[ RUN      ] ") {
      unfinished = name;
      text.clear();
    } else if (!unfinished.empty() && name == unfinished &&
               (mark == "[       OK ] " || mark == "[  FAILED  ] " || mark == "[  SKIPPED ] ")) {
      outcomes[name] = {mark == "[       OK ] ", mark == "[  SKIPPED ] ", text};
      unfinished.clear();
    } else {
      text += line + "\n";
    }
  }
  if (!unfinished.empty()) outcomes[unfinished].text = text;
  return outcomes;
}

std::string HowItEnded(const ChildOutcome& run) {
  if (!run.started) return "could not be started: error " + Decimal(run.status);
  return run.ended ? "ended with status " + Hexadecimal(run.status) : "hung, and was ended";
}

// In one process, and in further ones what a crash has cut off.
void RunShared(const Program& program, Cases pending, Outcomes& all) {
  while (!pending.empty()) {
    std::string filter;
    for (const std::string& name : pending) filter += (filter.empty() ? "" : ":") + name;
    const ChildOutcome run = program.Run("--gtest_filter=" + filter + "\n");
    std::string unfinished;
    Outcomes outcomes = ParseRun(run.output, unfinished);
    if (!unfinished.empty()) outcomes[unfinished].text += "the process " + HowItEnded(run) + "\n";
    if (outcomes.empty()) outcomes[pending.front()].text = "the process " + HowItEnded(run) + "\n";
    Cases left;
    for (const std::string& name : pending) {
      const auto found = outcomes.find(name);
      if (found == outcomes.end()) {
        left.push_back(name);
      } else {
        all[name] = found->second;
      }
    }
    if (left.size() == pending.size()) throw std::runtime_error("no case came to its end");
    pending = left;
  }
}

std::string ReasonOf(const Outcome& outcome) {
  if (outcome.text.find(kNoShell) != std::string::npos) return kNoShell;
  const std::size_t end = outcome.text.find('\n');  // the place, then the reason
  std::string reason = end == std::string::npos ? outcome.text : outcome.text.substr(end + 1);
  while (!reason.empty() && reason.back() == '\n') reason.pop_back();
  return reason;
}

void Tell(Findings& findings, const std::string& program, const Outcomes& outcomes) {
  std::size_t passed = 0;
  std::size_t failed = 0;
  std::size_t skipped = 0;
  for (const auto& [name, outcome] : outcomes) {
    const bool needsShell = !outcome.passed && outcome.text.find(kNoShell) != std::string::npos;
    if (outcome.passed) {
      ++passed;
    } else if (needsShell || (outcome.skipped && !ReasonOf(outcome).empty())) {
      ++skipped;
      findings.Skip(program + " " + name, ReasonOf(outcome));
    } else {
      ++failed;
      findings.Note(program + " " + name, "failed, see its text below");
      findings.Append(program + " " + name, outcome.text);
    }
  }
  findings.Judge(program + ", of " + std::to_string(outcomes.size()) + " cases with " +
                     std::to_string(passed) + " passed and " + std::to_string(skipped) +
                     " skipped, failed",
                 std::to_string(failed), OnBoth("0"));
}

// Some cases need drives that aren't there; on a machine that has them they would use them.
std::string DriveInTheWay(const json& entry) {
  if (UnderWine()) return {};
  for (const char letter : entry.value("drives that mustn't exist", std::string())) {
    if ((::GetLogicalDrives() & (1U << (letter - 'A'))) != 0) {
      return std::string("this machine has a drive ") + letter + ":";
    }
  }
  return {};
}

std::string FilterOf(const json& entry) {
  std::string filter = "*";
  char sign = '-';
  for (const json& left : entry.at("left out")) {
    filter += sign + left.at("cases").get<std::string>();
    sign = ':';
  }
  return filter;
}

void RunProgram(Findings& findings, const Scratch& scratch, const json& entry) {
  const auto name = entry.at("program").get<std::string>();
  if (const std::string drive = DriveInTheWay(entry); !drive.empty()) {
    findings.Skip(name, drive);
    return;
  }
  for (const json& left : entry.at("left out")) {
    findings.Skip(name + " " + left.at("cases").get<std::string>(),
                  left.at("why").get<std::string>());
  }
  const Program program(name, scratch);
  const ChildOutcome listing =
      program.Run("--gtest_list_tests\n--gtest_filter=" + FilterOf(entry) + "\n");
  const Cases cases = ParseList(listing.output);
  if (listing.status != 0 || cases.empty()) {
    findings.Fail(name, "can't list its cases: it " + HowItEnded(listing));
    findings.Append(name, listing.output);
    return;
  }
  Cases shared;
  Outcomes outcomes;
  for (const std::string& one : cases) {
    if (tests::HasOwnProcess(one.substr(0, one.find('.')))) {
      RunShared(program, {one}, outcomes);
    } else {
      shared.push_back(one);
    }
  }
  RunShared(program, shared, outcomes);
  Tell(findings, name, outcomes);
}

}  // namespace

void RunTestPrograms(Findings& findings, const Scratch& scratch) {
  const std::string text = ReadWhole(ProgramFolder() + L"\\programs.json");
  const json list = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (list.is_discarded()) throw std::runtime_error("programs.json can't be read");
  for (const json& entry : list.at("test programs")) RunProgram(findings, scratch, entry);
}

}  // namespace windows_check
