#include "zum_rehearse/terminal.h"

#include <cstdlib>
#include <string_view>

#include "winapi/console.h"

#ifndef _WIN32
#include <unistd.h>
#endif

namespace zum_rehearse {
namespace {

constexpr std::size_t kUsualColumns = 80;

}  // namespace

std::size_t TerminalColumns() {
  if (const winapi::Dword columns = winapi::ConsoleColumns()) {
#ifdef _WIN32
    return columns - 1;  // a full line would be followed by an empty one
#else
    return columns;
#endif
  }
  const char* const columns = std::getenv("COLUMNS");
  const long number = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
  return number > 0 && number < 100000 ? static_cast<std::size_t>(number) : kUsualColumns;
}

#ifdef _WIN32

// A console of the older systems would show the sequences as text.
bool UsesColour() { return false; }

std::string_view EmptiedLine() { return "\r                                        \r"; }

#else

bool UsesColour() {
  const char* const off = std::getenv("NO_COLOR");
  const char* const kind = std::getenv("TERM");
  return ::isatty(STDOUT_FILENO) != 0 && (off == nullptr || *off == '\0') && kind != nullptr &&
         std::string_view(kind) != "dumb";
}

std::string_view EmptiedLine() { return "\r\033[K"; }

#endif

bool ErrorsGoToTerminal() { return winapi::ErrorsGoToConsole() != 0; }

}  // namespace zum_rehearse
