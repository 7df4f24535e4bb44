// Hostile text made fit for readers.
#ifndef ZUM_REHEARSE_PRINTABLE_H_
#define ZUM_REHEARSE_PRINTABLE_H_

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

#include "zum_rehearse/report.h"

namespace zum_rehearse {

// UTF-8 of UTF-16; a lone surrogate becomes U+FFFD.
[[nodiscard]] std::string Utf8(std::u16string_view text);
// UTF-16 of UTF-8; what is malformed becomes U+FFFD.
[[nodiscard]] std::u16string Utf16(std::string_view utf8);

// True for what must not reach a terminal or a page as it is: control characters, those that turn
// the direction of text, invisible ones and line separators.
[[nodiscard]] bool IsUnsafe(char32_t character) noexcept;

// UTF-8 in which each unsafe character and lone surrogate stands as its number, such as "\u{1b}".
[[nodiscard]] std::string Printable(std::u16string_view text);
// The same for UTF-8, such as a file's name; a malformed byte stands as "\x{ff}".
[[nodiscard]] std::string Printable(std::string_view utf8);

// A value for readers: a string in quotes, another type by its name and bytes.
[[nodiscard]] std::string Printable(const Value& value);

// "REG_SZ" and so on; "type 12345" for a number without a name.
[[nodiscard]] std::string TypeName(winapi::Dword type);
// Pairs of lower-case hexadecimal digits.
[[nodiscard]] std::string HexDigits(const std::vector<std::uint8_t>& bytes);

// All parts behind one another.
[[nodiscard]] std::string Concat(std::initializer_list<std::string_view> parts);

// The columns that printable UTF-8 takes on a terminal.
[[nodiscard]] std::size_t Width(std::string_view utf8);
// How many bytes of its beginning take at most so many columns, whole characters only.
[[nodiscard]] std::size_t FittingBytes(std::string_view utf8, std::size_t columns);
// At most so many columns; what is cut off is told by an ellipsis.
[[nodiscard]] std::string Cut(std::string_view utf8, std::size_t columns);
// Filled up by blanks, or cut.
[[nodiscard]] std::string Fit(std::string_view utf8, std::size_t columns);

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_PRINTABLE_H_
