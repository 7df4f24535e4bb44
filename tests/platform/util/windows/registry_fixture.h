// A registry key of each test's own, made before it and removed behind it.
#ifndef TESTS_PLATFORM_UTIL_WINDOWS_REGISTRY_FIXTURE_H_
#define TESTS_PLATFORM_UTIL_WINDOWS_REGISTRY_FIXTURE_H_

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/util/windows/registry.h"
#include "tests/support/test_registry.h"

namespace tests {

inline constexpr winapi::Dword kAllAccess = 0x2011F;   // read and write, 64-bit view
inline constexpr winapi::Dword kReadAccess = 0x20119;  // read, 64-bit view

class RegistryTest : public ::testing::Test {
 protected:
  RegistryTest() : m_path(OwnPath()), m_tree(m_path) { CreateKey(m_path); }

  [[nodiscard]] const std::u16string& Path() const { return m_path; }

  // Opens the test's key.
  void Open(windows_helpers::RegKey& key, winapi::Dword access = kAllAccess) const {
    winapi::Key opened = nullptr;
    ASSERT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), m_path.c_str(), 0, access, &opened),
              0u);
    key.Attach(opened);
  }

  void Set(std::u16string name, std::uint32_t type, std::vector<std::uint8_t> data) const {
    SetValue(m_path, {std::move(name), type, std::move(data)});
  }

 private:
  // Several test processes share the machine's registry under Wine.
  static std::u16string OwnPath() {
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = std::string(test.test_suite_name()) + "." + test.name();
    return u"SOFTWARE\\ZumTest " + std::u16string(name.begin(), name.end());
  }

  std::u16string m_path;
  ScopedTree m_tree;
};

}  // namespace tests

#endif  // TESTS_PLATFORM_UTIL_WINDOWS_REGISTRY_FIXTURE_H_
