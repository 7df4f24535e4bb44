// Keys that are opened in a kernel transaction. A unit of its own: programs without transactions
// are linked without the name that it looks up.
#ifndef PLATFORM_UTIL_WINDOWS_REGISTRY_TRANSACTED_H_
#define PLATFORM_UTIL_WINDOWS_REGISTRY_TRANSACTED_H_

#include "platform/util/windows/unique_handle.h"
#include "winapi/registry.h"

namespace windows_helpers {

// As OpenKey inside a kernel transaction, without the checks. 126 or 127 on systems that can't do
// that.
[[nodiscard]] winapi::Error OpenKeyTransacted(RegKey& newKey, const KernelHandle& transaction,
                                              winapi::Key hive, const char16_t* path,
                                              winapi::Dword access) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_REGISTRY_TRANSACTED_H_
