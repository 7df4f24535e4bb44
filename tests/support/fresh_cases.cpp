#include "tests/support/fresh_cases.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <system_error>

#include "tests/support/checks.h"
#include "tests/support/own_process.h"
#include "winapi/errors.h"
#ifndef _WIN32
#include <unistd.h>

#include "winapi/host/control.h"
#endif

namespace tests {
namespace {

#ifdef _WIN32

std::map<std::string, std::string> Environment() { return {}; }
void RestoreEnvironment(const std::map<std::string, std::string>&) {}
void RestoreMachine() {}
std::map<std::string, std::size_t> OpenResources() { return {}; }

#else

std::map<std::string, std::string> Environment() {
  std::map<std::string, std::string> variables;
  for (char** variable = ::environ; variable != nullptr && *variable != nullptr; ++variable) {
    const std::string text = *variable;
    const std::size_t end = std::min(text.find('='), text.size());
    variables.emplace(text.substr(0, end), text.substr(std::min(end + 1, text.size())));
  }
  return variables;
}

void RestoreEnvironment(const std::map<std::string, std::string>& variables) {
  if (Environment() == variables) return;
  ::clearenv();
  for (const auto& [name, value] : variables) ::setenv(name.c_str(), value.c_str(), 1);
  ::tzset();
}

// Not the blocks of the heap, the modules and the states of the trust provider: by its design the
// product keeps what it made or loaded at the first use, and the state of a refused package.
std::map<std::string, std::size_t> OpenResources() {
  const winapi::host::LiveResources live = winapi::host::Live();
  return {{"keys", live.keys}, {"handles", live.handles}, {"local blocks", live.localBlocks}};
}

// The host layer settles where its folder is at the first use. A case that forks settles it in the
// child, so it isn't asked here.
void RestoreMachine() {
  winapi::host::ResetMachine();
  const char* const folder = std::getenv("ZUM_HOST_ROOT");
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    std::filesystem::remove_all(entry.path(), error);
    if (error) ADD_FAILURE() << entry.path() << " stays for the next case: " << error.message();
  }
}

#endif

void ExpectNoReports(const testing::TestInfo& info) {
  if (HasOwnProcess(info.test_suite_name())) return;
  for (const std::string& text : ReportedChecks()) {
    ADD_FAILURE() << "the check \"" << text << "\" reported in a process that cases share; see "
                  << "tests/support/own_process.h";
  }
}

}  // namespace

FreshCases::FreshCases()
    : m_directory(std::filesystem::current_path()), m_environment(Environment()) {}

void FreshCases::OnTestStart(const testing::TestInfo&) { m_open = OpenResources(); }

void FreshCases::OnTestEnd(const testing::TestInfo& info) {
  ExpectNoReports(info);
  EXPECT_EQ(OpenResources(), m_open) << "the case left something open";
  ReportedChecks().clear();
  std::filesystem::current_path(m_directory);
  RestoreEnvironment(m_environment);
  RestoreMachine();
  winapi::SetLastError(winapi::kErrorSuccess);
}

}  // namespace tests
