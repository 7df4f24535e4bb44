#include "winapi/host/registry_open.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "winapi/errors.h"
#include "winapi/host/registry_handles.h"
#include "winapi/host/registry_store.h"
#include "winapi/host/text.h"
#include "winapi/host/transacted_registry.h"
#include "winapi/registry.h"
#include "winapi/registry_arguments.h"

namespace winapi::host {
namespace {

constexpr std::size_t kMaxKeyName = 256;  // characters; Wine's limit, one more than Windows'

// The 32-bit view: an open that passes from HKEY_LOCAL_MACHINE through SOFTWARE goes to WOW6432Node
// in it, unless it names that itself.
void RedirectToView(std::vector<std::u16string_view>& parts, Dword rights) {
  if ((rights & kKeyWow6464Key) != 0 || parts.empty()) return;
  if (!EqualIgnoringCase(parts[0], u"SOFTWARE")) return;
  if (parts.size() > 1 && EqualIgnoringCase(parts[1], u"WOW6432Node")) return;
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
                 const TransactionWorkPtr& transaction, Key* result) {
  OpenKey start;
  if (const Error error = KeyTable::Instance().Resolve(key, /*rights=*/0, start); error != 0)
    return error;
  RegistryKeyPtr node;
  Dword granted = 0;
  if (const Error error = FindKeyToOpen(key, start.node, subKey, rights, node, granted);
      error != 0) {
    return error;
  }
  *result = KeyTable::Instance().Add({std::move(node), granted, transaction});
  return kErrorSuccess;
}

}  // namespace

Error FindKeyToOpen(Key from, const RegistryKeyPtr& start, std::u16string_view subKey, Dword rights,
                    RegistryKeyPtr& node, Dword& granted) {
  if (subKey.starts_with(u'\\')) return kErrorBadPathname;
  std::vector<std::u16string_view> parts = SplitKeyPath(subKey);
  if (from == HkeyLocalMachine()) RedirectToView(parts, rights);
  RegistryKeyPtr found;
  if (const Error error = FindBelow(start, parts, found); error != 0) return error;
  const std::optional<Dword> allowed = GrantedRights(rights, found->deniedRights);
  if (!allowed) return kErrorAccessDenied;
  node = std::move(found);
  granted = *allowed;
  return kErrorSuccess;
}

Error OpenInStore(Call& call, Key key, const char16_t* subKey, Dword rights,
                  const TransactionWorkPtr& transaction, Key* result) {
  if (result == nullptr) return kErrorInvalidParameter;
  *result = nullptr;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  if (const Error error = store.Load(); error != 0) return error;
  if (ViewOf(subKey).empty() && IsPredefined(key)) {
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

Error RegOpenKeyTransactedW(Key key, const char16_t* subKey, Dword options, Dword rights,
                            Key* result, Handle transaction, void* reserved) noexcept {
  Call call("RegOpenKeyTransactedW");
  call.Argument("key", key).Argument("subKey", subKey).Argument("options", options);
  call.Mask("rights", rights).Argument("transaction", transaction).Argument("reserved", reserved);
  if (const auto fault = call.Fault()) return FailOpen(*fault, result);
  if (reserved != nullptr) return FailOpen(kErrorInvalidParameter, result);
  TransactionWorkPtr work;
  if (const Error error = FindTransaction(transaction, work)) return FailOpen(error, result);
  return OpenInStore(call, key, subKey, rights, work, result);
}

}  // namespace winapi::host
