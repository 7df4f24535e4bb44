#include "winapi/rehearsal/state.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <utility>

#include "winapi/registry_world.h"

namespace winapi::rehearsal {
namespace {

constexpr std::uint32_t kFirstHive = 0x80000000;  // HKEY_CLASSES_ROOT

// By their numbers; the performance data's has no keys.
constexpr std::u16string_view kHiveNames[] = {
    u"HKEY_CLASSES_ROOT",  u"HKEY_CURRENT_USER", u"HKEY_LOCAL_MACHINE", u"HKEY_USERS", u"",
    u"HKEY_CURRENT_CONFIG"};

// Never given twice, so that the use of a closed handle shows. Multiples of 4 as on Windows, and
// far from what the system itself gives.
Key NextHandle() {
  static std::atomic<std::uintptr_t> next{0x40000000};
  return reinterpret_cast<Key>(next.fetch_add(4));
}

}  // namespace

Rehearsal::State*& Rehearsal::State::Current() noexcept {
  static thread_local State* current = nullptr;
  return current;
}

Rehearsal::State::~State() {
  for (const auto& [number, open] : m_open) {
    // A predefined key needs no close, and nothing could be done about a failed one.
    if (HiveName(open.world).empty()) (void)world::RegCloseKey(open.world);
  }
}

Key Rehearsal::State::Add(Key world, std::u16string path, Dword rights) {
  const Key key = NextHandle();
  m_open.emplace(reinterpret_cast<std::uintptr_t>(key), OpenKey{world, std::move(path), rights});
  return key;
}

const OpenKey* Rehearsal::State::Find(Key key) {
  const auto number = reinterpret_cast<std::uintptr_t>(key);
  const auto found = m_open.find(number);
  if (found != m_open.end()) return &found->second;
  const std::u16string_view hive = HiveName(key);
  if (hive.empty()) return nullptr;
  return &m_open.emplace(number, OpenKey{key, std::u16string(hive), kAllRights}).first->second;
}

std::optional<Key> Rehearsal::State::Remove(Key key) noexcept {
  const auto found = m_open.find(reinterpret_cast<std::uintptr_t>(key));
  if (found == m_open.end()) return std::nullopt;
  const Key world = found->second.world;
  m_open.erase(found);
  return world;
}

const WrittenValues* Rehearsal::State::WrittenTo(const OpenKey& open) const {
  if (m_written.empty()) return nullptr;
  const auto found = m_written.find(Identity(open));
  return found == m_written.end() ? nullptr : &found->second;
}

std::u16string Rehearsal::State::Identity(const OpenKey& open) {
  std::u16string id = world::FoldedName(open.path);
  // No name holds a zero.
  id += u'\0';
  id += static_cast<char16_t>(open.rights & kViewFlags);
  return id;
}

std::u16string_view HiveName(Key key) noexcept {
  const auto number = static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(key));
  // The numbers are sign-extended where pointers are wider; the other spelling is no handle.
  const bool extended = reinterpret_cast<std::intptr_t>(key) == static_cast<std::int32_t>(number);
  const std::uint32_t index = number - kFirstHive;
  return extended && number >= kFirstHive && index < std::size(kHiveNames) ? kHiveNames[index]
                                                                           : std::u16string_view();
}

std::u16string Joined(std::u16string_view path, std::u16string_view subKey) {
  std::u16string joined(path);
  while (!subKey.empty()) {
    const std::size_t length = std::min(subKey.find(u'\\'), subKey.size());
    if (length != 0) joined.append(u"\\").append(subKey.substr(0, length));
    subKey.remove_prefix(std::min(length + 1, subKey.size()));
  }
  return joined;
}

Rehearsal::Rehearsal(const Machine& machine) : m_state(std::make_unique<State>(machine)) {
  State::Current() = m_state.get();
}

Rehearsal::~Rehearsal() {
  m_state.reset();  // while the machine is still the current one
  State::Current() = nullptr;
}

const Record& Rehearsal::Record() const noexcept { return m_state->Notes(); }

}  // namespace winapi::rehearsal
