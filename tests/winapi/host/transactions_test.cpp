// Transactions over the host's registry.
#include "winapi/host/transactions.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/directory_tree.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "winapi/host/transacted_registry.h"
#include "winapi/registry.h"

namespace winapi {
namespace {

using host::RegistryValue;
using Bytes = std::vector<std::uint8_t>;

const std::u16string kPath = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\k";

class HostTransactions : public ::testing::Test {
 protected:
  HostTransactions() {
    EXPECT_TRUE(host::CreateRegistryKey(kPath));
    EXPECT_TRUE(host::SetRegistryValue(kPath, {u"old", 3, {1}}));
  }
  ~HostTransactions() override {
    host::ClearFaults();
    (void)host::DeleteRegistryTree(kPath);
  }

  static Handle Begin() {
    return host::CreateTransaction(nullptr, nullptr, 0, 0, 0, kInfinite, nullptr);
  }
  static Key OpenIn(Handle transaction, Error expected = 0) {
    Key key = HkeyLocalMachine();
    EXPECT_EQ(host::RegOpenKeyTransactedW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x2011F, &key,
                                          transaction, nullptr),
              expected);
    return key;
  }
  static Key OpenOutside() {
    Key key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x2011F, &key), 0U);
    return key;
  }
  static Error Set(Key key, const char16_t* name, std::uint8_t byte) {
    return RegSetValueExW(key, name, 0, 3, &byte, 1);
  }
  // The one byte of a value, or the negative error.
  static int Get(Key key, const char16_t* name) {
    std::uint8_t byte = 0;
    Dword size = 1;
    const Error error = RegQueryValueExW(key, name, nullptr, nullptr, &byte, &size);
    return error == 0 ? byte : -static_cast<int>(error);
  }
  static bool FileHas(const std::string& word) {
    std::string narrow;
    for (const char unit : tests::ReadAll(host::RootFolder() + "/registry.reg")) {
      if (unit != '\0') narrow += unit;
    }
    return narrow.find(word) != std::string::npos;
  }
};

