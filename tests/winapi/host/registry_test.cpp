// What the registry of the host layer has beyond Windows': its test face, its log and its limits.
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/transacted_registry.h"
#include "winapi/host/transactions.h"
#include "winapi/registry.h"

namespace winapi {
namespace {

using host::RegistryValue;
using Bytes = std::vector<std::uint8_t>;

const std::u16string kPath = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\k";

class HostRegistry : public ::testing::Test {
 protected:
  HostRegistry() { EXPECT_TRUE(host::CreateRegistryKey(kPath)); }
  ~HostRegistry() override {
    host::ClearFaults();
    host::SetQueryScript(nullptr);
    host::DenyRegistryRights(kPath, 0);
    (void)host::DeleteRegistryTree(kPath);  // a test may have done it
  }

  static Key Open(Dword rights = 0x2011F) {
    Key key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, rights, &key), 0U);
    return key;
  }
};

TEST_F(HostRegistry, SetUpAndLookedAtByPath) {
  EXPECT_TRUE(host::SetRegistryValue(kPath, {u"b", 3, {1}}));
  EXPECT_TRUE(host::SetRegistryValue(kPath, {u"A", 1, {}}));
  EXPECT_EQ(host::RegistryValues(kPath),
            (std::vector<RegistryValue>{{u"A", 1, {}}, {u"b", 3, {1}}}));
  EXPECT_TRUE(host::CreateRegistryKey(kPath + u"\\Sub\\Deep"));
  EXPECT_EQ(host::RegistrySubKeys(kPath), std::vector<std::u16string>{u"Sub"});
  EXPECT_TRUE(host::DeleteRegistryValue(kPath, u"B"));
  EXPECT_FALSE(host::DeleteRegistryValue(kPath, u"B"));
  EXPECT_TRUE(host::DeleteRegistryTree(kPath));
  EXPECT_FALSE(host::DeleteRegistryTree(kPath));
  EXPECT_EQ(host::RegistryValues(kPath), std::nullopt);
  EXPECT_EQ(host::RegistrySubKeys(kPath), std::nullopt);
  EXPECT_FALSE(host::SetRegistryValue(kPath, {u"v", 3, {}}));
  EXPECT_FALSE(host::DeleteRegistryValue(kPath, u"v"));
}

TEST_F(HostRegistry, IsWrittenWithoutWaitingForTheDiskToo) {
  host::SetRegistrySync(false);
  EXPECT_TRUE(host::FlushRegistry());
  EXPECT_TRUE(std::filesystem::exists(host::RootFolder() + "/registry.reg"));
}

TEST_F(HostRegistry, WhatTheFileCantCarryIsRefused) {
  EXPECT_FALSE(host::CreateRegistryKey(kPath + u"\\a\n[b"));
  EXPECT_FALSE(host::CreateRegistryKey(u"SOFTWARE\\a"));
  EXPECT_FALSE(host::SetRegistryValue(kPath, {std::u16string(u"a\0b", 3), 3, {}}));
}

TEST_F(HostRegistry, ANameTooLongToOpenCanBeMet) {
  const std::u16string longName(261, u'l');
  ASSERT_TRUE(host::CreateRegistryKey(kPath + u"\\a"));
  ASSERT_TRUE(host::CreateRegistryKey(kPath + u"\\" + longName));
  const Key key = Open();
  char16_t name[300];
  EXPECT_EQ(RegEnumKeyW(key, 0, name, 260), 0U);
  EXPECT_EQ(RegEnumKeyW(key, 1, name, 260), 234U);
  EXPECT_EQ(RegEnumKeyW(key, 1, name, 261), 234U);
  EXPECT_EQ(RegEnumKeyW(key, 1, name, 262), 0U);
  EXPECT_EQ(name, longName);
  Key opened = key;
  EXPECT_EQ(RegOpenKeyExW(key, longName.c_str(), 0, 0x20119, &opened), 87U);
  EXPECT_EQ(opened, nullptr);
  EXPECT_EQ(RegCloseKey(key), 0U);
}

