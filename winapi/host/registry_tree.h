// The registry in memory: keys below the five hives, and their values.
//
// Not locked; its user locks. Names are compared by their upper-case form, code unit by code unit,
// and keep the spelling that they were made with. Paths begin with the full name of a hive, such as
// u"HKEY_LOCAL_MACHINE\\SOFTWARE\\x"; empty components are skipped, so a trailing backslash is
// fine.
#ifndef WINAPI_HOST_REGISTRY_TREE_H_
#define WINAPI_HOST_REGISTRY_TREE_H_

#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "winapi/host/control.h"
#include "winapi/host/text.h"
#include "winapi/types.h"

namespace winapi::host {

class RegistryKey;
class TransactionWork;
using RegistryKeyPtr = std::shared_ptr<RegistryKey>;

// One key. Shared, since an open handle outlives the deletion of its key.
class RegistryKey {
 public:
  // What is sorted has its name itself, so that each name is held once.
  struct ByName {
    using is_transparent = void;
    template <class Left, class Right>
    bool operator()(const Left& left, const Right& right) const noexcept {
      return IsLessIgnoringCase(NameOf(left), NameOf(right));
    }
    static std::u16string_view NameOf(const RegistryKeyPtr& key) { return key->Name(); }
    static std::u16string_view NameOf(const RegistryValue& value) { return value.name; }
    static std::u16string_view NameOf(std::u16string_view name) { return name; }
  };
  using ChildSet = std::set<RegistryKeyPtr, ByName>;
  using ValueSet = std::set<RegistryValue, ByName>;

  explicit RegistryKey(std::u16string name) : m_name(std::move(name)) {}

  [[nodiscard]] const std::u16string& Name() const { return m_name; }
  [[nodiscard]] const ChildSet& SubKeys() const { return m_children; }
  [[nodiscard]] const ValueSet& Values() const { return m_values; }

  // Null when there is no such child, value or index. Indexes follow the order of enumeration: by
  // upper-case name. A run of indexes costs what one walk costs.
  [[nodiscard]] RegistryKeyPtr Child(std::u16string_view name) const;
  [[nodiscard]] RegistryKeyPtr ChildAt(std::size_t index);
  [[nodiscard]] const RegistryValue* Value(std::u16string_view name) const;

  RegistryKeyPtr AddChild(std::u16string_view name);  // the one that is there, else a new one
  bool RemoveChild(std::u16string_view name);         // marks all below as deleted
  // A value that is there keeps its name's spelling.
  void SetValue(std::u16string_view name, Dword type, std::vector<std::uint8_t> data);
  bool RemoveValue(std::u16string_view name);
  void ReplaceValues(ValueSet values) { m_values = std::move(values); }

  [[nodiscard]] bool Deleted() const { return m_deleted; }
  // The transaction that has changes of this key's values to commit; null: none.
  const TransactionWork* writer = nullptr;
  // Rights that an open of this key doesn't get. Not kept in the file.
  Dword deniedRights = 0;

 private:
  void MarkDeleted();

  bool m_deleted = false;  // first, where it takes no room: a registry has many keys
  std::u16string m_name;
  ChildSet m_children;
  ValueSet m_values;
  std::unique_ptr<std::vector<RegistryKeyPtr>> m_order;  // of the children; null: to be made anew
};

class RegistryTree {
 public:
  RegistryTree();  // the hives, empty

  // Null when it isn't there.
  [[nodiscard]] RegistryKeyPtr Find(std::u16string_view path) const;
  // With the keys above it. Null for a path that no key can have: an unknown hive, more than 512
  // levels, a zero in a name, or a line break where the file couldn't carry it.
  RegistryKeyPtr Create(std::u16string_view path);
  // The same for many paths, of which most lie near the one before. `trail` is that one's and then
  // this one's: the names point into the paths, and it has to be emptied when a key is deleted.
  using Trail = std::vector<std::pair<std::u16string_view, RegistryKeyPtr>>;
  RegistryKeyPtr Create(std::u16string_view path, Trail& trail);
  // What Create needs of a path.
  [[nodiscard]] bool CanHold(std::u16string_view path) const;
  // False when the key isn't there or is a hive, which can't be deleted.
  bool Delete(std::u16string_view path);

  [[nodiscard]] const std::vector<RegistryKeyPtr>& Hives() const { return m_hives; }

 private:
  [[nodiscard]] bool CanHold(std::u16string_view path,
                             const std::vector<std::u16string_view>& parts) const;
  [[nodiscard]] RegistryKeyPtr Hive(std::u16string_view name) const;

  std::vector<RegistryKeyPtr> m_hives;  // in the order of their numbers on Windows
};

// The parts of a path between backslashes, without the empty ones. They point into `path`.
[[nodiscard]] std::vector<std::u16string_view> SplitKeyPath(std::u16string_view path);

}  // namespace winapi::host

#endif  // WINAPI_HOST_REGISTRY_TREE_H_
