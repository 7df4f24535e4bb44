// Between the project's types and Windows' own: on this target char16_t and wchar_t are the same 16
// bits, and Dword and DWORD the same 32. Only casts; the sizes are asserted in the files that use
// them.
#ifndef WINAPI_WIN32_WIDE_H_
#define WINAPI_WIN32_WIDE_H_

#include <windows.h>

#include "winapi/security.h"
#include "winapi/types.h"

namespace winapi::win32 {

static_assert(sizeof(wchar_t) == sizeof(char16_t));
static_assert(sizeof(DWORD) == sizeof(Dword));
static_assert(sizeof(BOOL) == sizeof(Bool));
static_assert(sizeof(HANDLE) == sizeof(Handle) && sizeof(HKEY) == sizeof(Key));

inline const wchar_t* Wide(const char16_t* text) noexcept {
  return reinterpret_cast<const wchar_t*>(text);
}
inline wchar_t* Wide(char16_t* text) noexcept { return reinterpret_cast<wchar_t*>(text); }
inline DWORD* Wide(Dword* number) noexcept { return reinterpret_cast<DWORD*>(number); }
inline HKEY Wide(Key key) noexcept { return reinterpret_cast<HKEY>(key); }
inline HMODULE Wide(Module module) noexcept { return reinterpret_cast<HMODULE>(module); }
// Windows doesn't write into them, though its parameters say so.
inline SECURITY_ATTRIBUTES* Wide(const SecurityAttributes* attributes) noexcept {
  return reinterpret_cast<SECURITY_ATTRIBUTES*>(const_cast<SecurityAttributes*>(attributes));
}

}  // namespace winapi::win32

#endif  // WINAPI_WIN32_WIDE_H_