TEST_F(HostRegistry, RefusedRights) {
  host::DenyRegistryRights(kPath, kKeySetValue);
  Key key = HkeyLocalMachine();
  EXPECT_EQ(RegOpenKeyExW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x2011F, &key), 5U);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(RegOpenKeyExW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x40000100, &key), 5U);
  EXPECT_EQ(RegOpenKeyExW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x10000100, &key), 5U);
  EXPECT_EQ(RegCloseKey(Open(0x20119)), 0U) << "reading is allowed";
  const Key most = Open(0x02000100);  // MAXIMUM_ALLOWED
  EXPECT_EQ(RegSetValueExW(most, u"v", 0, 3, nullptr, 0), 5U);
  EXPECT_EQ(RegDeleteValueW(most, u"v"), 5U);
  EXPECT_EQ(RegCloseKey(most), 0U);
  host::DenyRegistryRights(kPath, 0);
  EXPECT_EQ(RegCloseKey(Open(0x2011F)), 0U);
}

TEST_F(HostRegistry, AnOpenHandleKeepsItsRights) {
  const Key key = Open();
  host::DenyRegistryRights(kPath, kKeySetValue);
  EXPECT_EQ(RegSetValueExW(key, u"v", 0, 3, nullptr, 0), 0U);
  EXPECT_EQ(RegCloseKey(key), 0U);
}

TEST_F(HostRegistry, LiveKeysAreCounted) {
  EXPECT_EQ(host::Live().keys, 0U);
  const Key first = Open();
  const Key second = Open();
  EXPECT_EQ(host::Live().keys, 2U);
  EXPECT_EQ(RegCloseKey(HkeyLocalMachine()), 0U);
  EXPECT_EQ(RegCloseKey(first), 0U);
  EXPECT_EQ(RegCloseKey(first), 6U);
  EXPECT_EQ(host::Live().keys, 1U);
  EXPECT_EQ(RegCloseKey(second), 0U);
  EXPECT_EQ(host::Live().keys, 0U);
}

TEST_F(HostRegistry, HandlesAreNeverGivenTwice) {
  const Key first = Open();
  EXPECT_EQ(RegCloseKey(first), 0U);
  const Key second = Open();
  EXPECT_NE(first, second);
  EXPECT_EQ(RegCloseKey(first), 6U);
  EXPECT_EQ(RegCloseKey(second), 0U);
}

TEST_F(HostRegistry, TheLogShowsWhatWasAsked) {
  host::StartCallLog();
  host::ClearCallLog();
  const Key key = Open();
  const std::uint8_t data[] = {'a', 0, 0, 0};
  EXPECT_EQ(RegSetValueExW(key, u"v", 0, 1, data, 2), 0U);
  Dword size = 17;
  std::uint8_t buffer[32];
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, nullptr, buffer, &size), 0U);
  char16_t name[4];
  EXPECT_EQ(RegEnumKeyW(key, 7, name, 4), 259U);
  EXPECT_EQ(RegDeleteValueW(key, nullptr), 2U);
  EXPECT_EQ(RegCloseKey(key), 0U);

  const auto& log = host::CallLog();
  ASSERT_EQ(log.size(), 6U);
  const std::string handle = log[0].Argument("*result");
  using Arguments = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(log[0].operation, "RegOpenKeyExW");
  EXPECT_EQ(log[0].arguments, (Arguments{{"key", "0xffffffff80000002"},
                                         {"subKey", "SOFTWARE\\k"},
                                         {"options", "0"},
                                         {"rights", "0x2011f"},
                                         {"*result", handle}}));
  EXPECT_EQ(log[1].operation, "RegSetValueExW");
  EXPECT_EQ(log[1].arguments, (Arguments{{"key", handle},
                                         {"name", "v"},
                                         {"reserved", "0"},
                                         {"type", "1"},
                                         {"data", "6100"},
                                         {"size", "2"}}));
  EXPECT_EQ(log[2].operation, "RegQueryValueExW");
  EXPECT_EQ(log[2].arguments, (Arguments{{"key", handle}, {"name", "v"}, {"size", "17"}}));
  EXPECT_EQ(log[3].operation, "RegEnumKeyW");
  EXPECT_EQ(log[3].arguments, (Arguments{{"key", handle}, {"index", "7"}, {"size", "4"}}));
  EXPECT_EQ(log[4].operation, "RegDeleteValueW");
  EXPECT_EQ(log[4].arguments, (Arguments{{"key", handle}, {"name", "(null)"}}));
  EXPECT_EQ(log[5].operation, "RegCloseKey");
  EXPECT_EQ(log[5].arguments, (Arguments{{"key", handle}}));
  // The bytes asked for were two; stored were they with the zero behind them.
  EXPECT_EQ(host::RegistryValues(kPath)->at(0).data, (Bytes{'a', 0, 0, 0}));
}

