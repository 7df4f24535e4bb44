// Whether the installer's service reads a package from the directory of the private copy. The
// package refuses to be installed by a condition of its own, so that nothing is: 1603 is the answer
// of an installer that has read it, 1619 that of one that couldn't.
#include <windows.h>

#include <stdexcept>

#include "tests/windows_check/child.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"
#include "zum_setup_util_lib/secure_directory.h"

namespace windows_check {
namespace {

constexpr std::uint32_t kLimit = 300;  // seconds

// The log is in UTF-16 or, under Wine, a mixture of both.
bool Holds(const std::string& log, const std::string& words) {
  std::string wide;
  for (const char byte : words) wide += {byte, '\0'};
  return log.find(words) != std::string::npos || log.find(wide) != std::string::npos;
}

void CheckPackageIn(Findings& findings, const Scratch& scratch, const std::string& where,
                    const std::wstring& folder) {
  const std::wstring package = folder + L"\\refused.msi";
  const std::wstring log = scratch.Folder() + L"\\installer.log";
  if (!::CopyFileW(RefusedPackage().c_str(), package.c_str(), TRUE)) {
    throw std::runtime_error("the package can't be copied: error " + Decimal(::GetLastError()));
  }
  const ChildOutcome installer = RunChild(
      SystemFolder() + L"\\msiexec.exe",
      L"/norestart /i \"" + package + L"\" /qn /l*v \"" + log + L"\"", scratch.Folder(), kLimit);
  if (!installer.started || !installer.ended) {
    findings.Fail(where, installer.started ? "the installer didn't end in 5 minutes"
                                           : "the installer wasn't started");
    return;
  }
  findings.Judge(where + ", the installer reads it", "status " + Decimal(installer.status),
                 OnBoth("status 1603"));
  const std::string text = ReadWhole(log);
  findings.Judge(where + ", the package's own condition is what refuses",
                 YesOrNo(Holds(text, "LaunchConditions")), OnBoth("yes"));
  findings.Judge(where + ", it is the service that reads it", YesOrNo(Holds(text, "MSI (s)")),
                 {{"yes"}, {"no"}});
  (void)::DeleteFileW(package.c_str());
  (void)::DeleteFileW(log.c_str());
}

}  // namespace

void CheckInstallerService(Findings& findings, const Scratch& scratch) {
  CheckPackageIn(findings, scratch, "package in an ordinary folder",
                 scratch.NewFolder(L"ordinary"));
  const std::wstring drop = scratch.Folder() + L"\\drop for the installer";
  correct_setup::FileSystemActions::CreateSecureDirectory(ToSeam(drop));
  CheckPackageIn(findings, scratch, "package in the drop directory", drop);
}

}  // namespace windows_check
