// Starting a program and reading its exit code.
#ifndef WINAPI_CHILD_PROCESS_H_
#define WINAPI_CHILD_PROCESS_H_

#include <cstdint>

#include "winapi/security.h"
#include "winapi/types.h"

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
inline constexpr Dword kStillActive = 259;            // STILL_ACTIVE
inline constexpr Error kErrorBadExeFormat = 193;      // ERROR_BAD_EXE_FORMAT

// Starts the program at the full path `application` with exactly that command line, which the call
// may write into; a null one makes the system put the program's path there. Both handles of
// `information` are the caller's to close. 0 with the last error set on failure: 2 for a missing
// file, 3 for a missing folder, 193 for a file that is no program.
//
// The host starts a real executable file, which is what its C: must hold there, and hands the
// command line over whole, as the one argument behind the program's name; none for a null one. The
// program has no standard streams. The call writes over the command line, and takes only the form
// in which attributes, environment and folder are null, no handle is inherited, and the flags are
// those above (87). 5 for a folder (6 under Wine).
[[nodiscard]] Bool CreateProcessW(const char16_t* application, char16_t* commandLine,
                                  const SecurityAttributes* processAttributes,
                                  const SecurityAttributes* threadAttributes, Bool inheritHandles,
                                  Dword creationFlags, void* environment,
                                  const char16_t* currentDirectory, StartupInfo* startup,
                                  ProcessInformation* information) noexcept;

// The full 32 bits; kStillActive while the process runs. 0 with the last error set on failure, 6
// for a handle of no process. On the host a program gives the low 8 bits of its exit status, and
// where a signal ended it the code of the like exception (0xC0000005), unless a test says
// otherwise; a thread's handle is taken as its process's.
[[nodiscard]] Bool GetExitCodeProcess(Handle process, Dword* exitCode) noexcept;

}  // namespace winapi

#endif  // WINAPI_CHILD_PROCESS_H_
