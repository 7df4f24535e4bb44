#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "tests/support/test_registry.h"
#include "winapi/errors.h"
#include "winapi/host/control.h"
#include "winapi/registry.h"
#include "winapi/rehearsal.h"
#include "winapi/rehearsal_files.h"

namespace {

using winapi::rehearsal::FileRemark;
using winapi::rehearsal::Machine;
using winapi::rehearsal::MachineFromFiles;
using winapi::rehearsal::Rehearsal;
namespace host = winapi::host;

constexpr char16_t kPath[] = u"SOFTWARE\\ZumRehearsalTest";
constexpr char16_t kFullPath[] = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\ZumRehearsalTest";
constexpr winapi::Dword kRead = winapi::kKeyRead | winapi::kKeyWow6464Key;
constexpr winapi::Dword kBothRights = kRead | winapi::kKeyWrite;

winapi::Error Open(winapi::Key& key, winapi::Dword rights, const char16_t* path = kPath) {
  return winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), path, 0, rights, &key);
}

winapi::Error SetByte(winapi::Key key, const char16_t* name) {
  const std::uint8_t byte = 7;
  return winapi::RegSetValueExW(key, name, 0, winapi::kRegBinary, &byte, 1);
}

class RehearsalHost : public ::testing::Test {
 protected:
  RehearsalHost() : m_tree(kPath) { tests::CreateKey(kPath); }

 private:
  tests::ScopedTree m_tree;
};

TEST_F(RehearsalHost, ARefusedOpenReadsAndCountsAsGranted) {
  host::DenyRegistryRights(kFullPath, winapi::kKeySetValue);
  const Rehearsal rehearsal(Machine::ThisOne());
  winapi::Key key = nullptr;
  ASSERT_EQ(Open(key, kBothRights), 0U);
  EXPECT_EQ(SetByte(key, u"Name"), 0U);
  const auto& record = rehearsal.Record();
  ASSERT_EQ(record.refusals.size(), 1U);
  EXPECT_EQ(record.refusals[0].key, kFullPath);
  EXPECT_EQ(record.refusals[0].rights, kBothRights);
  EXPECT_TRUE(record.refusals[0].readable);
  EXPECT_EQ(record.changes.size(), 1U);
}

TEST_F(RehearsalHost, AnOpenThatMayNotEvenReadIsRefused) {
  host::DenyRegistryRights(kFullPath, winapi::kKeyQueryValue);
  const Rehearsal rehearsal(Machine::ThisOne());
  winapi::Key key = nullptr;
  EXPECT_EQ(Open(key, kBothRights), winapi::kErrorAccessDenied);
  EXPECT_EQ(Open(key, kRead), winapi::kErrorAccessDenied);
  EXPECT_EQ(key, nullptr);
  const auto& refusals = rehearsal.Record().refusals;
  ASSERT_EQ(refusals.size(), 2U);
  EXPECT_FALSE(refusals[0].readable);
  EXPECT_FALSE(refusals[1].readable);
}

TEST_F(RehearsalHost, AListThatBreaksOffIsNoted) {
  const std::u16string tooLong(300, u'b');
  ASSERT_TRUE(host::CreateRegistryKey(std::u16string(kFullPath) + u"\\a"));
  ASSERT_TRUE(host::CreateRegistryKey(std::u16string(kFullPath) + u"\\" + tooLong));
  const Rehearsal rehearsal(Machine::ThisOne());
  winapi::Key key = nullptr;
  ASSERT_EQ(Open(key, kRead), 0U);
  char16_t name[261];
  EXPECT_EQ(winapi::RegEnumKeyW(key, 0, name, 260), 0U);
  EXPECT_EQ(winapi::RegEnumKeyW(key, 1, name, 260), winapi::kErrorMoreData);
  const auto& lists = rehearsal.Record().brokenLists;
  ASSERT_EQ(lists.size(), 1U);
  EXPECT_EQ(lists[0].key, kFullPath);
  EXPECT_EQ(lists[0].index, 1U);
  EXPECT_EQ(lists[0].error, winapi::kErrorMoreData);
}

