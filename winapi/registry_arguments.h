// What the arguments of the registry's functions mean to the seam's own registries, the host's and
// the rehearsal's: rights that winapi/registry.h doesn't name, and a name that may be null.
#ifndef WINAPI_REGISTRY_ARGUMENTS_H_
#define WINAPI_REGISTRY_ARGUMENTS_H_

#include <cstddef>
#include <string_view>

#include "winapi/security.h"  // kGenericAll
#include "winapi/types.h"

namespace winapi {

inline constexpr Dword kMaximumAllowed = 0x02000000;  // MAXIMUM_ALLOWED
inline constexpr Dword kGenericWrite = 0x40000000;    // GENERIC_WRITE
inline constexpr Dword kGenericRead = 0x80000000;     // GENERIC_READ
inline constexpr Dword kKeyAllAccess = 0xF003F;       // KEY_ALL_ACCESS

inline constexpr std::size_t kMaxValueName = 16383;  // characters

// Empty for null, which names the key itself or its default value as the empty text does.
[[nodiscard]] inline std::u16string_view ViewOf(const char16_t* text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

}  // namespace winapi

#endif  // WINAPI_REGISTRY_ARGUMENTS_H_
