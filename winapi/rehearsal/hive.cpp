#include <hivex.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>
#include <unordered_set>

#include "winapi/host/text.h"
#include "winapi/rehearsal/host_machine.h"
#include "winapi/rehearsal_files.h"

namespace winapi::rehearsal {
namespace {

// The library stores a type of any number, which the enumeration hasn't a value for.
Dword NumberOf(const hive_type& type) {
  static_assert(sizeof(hive_type) == sizeof(Dword));
  Dword number = 0;
  std::memcpy(&number, &type, sizeof(number));
  return number;
}

constexpr std::size_t kMostLevels = 64;  // the installer's branches have a handful

struct CloseHive {
  void operator()(hive_h* hive) const { (void)hivex_close(hive); }
};
struct Free {
  void operator()(void* memory) const { std::free(memory); }
};
template <typename T>
using Freed = std::unique_ptr<T, Free>;

// The first thing wrong; ends the reading.
struct Damage {
  std::string reason;
};

// A hive's header has two numbers that differ while it is being written to.
bool IsInUse(const std::string& path) {
  char head[12] = {};
  std::ifstream(path, std::ios::binary).read(head, sizeof head);
  return std::memcmp(head + 4, head + 8, 4) != 0;
}

// Of a whole hive each key and value has one place, and all data has its own bytes of the file.
// Where that doesn't hold a few places can lead to any number of keys, and be walked for ever.
class Reader {
 public:
  // `bytes` is the size of the file.
  Reader(hive_h* hive, std::uintmax_t bytes, host::RegistryTree& tree, HiveState& state)
      : m_hive(hive), m_room(bytes), m_tree(tree), m_state(state) {}

  // Copies a branch to the same place below `mount`.
  void Copy(std::u16string_view mount, std::u16string_view branch) {
    hive_node_h node = hivex_root(m_hive);
    if (node == 0) throw Damage{"it has no root key"};
    std::u16string path(mount);
    for (const std::u16string_view part : host::SplitKeyPath(branch)) {
      node = hivex_node_get_child(m_hive, node, host::ToUtf8(part).c_str());
      if (node == 0) return;
      path.append(u"\\").append(part);
    }
    CopyKey(node, *m_tree.Create(path), /*level=*/0);
  }

 private:
  void CopyKey(hive_node_h node, host::RegistryKey& key, std::size_t level) {
    if (level == kMostLevels) throw Damage{"its keys lie too deep"};
    Visit(node);
    CopyValues(node, key);
    const Freed<hive_node_h> children(hivex_node_children(m_hive, node));
    if (children == nullptr) throw Damage{"the list of a key's subkeys is damaged"};
    for (const hive_node_h* child = children.get(); *child != 0; ++child) {
      const Freed<char> name(hivex_node_name(m_hive, *child));
      if (name == nullptr) throw Damage{"a key's name can't be read"};
      CopyKey(*child, *key.AddChild(host::ToUtf16(name.get())), level + 1);
    }
  }

  void CopyValues(hive_node_h node, host::RegistryKey& key) {
    const Freed<hive_value_h> values(hivex_node_values(m_hive, node));
    if (values == nullptr) throw Damage{"the list of a key's values is damaged"};
    for (const hive_value_h* value = values.get(); *value != 0; ++value) {
      Visit(*value);
      const Freed<char> name(hivex_value_key(m_hive, *value));
      hive_type type = hive_t_none;
      std::size_t size = 0;
      errno = 0;
      const Freed<char> data(hivex_value_value(m_hive, *value, &type, &size));
      if (name == nullptr || (data == nullptr && errno != 0)) {
        ++m_state.unreadableValues;
        continue;
      }
      if (size > m_room) throw Damage{"its values hold more bytes than the file"};
      m_room -= size;
      const auto* const bytes = reinterpret_cast<const std::uint8_t*>(data.get());
      key.SetValue(host::ToUtf16(name.get()), NumberOf(type),
                   data == nullptr ? std::vector<std::uint8_t>()
                                   : std::vector<std::uint8_t>(bytes, bytes + size));
    }
  }

  // Takes the place of a key or a value.
  void Visit(std::size_t place) {
    if (!m_seen.insert(place).second) throw Damage{"a key or a value stands at two places"};
  }

  hive_h* m_hive;
  std::uintmax_t m_room;  // for data
  std::unordered_set<std::size_t> m_seen;
  host::RegistryTree& m_tree;
  HiveState& m_state;
};

}  // namespace

bool MachineFromFiles::AddHive(const std::string& path, std::u16string_view mount,
                               const std::vector<std::u16string_view>& branches, HiveState& state,
                               std::string& reason) {
  const std::unique_ptr<hive_h, CloseHive> hive(hivex_open(path.c_str(), /*flags=*/0));
  if (hive == nullptr) {
    reason = std::string("the hive can't be read: ") + std::strerror(errno);
    return false;
  }
  state.inUse = IsInUse(path);
  std::error_code error;
  const std::uintmax_t bytes = std::filesystem::file_size(path, error);  // the largest on failure
  try {
    Reader reader(hive.get(), bytes, m_content->tree, state);
    for (const std::u16string_view branch : branches) reader.Copy(mount, branch);
    return true;
  } catch (const Damage& damage) {
    reason = "the hive is damaged: " + damage.reason;
    return false;
  }
}

}  // namespace winapi::rehearsal
