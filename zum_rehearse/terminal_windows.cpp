#include <cstdlib>

#include "zum_rehearse/terminal.h"

namespace zum_rehearse {

std::size_t TerminalColumns() {
  const char* const columns = std::getenv("COLUMNS");
  const long number = columns == nullptr ? 0 : std::strtol(columns, nullptr, 10);
  return number > 0 && number < 100000 ? static_cast<std::size_t>(number) : 80;
}

// A console of the older systems would show the sequences as text.
bool UsesColour() { return false; }

bool ErrorsGoToTerminal() { return false; }

}  // namespace zum_rehearse