TEST_F(HostTransactions, WritesAreInvisibleOutsideUntilTheCommit) {
  const Handle transaction = Begin();
  const Key inside = OpenIn(transaction);
  const Key outside = OpenOutside();
  EXPECT_EQ(Set(inside, u"new", 2), 0U);
  EXPECT_EQ(Set(inside, u"OLD", 3), 0U);
  EXPECT_EQ(Get(inside, u"new"), 2);
  EXPECT_EQ(Get(inside, u"old"), 3);
  EXPECT_EQ(Get(outside, u"new"), -2);
  EXPECT_EQ(Get(outside, u"old"), 1);
  EXPECT_EQ(host::RegistryValues(kPath), (std::vector<RegistryValue>{{u"old", 3, {1}}}));
  EXPECT_NE(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(host::RegistryValues(kPath),
            (std::vector<RegistryValue>{{u"new", 3, {2}}, {u"old", 3, {3}}}))
      << "with the spelling that was there";
  EXPECT_EQ(Get(outside, u"new"), 2);
  EXPECT_EQ(RegCloseKey(inside), 0U);
  EXPECT_EQ(RegCloseKey(outside), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
  EXPECT_EQ(host::RegistryValues(kPath)->size(), 2U);
}

TEST_F(HostTransactions, DeletionsToo) {
  const Handle transaction = Begin();
  const Key inside = OpenIn(transaction);
  EXPECT_EQ(RegDeleteValueW(inside, u"none"), 2U);
  EXPECT_EQ(RegDeleteValueW(inside, u"old"), 0U);
  EXPECT_EQ(RegDeleteValueW(inside, u"old"), 2U);
  EXPECT_EQ(Get(inside, u"old"), -2);
  EXPECT_EQ(host::RegistryValues(kPath)->size(), 1U);
  EXPECT_EQ(RegCloseKey(inside), 0U);
  EXPECT_NE(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(host::RegistryValues(kPath)->size(), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
}

TEST_F(HostTransactions, ACloseWithoutACommitDropsThem) {
  for (const bool closesKeyFirst : {true, false}) {
    SCOPED_TRACE(closesKeyFirst ? "key first" : "transaction first");
    const Handle transaction = Begin();
    const Key inside = OpenIn(transaction);
    EXPECT_EQ(Set(inside, u"old", 9), 0U);
    EXPECT_EQ(Set(inside, u"new", 9), 0U);
    if (closesKeyFirst) {
      EXPECT_EQ(RegCloseKey(inside), 0U);
    }
    EXPECT_NE(CloseHandle(transaction), 0);
    if (!closesKeyFirst) {
      EXPECT_EQ(Get(inside, u"old"), -6701);
      EXPECT_EQ(Set(inside, u"old", 8), 6701U);
      EXPECT_EQ(RegDeleteValueW(inside, u"old"), 6701U);
      EXPECT_EQ(RegCloseKey(inside), 0U);
    }
    EXPECT_EQ(host::RegistryValues(kPath), (std::vector<RegistryValue>{{u"old", 3, {1}}}));
    const Key outside = OpenOutside();
    EXPECT_EQ(Set(outside, u"old", 1), 0U) << "the key is free again";
    EXPECT_EQ(RegCloseKey(outside), 0U);
  }
}

TEST_F(HostTransactions, TheSecondWriterIsRefused) {
  const Handle first = Begin();
  const Handle second = Begin();
  const Key firstKey = OpenIn(first);
  const Key secondKey = OpenIn(second);
  const Key outside = OpenOutside();
  EXPECT_EQ(Set(firstKey, u"a", 1), 0U);
  EXPECT_EQ(Set(secondKey, u"b", 2), 6800U);
  EXPECT_EQ(RegDeleteValueW(secondKey, u"old"), 6800U);
  EXPECT_EQ(Set(outside, u"c", 3), 6800U);
  EXPECT_EQ(RegDeleteValueW(outside, u"old"), 6800U);
  EXPECT_EQ(RegDeleteValueW(outside, u"a"), 2U);
  EXPECT_EQ(Get(secondKey, u"a"), -2);
  EXPECT_EQ(Set(firstKey, u"d", 4), 0U) << "the first one goes on";
  EXPECT_NE(host::CommitTransaction(first), 0);
  EXPECT_EQ(Set(secondKey, u"b", 2), 0U);
  EXPECT_EQ(Get(secondKey, u"a"), 1);
  EXPECT_NE(host::CommitTransaction(second), 0);
  EXPECT_EQ(host::RegistryValues(kPath)->size(), 4U);
  for (const Key key : {firstKey, secondKey, outside}) EXPECT_EQ(RegCloseKey(key), 0U);
  EXPECT_NE(CloseHandle(first), 0);
  EXPECT_NE(CloseHandle(second), 0);
}

TEST_F(HostTransactions, ATransactionThatIsOver) {
  const Handle transaction = Begin();
  const Key inside = OpenIn(transaction);
  EXPECT_NE(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(GetLastError(), 6701U);
  EXPECT_EQ(Get(inside, u"old"), -6701);
  EXPECT_EQ(OpenIn(transaction, 6701), nullptr);
  EXPECT_EQ(RegCloseKey(inside), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
  EXPECT_EQ(OpenIn(transaction, 6), nullptr) << "closed";
}

TEST_F(HostTransactions, OtherHandlesAreNone) {
  const Handle waitable = host::MakeWaitable(true);
  for (const Handle handle : {Handle{nullptr}, InvalidHandleValue(), waitable}) {
    EXPECT_EQ(OpenIn(handle, 6), nullptr);
    EXPECT_EQ(host::CommitTransaction(handle), 0);
    EXPECT_EQ(GetLastError(), 6U);
  }
  EXPECT_NE(CloseHandle(waitable), 0);
}

TEST_F(HostTransactions, TheCommitWritesTheFile) {
  const Handle transaction = Begin();
  const Key inside = OpenIn(transaction);
  EXPECT_TRUE(host::FlushRegistry());
  EXPECT_EQ(Set(inside, u"committed", 2), 0U);
  EXPECT_FALSE(FileHas("committed"));
  EXPECT_NE(host::CommitTransaction(transaction), 0);
  EXPECT_TRUE(FileHas("\"committed\"=hex:02"));
  EXPECT_FALSE(std::filesystem::exists(host::RootFolder() + "/registry.reg.new"));
  EXPECT_EQ(RegCloseKey(inside), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
}

// A folder in the temporary file's place makes the writing fail, for root too.
TEST_F(HostTransactions, ACommitThatCantBeWrittenChangesNothing) {
  ASSERT_TRUE(host::FlushRegistry());
  const std::string inTheWay = host::RootFolder() + "/registry.reg.new";
  ASSERT_TRUE(std::filesystem::create_directories(inTheWay + "/x"));
  const Handle transaction = Begin();
  const Key inside = OpenIn(transaction);
  EXPECT_EQ(Set(inside, u"new", 2), 0U);
  EXPECT_EQ(RegDeleteValueW(inside, u"old"), 0U);
  EXPECT_EQ(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(GetLastError(), 1016U);
  EXPECT_EQ(host::RegistryValues(kPath), (std::vector<RegistryValue>{{u"old", 3, {1}}}));
  std::filesystem::remove_all(inTheWay);
  EXPECT_EQ(RegCloseKey(inside), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
}

TEST_F(HostTransactions, ADeletedKeyIsNotCommitted) {
  const Handle transaction = Begin();
  const Key inside = OpenIn(transaction);
  EXPECT_EQ(Set(inside, u"new", 2), 0U);
  EXPECT_TRUE(host::DeleteRegistryTree(kPath));
  EXPECT_EQ(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(GetLastError(), 1018U);
  EXPECT_EQ(RegCloseKey(inside), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
}

TEST_F(HostTransactions, RightsCountInsideToo) {
  const Handle transaction = Begin();
  Key key = nullptr;
  EXPECT_EQ(host::RegOpenKeyTransactedW(HkeyLocalMachine(), u"SOFTWARE\\k", 0, 0x20119, &key,
                                        transaction, nullptr),
            0U);
  EXPECT_EQ(Set(key, u"new", 2), 5U);
  EXPECT_EQ(Get(key, u"old"), 1);
  EXPECT_EQ(RegCloseKey(key), 0U);
  EXPECT_NE(CloseHandle(transaction), 0);
}

TEST_F(HostTransactions, HandlesAreCountedAndFaultsHit) {
  const std::size_t before = host::Live().handles;
  host::FailCall("CreateTransaction", 1, 1450);
  EXPECT_EQ(Begin(), InvalidHandleValue());
  EXPECT_EQ(GetLastError(), 1450U);
  const Handle transaction = Begin();
  EXPECT_EQ(host::Live().handles, before + 1);
  host::FailCall("CommitTransaction", 1, 6700);
  EXPECT_EQ(host::CommitTransaction(transaction), 0);
  EXPECT_EQ(GetLastError(), 6700U);
  host::FailCall("CloseHandle", 1, 5);
  EXPECT_EQ(CloseHandle(transaction), 0);
  EXPECT_EQ(host::Live().handles, before);
}

}  // namespace
}  // namespace winapi
