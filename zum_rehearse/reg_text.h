// Files that the registry editors import: what the correction would change, and how to undo it.
#ifndef ZUM_REHEARSE_REG_TEXT_H_
#define ZUM_REHEARSE_REG_TEXT_H_

#include <string>
#include <string_view>
#include <vector>

#include "zum_rehearse/report.h"

namespace zum_rehearse {

// Both are UTF-16 with its mark, version 5.00; each value stands there with its type and all its
// bytes, or as one to be deleted. Where the correction would fail half-way they cover what would
// have been changed by then. A deleted value that comes back has its name in the usual spelling.
// The first lines tell the machine and `time`.
[[nodiscard]] std::string ChangesFile(const Report& report, const std::string& time);
[[nodiscard]] std::string UndoFile(const Report& report, const std::string& time);

// True for the bytes of such a file, or for the beginning of them.
[[nodiscard]] bool IsMadeByRehearsal(std::string_view bytes);

// Keys among the changes whose names such a file can't carry, for a line break in them: they are
// left out.
[[nodiscard]] std::vector<std::u16string> KeysThatNoFileCarries(const Report& report);

// This moment, such as "2026-11-22 00:12:33 UTC".
[[nodiscard]] std::string TimeNow();

}  // namespace zum_rehearse

#endif  // ZUM_REHEARSE_REG_TEXT_H_
