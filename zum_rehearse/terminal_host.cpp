#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <string_view>

#include "zum_rehearse/terminal.h"

namespace zum_rehearse {

std::size_t TerminalColumns() {
  struct winsize size = {};
  if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col != 0) return size.ws_col;
  const char* const columns = std::getenv("COLUMNS");
  const long number = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
  return number > 0 && number < 100000 ? static_cast<std::size_t>(number) : 80;
}

bool UsesColour() {
  const char* const off = std::getenv("NO_COLOR");
  const char* const kind = std::getenv("TERM");
  return ::isatty(STDOUT_FILENO) != 0 && (off == nullptr || *off == '\0') && kind != nullptr &&
         std::string_view(kind) != "dumb";
}

bool ErrorsGoToTerminal() { return ::isatty(STDERR_FILENO) != 0; }

}  // namespace zum_rehearse
