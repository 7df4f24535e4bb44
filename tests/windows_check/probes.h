// The checks of what Wine can't show, a group in each function; each group has a file of its own.
// Each check prints one line. A group that throws counts as one check that couldn't be made.
#ifndef TESTS_WINDOWS_CHECK_PROBES_H_
#define TESTS_WINDOWS_CHECK_PROBES_H_

#include <string>

#include "tests/windows_check/findings.h"
#include "tests/windows_check/scratch.h"

namespace windows_check {

// Without asking: these use the scratch key and the scratch folder alone.
void CheckTexts(Findings& findings, const Scratch& scratch);
void CheckLinks(Findings& findings, const Scratch& scratch);
void CheckDropDirectory(Findings& findings, const Scratch& scratch);
void CheckSignatures(Findings& findings, const Scratch& scratch);

// Kernel transactions on a key that is there, below `hive`, and may be written to.
void CheckTransactions(Findings& findings, const std::string& group, HKEY hive,
                       const std::wstring& path);

// Only when allowed. Makes the key below HKEY_LOCAL_MACHINE\SYSTEM, checks transactions on it, and
// removes it.
void CheckMachineTransactions(Findings& findings);
// Starts Windows Installer on a package that refuses to be installed.
void CheckInstallerService(Findings& findings, const Scratch& scratch);
// Runs zum_rehearse.exe.
void CheckRehearsal(Findings& findings, const Scratch& scratch);

// The package of these checks, beside the program.
[[nodiscard]] std::wstring RefusedPackage();

}  // namespace windows_check

#endif  // TESTS_WINDOWS_CHECK_PROBES_H_