TEST_F(HostRegistry, EachOperationCanFail) {
  const Key key = Open();
  ASSERT_EQ(RegSetValueExW(key, u"v", 0, 3, nullptr, 0), 0U);
  Key opened = key;
  char16_t name[8] = u"before";
  Dword type = 77;
  Dword size = 78;
  for (const auto* operation : {"RegOpenKeyExW", "RegOpenKeyTransactedW", "RegEnumKeyW",
                                "RegQueryValueExW", "RegSetValueExW", "RegDeleteValueW"}) {
    host::FailCall(operation, 1, 1450);
  }
  EXPECT_EQ(RegOpenKeyExW(key, u"", 0, 0x20119, &opened), 1450U);
  EXPECT_EQ(opened, nullptr);
  opened = key;
  EXPECT_EQ(host::RegOpenKeyTransactedW(key, u"", 0, 0x20119, &opened, nullptr, nullptr), 1450U);
  EXPECT_EQ(opened, nullptr);
  EXPECT_EQ(RegEnumKeyW(key, 0, name, 8), 1450U);
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, &type, nullptr, &size), 1450U);
  EXPECT_EQ(RegSetValueExW(key, u"w", 0, 3, nullptr, 0), 1450U);
  EXPECT_EQ(RegDeleteValueW(key, u"v"), 1450U);
  EXPECT_EQ(std::u16string(name), u"before");
  EXPECT_EQ(type, 77U);
  EXPECT_EQ(size, 78U);
  EXPECT_EQ(host::RegistryValues(kPath), (std::vector<RegistryValue>{{u"v", 3, {}}}));
  EXPECT_EQ(host::InjectedFaultCount(), 6U);
  EXPECT_EQ(RegCloseKey(key), 0U);
}

TEST_F(HostRegistry, ACloseThatFailsLetsGoAllTheSame) {
  const Key key = Open();
  host::FailCall("RegCloseKey", 1, 31);
  EXPECT_EQ(RegCloseKey(key), 31U);
  EXPECT_EQ(host::Live().keys, 0U);
  EXPECT_EQ(RegCloseKey(key), 6U);
}

TEST_F(HostRegistry, TheTransactedOpenOpens) {
  const Handle transaction = host::CreateTransaction(nullptr, nullptr, 0, 0, 0, kInfinite, nullptr);
  Key key = nullptr;
  ASSERT_EQ(host::RegOpenKeyTransactedW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x2011F, &key,
                                        transaction, nullptr),
            0U);
  EXPECT_EQ(RegSetValueExW(key, u"v", 0, 3, nullptr, 0), 0U);
  EXPECT_EQ(RegCloseKey(key), 0U);
  EXPECT_EQ(host::RegOpenKeyTransactedW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x20019, &key,
                                        transaction, nullptr),
            2U)
      << "the 32-bit view";
  int reserved = 0;
  key = HkeyLocalMachine();
  EXPECT_EQ(host::RegOpenKeyTransactedW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x2011F, &key,
                                        transaction, &reserved),
            87U);
  EXPECT_EQ(key, nullptr);
  EXPECT_NE(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(host::RegistryValues(kPath)->size(), 1U);
  EXPECT_NE(CloseHandle(transaction), 0);
}

