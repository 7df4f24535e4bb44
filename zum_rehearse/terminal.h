// What the standard output goes to.
#ifndef ZUM_REHEARSE_TERMINAL_H_
#define ZUM_REHEARSE_TERMINAL_H_

#include <cstddef>

namespace zum_rehearse {

// The width of the terminal, of COLUMNS where the output goes elsewhere, else 80.
[[nodiscard]] std::size_t TerminalColumns();

// On a terminal that knows colours, and without NO_COLOR.
[[nodiscard]] bool UsesColour();

// False where it isn't known.
[[nodiscard]] bool ErrorsGoToTerminal();

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_TERMINAL_H_
