// The registry's format for lists of strings: each with its terminating zero, and one more zero at
// the end.
#ifndef PLATFORM_UTIL_WINDOWS_REGISTRY_MULTI_STRING_H_
#define PLATFORM_UTIL_WINDOWS_REGISTRY_MULTI_STRING_H_

#include <string>
#include <vector>

namespace windows_helpers {

// The strings in the characters from `first` to `last`. Two zeros at the end are the end mark; data
// without it is taken too. Empty strings inside are kept, one at the end is lost: its zero is taken
// for the mark's.
[[nodiscard]] std::vector<std::u16string> ParseMultiString(const char16_t* first,
                                                           const char16_t* last);

// The list's data, end mark included; two zeros for an empty list. A list of one empty string gives
// two zeros as well, so that one comes back as an empty list.
[[nodiscard]] std::u16string BuildMultiString(const std::vector<std::u16string>& strings);

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_REGISTRY_MULTI_STRING_H_
