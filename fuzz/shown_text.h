// Hostile text as readers may see it, by a rule of its own.
#ifndef FUZZ_SHOWN_TEXT_H_
#define FUZZ_SHOWN_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "zum_rehearse/report.h"

namespace fuzz {

// What moves a cursor, turns the direction of text or isn't seen at all.
[[nodiscard]] bool IsHidden(char32_t point);

// The code points of UTF-8; a byte that belongs to no well-formed character stands as kMalformed
// with the byte added.
inline constexpr char32_t kMalformed = 0x1000000;
[[nodiscard]] std::vector<char32_t> CodePointsOfUtf8(std::string_view bytes);

// A line of which everything is seen.
void RequireSeen(std::string_view line);

[[nodiscard]] std::string Shown(std::u16string_view text);
[[nodiscard]] std::string ShownUtf8(std::string_view bytes);
[[nodiscard]] std::string Shown(const zum_rehearse::Value& value);

// The columns that shown text takes on a terminal.
[[nodiscard]] std::size_t Columns(std::string_view shown);

}  // namespace fuzz

#endif  // FUZZ_SHOWN_TEXT_H_
