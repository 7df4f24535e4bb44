// The open registry keys of the process.
#ifndef WINAPI_HOST_REGISTRY_HANDLES_H_
#define WINAPI_HOST_REGISTRY_HANDLES_H_

#include <cstdint>
#include <unordered_map>

#include "winapi/host/registry_tree.h"
#include "winapi/host/transactions.h"
#include "winapi/types.h"

namespace winapi::host {

struct OpenKey {
  RegistryKeyPtr node;
  Dword rights = 0;
  TransactionWorkPtr transaction = nullptr;  // the one that it was opened in, if any
};

// Not locked; used under the store's lock. Numbers are never given twice, so that the use of a
// closed handle always shows as 6.
class KeyTable {
 public:
  [[nodiscard]] static KeyTable& Instance();

  [[nodiscard]] Key Add(OpenKey key);
  // False for a handle that isn't open here.
  bool Remove(Key key);

  // What a handle stands for: 6 for a null, closed or made-up one and for the performance data,
  // 1018 for a deleted key, 6701 for one opened in a transaction that is over, 5 when the handle
  // lacks one of `rights`. The predefined keys have all rights. The store must be loaded.
  [[nodiscard]] Error Resolve(Key key, Dword rights, OpenKey& result) const;

 private:
  std::unordered_map<std::uintptr_t, OpenKey> m_open;
  std::uintptr_t m_next = 0x1000;
};

// HKEY_CLASSES_ROOT to HKEY_CURRENT_CONFIG, HKEY_PERFORMANCE_DATA among them.
[[nodiscard]] bool IsPredefined(Key key) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_REGISTRY_HANDLES_H_
