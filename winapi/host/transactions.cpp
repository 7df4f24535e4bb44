#include "winapi/host/transactions.h"

#include <algorithm>
#include <utility>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/last_error.h"
#include "winapi/host/registry_store.h"
#include "winapi/host/text.h"

namespace winapi::host {
namespace {

// Of the registry alone, so it isn't among the seam's numbers.
constexpr Error kErrorRegistryIoFailed = 1016;  // ERROR_REGISTRY_IO_FAILED

// What a transaction's handle stands for. The work outlives it in the keys that were opened in it,
// but not as something that can still be committed.
class Transaction final : public KernelObject {
 public:
  ~Transaction() override {
    const auto lock = RegistryStore::Instance().Lock();
    m_work->Abandon();
  }
  [[nodiscard]] const TransactionWorkPtr& Work() const { return m_work; }

 private:
  TransactionWorkPtr m_work = std::make_shared<TransactionWork>();
};

void Apply(RegistryKey& key, const std::optional<RegistryValue>& value, std::u16string_view name) {
  if (value) {
    key.SetValue(value->name, value->type, value->data);
  } else {
    (void)key.RemoveValue(name);  // another hand may have removed it meanwhile
  }
}

}  // namespace

const RegistryValue* TransactionWork::Value(const RegistryKeyPtr& key,
                                            std::u16string_view name) const {
  if (const auto changed = m_changes.find(key); changed != m_changes.end()) {
    const auto found = changed->second.find(Upcase(name));
    if (found != changed->second.end()) return found->second ? &*found->second : nullptr;
  }
  return key->Value(name);
}

// No waiting: Windows tells of a conflict at once, and the caller tries again or gives up.
Error TransactionWork::Claim(const RegistryKeyPtr& key) {
  if (key->writer != nullptr && key->writer != this) return kErrorTransactionalConflict;
  key->writer = this;
  return kErrorSuccess;
}

Error TransactionWork::SetValue(const RegistryKeyPtr& key, std::u16string_view name, Dword type,
                                std::vector<std::uint8_t> data) {
  if (const Error error = Claim(key); error != 0) return error;
  const RegistryValue* old = Value(key, name);
  std::u16string spelling = old == nullptr ? std::u16string(name) : old->name;
  m_changes[key][Upcase(name)] = RegistryValue{std::move(spelling), type, std::move(data)};
  return kErrorSuccess;
}

// Looked for before the claim: a key that isn't changed stays free for others.
Error TransactionWork::RemoveValue(const RegistryKeyPtr& key, std::u16string_view name) {
  if (Value(key, name) == nullptr) return kErrorFileNotFound;
  if (const Error error = Claim(key); error != 0) return error;
  m_changes[key][Upcase(name)] = std::nullopt;
  return kErrorSuccess;
}

bool TransactionWork::TouchesDeletedKey() const {
  return std::any_of(m_changes.begin(), m_changes.end(),
                     [](const auto& change) { return change.first->Deleted(); });
}

// All or nothing, the file included: what was applied is taken back where the file can't be
// written. Values that others changed meanwhile in these keys can't be: a key has one writer.
Error TransactionWork::Commit() {
  if (!m_isActive) return kErrorTransactionNotActive;
  RegistryStore& store = RegistryStore::Instance();
  if (TouchesDeletedKey()) {
    Abandon();
    return kErrorKeyDeleted;
  }
  std::vector<std::pair<RegistryKeyPtr, RegistryKey::ValueSet>> before;
  for (const auto& [key, changes] : m_changes) {
    before.emplace_back(key, key->Values());
    for (const auto& [name, value] : changes) Apply(*key, value, name);
    store.MarkChanged();
  }
  const bool written = store.Flush();
  if (!written) {
    for (auto& [key, values] : before) key->ReplaceValues(std::move(values));
  }
  Abandon();
  return written ? kErrorSuccess : kErrorRegistryIoFailed;
}

// Also behind a commit: the claims go either way.
void TransactionWork::Abandon() {
  for (const auto& [key, changes] : m_changes) key->writer = nullptr;
  m_changes.clear();
  m_isActive = false;
}

Error FindTransaction(Handle handle, TransactionWorkPtr& work) {
  const auto transaction = ObjectOf<Transaction>(handle);
  if (transaction == nullptr) return kErrorInvalidHandle;
  if (!transaction->Work()->IsActive()) return kErrorTransactionNotActive;
  work = transaction->Work();
  return kErrorSuccess;
}

Handle WINAPI_STDCALL CreateTransaction(SecurityAttributes* security, Guid* unitOfWork,
                                        Dword createOptions, Dword isolationLevel,
                                        Dword isolationFlags, Dword timeout,
                                        char16_t* description) noexcept {
  Call call("CreateTransaction");
  call.Argument("security", security).Argument("unitOfWork", unitOfWork);
  call.Argument("createOptions", createOptions).Argument("isolationLevel", isolationLevel);
  call.Argument("isolationFlags", isolationFlags).Argument("timeout", timeout);
  call.Argument("description", static_cast<const char16_t*>(description));
  if (const auto fault = call.Fault()) return FailWith(*fault, InvalidHandleValue());
  Handle handle = OpenHandle(std::make_shared<Transaction>());
  call.Argument("*result", handle);
  return handle;
}

Bool WINAPI_STDCALL CommitTransaction(Handle transaction) noexcept {
  Call call("CommitTransaction");
  call.Argument("transaction", transaction);
  if (const auto fault = call.Fault()) return FailWith(*fault, Bool{0});
  // Held over the lock: the last reference may take the lock itself.
  TransactionWorkPtr work;
  Error error = FindTransaction(transaction, work);
  if (error == 0) {
    const auto lock = RegistryStore::Instance().Lock();
    error = work->Commit();
  }
  return error == 0 ? 1 : FailWith(error, Bool{0});
}

}  // namespace winapi::host
