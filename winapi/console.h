// The console that the standard output goes to. No operations of Windows' own.
#ifndef WINAPI_CONSOLE_H_
#define WINAPI_CONSOLE_H_

#include "winapi/types.h"

namespace winapi {

// Its columns; 0 where the output goes elsewhere.
[[nodiscard]] Dword ConsoleColumns() noexcept;

// True where the standard error stream goes to one.
[[nodiscard]] Bool ErrorsGoToConsole() noexcept;

// Lets the console take UTF-8 and gives the code page that it took before; 0 where there is none or
// it can't be switched. The host's takes UTF-8 anyway: 0.
[[nodiscard]] Dword SwitchConsoleToUtf8() noexcept;
// Switches back; nothing for 0.
void RestoreConsole(Dword codePage) noexcept;

}  // namespace winapi

#endif  // WINAPI_CONSOLE_H_
