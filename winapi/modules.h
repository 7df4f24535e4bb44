// Modules, and functions found by name in them.
#ifndef WINAPI_MODULES_H_
#define WINAPI_MODULES_H_

#include "winapi/types.h"

namespace winapi {

// Loads a module, or adds a reference to a loaded one. Null with the last error set (126) on
// failure. The host knows the system modules whose functions it has: "kernel32.dll", "ntdll.dll"
// and "advapi32.dll", which are loaded from the start, and "wintrust.dll", "crypt32.dll" and
// "ktmw32.dll". A name with a folder must have the system directory's.
[[nodiscard]] Module LoadLibraryW(const char16_t* name) noexcept;

// Gives a reference of LoadLibraryW or GetModuleHandleExW back. 0 with the last error set on
// failure. The host refuses (126) a reference that was never taken; Windows lets a module that it
// needs itself be given back at will.
Bool FreeLibrary(Module module) noexcept;

// A module that is loaded already, without a reference of its own. Null with the last error set.
[[nodiscard]] Module GetModuleHandleW(const char16_t* name) noexcept;

// The same for an 8-bit name.
[[nodiscard]] Module GetModuleHandleA(const char* name) noexcept;

inline constexpr Dword kGetModuleHandleExUnchangedRefcount = 2;  // ..._FLAG_UNCHANGED_REFCOUNT

// As GetModuleHandleW; with the flag above it adds no reference. 0 with the last error set and
// `*module` null on failure.
[[nodiscard]] Bool GetModuleHandleExW(Dword flags, const char16_t* name, Module* module) noexcept;

// The function of that name, or null with the last error set (127).
[[nodiscard]] Procedure GetProcAddress(Module module, const char* name) noexcept;

// The full path of a module, of the program itself for null. `size` is the buffer's size in
// characters. Gives the characters copied without the terminator; a path that doesn't fit is cut,
// terminated, and gives `size` with last error 122 (Wine doesn't terminate it). 0 with the last
// error set on failure.
[[nodiscard]] Dword GetModuleFileNameW(Module module, char16_t* path, Dword size) noexcept;

// What GetProcAddress gives for "SetDefaultDllDirectories" of kernel32.dll. 0 on failure, 87 for no
// flag and for one that isn't one of 0x200, 0x400, 0x800 and 0x1000. Without effect in the host,
// which loads system modules only.
using SetDefaultDllDirectoriesFunction = Bool(WINAPI_STDCALL*)(Dword flags);

}  // namespace winapi

#endif  // WINAPI_MODULES_H_