TEST_F(HostRegistry, AQueryScriptAnswersInTheStoresPlace) {
  ASSERT_TRUE(host::SetRegistryValue(kPath, {u"stored", 3, {9}}));
  std::vector<Dword> sizes;
  host::SetQueryScript(
      [&](std::u16string_view name, Dword size) -> std::optional<host::QueryAnswer> {
        if (name != u"v") return std::nullopt;
        sizes.push_back(size);
        if (sizes.size() == 1)
          return host::QueryAnswer{.error = 234, .type = 1, .size = 100, .data = {}};
        if (sizes.size() == 2)
          return host::QueryAnswer{.error = 5, .type = 1, .size = 100, .data = {}};
        return host::QueryAnswer{.error = 0, .type = 7, .size = 3, .data = {1, 2, 3}};
      });
  const Key key = Open();
  std::uint8_t data[4] = {};
  Dword type = 0;
  Dword size = 4;
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, &type, data, &size), 234U);
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(size, 100U);
  type = 55;
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, &type, data, &size), 5U);
  EXPECT_EQ(type, 55U);
  EXPECT_EQ(size, 100U);
  size = 4;
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, &type, data, &size), 0U);
  EXPECT_EQ(type, 7U);
  EXPECT_EQ(size, 3U);
  EXPECT_EQ(data[2], 3);
  EXPECT_EQ(sizes, (std::vector<Dword>{4, 100, 4}));
  EXPECT_EQ(RegQueryValueExW(key, u"stored", nullptr, &type, data, &size), 0U);
  EXPECT_EQ(type, 3U);
  host::SetQueryScript(nullptr);
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, &type, data, &size), 2U);
  EXPECT_EQ(RegCloseKey(key), 0U);
}

TEST_F(HostRegistry, AQueryScriptMayChangeTheRegistry) {
  host::SetQueryScript([](std::u16string_view, Dword) -> std::optional<host::QueryAnswer> {
    EXPECT_TRUE(host::SetRegistryValue(kPath, {u"v", 4, {1, 0, 0, 0}}));
    host::SetQueryScript(nullptr);
    return std::nullopt;
  });
  const Key key = Open();
  Dword type = 0;
  EXPECT_EQ(RegQueryValueExW(key, u"v", nullptr, &type, nullptr, nullptr), 0U);
  EXPECT_EQ(type, 4U);
  EXPECT_EQ(RegCloseKey(key), 0U);
}

TEST_F(HostRegistry, PredefinedKeysAreTheHives) {
  struct Case {
    std::int32_t number;
    const char16_t* hive;
  };
  const Case cases[] = {{INT32_MIN, u"HKEY_CLASSES_ROOT"},
                        {INT32_MIN + 1, u"HKEY_CURRENT_USER"},
                        {INT32_MIN + 2, u"HKEY_LOCAL_MACHINE"},
                        {INT32_MIN + 3, u"HKEY_USERS"},
                        {INT32_MIN + 5, u"HKEY_CURRENT_CONFIG"}};
  for (const auto& [number, hive] : cases) {
    ASSERT_TRUE(host::CreateRegistryKey(std::u16string(hive) + u"\\x"));
    const Key root = reinterpret_cast<Key>(std::intptr_t{number});
    Key key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(root, u"x", 0, 0x20019, &key), 0U) << number;
    EXPECT_EQ(RegCloseKey(key), 0U) << number;
    ASSERT_TRUE(host::DeleteRegistryTree(std::u16string(hive) + u"\\x"));
    EXPECT_EQ(RegOpenKeyExW(root, u"x", 0, 0x20019, &key), 2U) << number;
  }
  // The same numbers without the sign are no keys.
  const Key unsignedRoot = reinterpret_cast<Key>(std::uintptr_t{0x80000002});
  EXPECT_EQ(RegCloseKey(unsignedRoot), 6U);
}

}  // namespace
}  // namespace winapi
