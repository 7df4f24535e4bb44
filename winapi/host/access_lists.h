// Security identifiers, access lists and descriptors in Windows' binary forms, as the operations
// take them from the caller's memory.
#ifndef WINAPI_HOST_ACCESS_LISTS_H_
#define WINAPI_HOST_ACCESS_LISTS_H_

#include <cstddef>
#include <optional>

#include "winapi/host/control.h"
#include "winapi/security.h"

namespace winapi::host {

// In bytes; 0 for what is no identifier (its revision isn't 1, or it has more than 15 parts).
[[nodiscard]] std::size_t SidLength(const void* sid) noexcept;

// The whole of a descriptor in its absolute form. 1305 for another revision, 1338 for the
// self-relative form, 1336 and 1337 for a list or an identifier that is none; `captured` is then
// untouched.
[[nodiscard]] Error CaptureDescriptor(const void* descriptor,
                                      std::optional<CapturedDescriptor>& captured);

// What GetProcAddress gives for "AddMandatoryAce"; logs and fails under that name.
Bool WINAPI_STDCALL AddMandatoryAce(Acl* acl, Dword revision, Dword aceFlags, Dword policy,
                                    void* labelSid) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_ACCESS_LISTS_H_
