// What one rehearsal holds: open handles, the values written so far, and the record.
#ifndef WINAPI_REHEARSAL_STATE_H_
#define WINAPI_REHEARSAL_STATE_H_

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "winapi/registry.h"
#include "winapi/rehearsal.h"
#include "winapi/types.h"

namespace winapi::rehearsal {

inline constexpr Dword kAllRights = 0xFFFFFFFF;
// Of the rights that are asked for, what says which view of the registry is meant.
inline constexpr Dword kViewFlags = kKeyWow6464Key;

// The values of one key that were written or deleted (nullopt), by folded name.
using WrittenValues = std::map<std::u16string, std::optional<Value>>;

struct OpenKey {
  Key world = nullptr;  // the handle below
  std::u16string path;  // from the hive
  Dword rights = 0;     // as asked for
};

class Rehearsal::State {
 public:
  explicit State(Machine machine) : m_machine(std::move(machine)) {}
  State(const State&) = delete;
  State& operator=(const State&) = delete;
  ~State();

  // The state of the thread's rehearsal; null without one.
  [[nodiscard]] static State*& Current() noexcept;

  [[nodiscard]] const Machine& TheMachine() const noexcept { return m_machine; }
  [[nodiscard]] rehearsal::Record& Notes() noexcept { return m_record; }

  // All throw std::bad_alloc, which leaves the state as it was.
  Key Add(Key world, std::u16string path, Dword rights);
  // Null for a handle that isn't open here. A predefined key is open with all rights.
  [[nodiscard]] const OpenKey* Find(Key key);
  // Gives the handle below; nullopt for one that isn't open here.
  std::optional<Key> Remove(Key key) noexcept;

  // What was written to the key by now, through whatever handle; null: nothing.
  [[nodiscard]] const WrittenValues* WrittenTo(const OpenKey& open) const;
  [[nodiscard]] WrittenValues& ForWriting(const OpenKey& open) { return m_written[Identity(open)]; }

 private:
  // The same for all handles of a key.
  [[nodiscard]] static std::u16string Identity(const OpenKey& open);

  Machine m_machine;
  rehearsal::Record m_record;
  std::map<std::u16string, WrittenValues> m_written;  // by folded path and view
  std::unordered_map<std::uintptr_t, OpenKey> m_open;
};

// HKEY_CLASSES_ROOT to HKEY_CURRENT_CONFIG. Empty for any other handle.
[[nodiscard]] std::u16string_view HiveName(Key key) noexcept;

// `path` with the components of `subKey` behind it.
[[nodiscard]] std::u16string Joined(std::u16string_view path, std::u16string_view subKey);

}  // namespace winapi::rehearsal

#endif  // WINAPI_REHEARSAL_STATE_H_
