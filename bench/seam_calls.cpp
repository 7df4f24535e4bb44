// Counts the calls of the system that /unblock makes for a product, on the host layer: half of the
// products are marked, and what a run without products makes is taken off. Prints "operation calls"
// a line.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "tests/support/installer_keys.h"
#include "winapi/host/control.h"
#include "zum_setup_util/run.h"

namespace {

namespace host = winapi::host;

constexpr std::size_t kProducts = 1000;
const std::u16string kMachine = u"HKEY_LOCAL_MACHINE\\";

using Counts = std::map<std::string, double>;

std::u16string NameOf(std::size_t number) {
  const std::string digits = std::to_string(number);
  return u"PRODUCT" + std::u16string(digits.begin(), digits.end());
}

void MakeKey(const std::u16string& path, const std::u16string& value) {
  (void)host::CreateRegistryKey(path);
  // REG_SZ "a" with its zero.
  if (!value.empty()) (void)host::SetRegistryValue(path, {value, 1, {'a', 0, 0, 0}});
}

void MakeProducts() {
  for (std::size_t i = 0; i < kProducts; ++i) {
    const bool marked = i % 2 == 0;
    MakeKey(kMachine + tests::InstallProperties(NameOf(i)), marked ? u"LocalPackageNotExist" : u"");
    MakeKey(kMachine + tests::SourceList(NameOf(i)), marked ? u"PackageNameNotExist" : u"");
  }
}

Counts CallsOfARun() {
  host::ClearCallLog();
  host::StartCallLog();
  (void)zum_setup_util::RunSetupUtil();
  host::StopCallLog();
  Counts counts;
  for (const host::CallRecord& call : host::CallLog()) ++counts[call.operation];
  return counts;
}

}  // namespace

int main() {
  std::cout.rdbuf(nullptr);  // the runs' own report isn't wanted
  host::SetRegistrySync(false);
  host::SetCommandLine(u"tool.exe /unblock");
  (void)host::CreateRegistryKey(kMachine + tests::kUserData);
  (void)CallsOfARun();  // what is made at the first use only
  Counts empty = CallsOfARun();
  MakeProducts();
  for (const auto& [operation, count] : CallsOfARun()) {
    const double each = (count - empty[operation]) / static_cast<double>(kProducts);
    if (each != 0) std::printf("%s %g\n", operation.c_str(), each);
  }
  // Only the count was wanted: nothing is left for the next run.
  (void)host::DeleteRegistryTree(kMachine + tests::kUserData);
  (void)host::DeleteRegistryTree(kMachine + tests::kClasses);
  return 0;
}
