#include "winapi/registry.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/query_script.h"
#include "winapi/host/registry_handles.h"
#include "winapi/host/registry_open.h"
#include "winapi/host/registry_store.h"
#include "winapi/host/transactions.h"
#include "winapi/registry_arguments.h"
#include "winapi/registry_data.h"

namespace winapi {
namespace {

using host::Call;
using host::KeyTable;
using host::OpenKey;
using host::RegistryKeyPtr;
using host::RegistryStore;
using host::RegistryValue;

// Loads the store and finds the key.
Error Resolve(Key key, Dword rights, OpenKey& open) {
  if (const Error error = RegistryStore::Instance().Load(); error != 0) return error;
  return KeyTable::Instance().Resolve(key, rights, open);
}

Error GiveScripted(const host::QueryAnswer& answer, Dword* type, std::uint8_t* data, Dword* size) {
  if (answer.error == 0) {
    return GiveValue(answer.type, answer.data, answer.size, type, data, size);
  }
  if (answer.error == kErrorMoreData) {
    if (type != nullptr) *type = answer.type;
    if (size != nullptr) *size = answer.size;
  }
  return answer.error;
}

// The script is asked before the lock is taken, for it may change the registry, and in any case,
// though the key may turn out to be none: a test that counts its calls counts the product's.
Error Query(Key key, const char16_t* name, Dword* type, std::uint8_t* data, Dword* size) {
  const auto scripted = host::AskQueryScript(ViewOf(name), size == nullptr ? 0 : *size);
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  OpenKey open;
  if (const Error error = Resolve(key, kKeyQueryValue, open); error != 0) return error;
  if (scripted) return GiveScripted(*scripted, type, data, size);
  const RegistryValue* value = open.transaction == nullptr
                                   ? open.node->Value(ViewOf(name))
                                   : open.transaction->Value(open.node, ViewOf(name));
  if (value == nullptr) return kErrorFileNotFound;
  return GiveValue(value->type, value->data, static_cast<Dword>(value->data.size()), type, data,
                   size);
}

Error Set(Key key, const char16_t* name, Dword type, const std::uint8_t* data, Dword size) {
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  OpenKey open;
  if (const Error error = Resolve(key, kKeySetValue, open); error != 0) return error;
  if (ViewOf(name).size() > kMaxValueName) return kErrorInvalidParameter;
  if (data == nullptr && size != 0) return kErrorNoAccess;
  std::vector<std::uint8_t> bytes = CompletedData(type, data, size);
  if (open.transaction != nullptr) {
    return open.transaction->SetValue(open.node, ViewOf(name), type, std::move(bytes));
  }
  if (open.node->writer != nullptr) return kErrorTransactionalConflict;
  open.node->SetValue(ViewOf(name), type, std::move(bytes));
  store.MarkChanged();
  return kErrorSuccess;
}

Error Remove(Key key, const char16_t* name) {
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  OpenKey open;
  if (const Error error = Resolve(key, kKeySetValue, open); error != 0) return error;
  if (open.transaction != nullptr) return open.transaction->RemoveValue(open.node, ViewOf(name));
  if (open.node->Value(ViewOf(name)) == nullptr) return kErrorFileNotFound;
  if (open.node->writer != nullptr) return kErrorTransactionalConflict;
  (void)open.node->RemoveValue(ViewOf(name));  // it is there
  store.MarkChanged();
  return kErrorSuccess;
}

}  // namespace

Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                    Key* result) noexcept {
  Call call("RegOpenKeyExW");
  call.Argument("key", key).Argument("subKey", subKey).Argument("options", options);
  call.Mask("rights", rights);
  if (const auto fault = call.Fault()) return host::FailOpen(*fault, result);
  return host::OpenInStore(call, key, subKey, rights, nullptr, result);
}

Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept {
  Call call("RegEnumKeyW");
  call.Argument("key", key).Argument("index", index).Argument("size", size);
  if (const auto fault = call.Fault()) return *fault;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  OpenKey open;
  if (const Error error = Resolve(key, kKeyEnumerateSubKeys, open); error != 0) return error;
  const RegistryKeyPtr child = open.node->ChildAt(index);
  if (child == nullptr) return kErrorNoMoreItems;
  if (name == nullptr || size <= child->Name().size()) return kErrorMoreData;
  *std::copy(child->Name().begin(), child->Name().end(), name) = u'\0';
  return kErrorSuccess;
}

// The signature is the system's. NOLINTNEXTLINE(readability-non-const-parameter)
Error RegQueryValueExW(Key key, const char16_t* name, Dword* reserved, Dword* type,
                       std::uint8_t* data, Dword* size) noexcept {
  Call call("RegQueryValueExW");
  call.Argument("key", key).Argument("name", name);
  if (size != nullptr) call.Argument("size", *size);
  if (const auto fault = call.Fault()) return *fault;
  if (reserved != nullptr || (data != nullptr && size == nullptr)) return kErrorInvalidParameter;
  return Query(key, name, type, data, size);
}

Error RegSetValueExW(Key key, const char16_t* name, Dword reserved, Dword type,
                     const std::uint8_t* data, Dword size) noexcept {
  Call call("RegSetValueExW");
  call.Argument("key", key).Argument("name", name).Argument("reserved", reserved);
  call.Argument("type", type).Data("data", data, size).Argument("size", size);
  if (const auto fault = call.Fault()) return *fault;
  return Set(key, name, type, data, size);
}

Error RegDeleteValueW(Key key, const char16_t* name) noexcept {
  Call call("RegDeleteValueW");
  call.Argument("key", key).Argument("name", name);
  if (const auto fault = call.Fault()) return *fault;
  return Remove(key, name);
}

Error RegCloseKey(Key key) noexcept {
  Call call("RegCloseKey");
  call.Argument("key", key);
  const auto fault = call.Fault();
  const auto lock = RegistryStore::Instance().Lock();
  // A close that is made to fail closes all the same, so that a sweep can tell a leak of the
  // product.
  const bool closed = host::IsPredefined(key) || KeyTable::Instance().Remove(key);
  if (fault) return *fault;
  return closed ? kErrorSuccess : kErrorInvalidHandle;
}

}  // namespace winapi
