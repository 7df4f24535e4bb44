// Starting a program and reading its exit code.
#ifndef PLATFORM_WINAPI_WINAPI_CHILD_PROCESS_H_
#define PLATFORM_WINAPI_WINAPI_CHILD_PROCESS_H_

#include <cstdint>

#include "platform/winapi/winapi/security.h"
#include "platform/winapi/winapi/types.h"

namespace winapi {

// STARTUPINFOW: 68 bytes on the 32-bit target.
struct StartupInfo {
  Dword cb;
  char16_t* lpReserved;
  char16_t* lpDesktop;
  char16_t* lpTitle;
  Dword dwX;
  Dword dwY;
  Dword dwXSize;
  Dword dwYSize;
  Dword dwXCountChars;
  Dword dwYCountChars;
  Dword dwFillAttribute;
  Dword dwFlags;
  std::uint16_t wShowWindow;
  std::uint16_t cbReserved2;
  std::uint8_t* lpReserved2;
  Handle hStdInput;
  Handle hStdOutput;
  Handle hStdError;
};

// PROCESS_INFORMATION.
struct ProcessInformation {
  Handle hProcess;
  Handle hThread;
  Dword dwProcessId;
  Dword dwThreadId;
};

// sizeof(STARTUPINFOW) on the 32-bit target, in both worlds.
inline constexpr Dword kStartupInfoSize = 68;

inline constexpr Dword kCreateNoWindow = 0x08000000;  // CREATE_NO_WINDOW

// Starts the program at the full path `application` with exactly that command line, which the call
// may write into. Both handles of `information` are the caller's to close. The host starts a real
// executable file below its C:, and hands the command line over whole, as the one argument behind
// the program's name.
[[nodiscard]] Bool CreateProcessW(const char16_t* application, char16_t* commandLine,
                                  const SecurityAttributes* processAttributes,
                                  const SecurityAttributes* threadAttributes, Bool inheritHandles,
                                  Dword creationFlags, void* environment,
                                  const char16_t* currentDirectory, StartupInfo* startup,
                                  ProcessInformation* information) noexcept;

// The full 32 bits; 259 while the process runs. On the host a process that exits gives its low 8
// bits unless a test says otherwise.
[[nodiscard]] Bool GetExitCodeProcess(Handle process, Dword* exitCode) noexcept;

}  // namespace winapi

#endif  // PLATFORM_WINAPI_WINAPI_CHILD_PROCESS_H_
