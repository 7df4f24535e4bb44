// The shell of the system below: that of the machine natively, and under Wine the one behind it,
// for what Wine itself can't make or takes too long for.
#ifndef TESTS_SUPPORT_UNIX_SHELL_H_
#define TESTS_SUPPORT_UNIX_SHELL_H_

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#ifdef _WIN32
#include <chrono>
#include <thread>

#include "winapi/child_process.h"
#include "winapi/handles.h"
#endif

namespace tests {

#ifdef _WIN32

// Wine gives no handle of the shell's to wait for, so a file in the folder tells its end.
[[nodiscard]] inline bool RunUnixShell(const std::filesystem::path& folder,
                                       const std::string& command) {
  const std::filesystem::path succeeded = folder / "shell-succeeded";
  const std::filesystem::path failed = folder / "shell-failed";
  const std::string line =
      "sh -c \"(" + command + ") && touch shell-succeeded || touch shell-failed\"";
  std::u16string text(line.begin(), line.end());
  winapi::StartupInfo startup{};
  startup.cb = winapi::kStartupInfoSize;
  winapi::ProcessInformation information{};
  if (winapi::CreateProcessW(u"Z:\\bin\\sh", text.data(), nullptr, nullptr, /*inheritHandles=*/0,
                             /*creationFlags=*/0, nullptr, folder.u16string().c_str(), &startup,
                             &information) == 0) {
    throw std::runtime_error("there is no shell behind this Windows");
  }
  (void)winapi::CloseHandle(information.hThread);   // null under Wine
  (void)winapi::CloseHandle(information.hProcess);  // likewise
  for (int i = 0; i < 2400; ++i) {
    if (std::filesystem::remove(succeeded)) return true;
    if (std::filesystem::remove(failed)) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
  }
  throw std::runtime_error("the shell didn't end: " + command);
}

#else

// Runs the command, which holds no quotation marks, backslashes or line breaks, in `folder`; true
// where it ends with 0. Throws std::runtime_error when there is no shell. The folder's path must do
// with plain characters.
[[nodiscard]] inline bool RunUnixShell(const std::filesystem::path& folder,
                                       const std::string& command) {
  const int status = std::system(("cd '" + folder.string() + "' && (" + command + ")").c_str());
  if (status == -1) throw std::runtime_error("the shell can't be started: " + command);
  return status == 0;
}

#endif

}  // namespace tests

#endif  // TESTS_SUPPORT_UNIX_SHELL_H_
