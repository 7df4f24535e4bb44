// The registry's function that is found by name only.
#ifndef WINAPI_HOST_TRANSACTED_REGISTRY_H_
#define WINAPI_HOST_TRANSACTED_REGISTRY_H_

#include "winapi/registry.h"

namespace winapi::host {

// What GetProcAddress gives for "RegOpenKeyTransactedW" of advapi32.dll; logs and fails under that
// name. Opens as RegOpenKeyExW does; 6 for a handle that is no transaction's, 6701 for a
// transaction that is over. Opens below a key of a transaction are in none.
Error WINAPI_STDCALL RegOpenKeyTransactedW(Key key, const char16_t* subKey, Dword options,
                                           Dword rights, Key* result, Handle transaction,
                                           void* reserved) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_TRANSACTED_REGISTRY_H_
