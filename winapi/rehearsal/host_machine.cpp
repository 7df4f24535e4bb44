#include "winapi/rehearsal/host_machine.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

#include "winapi/host/reg_file_reader.h"
#include "winapi/host/text.h"
#include "winapi/rehearsal_files.h"

namespace winapi::rehearsal {
namespace {

enum class Wins { kNew, kOld };

// Copies what stands below `from` to `to`.
void Merge(host::RegistryKey& to, const host::RegistryKey& from, Wins wins) {
  for (const host::RegistryValue& value : from.Values()) {
    if (wins == Wins::kOld && to.Value(value.name) != nullptr) continue;
    to.SetValue(value.name, value.type, value.data);
  }
  for (const auto& child : from.SubKeys()) {
    Merge(*to.AddChild(child->Name()), *child, wins);
  }
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

bool MachineFromFiles::AddExport(std::string bytes, const std::vector<std::u16string>& branches,
                                 std::vector<FileRemark>& remarks, FileRemark& damage) {
  host::RegistryTree tree;
  host::RegFileError error;
  std::vector<host::RegFileError> warnings;
  if (!host::ParseRegFile(std::move(bytes), tree, error, &warnings, branches)) {
    damage = {error.line, error.reason};
    return false;
  }
  for (host::RegFileError& warning : warnings) {
    remarks.push_back({warning.line, std::move(warning.reason)});
  }
  if (IsEmpty(m_content->tree)) {
    m_content->tree = std::move(tree);
    return true;
  }
  const auto& hives = m_content->tree.Hives();
  for (std::size_t i = 0; i < hives.size(); ++i) Merge(*hives[i], *tree.Hives()[i], Wins::kNew);
  return true;
}

bool MachineFromFiles::Move(std::u16string_view from, std::u16string_view to) {
  const host::RegistryKeyPtr source = m_content->tree.Find(from);
  const host::RegistryKeyPtr target = source == nullptr ? nullptr : m_content->tree.Create(to);
  if (target == nullptr) return false;
  Merge(*target, *source, Wins::kOld);
  return m_content->tree.Delete(from);
}

bool MachineFromFiles::Holds(std::u16string_view path) const {
  return m_content->tree.Find(path) != nullptr;
}

Machine MachineFromFiles::Take() { return Machine(std::move(m_content)); }

}  // namespace winapi::rehearsal
