#include "zum_rehearse/inputs.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <system_error>
#include <unordered_set>
#include <utility>

#include "winapi/rehearsal_files.h"
#include "zum_rehearse/files.h"

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

bool IsHive(const fs::path& path) {
  std::error_code error;
  if (!fs::is_regular_file(path, error)) return false;
  char head[4] = {};
  std::ifstream(path, std::ios::binary).read(head, sizeof head);
  return std::string_view(head, sizeof head) == "regf";
}

bool IsExport(const fs::path& path) {
  std::string extension = Utf8Of(path.extension());
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension == ".reg" || IsHive(path);
}

// The name of the folder that a path lies in, or of the folder itself.
std::string FolderName(const fs::path& folder) {
  std::error_code error;
  const fs::path full = fs::weakly_canonical(fs::absolute(folder, error), error);
  return Utf8Of(full.filename().empty() ? full.parent_path().filename() : full.filename());
}

bool FindExports(const std::string& folder, std::vector<std::string>& files, std::string& reason) {
  std::error_code error;
  for (fs::directory_iterator entry(PathOf(folder), error), end; !error && entry != end;
       entry.increment(error)) {
    if (IsExport(entry->path())) files.push_back(Utf8Of(entry->path()));
  }
  if (error) {
    reason = folder + ": " + error.message();
  } else if (files.empty()) {
    reason = folder + ": there is no export (*.reg) and no hive in the folder";
  }
  std::sort(files.begin(), files.end());
  return reason.empty();
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

std::string Place(const std::string& file, const FileRemark& remark) {
  return file + ":" + std::to_string(remark.line) + ": " + remark.reason;
}

bool AddExport(MachineFromFiles& machine, const std::string& file, LoadedMachine& loaded) {
  std::string bytes;
  std::string reason;
  if (!ReadWholeFile(PathOf(file), bytes, reason)) {
    loaded.error = file + ": " + reason;
    return false;
  }
  const std::vector<std::u16string> branches = {FullKey(kUserDataBranch), FullKey(kClassesBranch),
                                                std::u16string(kMergedClasses)};
  std::vector<FileRemark> remarks;
  FileRemark damage;
  if (!machine.AddExport(std::move(bytes), branches, remarks, damage)) {
    loaded.error = Place(file, damage);
    return false;
  }
  for (const FileRemark& remark : remarks) loaded.notes.push_back(Place(file, remark));
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
        "nothing "
        "can be judged";
  }
  loaded.knowsSourceLists = machine.Holds(FullKey(kClassesBranch));
  if (!loaded.knowsSourceLists) {
    loaded.notes.emplace_back(
        "the export holds no HKLM\\SOFTWARE\\Classes\\Installer; the second value (PackageName) "
        "can't be judged");
  }
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

std::vector<Source> SortInputs(const std::vector<std::string>& inputs) {
  std::vector<Source> sources;
  std::size_t files = inputs.size();  // where the files' machine stands
  for (const std::string& input : inputs) {
    std::error_code error;
    if (fs::is_directory(PathOf(input), error)) {
      sources.push_back({input, {}, FolderName(PathOf(input)), {}});
    } else if (files < sources.size()) {
      sources[files].files.push_back(input);
    } else {
      files = sources.size();
      const fs::path folder = fs::absolute(PathOf(input), error).parent_path();
      sources.push_back({{}, {input}, FolderName(folder), {}});
    }
  }
  NameFiles(sources);
  return sources;
}

LoadedMachine Load(const Source& source) {
  LoadedMachine loaded;
  loaded.name = source.machine;
  std::vector<std::string> files = source.files;
  if (!source.folder.empty() && !FindExports(source.folder, files, loaded.error)) return loaded;
  loaded.sources = files;
  MachineFromFiles machine;
  for (const std::string& file : files) {
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
