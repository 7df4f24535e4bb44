// The test face's half of the registry.
#include <utility>

#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/query_script.h"
#include "winapi/host/registry_store.h"

namespace winapi::host {
namespace {

// A function of the test face is an operation of its own: it loads the registry when the product
// hasn't. The store under its lock; without a tree when the file is damaged.
class LockedStore {
 public:
  LockedStore() : m_lock(m_store.Lock()), m_loaded(m_store.Load() == 0) {}

  [[nodiscard]] bool IsLoaded() const { return m_loaded; }
  [[nodiscard]] RegistryTree& Tree() { return m_store.Tree(); }
  // Null in a damaged registry, too.
  [[nodiscard]] RegistryKeyPtr Find(std::u16string_view path) {
    return m_loaded ? Tree().Find(path) : nullptr;
  }
  bool Changed() {
    m_store.MarkChanged();
    return true;
  }

 private:
  SeamMark m_mark;
  RegistryStore& m_store = RegistryStore::Instance();
  std::unique_lock<std::mutex> m_lock;
  bool m_loaded;
};

QueryScript& TheQueryScript() {
  static QueryScript& script = *new QueryScript;
  return script;
}

}  // namespace

std::optional<QueryAnswer> AskQueryScript(std::u16string_view name, Dword size) {
  if (!TheQueryScript()) return std::nullopt;
  const QueryScript script = TheQueryScript();  // a script may replace itself
  return script(name, size);
}

void SetQueryScript(QueryScript script) {
  const SeamMark mark;
  TheQueryScript() = std::move(script);
}

bool CreateRegistryKey(std::u16string_view path) {
  LockedStore store;
  return store.IsLoaded() && store.Tree().Create(path) != nullptr && store.Changed();
}

bool DeleteRegistryTree(std::u16string_view path) {
  LockedStore store;
  return store.IsLoaded() && store.Tree().Delete(path) && store.Changed();
}

bool SetRegistryValue(std::u16string_view path, const RegistryValue& value) {
  LockedStore store;
  const RegistryKeyPtr key = store.Find(path);
  if (key == nullptr || value.name.find(u'\0') != std::u16string::npos) return false;
  key->SetValue(value.name, value.type, value.data);
  return store.Changed();
}

bool DeleteRegistryValue(std::u16string_view path, std::u16string_view name) {
  LockedStore store;
  const RegistryKeyPtr key = store.Find(path);
  return key != nullptr && key->RemoveValue(name) && store.Changed();
}

std::optional<std::vector<std::u16string>> RegistrySubKeys(std::u16string_view path) {
  LockedStore store;
  const RegistryKeyPtr key = store.Find(path);
  if (key == nullptr) return std::nullopt;
  std::vector<std::u16string> names;
  for (const auto& child : key->SubKeys()) names.push_back(child->Name());
  return names;
}

std::optional<std::vector<RegistryValue>> RegistryValues(std::u16string_view path) {
  LockedStore store;
  const RegistryKeyPtr key = store.Find(path);
  if (key == nullptr) return std::nullopt;
  std::vector<RegistryValue> values;
  for (const auto& value : key->Values()) values.push_back(value);
  return values;
}

void DenyRegistryRights(std::u16string_view path, Dword rights) {
  LockedStore store;
  if (const RegistryKeyPtr key = store.Find(path)) key->deniedRights = rights;
}

bool FlushRegistry() {
  const SeamMark mark;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  return store.Flush();
}

void SetRegistrySync(bool syncs) {
  const SeamMark mark;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  store.SetSync(syncs);
}

void ReloadRegistry() {
  const SeamMark mark;
  RegistryStore& store = RegistryStore::Instance();
  const auto lock = store.Lock();
  store.Forget();
}

}  // namespace winapi::host
