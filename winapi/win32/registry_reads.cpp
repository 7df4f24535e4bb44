#include <windows.h>

#include "winapi/registry_world.h"
#include "winapi/win32/wide.h"

namespace winapi::world {

static_assert(sizeof(LSTATUS) == sizeof(Error));

Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                    Key* result) noexcept {
  return static_cast<Error>(::RegOpenKeyExW(win32::Wide(key), win32::Wide(subKey), options, rights,
                                            reinterpret_cast<HKEY*>(result)));
}

Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept {
  return static_cast<Error>(::RegEnumKeyW(win32::Wide(key), index, win32::Wide(name), size));
}

Error RegQueryValueExW(Key key, const char16_t* name, Dword* reserved, Dword* type,
                       std::uint8_t* data, Dword* size) noexcept {
  return static_cast<Error>(::RegQueryValueExW(win32::Wide(key), win32::Wide(name),
                                               win32::Wide(reserved), win32::Wide(type), data,
                                               win32::Wide(size)));
}

Error RegCloseKey(Key key) noexcept { return static_cast<Error>(::RegCloseKey(win32::Wide(key))); }

}  // namespace winapi::world
