// Keys and values of the registry.
//
// Each function returns a Win32 error, 0 for success, and throws nothing; what a failure means is
// for the caller to say. On failure outputs are as before unless a function says otherwise. An
// empty key holder is reported as a failed check, and the call is made all the same. Text arguments
// are zero-terminated. Sizes in checks and loops are 32-bit counts of characters.
#ifndef PLATFORM_UTIL_WINDOWS_REGISTRY_H_
#define PLATFORM_UTIL_WINDOWS_REGISTRY_H_

#include <string>
#include <vector>

#include "oru/rtl/string.h"
#include "platform/util/windows/unique_handle.h"
#include "winapi/registry.h"

namespace windows_helpers {

// Opens `path` below `hive` with the rights of `access`. `newKey` must be empty, which is checked,
// and stays so on failure.
[[nodiscard]] winapi::Error OpenKey(RegKey& newKey, winapi::Key hive, const char16_t* path,
                                    winapi::Dword access) noexcept;

// Reads a REG_SZ; one terminating zero, if there is one, isn't part of the text. On failure `value`
// is empty: 2 for a missing value, 1629 for another type, 8 when memory runs out.
[[nodiscard]] winapi::Error ReadStringValue(const RegKey& key, const char16_t* name,
                                            oru::String16& value) noexcept;

// Reads a REG_MULTI_SZ by the rules of ParseMultiString. On failure `values` is untouched; errors
// as above.
[[nodiscard]] winapi::Error ReadMultiStringValue(const RegKey& key, const char16_t* name,
                                                 std::vector<std::u16string>& values) noexcept;

// Writes the characters from `first` to `last` as a REG_SZ, straight from their memory. No zero is
// added: the end of a text leaves its zero out, the end of an array that holds a literal takes it
// in.
[[nodiscard]] winapi::Error WriteStringValue(const RegKey& key, const char16_t* name,
                                             const char16_t* first, const char16_t* last) noexcept;

// Writes a REG_MULTI_SZ in the form of BuildMultiString. 8 when memory runs out.
[[nodiscard]] winapi::Error WriteMultiStringValue(
    const RegKey& key, const char16_t* name, const std::vector<std::u16string>& values) noexcept;

[[nodiscard]] winapi::Error DeleteValue(const RegKey& key, const char16_t* name) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_REGISTRY_H_
