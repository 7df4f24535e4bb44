// What the standard output goes to.
#ifndef ZUM_REHEARSE_TERMINAL_H_
#define ZUM_REHEARSE_TERMINAL_H_

#include <cstddef>
#include <string_view>

namespace zum_rehearse {

// The width of the terminal, of COLUMNS where the output goes elsewhere, else 80.
[[nodiscard]] std::size_t TerminalColumns();

// On a terminal that knows colours, and without NO_COLOR.
[[nodiscard]] bool UsesColour();

[[nodiscard]] bool ErrorsGoToTerminal();

// What empties the terminal's line, of which at most 40 columns are written on, and goes to its
// beginning.
[[nodiscard]] std::string_view EmptiedLine();

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_TERMINAL_H_
