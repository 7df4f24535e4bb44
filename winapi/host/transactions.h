// Kernel transactions over the registry's values.
//
// What a key that was opened in a transaction changes is kept aside: it is seen through that
// transaction's own handles only, until the commit puts it into the tree and writes the registry's
// file. A close of the transaction's handle without a commit drops it. The first writer has a key
// to itself until then: another transaction's write, and one outside any, gives 6800. (Windows
// would end the transaction for a writer outside it.) When a transaction is over, the keys that
// were opened in it give 6701.
#ifndef WINAPI_HOST_TRANSACTIONS_H_
#define WINAPI_HOST_TRANSACTIONS_H_

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "winapi/host/registry_tree.h"
#include "winapi/transactions.h"

namespace winapi::host {

// The work of one transaction. Shared by its handle and the keys opened in it; used under the
// store's lock.
class TransactionWork {
 public:
  TransactionWork() = default;
  TransactionWork(const TransactionWork&) = delete;
  TransactionWork& operator=(const TransactionWork&) = delete;

  [[nodiscard]] bool IsActive() const { return m_isActive; }

  // Values as they are inside the transaction; null for one that isn't there.
  [[nodiscard]] const RegistryValue* Value(const RegistryKeyPtr& key,
                                           std::u16string_view name) const;
  // 6800 where another one has written to the key.
  [[nodiscard]] Error SetValue(const RegistryKeyPtr& key, std::u16string_view name, Dword type,
                               std::vector<std::uint8_t> data);
  // As above, and 2 for a value that isn't there.
  [[nodiscard]] Error RemoveValue(const RegistryKeyPtr& key, std::u16string_view name);

  // Puts the changes into the tree and writes the file. On failure nothing is changed, and the
  // transaction is over: 1018 where a changed key was deleted, 1016 where the file can't be
  // written. 6701 when it was over before.
  [[nodiscard]] Error Commit();
  // Drops the changes.
  void Abandon();

 private:
  using Changes = std::map<std::u16string, std::optional<RegistryValue>>;  // by upper-case name

  [[nodiscard]] Error Claim(const RegistryKeyPtr& key);
  [[nodiscard]] bool TouchesDeletedKey() const;

  std::map<RegistryKeyPtr, Changes> m_changes;
  bool m_isActive = true;
};

using TransactionWorkPtr = std::shared_ptr<TransactionWork>;

// The work behind a transaction's handle: 6 for a handle of something else, 6701 when the
// transaction is over.
[[nodiscard]] Error FindTransaction(Handle handle, TransactionWorkPtr& work);

// What GetProcAddress gives for these names of ktmw32.dll; they log and fail under them.
Handle WINAPI_STDCALL CreateTransaction(SecurityAttributes* security, Guid* unitOfWork,
                                        Dword createOptions, Dword isolationLevel,
                                        Dword isolationFlags, Dword timeout,
                                        char16_t* description) noexcept;
Bool WINAPI_STDCALL CommitTransaction(Handle transaction) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_TRANSACTIONS_H_
