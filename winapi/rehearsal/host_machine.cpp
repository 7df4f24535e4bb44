#include "winapi/rehearsal/host_machine.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "winapi/host/reg_file_reader.h"
#include "winapi/host/text.h"
#include "winapi/rehearsal_files.h"

namespace winapi::rehearsal {
namespace {

// Moves what stands below `from` to `to`; its values win.
void Merge(host::RegistryKey& to, const host::RegistryKey& from) {
  for (const auto& [folded, value] : from.Values()) to.SetValue(value.name, value.type, value.data);
  for (const auto& [folded, child] : from.SubKeys()) Merge(*to.AddChild(child->Name()), *child);
}

bool IsEmpty(const host::RegistryTree& tree) {
  return std::ranges::all_of(tree.Hives(), [](const host::RegistryKeyPtr& hive) {
    return hive->Values().empty() && hive->SubKeys().empty();
  });
}

}  // namespace

Machine Machine::ThisOne() {
  auto content = std::make_shared<MachineContent>();
  content->isStore = true;
  return Machine(std::move(content));
}

std::u16string NameOfThisMachine() {
  char name[256] = {};
  return ::gethostname(name, sizeof name - 1) == 0 ? host::ToUtf16(name) : std::u16string();
}

MachineFromFiles::MachineFromFiles() : m_content(std::make_shared<MachineContent>()) {}

bool MachineFromFiles::AddExport(std::string_view bytes, FileDamage& damage) {
  host::RegistryTree tree;
  host::RegFileError error;
  if (!host::ParseRegFile(bytes, tree, error)) {
    damage = {error.line, error.reason};
    return false;
  }
  if (IsEmpty(m_content->tree)) {
    m_content->tree = std::move(tree);
    return true;
  }
  const auto& hives = m_content->tree.Hives();
  for (std::size_t i = 0; i < hives.size(); ++i) Merge(*hives[i], *tree.Hives()[i]);
  return true;
}

bool MachineFromFiles::Holds(std::u16string_view path) const {
  return m_content->tree.Find(path) != nullptr;
}

Machine MachineFromFiles::Take() { return Machine(std::move(m_content)); }

}  // namespace winapi::rehearsal
