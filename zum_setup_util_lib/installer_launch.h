// Starting Windows Installer and waiting for it.
#ifndef ZUM_SETUP_UTIL_LIB_INSTALLER_LAUNCH_H_
#define ZUM_SETUP_UTIL_LIB_INSTALLER_LAUNCH_H_

#include <cstdint>
#include <string>
#include <vector>

#include "oru/rtl/string.h"

namespace correct_setup::detail {

// The installer's full path: in the system directory, whatever PATH and the registry say. Throws.
[[nodiscard]] oru::String16 GetMsiexecPath();

// Runs the installer with that command line (arguments only) to its end and gives its exit code,
// whatever it is. Throws oru::CheckResultFailedException with rcLaunchPackageFailed when it can't
// be run or waited for.
[[nodiscard]] std::uint32_t LaunchMsiPackage(const std::u16string& commandLine);

// The text with its terminating zero, as CreateProcessW needs it: the call may write into its
// command line.
[[nodiscard]] std::vector<char16_t> MakeVector(const std::u16string& text);

// Runs a program to its end and gives its exit code. No window, no inherited handles, no time
// limit. The trace shows the command line with its passwords hidden; the program gets it as it is.
// Throws a member of the exception family; a program that could not be waited for goes on.
[[nodiscard]] std::uint32_t CreateProcessAndWait(const std::u16string& applicationName,
                                                 const std::u16string& commandLine);

}  // namespace correct_setup::detail

#endif  // ZUM_SETUP_UTIL_LIB_INSTALLER_LAUNCH_H_
