#include "winapi/console.h"

#include <windows.h>

namespace winapi {
namespace {

bool IsConsole(CONSOLE_SCREEN_BUFFER_INFO& info, DWORD stream = STD_OUTPUT_HANDLE) {
  return ::GetConsoleScreenBufferInfo(::GetStdHandle(stream), &info) != 0;
}

}  // namespace

Dword ConsoleColumns() noexcept {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (!IsConsole(info)) return 0;
  const int columns = info.srWindow.Right - info.srWindow.Left + 1;
  return columns > 0 ? static_cast<Dword>(columns) : 0;
}

Bool ErrorsGoToConsole() noexcept {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  return IsConsole(info, STD_ERROR_HANDLE) ? 1 : 0;
}

Dword SwitchConsoleToUtf8() noexcept {
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (!IsConsole(info)) return 0;
  const Dword before = ::GetConsoleOutputCP();
  return ::SetConsoleOutputCP(CP_UTF8) != 0 ? before : 0;
}

void RestoreConsole(Dword codePage) noexcept {
  // A console that doesn't take its old code page back stays with this one.
  if (codePage != 0) (void)::SetConsoleOutputCP(codePage);
}

}  // namespace winapi
