#include "winapi/registry_world.h"

#include <algorithm>
#include <memory>
#include <optional>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/registry_handles.h"
#include "winapi/host/registry_open.h"
#include "winapi/host/registry_store.h"
#include "winapi/host/text.h"
#include "winapi/registry.h"
#include "winapi/registry_arguments.h"
#include "winapi/registry_data.h"
#include "winapi/rehearsal/host_machine.h"
#include "winapi/rehearsal/state.h"

namespace winapi::world {
namespace {

using host::Call;
using host::RegistryKeyPtr;
using host::RegistryStore;

// What a handle of this world points to. The rehearsal above gives only handles that are open.
struct OpenNode {
  RegistryKeyPtr node;
  Dword rights = 0;
};

// The hive of a predefined key in the machine of the thread's rehearsal.
Error FindHive(std::u16string_view name, RegistryKeyPtr& hive) {
  const rehearsal::MachineContent& content =
      *rehearsal::Rehearsal::State::Current()->TheMachine().Content();
  if (content.isStore) {
    RegistryStore& store = RegistryStore::Instance();
    const auto lock = store.Lock();
    if (const Error error = store.Load()) return error;
    hive = store.Tree().Find(name);
  } else {
    hive = content.tree.Find(name);
  }
  return hive == nullptr ? kErrorInvalidHandle : kErrorSuccess;
}

Error Resolve(Key key, Dword rights, OpenNode& open) {
  const std::u16string_view hive = rehearsal::HiveName(key);
  if (!hive.empty()) {
    open.rights = rehearsal::kAllRights;
    return FindHive(hive, open.node);
  }
  open = *reinterpret_cast<const OpenNode*>(key);
  if (open.node->Deleted()) return kErrorKeyDeleted;
  return (open.rights & rights) == rights ? kErrorSuccess : kErrorAccessDenied;
}

}  // namespace

Error RegOpenKeyExW(Key key, const char16_t* subKey, Dword options, Dword rights,
                    Key* result) noexcept {
  Call call("RegOpenKeyExW");
  call.Argument("key", key).Argument("subKey", subKey).Argument("options", options);
  call.Mask("rights", rights);
  if (const auto fault = call.Fault()) return host::FailOpen(*fault, result);
  OpenNode start;
  if (const Error error = Resolve(key, /*rights=*/0, start)) return host::FailOpen(error, result);
  if (ViewOf(subKey).empty() && host::IsPredefined(key)) {
    *result = key;
    return kErrorSuccess;
  }
  auto opened = std::make_unique<OpenNode>();
  const Error error =
      host::FindKeyToOpen(key, start.node, ViewOf(subKey), rights, opened->node, opened->rights);
  if (error != kErrorSuccess) return host::FailOpen(error, result);
  *result = reinterpret_cast<Key>(opened.release());
  return kErrorSuccess;
}

Error RegEnumKeyW(Key key, Dword index, char16_t* name, Dword size) noexcept {
  Call call("RegEnumKeyW");
  call.Argument("key", key).Argument("index", index).Argument("size", size);
  if (const auto fault = call.Fault()) return *fault;
  OpenNode open;
  if (const Error error = Resolve(key, kKeyEnumerateSubKeys, open)) return error;
  const RegistryKeyPtr child = open.node->ChildAt(index);
  if (child == nullptr) return kErrorNoMoreItems;
  if (name == nullptr || size <= child->Name().size()) return kErrorMoreData;
  *std::copy(child->Name().begin(), child->Name().end(), name) = u'\0';
  return kErrorSuccess;
}

Error RegQueryValueExW(Key key, const char16_t* name, Dword* /*reserved*/, Dword* type,
                       std::uint8_t* data, Dword* size) noexcept {
  Call call("RegQueryValueExW");
  call.Argument("key", key).Argument("name", name);
  if (size != nullptr) call.Argument("size", *size);
  if (const auto fault = call.Fault()) return *fault;
  OpenNode open;
  if (const Error error = Resolve(key, kKeyQueryValue, open)) return error;
  const host::RegistryValue* value = open.node->Value(ViewOf(name));
  if (value == nullptr) return kErrorFileNotFound;
  return GiveValue(value->type, value->data, static_cast<Dword>(value->data.size()), type, data,
                   size);
}

Error RegCloseKey(Key key) noexcept {
  Call call("RegCloseKey");
  call.Argument("key", key);
  const auto fault = call.Fault();
  if (rehearsal::HiveName(key).empty()) delete reinterpret_cast<OpenNode*>(key);
  return fault.value_or(kErrorSuccess);
}

std::u16string FoldedName(std::u16string_view name) { return host::Upcase(name); }

Error ChangeFault(ChangeKind kind) noexcept {
  Call call(kind == ChangeKind::kWrite ? "RegSetValueExW" : "RegDeleteValueW");
  return call.Fault().value_or(kErrorSuccess);
}

}  // namespace winapi::world
