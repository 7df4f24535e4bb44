// The machine's registry.
//
// All functions return a Win32 error and leave the last error alone. Key and value names ignore
// case. On the 32-bit target an open without kKeyWow6464Key sees the 32-bit view of SOFTWARE; so
// does the host.
#ifndef WINAPI_REGISTRY_H_
#define WINAPI_REGISTRY_H_

#include "winapi/types.h"

namespace winapi {

inline constexpr Dword kKeyQueryValue = 0x0001;        // KEY_QUERY_VALUE
inline constexpr Dword kKeySetValue = 0x0002;          // KEY_SET_VALUE
inline constexpr Dword kKeyEnumerateSubKeys = 0x0008;  // KEY_ENUMERATE_SUB_KEYS
inline constexpr Dword kKeyWow6464Key = 0x0100;        // KEY_WOW64_64KEY
inline constexpr Dword kKeyRead = 0x20019;             // KEY_READ
inline constexpr Dword kKeyWrite = 0x20006;            // KEY_WRITE

inline constexpr Dword kRegNone = 0;      // REG_NONE
inline constexpr Dword kRegSz = 1;        // REG_SZ
inline constexpr Dword kRegExpandSz = 2;  // REG_EXPAND_SZ
inline constexpr Dword kRegBinary = 3;    // REG_BINARY
inline constexpr Dword kRegDword = 4;     // REG_DWORD
inline constexpr Dword kRegMultiSz = 7;   // REG_MULTI_SZ

// HKEY_LOCAL_MACHINE and HKEY_PERFORMANCE_DATA: the sign-extended 32-bit numbers that Windows uses.
// The handles are functions since the cast isn't allowed in a constant expression.
inline constexpr std::int32_t kHkeyLocalMachineNumber = -0x7FFFFFFE;
inline constexpr std::int32_t kHkeyPerformanceDataNumber = -0x7FFFFFFC;
inline Key HkeyLocalMachine() noexcept {
  return reinterpret_cast<Key>(std::intptr_t{kHkeyLocalMachineNumber});
}
inline Key HkeyPerformanceData() noexcept {
  return reinterpret_cast<Key>(std::intptr_t{kHkeyPerformanceDataNumber});
}

// Opens `subKey` below `key`. On success `*result` is a new handle that RegCloseKey closes; on
// failure it is null. 2 for a missing key, 6 for a null or closed handle, 5 for a refused right, 87
// for a null result or a name of more than 256 characters, 161 for a leading backslash, 1018 below
// a deleted key, 1009 where the host's registry file is damaged. Trailing and double backslashes
// are skipped. An empty or null `subKey` gives a predefined key itself and for others a new handle
// of the same key. `options` is ignored.
//
// The asked rights are checked on each later call (5), and a deleted key gives 1018 there. The host
// has no access lists, no links, and a 32-bit view of HKEY_LOCAL_MACHINE\SOFTWARE only: an open
// from HKEY_LOCAL_MACHINE without kKeyWow6464Key goes to WOW6432Node in it, Classes included. HKCR
// and HKCC are hives of their own there and no views of others.
[[nodiscard]] Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                                  Key* result) noexcept;

// The name of the subkey number `index`, in the order of the upper-case names, code unit by code
// unit (Wine takes the lower-case ones, which differs for the six characters between "Z" and "a").
// `size` is the buffer's size in characters and must be above the name's length: else 234. 259 past
// the last one.
[[nodiscard]] Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept;

// Reads a value. `size`: bytes of `data` going in, bytes of the value coming out, also with 234,
// which is the answer for a buffer that is too small (`data` is then untouched). A null `data` asks
// for the size only. A string that isn't empty and has no terminator gets a zero character behind
// it, which isn't counted, where the buffer has room for that. 2 for a missing value, with `*type`
// and `*size` untouched. `reserved` must be null, and `size` may be null only with `data` (87). A
// null or empty name is the default value.
[[nodiscard]] Error RegQueryValueExW(Key key, const char16_t* name, Dword* reserved, Dword* type,
                                     std::uint8_t* data, Dword* size) noexcept;

// Writes a value of `size` bytes. For the string types (1, 2, 7) one zero character is stored
// behind the data if it doesn't end in one and a zero stands behind the given range in memory, so
// the range must be readable one character beyond its end where it doesn't end in a zero. Nothing
// else is checked: a DWORD of 3 bytes is stored as such; `reserved` is ignored. A string of an odd
// number of bytes is stored as it is. 998 for a null `data` with a size, 87 for a name of more than
// 16,383 characters. A value that is there keeps its name's spelling.
[[nodiscard]] Error RegSetValueExW(Key key, const char16_t* name, Dword reserved, Dword type,
                                   const std::uint8_t* data, Dword size) noexcept;

// 2 when there is no such value.
[[nodiscard]] Error RegDeleteValueW(Key key, const char16_t* name) noexcept;

// Closes a handle; the predefined keys can be closed without effect. 6 for null or a closed handle.
[[nodiscard]] Error RegCloseKey(Key key) noexcept;

// What GetProcAddress gives for "RegOpenKeyTransactedW" of advapi32.dll; `reserved` is null. Wine
// lacks it. As RegOpenKeyExW, and 6 for a handle that is no transaction's and 6701 for a
// transaction that is over. What is changed through the key shows through it only until the commit;
// a write to a key that another transaction has changed gives 6800. After the transaction's end the
// key gives 6701.
using RegOpenKeyTransactedWFunction = Error(WINAPI_STDCALL*)(Key key, const char16_t* subKey,
                                                             Dword options, Dword rights,
                                                             Key* result, Handle transaction,
                                                             void* reserved);

}  // namespace winapi

#endif  // WINAPI_REGISTRY_H_
