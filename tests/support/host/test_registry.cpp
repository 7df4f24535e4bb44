#include "tests/support/test_registry.h"

#include <algorithm>
#include <stdexcept>

#include "winapi/host/control.h"

namespace tests {
namespace {

namespace host = winapi::host;

std::u16string FullPath(const std::u16string& path) { return u"HKEY_LOCAL_MACHINE\\" + path; }

void Require(bool done, const char* what) {
  if (!done) throw std::runtime_error(std::string("the test registry refused: ") + what);
}

}  // namespace

void CreateKey(const std::u16string& path) {
  Require(host::CreateRegistryKey(FullPath(path)), "CreateKey");
}

void DeleteTree(const std::u16string& path) {
  (void)host::DeleteRegistryTree(FullPath(path));  // false for a missing key too
  Require(!KeyExists(path), "DeleteTree");
}

void SetValue(const std::u16string& path, const Value& value) {
  Require(host::SetRegistryValue(FullPath(path), {value.name, value.type, value.data}), "SetValue");
}

std::vector<Value> Values(const std::u16string& path) {
  const auto stored = host::RegistryValues(FullPath(path));
  Require(stored.has_value(), "Values");
  std::vector<Value> values;
  for (const auto& value : *stored) values.push_back({value.name, value.type, value.data});
  std::sort(values.begin(), values.end(),
            [](const Value& a, const Value& b) { return a.name < b.name; });
  return values;
}

bool KeyExists(const std::u16string& path) {
  return host::RegistrySubKeys(FullPath(path)).has_value();
}

}  // namespace tests
