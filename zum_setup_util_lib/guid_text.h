// New identifiers as text, for names that must not collide.
#ifndef ZUM_SETUP_UTIL_LIB_GUID_TEXT_H_
#define ZUM_SETUP_UTIL_LIB_GUID_TEXT_H_

#include <string>

#include "winapi/guid.h"

namespace correct_setup::helpers {

// The 16 bytes as they lie in memory, as 32 upper-case hexadecimal digits with a dash behind the
// 4th, 6th, 8th and 10th byte. The first three groups aren't swapped, so this isn't the
// identifier's usual text.
[[nodiscard]] std::u16string FormatGuidText(const winapi::Guid& guid);

// A new identifier; all zeros when the system gives none.
[[nodiscard]] winapi::Guid NewGuid() noexcept;

// The text of a new identifier in braces: 38 characters.
[[nodiscard]] std::u16string CreateGuidString();

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_GUID_TEXT_H_
