// The rehearsal on any files and folders: each input belongs to one machine, a machine that can't
// be loaded says why, what is shown of it can be seen, and no file is changed.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/host_machine.h"
#include "fuzz/input.h"
#include "fuzz/shown_text.h"
#include "zum_rehearse/inputs.h"
#include "zum_rehearse/render.h"

namespace {

namespace fs = std::filesystem;
using zum_rehearse::Source;

constexpr std::string_view kNames[] = {"a.reg",     "b.REG",    "hive",
                                       "notes.txt", "pc/a.reg", "pc/SOFTWARE"};
constexpr std::string_view kInputs[] = {"a.reg", "b.REG",  "hive", "notes.txt", "pc/a.reg",
                                        "pc",    "absent", ".",    "empty"};

// The two branches, with a product that is marked twice.
constexpr std::string_view kExport =
    "Windows Registry Editor Version 5.00\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer\\UserData"
    "\\S-1-5-18\\Products\\0123456789ABCDEF0123456789ABCDEF\\InstallProperties]\r\n"
    "\"LocalPackageNotExist\"=\"C:\\\\p.msi\"\r\n\r\n"
    "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Classes\\Installer\\Products"
    "\\0123456789ABCDEF0123456789ABCDEF\\SourceList]\r\n"
    "\"PackageNameNotExist\"=\"zum_win.msi\"\r\n";

using Files = std::map<std::string, std::string>;

std::string TakeContent(FuzzedDataProvider& input) {
  std::string bytes = input.ConsumeRandomLengthString(512);
  switch (input.ConsumeIntegralInRange(0, 4)) {
    case 0:
      return std::string(kExport) + bytes;
    case 1:
      return "Windows Registry Editor Version 5.00\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\" + bytes;
    case 2:
      return "regf" + bytes;
    case 3:  // cut somewhere
      return std::string(kExport.substr(0, bytes.size()));
    default:
      return bytes;
  }
}

Files TakeFiles(FuzzedDataProvider& input) {
  Files files;
  for (const std::string_view name : kNames) {
    if (input.ConsumeBool()) files.emplace(name, TakeContent(input));
  }
  return files;
}

void Make(const fs::path& folder, const Files& files) {
  fs::remove_all(folder);
  fs::create_directories(folder / "pc");
  fs::create_directories(folder / "empty");
  for (const auto& [name, content] : files) {
    std::ofstream(folder / name, std::ios::binary) << content;
  }
}

Files ReadBack(const fs::path& folder) {
  Files files;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) {
    if (entry.is_directory()) continue;
    std::ifstream file(entry.path(), std::ios::binary);
    files.emplace(fs::relative(entry.path(), folder).string(),
                  std::string(std::istreambuf_iterator<char>(file), {}));
  }
  return files;
}

// Each folder is one machine, and so is what isn't there; all files are one, with the exports that
// aren't there.
void CheckSources(const std::vector<std::string>& inputs, const std::vector<Source>& sources) {
  std::vector<std::string> folders;
  std::vector<std::string> files;
  for (const std::string& each : inputs) {
    const bool isExport = each.ends_with(".reg") || each.ends_with(".REG");
    const bool isFile = fs::exists(each) ? !fs::is_directory(each) : isExport;
    (isFile ? files : folders).push_back(each);
  }
  std::vector<std::string> found;
  std::set<std::string> names;
  std::size_t ofFiles = 0;
  for (const Source& source : sources) {
    if (source.files.empty()) found.push_back(source.folder);
    if (!source.files.empty()) ++ofFiles;
    fuzz::Require(source.files.empty() || source.files == files, "all files are one machine");
    fuzz::Require(source.files.empty() || source.folder.empty(), "files or a folder");
    fuzz::Require(names.insert(source.fileName).second, "each machine has a file name of its own");
    fuzz::Require(!source.fileName.empty() && source.fileName.find('/') == std::string::npos,
                  "a machine's name is fit for a file");
  }
  fuzz::Require(found == folders, "the folders are in their order");
  fuzz::Require(ofFiles == (files.empty() ? 0 : 1), "files are one machine");
}

void RequireLines(std::string_view text) {
  fuzz::Require(text.empty() || text.ends_with('\n'), "the last line has its end");
  while (!text.empty()) {
    const std::size_t end = text.find('\n');
    fuzz::RequireSeen(text.substr(0, end));
    text.remove_prefix(end + 1);
  }
}

void CheckMachine(const Source& source, const zum_rehearse::Options& options) {
  const zum_rehearse::LoadedMachine loaded = zum_rehearse::Load(source);
  fuzz::Require(loaded.error.empty() == loaded.machine.has_value(),
                "a machine is loaded or the reason is told");
  const zum_rehearse::Rendered rendered = zum_rehearse::Render(source, options, {});
  fuzz::Require((rendered.status == 2) == !loaded.error.empty(), "the status tells of the reason");
  fuzz::Require(rendered.errors.empty() == loaded.error.empty(), "the reason is an error line");
  RequireLines(rendered.errors);
  if (!options.json && !options.csv) RequireLines(rendered.screen);  // the others are for programs
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::HostMachine machine;
  const fs::path folder = fs::path(machine.Folder()) / "files";
  FuzzedDataProvider input(data, size);
  zum_rehearse::Options options;
  options.all = input.ConsumeBool();
  options.json = input.ConsumeBool();
  options.csv = !options.json && input.ConsumeBool();
  for (auto count = input.ConsumeIntegralInRange<std::size_t>(1, 5); count != 0; --count) {
    options.inputs.push_back(folder / input.PickValueInArray(kInputs));
  }
  const Files files = TakeFiles(input);
  Make(folder, files);

  const std::vector<Source> sources =
      zum_rehearse::SortInputs(options.inputs, options.inputs.size());
  CheckSources(options.inputs, sources);
  for (const Source& source : sources) CheckMachine(source, options);
  fuzz::Require(ReadBack(folder) == files, "no file is changed");
  return 0;
}
