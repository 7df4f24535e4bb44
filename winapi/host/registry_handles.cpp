#include "winapi/host/registry_handles.h"

#include <utility>

#include "winapi/errors.h"
#include "winapi/host/live.h"
#include "winapi/host/registry_store.h"
#include "winapi/registry.h"

namespace winapi::host {
namespace {

constexpr Dword kFirstPredefined = 0x80000000;  // HKEY_CLASSES_ROOT
constexpr Dword kLastPredefined = 0x80000005;   // HKEY_CURRENT_CONFIG
constexpr Dword kAllRights = 0xFFFFFFFF;

Dword Number(Key key) { return static_cast<Dword>(reinterpret_cast<std::uintptr_t>(key)); }

// Null for the performance data, which is no part of the store.
// Between HKEY_USERS and HKEY_CURRENT_CONFIG stands the performance data's number.
RegistryKeyPtr HiveOf(Key key) {
  const auto& hives = RegistryStore::Instance().Tree().Hives();
  switch (Number(key)) {
    case 0x80000000:
      return hives[0];
    case 0x80000001:
      return hives[1];
    case 0x80000002:
      return hives[2];
    case 0x80000003:
      return hives[3];
    case 0x80000005:
      return hives[4];
    default:
      return nullptr;
  }
}

}  // namespace

KeyTable& KeyTable::Instance() {
  static KeyTable& table = *new KeyTable;
  return table;
}

Key KeyTable::Add(OpenKey key) {
  const std::uintptr_t number = m_next;
  m_next += 4;
  m_open.emplace(number, std::move(key));
  ++liveCounters.keys;
  return reinterpret_cast<Key>(number);
}

bool KeyTable::Remove(Key key) {
  if (m_open.erase(reinterpret_cast<std::uintptr_t>(key)) == 0) return false;
  --liveCounters.keys;
  return true;
}

// In this order: a handle that isn't one, a key that is gone, a transaction that is over, a right
// that wasn't asked for.
Error KeyTable::Resolve(Key key, Dword rights, OpenKey& result) const {
  if (IsPredefined(key)) {
    result = {HiveOf(key), kAllRights, nullptr};
    return result.node == nullptr ? kErrorInvalidHandle : kErrorSuccess;
  }
  const auto found = m_open.find(reinterpret_cast<std::uintptr_t>(key));
  if (found == m_open.end()) return kErrorInvalidHandle;
  if (found->second.node->Deleted()) return kErrorKeyDeleted;
  const TransactionWorkPtr& transaction = found->second.transaction;
  if (transaction != nullptr && !transaction->IsActive()) return kErrorTransactionNotActive;
  if ((found->second.rights & rights) != rights) return kErrorAccessDenied;
  result = found->second;
  return kErrorSuccess;
}

// The numbers are sign-extended where pointers are wider; the other spelling is no handle.
bool IsPredefined(Key key) noexcept {
  const auto number = reinterpret_cast<std::intptr_t>(key);
  return number == static_cast<std::int32_t>(Number(key)) && Number(key) >= kFirstPredefined &&
         Number(key) <= kLastPredefined;
}

}  // namespace winapi::host
