// The types that the Windows operations of this folder pass around.
//
// All of them are the project's own, so that no other folder needs <windows.h> and its macros. They
// have the sizes and the layout of the Windows types on the 32-bit target; winapi/win32
// asserts that against the real headers. Text is char16_t, zero-terminated unless a comment says
// otherwise.
#ifndef WINAPI_TYPES_H_
#define WINAPI_TYPES_H_

#include <cstdint>

// Calling convention of every function that Windows calls or that is looked up by name. A
// function-pointer type without it crashes on the 32-bit target, and only some of the time.
#if defined(_WIN32) && !defined(_WIN64)
#define WINAPI_STDCALL __stdcall
#else
#define WINAPI_STDCALL
#endif

namespace winapi {

using Bool = std::int32_t;         // BOOL: 0 is false, all else is true
using Dword = std::uint32_t;       // DWORD
using Error = std::uint32_t;       // a Win32 error number, 0 is ERROR_SUCCESS
using Handle = void*;              // HANDLE
using Key = struct KeyTag*;        // HKEY
using Module = struct ModuleTag*;  // HMODULE
using Heap = void*;                // the HANDLE of a heap

// What GetProcAddress gives: to be cast to the real type, WINAPI_STDCALL included.
using Procedure = void (*)();

// INVALID_HANDLE_VALUE. A function since the cast isn't allowed in a constant expression.
inline Handle InvalidHandleValue() noexcept { return reinterpret_cast<Handle>(std::intptr_t{-1}); }

inline constexpr Dword kInfinite = 0xFFFFFFFF;  // INFINITE

}  // namespace winapi

#endif  // WINAPI_TYPES_H_
