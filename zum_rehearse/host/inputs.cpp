#include "zum_rehearse/inputs.h"

#include <filesystem>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "winapi/rehearsal_files.h"
#include "zum_rehearse/files.h"
#include "zum_rehearse/host/machine_files.h"
#include "zum_rehearse/reg_text.h"

namespace zum_rehearse {
namespace {

using winapi::rehearsal::FileRemark;
using winapi::rehearsal::HiveState;
using winapi::rehearsal::MachineFromFiles;
namespace fs = std::filesystem;

// Below the root of the hive.
constexpr std::u16string_view kUserDataInHive = kUserDataBranch.substr(9);  // without "SOFTWARE\\"
constexpr std::u16string_view kClassesInHive = kClassesBranch.substr(9);

std::u16string FullKey(std::u16string_view path) {
  return std::u16string(kHive) + u"\\" + std::u16string(path);
}

// The name of the folder that a path lies in, or of the folder itself.
std::string FolderName(const fs::path& folder) {
  std::error_code error;
  const fs::path full = fs::weakly_canonical(fs::absolute(folder, error), error);
  return Utf8Of(full.filename().empty() ? full.parent_path().filename() : full.filename());
}

// The hive of SOFTWARE, of which only the installer's branches are read.
bool AddHive(MachineFromFiles& machine, const std::string& file, LoadedMachine& loaded) {
  HiveState state;
  std::string reason;
  if (!machine.AddHive(file, FullKey(u"SOFTWARE"), {kUserDataInHive, kClassesInHive}, state,
                       reason)) {
    loaded.error = file + ": " + reason;
    return false;
  }
  if (state.inUse) {
    loaded.notes.push_back(
        file + " was in use when it was copied: what stands in its logs only isn't seen");
  }
  if (state.unreadableValues != 0) {
    loaded.notes.push_back(file + " has " + std::to_string(state.unreadableValues) +
                           " values that can't be read");
  }
  return true;
}

// Where an export made of the merged view has the machine's classes.
constexpr std::u16string_view kMergedClasses = u"HKEY_CLASSES_ROOT\\Installer";

std::string LineOf(const std::string& file, const FileRemark& remark) {
  return file + ":" + std::to_string(remark.line) + ": " + remark.reason;
}

bool AddExport(MachineFromFiles& machine, const std::string& file, LoadedMachine& loaded) {
  std::string bytes;
  std::string reason;
  if (!ReadWholeFile(PathOf(file), bytes, reason)) {
    loaded.error = file + ": " + reason;
    return false;
  }
  if (IsMadeByRehearsal(bytes)) {
    loaded.notes.push_back(file + " was made by a rehearsal: it isn't the state of a machine");
  }
  const std::vector<std::u16string> branches = {FullKey(kUserDataBranch), FullKey(kClassesBranch),
                                                std::u16string(kMergedClasses)};
  std::vector<FileRemark> remarks;
  FileRemark damage;
  if (!machine.AddExport(std::move(bytes), branches, remarks, damage)) {
    loaded.error = LineOf(file, damage);
    return false;
  }
  for (const FileRemark& remark : remarks) loaded.notes.push_back(LineOf(file, remark));
  if (machine.Move(kMergedClasses, FullKey(kClassesBranch))) {
    loaded.notes.push_back(file +
                           ": HKEY_CLASSES_ROOT\\Installer is taken for "
                           "HKLM\\SOFTWARE\\Classes\\Installer, though "
                           "entries of the user who exported it may stand in it");
  }
  return true;
}

// An export of the first branch shows it even where it holds no products.
void LookForBranches(const MachineFromFiles& machine, LoadedMachine& loaded) {
  if (!machine.Holds(FullKey(kUserDataBranch))) {
    loaded.error =
        "the export holds no HKLM\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer: "
        "nothing can be judged";
  }
  loaded.knowsSourceLists = machine.Holds(FullKey(kClassesProducts));
  if (!loaded.knowsSourceLists) {
    const char* const missing = machine.Holds(FullKey(kClassesBranch))
                                    ? R"(Classes\Installer\Products)"
                                    : R"(Classes\Installer)";
    loaded.notes.push_back(std::string(R"(the export holds no HKLM\SOFTWARE\)") + missing +
                           "; the second value (PackageName) can't be judged");
  }
}

std::string NothingLeft(const Source& source, const std::string& passedOver) {
  const std::string reason =
      source.folder.empty()
          ? std::string("there is nothing to read")
          : source.folder + ": there is no export (*.reg) and no hive in the folder";
  return passedOver.empty() ? reason : reason + "; " + passedOver;
}

// The files that are read, with a note of those that aren't. False where none is left.
bool ChooseFiles(const Source& source, LoadedMachine& loaded) {
  MachineFiles files;
  if (source.folder.empty()) {
    files = WithoutLogs(source.files);
  } else if (!FindMachineFiles(source.folder, files, loaded.error)) {
    return false;
  }
  const std::string passedOver = PassedOver(files);
  if (files.read.empty()) {
    loaded.error = NothingLeft(source, passedOver);
    return false;
  }
  if (!passedOver.empty()) loaded.notes.push_back(passedOver);
  loaded.sources = std::move(files.read);
  return true;
}

bool IsMachineOfItsOwn(const fs::path& input, bool isListed) {
  std::error_code error;
  if (fs::exists(input, error)) return fs::is_directory(input, error);
  return isListed || !IsNamedAsExport(input);
}

// Machines of one name get a number, so that each has files of its own.
void NameFiles(std::vector<Source>& sources) {
  std::unordered_set<std::string> taken;
  for (Source& source : sources) {
    const std::string name = source.machine.empty() ? "machine" : source.machine;
    source.fileName = name;
    for (int number = 2; !taken.insert(source.fileName).second; ++number) {
      source.fileName = name + "-" + std::to_string(number);
    }
  }
}

}  // namespace

bool TakesFiles() noexcept { return true; }

std::vector<Source> SortInputs(const std::vector<std::string>& inputs, std::size_t named) {
  std::vector<Source> sources;
  std::size_t files = inputs.size();  // where the files' machine stands
  for (std::size_t i = 0; i < inputs.size(); ++i) {
    const std::string& input = inputs[i];
    if (IsMachineOfItsOwn(PathOf(input), /*isListed=*/i >= named)) {
      sources.push_back({input, {}, FolderName(PathOf(input)), {}});
    } else if (files < sources.size()) {
      sources[files].files.push_back(input);
    } else {
      files = sources.size();
      std::error_code error;
      const fs::path folder = fs::absolute(PathOf(input), error).parent_path();
      sources.push_back({{}, {input}, FolderName(folder), {}});
    }
  }
  NameFiles(sources);
  return sources;
}

std::vector<std::string> InputFiles(const Source& source) {
  MachineFiles files;
  std::string reason;
  if (source.folder.empty()) {
    files.read = source.files;
  } else if (!FindMachineFiles(source.folder, files, reason)) {
    return {};  // nothing is read from it
  }
  files.read.insert(files.read.end(), files.logs.begin(), files.logs.end());
  return files.read;
}

LoadedMachine Load(const Source& source) {
  LoadedMachine loaded;
  loaded.name = source.machine;
  if (!ChooseFiles(source, loaded)) return loaded;
  MachineFromFiles machine;
  for (const std::string& file : loaded.sources) {
    const bool added =
        IsHive(PathOf(file)) ? AddHive(machine, file, loaded) : AddExport(machine, file, loaded);
    if (!added) return loaded;
  }
  LookForBranches(machine, loaded);
  if (loaded.error.empty()) loaded.machine = machine.Take();
  return loaded;
}

PackageLookup TheLookup() { return nullptr; }

}  // namespace zum_rehearse
