// Checks on a real machine what Wine can't show; docs/windows-check.md says what it does and how
// its result is read.
//
//   windows_check.exe [--own-checks-only]      the option leaves the test programs out
//
// Exit status: 0 where each answer is one that is listed for this system, 1 where one isn't, 2
// where the checks can't be made.
#include <windows.h>

#include <cstdio>
#include <exception>
#include <string>

#include "oru/rtl/check.h"
#include "tests/windows_check/case_runner.h"
#include "tests/windows_check/child.h"
#include "tests/windows_check/findings.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/questions.h"
#include "tests/windows_check/scratch.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"
#include "winapi/exceptions.h"

namespace windows_check {
namespace {

constexpr char kNotAllowed[] = "it wasn't allowed";
constexpr char kNoRights[] = "it needs administrator's rights, which this run hasn't";

template <typename Group>
void Run(Findings& findings, const std::string& title, Group group) {
  findings.Section(title);
  try {
    group();
  } catch (const std::exception& exception) {
    findings.Fail(title, std::string("the checks behind this can't be made: ") + exception.what());
  }
}

void RunWithoutAsking(Findings& findings, const Scratch& scratch, bool ownChecksOnly) {
  Run(findings, "Texts", [&] { CheckTexts(findings, scratch); });
  Run(findings, "Links", [&] { CheckLinks(findings, scratch); });
  Run(findings, "The drop directory", [&] { CheckDropDirectory(findings, scratch); });
  Run(findings, "Signatures", [&] { CheckSignatures(findings, scratch); });
  Run(findings, "Transactions below HKEY_CURRENT_USER",
      [&] { CheckTransactions(findings, "user", HKEY_CURRENT_USER, Scratch::KeyPath()); });
  Run(findings, "Test programs", [&] {
    if (!ownChecksOnly) return RunTestPrograms(findings, scratch);
    findings.Skip("test programs", "left out by --own-checks-only");
  });
}

void RunAllowed(Findings& findings, const Scratch& scratch, const Allowed& allowed,
                bool isAdministrator) {
  Run(findings, "Transactions below HKEY_LOCAL_MACHINE\\SYSTEM", [&] {
    if (allowed.transactions) return CheckMachineTransactions(findings);
    findings.Skip("SYSTEM", isAdministrator ? kNotAllowed : kNoRights);
  });
  Run(findings, "The installer's service", [&] {
    if (allowed.installer) return CheckInstallerService(findings, scratch);
    findings.Skip("installer", kNotAllowed);
  });
  Run(findings, "The rehearsal", [&] {
    if (allowed.rehearsal) return CheckRehearsal(findings, scratch);
    findings.Skip("zum_rehearse", kNotAllowed);
  });
}

std::string Heading(bool isAdministrator) {
  return std::string("zum_setup_util ") + ZUM_VERSION + ", check of a machine\n" +
         "system:  " + SystemName() + "\n" +
         "rights:  " + (isAdministrator ? "administrator" : "plain user, or not elevated") + "\n" +
         "answers: those listed for " + (UnderWine() ? "Wine" : "Windows") + " are right\n";
}

// For an old editor, too: with a mark in front and Windows' line ends.
std::string ForEditors(const std::string& text) {
  std::string bytes = "\xEF\xBB\xBF";
  for (const char byte : text) {
    if (byte == '\n') bytes += '\r';
    bytes += byte;
  }
  return bytes;
}

// Where it is, or the empty text.
std::wstring WriteResult(const std::string& text, const std::wstring& temporaryFolder) {
  for (const std::wstring& folder : {ProgramFolder(), temporaryFolder}) {
    std::wstring file = folder + L"\\windows-check-result.txt";
    if (WriteWhole(file, ForEditors(text))) return file;
  }
  return {};
}

int RunAll(bool ownChecksOnly) {
  ::SetConsoleOutputCP(CP_UTF8);
  const bool isAdministrator = IsAdministrator();
  const std::string heading = Heading(isAdministrator);
  std::printf(
      "%s\nWithout asking, nothing is changed but a branch of the registry below\n"
      "HKEY_CURRENT_USER\\Software\\ZumWindowsCheck and a folder below the temporary\n"
      "directory; both are removed at the end.\n",
      heading.c_str());
  const Allowed allowed = Ask(isAdministrator);
  Findings findings(UnderWine());
  wchar_t temporary[MAX_PATH + 1] = {};
  ::GetTempPathW(MAX_PATH, temporary);
  {
    Scratch scratch;
    RunWithoutAsking(findings, scratch, ownChecksOnly);
    RunAllowed(findings, scratch, allowed, isAdministrator);
    findings.Section("Afterwards");
    const std::string stays = scratch.Remove();
    findings.Judge("what was made is removed", stays.empty() ? "yes" : stays, OnBoth("yes"));
  }
  const std::string summary = "\n" + findings.Summary() + "\n";
  const std::wstring file = WriteResult(heading + summary + findings.Text(), temporary);
  std::printf("%s", summary.c_str());
  if (file.empty()) throw std::runtime_error("the result file can't be written");
  std::printf("The result is in %s\n", ToUtf8(file).c_str());
  return findings.Differing() == 0 ? 0 : 1;
}

}  // namespace
}  // namespace windows_check

int main(int count, char** arguments) {
  const bool ownChecksOnly = count == 2 && std::string(arguments[1]) == "--own-checks-only";
  if (count != 1 && !ownChecksOnly) {
    (void)std::fputs("usage: windows_check.exe [--own-checks-only]\n", stderr);
    return 2;
  }
  // One at a time: two would use the same branch.
  ::CreateMutexW(nullptr, FALSE, L"ZumWindowsCheck");
  if (::GetLastError() == ERROR_ALREADY_EXISTS) {
    (void)std::fputs("another run of these checks isn't over yet\n", stderr);
    return 2;
  }
  // Some cases let a program crash on purpose: without a dialog and without a report that stays.
  // The programs that are started inherit this.
  ::SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOGPFAULTERRORBOX);
  // The product's reported checks go on behind their report, as in the program.
  (void)winapi::AddVectoredExceptionHandler(/*first=*/1, oru::AssertionHandler);
  try {
    return windows_check::RunAll(ownChecksOnly);
  } catch (const std::exception& exception) {
    (void)std::fprintf(stderr, "the checks can't be made: %s\n", exception.what());
    return 2;
  }
}
