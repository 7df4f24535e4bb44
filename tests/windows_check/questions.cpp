#include "tests/windows_check/questions.h"

#include <cstdio>
#include <iostream>
#include <string>

namespace windows_check {
namespace {

bool IsAllowed(const char* question) {
  std::printf("\n%s\nMay it? [y/N] ", question);
  (void)std::fflush(stdout);
  std::string answer;
  std::getline(std::cin, answer);
  while (!answer.empty() && (answer.back() == '\r' || answer.back() == ' ')) answer.pop_back();
  const bool allowed = answer == "y" || answer == "Y" || answer == "yes";
  std::printf("%s\n", allowed ? "allowed" : "left out");
  return allowed;
}

constexpr char kTransactions[] =
    "Kernel transactions below HKEY_LOCAL_MACHINE\\SYSTEM: this makes the key\n"
    "SYSTEM\\ZumWindowsCheck, writes one value in it several times, and removes the key.\n"
    "No other key is written.";
constexpr char kInstaller[] =
    "Windows Installer: this starts msiexec.exe twice on refused.msi, a package that refuses to\n"
    "be installed. Nothing gets installed. The installer's service runs for a while, keeps a copy\n"
    "of the package for that time, and writes entries into the event log, which stay.";
constexpr char kRehearsal[] =
    "The rehearsal: this runs zum_rehearse.exe, which reads the installer's records of this\n"
    "machine and changes nothing. The result file will name the products that it found.";

}  // namespace

Allowed Ask(bool isAdministrator) {
  Allowed allowed;
  if (isAdministrator) allowed.transactions = IsAllowed(kTransactions);
  allowed.installer = IsAllowed(kInstaller);
  allowed.rehearsal = IsAllowed(kRehearsal);
  return allowed;
}

}  // namespace windows_check