TEST_F(RehearsalHost, AFaultOfAChangeKeepsAndNotesNothing) {
  const Rehearsal rehearsal(Machine::ThisOne());
  winapi::Key key = nullptr;
  ASSERT_EQ(Open(key, kBothRights), 0U);
  host::FailCall("RegSetValueExW", 2, winapi::kErrorDiskFull);
  host::FailCall("RegDeleteValueW", 1, winapi::kErrorNoAccess);
  EXPECT_EQ(SetByte(key, u"first"), 0U);
  EXPECT_EQ(SetByte(key, u"second"), winapi::kErrorDiskFull);
  EXPECT_EQ(winapi::RegDeleteValueW(key, u"first"), winapi::kErrorNoAccess);
  host::ClearFaults();
  EXPECT_EQ(rehearsal.Record().changes.size(), 1U);
  EXPECT_EQ(winapi::RegDeleteValueW(key, u"first"), 0U);
}

TEST_F(RehearsalHost, TheRegistryOfTheProcessIsNotWritten) {
  {
    const Rehearsal rehearsal(Machine::ThisOne());
    winapi::Key key = nullptr;
    ASSERT_EQ(Open(key, kBothRights), 0U);
    ASSERT_EQ(SetByte(key, u"Name"), 0U);
  }
  EXPECT_EQ(host::RegistryValues(kFullPath), std::vector<host::RegistryValue>());
}

// --- Machines from files ---

constexpr std::string_view kHeader = "Windows Registry Editor Version 5.00\r\n\r\n";

std::string Export(std::string_view text) { return std::string(kHeader).append(text); }

// All of an export; it has nothing to remark.
testing::AssertionResult Add(MachineFromFiles& files, std::string_view text) {
  std::vector<FileRemark> remarks;
  FileRemark damage;
  const bool isAdded = files.AddExport(Export(text), {}, remarks, damage);
  if (isAdded && remarks.empty()) return testing::AssertionSuccess();
  if (!isAdded) remarks = {damage};
  return testing::AssertionFailure() << remarks[0].line << ": " << remarks[0].reason;
}

Machine MachineOf(const std::vector<std::string_view>& exports) {
  MachineFromFiles files;
  for (const std::string_view text : exports) {
    EXPECT_TRUE(Add(files, text));
  }
  return files.Take();
}

// The number that a DWORD value of the machine holds; -1 without one.
int NumberIn(const Machine& machine, const char16_t* path) {
  const Rehearsal rehearsal(machine);
  winapi::Key key = nullptr;
  if (Open(key, kRead, path) != 0) return -1;
  std::uint8_t data[4] = {};
  winapi::Dword size = sizeof data;
  return winapi::RegQueryValueExW(key, u"n", nullptr, nullptr, data, &size) == 0 ? data[0] : -1;
}

TEST(RehearsalFiles, SeveralExportsAreOneMachine) {
  const Machine machine =
      MachineOf({"[HKEY_LOCAL_MACHINE\\SOFTWARE\\a]\r\n\"n\"=dword:1\r\n"
                 "[HKEY_LOCAL_MACHINE\\SOFTWARE\\b]\r\n\"n\"=dword:2\r\n",
                 "[HKEY_LOCAL_MACHINE\\Software\\B]\r\n\"N\"=dword:3\r\n"
                 "[HKEY_LOCAL_MACHINE\\SOFTWARE\\c]\r\n\"n\"=dword:4\r\n"});
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\a"), 1);
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\b"), 3);
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\c"), 4);
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\d"), -1);
}

