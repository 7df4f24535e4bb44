#include "zum_setup_util_lib/installer_launch.h"

#include <exception>
#include <optional>
#include <vector>

#include "oru/rtl/exception.h"
#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/number_format.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/filesystem/path.h"
#include "platform/util/windows/filesystem/system_directory.h"
#include "platform/util/windows/system_error.h"
#include "platform/util/windows/unique_handle.h"
#include "winapi/child_process.h"
#include "winapi/errors.h"
#include "zum_setup_util_lib/sensitive_data.h"
#include "zum_setup_util_lib/stage.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace correct_setup::detail {
namespace {

using windows_helpers::KernelHandle;

// The fixed positions of the launch's failures in kStageSourceFile: part of what is shown, so they
// don't move with the code.
constexpr std::uint32_t kCreateProcessLine = 235;
constexpr std::uint32_t kWaitLine = 241;
constexpr std::uint32_t kExitCodeLine = 244;
constexpr std::uint32_t kLaunchLine = 260;

// The two handles of a started program; the thread's is closed before the process's.
struct StartedProcess {
  KernelHandle process;
  KernelHandle thread;
  winapi::Dword id = 0;
};

// The expression is the call as the trace has always shown it, not as it stands here.
[[noreturn]] void ThrowCreateFailure(winapi::Error error) {
  throw windows_helpers::WindowsErrorException(
      error,
      "::CreateProcessW( applicationName.c_str(), commandLine.empty() ? nullptr : "
      "MakeVector(commandLine).data(), nullptr, nullptr, 0, 0x08000000, nullptr, nullptr, "
      "&startupInfo, &processInfo)")
      << oru::SetFile{kStageSourceFile} << oru::SetLine{kCreateProcessLine};
}

void StartProcess(const std::u16string& applicationName, const std::u16string& commandLine,
                  StartedProcess& started) {
  winapi::StartupInfo startup{};
  // Windows reads the size that the structure has on its side.
  startup.cb = winapi::kStartupInfoSize;
  winapi::ProcessInformation information{};
  std::optional<std::vector<char16_t>> writable;
  // None rather than an empty one: the system then takes the program's path for its command line.
  if (!commandLine.empty()) writable = MakeVector(commandLine);
  const winapi::Bool created =
      winapi::CreateProcessW(applicationName.c_str(), writable ? writable->data() : nullptr,
                             /*processAttributes=*/nullptr, /*threadAttributes=*/nullptr,
                             /*inheritHandles=*/0, winapi::kCreateNoWindow, /*environment=*/nullptr,
                             /*currentDirectory=*/nullptr, &startup, &information);
  {
    // The release of the vector may change the last error, which is still to be read.
    const oru::LastErrorKeeper keeper;
    writable.reset();
  }
  if (created == 0) ThrowCreateFailure(winapi::GetLastError());
  started.process.Attach(information.hProcess);
  // The thread's handle isn't needed, but it is ours to close.
  started.thread.Attach(information.hThread);
  started.id = information.dwProcessId;
}

std::uint32_t WaitForExit(const KernelHandle& process) {
  const oru::ResultCode waited = windows_helpers::WaitForHandle(process, winapi::kInfinite);
  if (ORU_FAILED(waited))
    throw oru::CheckResultFailedException(kStageSourceFile, kWaitLine, waited);
  winapi::Dword exitCode = 0;
  if (winapi::GetExitCodeProcess(process.GetValue(), &exitCode) == 0) {
    throw windows_helpers::WindowsErrorException(winapi::GetLastError(),
                                                 "GetExitCodeProcess(processHandle, &exitcode)")
        << oru::SetFile{kStageSourceFile} << oru::SetLine{kExitCodeLine};
  }
  return exitCode;
}

}  // namespace

std::vector<char16_t> MakeVector(const std::u16string& text) {
  return {text.c_str(), text.c_str() + text.size() + 1};
}

// Neither PATH nor the registry is asked: this process may run with rights that the one who could
// change those lacks.
oru::String16 GetMsiexecPath() {
  return oru::String16(product_platform::filesystem::JoinPath(
      product_platform::windows::detail::GetSystemFilesDirectory(), u"msiexec.exe"));
}

std::uint32_t CreateProcessAndWait(const std::u16string& applicationName,
                                   const std::u16string& commandLine) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CreateProcessAndWait] "
                                      << "application name = " << applicationName
                                      << "; arguments = '"
                                      << helpers::HideSensitiveData(commandLine) << "'");
  StartedProcess started;
  StartProcess(applicationName, commandLine, started);
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CreateProcessAndWait] "
                                      << "created process: pid = " << started.id);
  const std::uint32_t exitCode = WaitForExit(started.process);
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CreateProcessAndWait] "
                                      << "process exit: code = "
                                      << oru::ResultCodeText{oru::MakeResultCode(exitCode)});
  return exitCode;
}

std::uint32_t LaunchMsiPackage(const std::u16string& commandLine) {
  oru::TraceScope scope;
  ORU_TRACE_SCOPE(scope, oru::kTraceLevelInfo,
                  u"setup\t[correct_setup::detail::LaunchMsiPackage] ");
  // What the installer ends with is no failure of this stage, so no code reaches the handler.
  try {
    const oru::String16 path = GetMsiexecPath();
    return CreateProcessAndWait(std::u16string(path.view()), commandLine);
  } catch (const std::exception&) {
    FailStage("setup\t[correct_setup::detail::LaunchMsiPackage] ", kLaunchLine,
              rcLaunchPackageFailed);
  }
}

}  // namespace correct_setup::detail
