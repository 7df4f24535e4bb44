#include "tests/zum_setup_util/unblock_run.h"

#include <cstdint>
#include <filesystem>
#include <map>

#include "tests/support/directory_tree.h"
#include "tests/support/installer_keys.h"
#include "tests/support/test_registry.h"
#include "tests/support/text.h"
#include "zum_setup_util/run.h"

namespace tests {
namespace {

namespace host = winapi::host;

const std::u16string kLongPackage =
    u"C:\\windows\\Installer\\" + std::u16string(200, u'p') + u".msi";
const std::u16string kShortPackage = u"C:\\windows\\Installer\\1.msi";
const std::u16string kProducts[] = {u"PRODUCTA", u"PRODUCTB"};

std::u16string PackageOf(const std::u16string& product) {
  return product == kProducts[0] ? kLongPackage : kShortPackage;
}

void Prepare() {
  for (const std::u16string& product : kProducts) {
    CreateKey(InstallProperties(product));
    CreateKey(SourceList(product));
    SetValue(InstallProperties(product),
             {u"LocalPackageNotExist", 1, Utf16Bytes(PackageOf(product))});
    SetValue(SourceList(product), {u"PackageNameNotExist", 1, Utf16Bytes(u"old.msi")});
  }
  CreateKey(InstallProperties(u"PRODUCTC"));
  CreateKey(SourceList(u"PRODUCTC"));
  std::filesystem::create_directories(host::RootFolder() + "/drive_c/t");
  host::SetClock(134'000'000'000'000'000);
  host::SetTimeZone("Europe/Berlin");
  host::SetCommandLine(u"tool.exe --trace-output=C:\\t /unblock");
}

std::string ReadTrace() {
  std::string text;
  for (const auto& entry : std::filesystem::directory_iterator(host::RootFolder() + "/drive_c/t")) {
    text += ReadAll(entry.path());
  }
  return text;
}

std::map<std::string, std::string> Inspect() {
  std::map<std::string, std::string> facts;
  for (const std::u16string& product : kProducts) {
    const std::string name = Narrow(product);
    facts[name + ".package"] = StateOf(InstallProperties(product), u"LocalPackage");
    facts[name + ".source"] = StateOf(SourceList(product), u"PackageName");
  }
  facts["trace"] = ReadTrace();
  return facts;
}

std::uint32_t Enter() { return static_cast<std::uint32_t>(zum_setup_util::RunSetupUtil()); }

}  // namespace

RunPlan UnblockPlan() {
  return {.prepare = Prepare, .begin = {}, .entry = Enter, .inspect = Inspect};
}

std::string RegistryOf(const RunResult& run) {
  std::string states;
  for (const char* fact :
       {"PRODUCTA.package", "PRODUCTA.source", "PRODUCTB.package", "PRODUCTB.source"}) {
    const auto found = run.facts.find(fact);
    states += found == run.facts.end() ? "?" : found->second.substr(0, 1);
  }
  return states;
}

}  // namespace tests
