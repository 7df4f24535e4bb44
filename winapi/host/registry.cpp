#include "winapi/registry.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/query_script.h"
#include "winapi/host/registry_handles.h"
#include "winapi/host/registry_store.h"
#include "winapi/host/text.h"
#include "winapi/host/transacted_registry.h"
#include "winapi/host/transactions.h"

namespace winapi {
namespace {

using host::Call;
using host::KeyTable;
using host::OpenKey;
using host::RegistryKeyPtr;
using host::RegistryStore;
using host::RegistryValue;

constexpr std::size_t kMaxKeyName = 256;  // characters; Wine's limit, one more than Windows'
constexpr std::size_t kMaxValueName = 16383;

constexpr Dword kMaximumAllowed = 0x02000000;  // MAXIMUM_ALLOWED
constexpr Dword kGenericAll = 0x10000000;      // GENERIC_ALL
constexpr Dword kGenericWrite = 0x40000000;    // GENERIC_WRITE
constexpr Dword kGenericRead = 0x80000000;     // GENERIC_READ
constexpr Dword kKeyAllAccess = 0xF003F;       // KEY_ALL_ACCESS

std::u16string_view ViewOf(const char16_t* text) {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

bool IsStringType(Dword type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

// --- Opening ---

// The 32-bit view: an open that passes from HKEY_LOCAL_MACHINE through SOFTWARE goes to WOW6432Node
// in it, unless it names that itself.
void RedirectToView(std::vector<std::u16string_view>& parts, Dword rights) {
  if ((rights & kKeyWow6464Key) != 0 || parts.empty()) return;
  if (!host::EqualIgnoringCase(parts[0], u"SOFTWARE")) return;
  if (parts.size() > 1 && host::EqualIgnoringCase(parts[1], u"WOW6432Node")) return;
  parts.insert(parts.begin() + 1, u"WOW6432Node");
}

// Part by part: of a missing key and a name too long behind it, the missing key is told.
Error FindBelow(RegistryKeyPtr key, const std::vector<std::u16string_view>& parts,
                RegistryKeyPtr& result) {
  for (const std::u16string_view part : parts) {
    if (part.size() > kMaxKeyName) return kErrorInvalidParameter;
    key = key->Child(part);
    if (key == nullptr) return kErrorFileNotFound;
  }
  result = std::move(key);
  return kErrorSuccess;
}

// What a handle may do that asked for `rights` on a key that refuses `denied`; nullopt when it is
// refused.
std::optional<Dword> GrantedRights(Dword rights, Dword denied) {
  Dword granted = rights & kKeyAllAccess;
  if ((rights & kGenericRead) != 0) granted |= kKeyRead;
  if ((rights & kGenericWrite) != 0) granted |= kKeyWrite;
  if ((rights & kGenericAll) != 0) granted |= kKeyAllAccess;
  if ((granted & denied) != 0) return std::nullopt;
  if ((rights & kMaximumAllowed) != 0) granted |= kKeyAllAccess & ~denied;
  return granted;
}

Error OpenLoaded(Key key, std::u16string_view subKey, Dword rights,
                 const host::TransactionWorkPtr& transaction, Key* result) {
  OpenKey start;
  if (const Error error = KeyTable::Instance().Resolve(key, 0, start); error != 0) return error;
  if (subKey.starts_with(u'\\')) return kErrorBadPathname;
  std::vector<std::u16string_view> parts = host::SplitKeyPath(subKey);
  if (key == HkeyLocalMachine()) RedirectToView(parts, rights);
  RegistryKeyPtr node;
  if (const Error error = FindBelow(start.node, parts, node); error != 0) return error;
  const std::optional<Dword> granted = GrantedRights(rights, node->deniedRights);
  if (!granted) return kErrorAccessDenied;
  *result = KeyTable::Instance().Add({std::move(node), *granted, transaction});
  return kErrorSuccess;
}

// `transaction` is null for an open outside any.
Error Open(Call& call, Key key, const char16_t* subKey, Dword rights,
           const host::TransactionWorkPtr& transaction, Key* result) {
  if (result == nullptr) return kErrorInvalidParameter;
  *result = nullptr;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  if (const Error error = store.Load(); error != 0) return error;
  if (ViewOf(subKey).empty() && host::IsPredefined(key)) {
    *result = key;
  } else if (const Error error = OpenLoaded(key, ViewOf(subKey), rights, transaction, result);
             error != 0) {
    return error;
  }
  call.Argument("*result", *result);
  return kErrorSuccess;
}

// As on Windows a failed open clears the result, so that nobody uses what stood there.
Error FailOpen(Error error, Key* result) {
  if (result != nullptr) *result = nullptr;
  return error;
}

// --- Keys that are open ---

// Loads the store and finds the key.
Error Resolve(Key key, Dword rights, OpenKey& open) {
  if (const Error error = RegistryStore::Instance().Load(); error != 0) return error;
  return KeyTable::Instance().Resolve(key, rights, open);
}

// Copies `bytes` to `data`, which has room for `size`. A string without a terminator gets one
// behind it where there is room, and nothing tells the caller.
void CopyValue(const std::vector<std::uint8_t>& bytes, Dword type, std::uint8_t* data, Dword size) {
  if (bytes.empty()) return;
  std::memcpy(data, bytes.data(), bytes.size());
  const std::size_t count = bytes.size();
  const bool terminated = count >= 2 && bytes[count - 1] == 0 && bytes[count - 2] == 0;
  if (IsStringType(type) && !terminated && size - count >= 2) std::memset(data + count, 0, 2);
}

// `reported` is the size that the caller is told.
Error GiveValue(Dword valueType, const std::vector<std::uint8_t>& bytes, Dword reported,
                Dword* type, std::uint8_t* data, Dword* size) {
  if (type != nullptr) *type = valueType;
  const Dword room = size == nullptr ? 0 : *size;
  if (size != nullptr) *size = reported;
  if (data == nullptr) return kErrorSuccess;
  if (bytes.size() > room) return kErrorMoreData;
  CopyValue(bytes, valueType, data, room);
  return kErrorSuccess;
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

// The bytes to store: a string whose terminator stands just behind the range gets it. Of an odd
// number of bytes no character ends the range, and nothing is looked at.
std::vector<std::uint8_t> CompletedData(Dword type, const std::uint8_t* data, Dword size) {
  if (size == 0) return {};
  std::vector<std::uint8_t> bytes(data, data + size);
  if (!IsStringType(type) || size % 2 != 0) return bytes;
  const bool terminated = data[size - 1] == 0 && data[size - 2] == 0;
  if (!terminated && data[size] == 0 && data[size + 1] == 0) bytes.insert(bytes.end(), 2, 0);
  return bytes;
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
  if (const auto fault = call.Fault()) return FailOpen(*fault, result);
  return Open(call, key, subKey, rights, nullptr, result);
}

Error host::RegOpenKeyTransactedW(Key key, const char16_t* subKey, Dword options, Dword rights,
                                  Key* result, Handle transaction, void* reserved) noexcept {
  Call call("RegOpenKeyTransactedW");
  call.Argument("key", key).Argument("subKey", subKey).Argument("options", options);
  call.Mask("rights", rights).Argument("transaction", transaction).Argument("reserved", reserved);
  if (const auto fault = call.Fault()) return FailOpen(*fault, result);
  if (reserved != nullptr) return FailOpen(kErrorInvalidParameter, result);
  TransactionWorkPtr work;
  if (const Error error = FindTransaction(transaction, work)) return FailOpen(error, result);
  return Open(call, key, subKey, rights, work, result);
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