TEST(RehearsalFiles, ADamagedExportIsTurnedAwayWithItsLine) {
  MachineFromFiles files;
  std::vector<FileRemark> remarks;
  FileRemark damage;
  EXPECT_FALSE(
      files.AddExport(Export("[HKEY_LOCAL_MACHINE\\SOFTWARE\\a\r\n"), {}, remarks, damage));
  EXPECT_EQ(damage.line, 3U);
  EXPECT_EQ(damage.reason, "the bracket that closes the key is missing");
  EXPECT_FALSE(files.Holds(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\a"));
}

TEST(RehearsalFiles, HoldsTheKeysThatWereExported) {
  MachineFromFiles files;
  ASSERT_TRUE(Add(files, "[HKEY_LOCAL_MACHINE\\SOFTWARE\\a\\b]\r\n"));
  EXPECT_TRUE(files.Holds(u"HKEY_LOCAL_MACHINE\\software\\A"));
  EXPECT_TRUE(files.Holds(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\a\\b"));
  EXPECT_FALSE(files.Holds(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\a\\c"));
}

TEST(RehearsalFiles, OtherBranchesAreReadAndNotKept) {
  const std::vector<std::u16string> branches = {u"HKEY_LOCAL_MACHINE\\software\\A",
                                                u"HKEY_USERS\\b"};
  const std::string others =
      "[HKEY_LOCAL_MACHINE\\SOFTWARE]\r\n\"n\"=dword:9\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\a]\r\n\"n\"=dword:1\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\a\\c]\r\n\"n\"=dword:2\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\ab]\r\n\"n\"=dword:3\r\n"
      "[HKEY_LOCAL_MACHINE\\SOFTWARE\\x]\r\n\"n\"=dword:4\r\n";
  MachineFromFiles files;
  std::vector<FileRemark> remarks;
  FileRemark damage;
  ASSERT_TRUE(files.AddExport(Export(others), branches, remarks, damage)) << damage.reason;
  EXPECT_FALSE(files.Holds(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\ab"));
  EXPECT_FALSE(files.Holds(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\x"));
  EXPECT_FALSE(files.AddExport(Export(others + "\"n\"=dword:\r\n"), branches, remarks, damage));
  EXPECT_EQ(damage.line, 13U);
  const Machine machine = files.Take();
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\a"), 1);
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\a\\c"), 2);
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE"), -1);
}

TEST(RehearsalFiles, AMovedKeyGivesWayToWhatIsThere) {
  MachineFromFiles files;
  ASSERT_TRUE(Add(files,
                  "[HKEY_LOCAL_MACHINE\\SOFTWARE\\a]\r\n\"n\"=dword:1\r\n"
                  "[HKEY_CLASSES_ROOT\\x]\r\n\"n\"=dword:2\r\n"
                  "[HKEY_CLASSES_ROOT\\x\\y]\r\n\"n\"=dword:3\r\n"));
  EXPECT_TRUE(files.Move(u"HKEY_CLASSES_ROOT\\x", u"HKEY_LOCAL_MACHINE\\SOFTWARE\\a"));
  EXPECT_FALSE(files.Holds(u"HKEY_CLASSES_ROOT\\x"));
  EXPECT_FALSE(files.Move(u"HKEY_CLASSES_ROOT\\x", u"HKEY_LOCAL_MACHINE\\SOFTWARE\\b"));
  EXPECT_FALSE(files.Holds(u"HKEY_LOCAL_MACHINE\\SOFTWARE\\b"));
  const Machine machine = files.Take();
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\a"), 1);
  EXPECT_EQ(NumberIn(machine, u"SOFTWARE\\a\\y"), 3);
}

TEST(RehearsalFiles, EachThreadHasAMachineOfItsOwn) {
  const Machine one = MachineOf({"[HKEY_LOCAL_MACHINE\\SOFTWARE\\a]\r\n\"n\"=dword:1\r\n"});
  const Machine two = MachineOf({"[HKEY_LOCAL_MACHINE\\SOFTWARE\\a]\r\n\"n\"=dword:2\r\n"});
  const Rehearsal rehearsal(one);
  int other = 0;
  std::thread([&] { other = NumberIn(two, u"SOFTWARE\\a"); }).join();
  EXPECT_EQ(other, 2);
  winapi::Key key = nullptr;
  ASSERT_EQ(Open(key, kRead, u"SOFTWARE\\a"), 0U);
  std::uint8_t data[4] = {};
  winapi::Dword size = sizeof data;
  ASSERT_EQ(winapi::RegQueryValueExW(key, u"n", nullptr, nullptr, data, &size), 0U);
  EXPECT_EQ(data[0], 1);
}

TEST(NameOfThisMachineOnHost, IsTheKernelsName) {
  std::ifstream file("/proc/sys/kernel/hostname");
  std::string name;
  ASSERT_TRUE(std::getline(file, name));
  const std::u16string told = winapi::rehearsal::NameOfThisMachine();
  EXPECT_EQ(std::string(told.begin(), told.end()), name);
}

}  // namespace
