#include "winapi/child_process.h"

#include <windows.h>

#include <cstddef>

#include "winapi/win32/wide.h"

namespace winapi {

static_assert(kStartupInfoSize == sizeof(STARTUPINFOW));
static_assert(kCreateNoWindow == CREATE_NO_WINDOW);
static_assert(kStillActive == STILL_ACTIVE);
static_assert(kErrorBadExeFormat == ERROR_BAD_EXE_FORMAT);

static_assert(sizeof(StartupInfo) == sizeof(STARTUPINFOW));
static_assert(offsetof(StartupInfo, cb) == offsetof(STARTUPINFOW, cb));
static_assert(offsetof(StartupInfo, lpReserved) == offsetof(STARTUPINFOW, lpReserved));
static_assert(offsetof(StartupInfo, lpDesktop) == offsetof(STARTUPINFOW, lpDesktop));
static_assert(offsetof(StartupInfo, lpTitle) == offsetof(STARTUPINFOW, lpTitle));
static_assert(offsetof(StartupInfo, dwX) == offsetof(STARTUPINFOW, dwX));
static_assert(offsetof(StartupInfo, dwY) == offsetof(STARTUPINFOW, dwY));
static_assert(offsetof(StartupInfo, dwXSize) == offsetof(STARTUPINFOW, dwXSize));
static_assert(offsetof(StartupInfo, dwYSize) == offsetof(STARTUPINFOW, dwYSize));
static_assert(offsetof(StartupInfo, dwXCountChars) == offsetof(STARTUPINFOW, dwXCountChars));
static_assert(offsetof(StartupInfo, dwYCountChars) == offsetof(STARTUPINFOW, dwYCountChars));
static_assert(offsetof(StartupInfo, dwFillAttribute) == offsetof(STARTUPINFOW, dwFillAttribute));
static_assert(offsetof(StartupInfo, dwFlags) == offsetof(STARTUPINFOW, dwFlags));
static_assert(offsetof(StartupInfo, wShowWindow) == offsetof(STARTUPINFOW, wShowWindow));
static_assert(offsetof(StartupInfo, cbReserved2) == offsetof(STARTUPINFOW, cbReserved2));
static_assert(offsetof(StartupInfo, lpReserved2) == offsetof(STARTUPINFOW, lpReserved2));
static_assert(offsetof(StartupInfo, hStdInput) == offsetof(STARTUPINFOW, hStdInput));
static_assert(offsetof(StartupInfo, hStdOutput) == offsetof(STARTUPINFOW, hStdOutput));
static_assert(offsetof(StartupInfo, hStdError) == offsetof(STARTUPINFOW, hStdError));

static_assert(sizeof(ProcessInformation) == sizeof(PROCESS_INFORMATION));
static_assert(offsetof(ProcessInformation, hProcess) == offsetof(PROCESS_INFORMATION, hProcess));
static_assert(offsetof(ProcessInformation, hThread) == offsetof(PROCESS_INFORMATION, hThread));
static_assert(offsetof(ProcessInformation, dwProcessId) ==
              offsetof(PROCESS_INFORMATION, dwProcessId));
static_assert(offsetof(ProcessInformation, dwThreadId) ==
              offsetof(PROCESS_INFORMATION, dwThreadId));

Bool CreateProcessW(const char16_t* application, char16_t* commandLine,
                    const SecurityAttributes* processAttributes,
                    const SecurityAttributes* threadAttributes, Bool inheritHandles,
                    Dword creationFlags, void* environment, const char16_t* currentDirectory,
                    StartupInfo* startup, ProcessInformation* information) noexcept {
  return ::CreateProcessW(win32::Wide(application), win32::Wide(commandLine),
                          win32::Wide(processAttributes), win32::Wide(threadAttributes),
                          inheritHandles, creationFlags, environment, win32::Wide(currentDirectory),
                          reinterpret_cast<STARTUPINFOW*>(startup),
                          reinterpret_cast<PROCESS_INFORMATION*>(information));
}

Bool GetExitCodeProcess(Handle process, Dword* exitCode) noexcept {
  return ::GetExitCodeProcess(process, win32::Wide(exitCode));
}

}  // namespace winapi
