// The reading half of the registry under a name of its own, so that the rehearsal's registry can
// lie over it: on Windows the system's functions, on the host the tree that rehearsal::Rehearsal
// has been given.
//
// Each does what the function of the same name in winapi/registry.h does. A program that has no use
// for the writing half is linked without it.
#ifndef WINAPI_REGISTRY_WORLD_H_
#define WINAPI_REGISTRY_WORLD_H_

#include <string>
#include <string_view>

#include "winapi/types.h"

namespace winapi::world {

[[nodiscard]] Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                                  Key* result) noexcept;
[[nodiscard]] Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept;
[[nodiscard]] Error RegQueryValueExW(Key key, const char16_t* name, Dword* reserved, Dword* type,
                                     std::uint8_t* data, Dword* size) noexcept;
[[nodiscard]] Error RegCloseKey(Key key) noexcept;

// The form of a key's or value's name by which names are compared. Throws std::bad_alloc.
[[nodiscard]] std::u16string FoldedName(std::u16string_view name);

// Asked before a change is kept in memory: 0, or the error that it ends with. On the host a fault
// that a test injects for the function of the seam that makes such a change; Windows has none. The
// kinds are no names, so that a Windows program that changes nothing holds no name of a function
// that does.
enum class ChangeKind { kWrite, kRemoval };
[[nodiscard]] Error ChangeFault(ChangeKind kind) noexcept;

}  // namespace winapi::world

#endif  // WINAPI_REGISTRY_WORLD_H_
