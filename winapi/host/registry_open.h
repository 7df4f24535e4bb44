// How an open finds its key: what the registry's opens of all kinds share.
#ifndef WINAPI_HOST_REGISTRY_OPEN_H_
#define WINAPI_HOST_REGISTRY_OPEN_H_

#include <string_view>

#include "winapi/host/call.h"
#include "winapi/host/registry_tree.h"
#include "winapi/host/transactions.h"
#include "winapi/types.h"

namespace winapi::host {

// The key that an open of `subKey` from the handle `from`, which stands for `start`, goes to, and
// what the new handle may do. Errors as RegOpenKeyExW has them; the results are then untouched.
[[nodiscard]] Error FindKeyToOpen(Key from, const RegistryKeyPtr& start, std::u16string_view subKey,
                                  Dword rights, RegistryKeyPtr& node, Dword& granted);

// Opens a key of the store; `transaction` is null for an open outside any. Writes `*result` into
// the call's arguments.
[[nodiscard]] Error OpenInStore(Call& call, Key key, const char16_t* subKey, Dword rights,
                                const TransactionWorkPtr& transaction, Key* result);

// What an open that failed gives: `error`, and no key.
Error FailOpen(Error error, Key* result);

}  // namespace winapi::host

#endif  // WINAPI_HOST_REGISTRY_OPEN_H_
