#include "winapi/console.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace winapi {

Dword ConsoleColumns() noexcept {
  struct winsize size = {};
  return ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 ? size.ws_col : 0;
}

Bool ErrorsGoToConsole() noexcept { return ::isatty(STDERR_FILENO); }

Dword SwitchConsoleToUtf8() noexcept { return 0; }

void RestoreConsole(Dword /*codePage*/) noexcept {}

}  // namespace winapi
