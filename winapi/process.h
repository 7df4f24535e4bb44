// The process's own identity and its command line.
#ifndef WINAPI_PROCESS_H_
#define WINAPI_PROCESS_H_

#include "winapi/types.h"

namespace winapi {

// The whole command line, program name included; never null, lives as long as the process. The host
// joins the process's arguments by blanks and puts quotes around one that is empty or holds a
// blank, a tabulator or a quote; a quote inside stays as it is.
[[nodiscard]] const char16_t* GetCommandLineW() noexcept;

[[nodiscard]] Dword GetCurrentProcessId() noexcept;
[[nodiscard]] Dword GetCurrentThreadId() noexcept;

// What an entry returns so that the process ends with `code` as its exit status. Windows keeps all
// 32 bits. The host has the low 8 only: it gives those, and 1 where they are 0 for a code that
// isn't.
[[nodiscard]] int ProcessExitStatus(std::int32_t code) noexcept;

}  // namespace winapi

#endif  // WINAPI_PROCESS_H_
