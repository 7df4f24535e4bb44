#include "tests/zum_setup_util_lib/pipeline_machine.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>

#include "tests/support/installer_keys.h"
#include "tests/support/test_registry.h"
#include "winapi/host/control.h"

namespace tests {
namespace {

namespace host = winapi::host;
namespace fs = std::filesystem;

const std::u16string kProperties = InstallProperties(u"PRODUCT");
const std::u16string kSources = SourceList(u"PRODUCT");
const std::u16string kSessionManager = u"SYSTEM\\ControlSet001\\Control\\Session Manager";
const std::u16string kRenames = u"PendingFileRenameOperations";
constexpr std::uint32_t kMultiString = 7;

fs::path OnC(const char* name) { return fs::path(host::RootFolder()) / "drive_c" / name; }
fs::path DataDirectory() { return OnC("ProgramData/Quorvanta/ZUM/Data"); }
fs::path Started() { return fs::path(host::RootFolder()) / "started"; }

// A rename whose target isn't deleted before it yet, in a list that doesn't fit the first read.
const std::u16string kNewFile = u"\\??\\C:\\Program Files\\Quorvanta\\ZUM\\new.dll";
const std::u16string kOldFile = u"\\??\\C:\\Program Files\\Quorvanta\\ZUM\\old.dll";
std::vector<std::uint8_t> RenamesBefore() { return ListBytes({kNewFile, kOldFile}); }
std::vector<std::uint8_t> RenamesAfter() { return ListBytes({kOldFile, u"", kNewFile, kOldFile}); }

void SetUpRegistry() {
  CreateKey(kProperties);
  CreateKey(kSources);
  CreateKey(kSessionManager);
  SetValue(kProperties, {u"LocalPackageNotExist", 1, Utf16Bytes(u"C:\\windows\\Installer\\1.msi")});
  SetValue(kSources, {u"PackageNameNotExist", 1, Utf16Bytes(u"old.msi")});
  SetValue(kSessionManager, {kRenames, kMultiString, RenamesBefore()});
}

void PutInstaller() {
  const fs::path path = OnC("windows/system32/msiexec.exe");
  fs::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary)
      << "#!/bin/sh\n"
      << "printf '%s|' \"$1\" >> '" << Started().string() << "'\n"
      << "for copy in '" << OnC("temp").string() << "'/*/*; do IFS= read -r content < \"$copy\"\n"
      << "printf '%s' \"$content\" >> '" << Started().string() << "'\n"
      << "done\n"
      << "printf '\\n' >> '" << Started().string() << "'\n";
  fs::permissions(path, fs::perms::owner_all, fs::perm_options::add);
}

std::size_t Entries(const fs::path& directory) {
  return static_cast<std::size_t>(
      std::distance(fs::directory_iterator(directory), fs::directory_iterator()));
}

}  // namespace

void PipelineMachine::SetUp() {
  fs::create_directories(DataDirectory());
  fs::create_directories(OnC("temp"));
  fs::create_directories(OnC("pkg"));
  std::ofstream(OnC("pkg/p.msi"), std::ios::binary) << kPackageContent;
  std::ofstream(OnC("pkg/another.msi"), std::ios::binary) << "another";
  ::setenv("TMP", "C:\\temp", 1);
  SetUpRegistry();
  PutInstaller();
  host::SetTrustVerdict({.status = 0, .signer = u"QUORVANTA Lab"});
  host::SetClock(134'000'000'000'000'000);
}

void PipelineMachine::TearDown() {
  host::SetClock(std::nullopt);
  host::SetTrustVerdict({});
  host::SetExitCode(std::nullopt);
  for (const char16_t* tree : {u"SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Installer",
                               u"SOFTWARE\\Classes\\Installer", u"SYSTEM\\ControlSet001"}) {
    DeleteTree(tree);
  }
  fs::remove_all(OnC("ProgramData"));
  fs::remove_all(OnC("temp"));
  fs::remove_all(OnC("pkg"));
  fs::remove(OnC("windows/system32/msiexec.exe"));
  fs::remove(Started());
}

std::vector<std::u16string> PipelineMachine::Arguments() {
  return {u"/installmsi", kPackage, u"/qn"};
}

std::string PipelineMachine::Records() {
  const std::string package = StateOf(kProperties, u"LocalPackage");
  const std::string source = StateOf(kSources, u"PackageName");
  if (package == source) return package;
  return package == "restored" && source == "marked" ? "first" : package + ' ' + source;
}

std::string PipelineMachine::Renames() {
  const std::optional<Value> value = GetValue(kSessionManager, kRenames);
  if (!value || value->type != kMultiString) return "damaged";
  return value->data == RenamesBefore()  ? "as it was"
         : value->data == RenamesAfter() ? "corrected"
                                         : "damaged";
}

std::size_t PipelineMachine::DropDirectories() { return Entries(OnC("temp")); }
std::size_t PipelineMachine::ProbeFiles() { return Entries(DataDirectory()); }

std::vector<std::string> PipelineMachine::InstallerRuns() {
  std::vector<std::string> runs;
  std::ifstream file(Started(), std::ios::binary);
  for (std::string line; std::getline(file, line);) runs.push_back(line);
  return runs;
}

}  // namespace tests
