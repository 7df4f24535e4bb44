#include "winapi/host/registry_tree.h"

#include <algorithm>

#include "winapi/host/text.h"

namespace winapi::host {
namespace {

// In the order of the predefined handles' numbers; registry_handles.cpp counts on it.
constexpr std::u16string_view kHiveNames[] = {u"HKEY_CLASSES_ROOT", u"HKEY_CURRENT_USER",
                                              u"HKEY_LOCAL_MACHINE", u"HKEY_USERS",
                                              u"HKEY_CURRENT_CONFIG"};

// Windows' own limit; it also bounds the recursions over a tree.
constexpr std::size_t kMaxLevels = 512;

bool IsLineEnd(char16_t unit) { return unit == u'\r' || unit == u'\n'; }

// The file holds a key's path bare, between brackets. A name may have line breaks, if the reader
// can tell where it ends (see Parser::TakePath): no bracket closes before the last of them, and no
// line begins as a key or a value does.
bool IsStorable(std::u16string_view path) {
  const auto isControl = [](char16_t unit) { return unit < u' '; };
  if (std::none_of(path.begin(), path.end(), isControl)) return true;  // as nearly every path
  bool hasBracket = false;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (path[i] == u'\0') return false;
    hasBracket = hasBracket || path[i] == u']';
    if (!IsLineEnd(path[i])) continue;
    const char16_t next = i + 1 < path.size() ? path[i + 1] : u']';
    if (hasBracket || next == u'[' || next == u'"' || next == u'@') return false;
  }
  return true;
}

}  // namespace

RegistryKeyPtr RegistryKey::Child(std::u16string_view name) const {
  const auto found = m_children.find(name);
  return found == m_children.end() ? nullptr : *found;
}

// The system enumerates by number, and a set has no way to its n-th entry but from its start: a
// walk over 10,000 products would take 50 million steps. So the children stand in a second list
// too, made at the first question and dropped at each change.
RegistryKeyPtr RegistryKey::ChildAt(std::size_t index) {
  if (m_order == nullptr) {
    m_order = std::make_unique<std::vector<RegistryKeyPtr>>(m_children.begin(), m_children.end());
  }
  return index < m_order->size() ? (*m_order)[index] : nullptr;
}

const RegistryValue* RegistryKey::Value(std::u16string_view name) const {
  const auto found = m_values.find(name);
  return found == m_values.end() ? nullptr : &*found;
}

// The spelling is that of the first who made it, in the file too.
RegistryKeyPtr RegistryKey::AddChild(std::u16string_view name) {
  // Files have their keys in this order, so the new one mostly is the last.
  const bool isLast = m_children.empty() || ByName()(*m_children.rbegin(), name);
  const auto position = isLast ? m_children.end() : m_children.lower_bound(name);
  if (position != m_children.end() && EqualIgnoringCase((*position)->Name(), name)) {
    return *position;
  }
  m_order.reset();
  return *m_children.insert(position, std::make_shared<RegistryKey>(std::u16string(name)));
}

// Handles may still hold the child; by its mark they learn that it is gone (1018).
bool RegistryKey::RemoveChild(std::u16string_view name) {
  const auto found = m_children.find(name);
  if (found == m_children.end()) return false;
  (*found)->MarkDeleted();
  m_children.erase(found);
  m_order.reset();
  return true;
}

// As on Windows a value that is there keeps its name's spelling, and its place.
void RegistryKey::SetValue(std::u16string_view name, Dword type, std::vector<std::uint8_t> data) {
  const auto position = m_values.lower_bound(name);
  if (position == m_values.end() || !EqualIgnoringCase(position->name, name)) {
    m_values.insert(position, {std::u16string(name), type, std::move(data)});
    return;
  }
  auto value = m_values.extract(position);
  value.value().type = type;
  value.value().data = std::move(data);
  m_values.insert(std::move(value));
}

bool RegistryKey::RemoveValue(std::u16string_view name) {
  const auto found = m_values.find(name);
  if (found == m_values.end()) return false;
  m_values.erase(found);
  return true;
}

// As deep as the tree, which kMaxLevels bounds.
void RegistryKey::MarkDeleted() {
  m_deleted = true;
  for (const RegistryKeyPtr& child : m_children) child->MarkDeleted();
}

RegistryTree::RegistryTree() {
  for (const std::u16string_view name : kHiveNames) {
    m_hives.push_back(std::make_shared<RegistryKey>(std::u16string(name)));
  }
}

RegistryKeyPtr RegistryTree::Hive(std::u16string_view name) const {
  const auto found = std::find_if(
      m_hives.begin(), m_hives.end(),
      [name](const RegistryKeyPtr& hive) { return EqualIgnoringCase(hive->Name(), name); });
  return found == m_hives.end() ? nullptr : *found;
}

RegistryKeyPtr RegistryTree::Find(std::u16string_view path) const {
  const std::vector<std::u16string_view> parts = SplitKeyPath(path);
  RegistryKeyPtr key = parts.empty() ? nullptr : Hive(parts.front());
  for (std::size_t i = 1; key != nullptr && i < parts.size(); ++i) key = key->Child(parts[i]);
  return key;
}

bool RegistryTree::CanHold(std::u16string_view path) const {
  return CanHold(path, SplitKeyPath(path));
}

bool RegistryTree::CanHold(std::u16string_view path,
                           const std::vector<std::u16string_view>& parts) const {
  return !parts.empty() && parts.size() <= kMaxLevels && IsStorable(path) &&
         Hive(parts.front()) != nullptr;
}

// All names are looked at before the first key is made: a refused path leaves nothing behind.
RegistryKeyPtr RegistryTree::Create(std::u16string_view path) {
  Trail trail;
  return Create(path, trail);
}

RegistryKeyPtr RegistryTree::Create(std::u16string_view path, Trail& trail) {
  const std::vector<std::u16string_view> parts = SplitKeyPath(path);
  if (!CanHold(path, parts)) return nullptr;
  const auto [end, part] =
      std::mismatch(trail.begin(), trail.end(), parts.begin(), parts.end(),
                    [](const auto& step, std::u16string_view name) { return step.first == name; });
  trail.erase(end, trail.end());
  for (auto name = part; name != parts.end(); ++name) {
    trail.emplace_back(*name, trail.empty() ? Hive(*name) : trail.back().second->AddChild(*name));
  }
  return trail.back().second;
}

bool RegistryTree::Delete(std::u16string_view path) {
  std::vector<std::u16string_view> parts = SplitKeyPath(path);
  if (parts.size() < 2) return false;
  RegistryKeyPtr parent = Hive(parts.front());
  for (std::size_t i = 1; parent != nullptr && i + 1 < parts.size(); ++i) {
    parent = parent->Child(parts[i]);
  }
  return parent != nullptr && parent->RemoveChild(parts.back());
}

std::vector<std::u16string_view> SplitKeyPath(std::u16string_view path) {
  std::vector<std::u16string_view> parts;
  parts.reserve(16);  // as many as nearly every path has
  while (!path.empty()) {
    const std::size_t length = std::min(path.find(u'\\'), path.size());
    if (length != 0) parts.push_back(path.substr(0, length));
    path.remove_prefix(std::min(length + 1, path.size()));
  }
  return parts;
}

}  // namespace winapi::host
