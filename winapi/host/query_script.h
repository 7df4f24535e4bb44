// The test's script for RegQueryValueExW.
#ifndef WINAPI_HOST_QUERY_SCRIPT_H_
#define WINAPI_HOST_QUERY_SCRIPT_H_

#include <optional>
#include <string_view>

#include "winapi/host/control.h"
#include "winapi/types.h"

namespace winapi::host {

// What the script of SetQueryScript answers; nullopt without one. Not to be called under the
// store's lock: a script may change the registry.
[[nodiscard]] std::optional<QueryAnswer> AskQueryScript(std::u16string_view name, Dword size);

}  // namespace winapi::host

#endif  // WINAPI_HOST_QUERY_SCRIPT_H_
