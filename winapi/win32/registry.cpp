#include "winapi/registry.h"

#include <windows.h>

#include "winapi/registry_arguments.h"
#include "winapi/registry_world.h"
#include "winapi/win32/shape.h"
#include "winapi/win32/wide.h"

namespace winapi {

static_assert(kKeyQueryValue == KEY_QUERY_VALUE);
static_assert(kKeySetValue == KEY_SET_VALUE);
static_assert(kKeyEnumerateSubKeys == KEY_ENUMERATE_SUB_KEYS);
static_assert(kKeyWow6464Key == KEY_WOW64_64KEY);
static_assert(kKeyRead == KEY_READ);
static_assert(kKeyWrite == KEY_WRITE);

static_assert(kMaximumAllowed == MAXIMUM_ALLOWED);
static_assert(kGenericWrite == GENERIC_WRITE);
static_assert(kGenericRead == GENERIC_READ);
static_assert(kKeyAllAccess == KEY_ALL_ACCESS);

static_assert(kRegNone == REG_NONE);
static_assert(kRegSz == REG_SZ);
static_assert(kRegExpandSz == REG_EXPAND_SZ);
static_assert(kRegBinary == REG_BINARY);
static_assert(kRegDword == REG_DWORD);
static_assert(kRegMultiSz == REG_MULTI_SZ);

static_assert(sizeof(LSTATUS) == sizeof(Error));

static_assert(win32::kSameShape<RegOpenKeyTransactedWFunction, decltype(&::RegOpenKeyTransactedW)>);

// The real macros cast to a pointer, which no constant expression may hold; where HKEY is a number
// they can be compared.
namespace numbers {
using HKEY = std::intptr_t;
static_assert(kHkeyLocalMachineNumber == HKEY_LOCAL_MACHINE);
static_assert(kHkeyPerformanceDataNumber == HKEY_PERFORMANCE_DATA);
}  // namespace numbers

Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                    Key* result) noexcept {
  return world::RegOpenKeyExW(key, subKey, options, rights, result);
}

Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept {
  return world::RegEnumKeyW(key, index, name, size);
}

Error RegQueryValueExW(Key key, const char16_t* name, Dword* reserved, Dword* type,
                       std::uint8_t* data, Dword* size) noexcept {
  return world::RegQueryValueExW(key, name, reserved, type, data, size);
}

Error RegSetValueExW(Key key, const char16_t* name, Dword reserved, Dword type,
                     const std::uint8_t* data, Dword size) noexcept {
  return static_cast<Error>(
      ::RegSetValueExW(win32::Wide(key), win32::Wide(name), reserved, type, data, size));
}

Error RegDeleteValueW(Key key, const char16_t* name) noexcept {
  return static_cast<Error>(::RegDeleteValueW(win32::Wide(key), win32::Wide(name)));
}

Error RegCloseKey(Key key) noexcept { return world::RegCloseKey(key); }

}  // namespace winapi
