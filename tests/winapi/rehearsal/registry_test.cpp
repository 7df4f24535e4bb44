#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/test_registry.h"
#include "winapi/errors.h"
#include "winapi/registry.h"
#include "winapi/rehearsal.h"

namespace {

using tests::Utf16Bytes;
using winapi::rehearsal::Machine;
using winapi::rehearsal::Rehearsal;
using Bytes = std::vector<std::uint8_t>;

constexpr char16_t kPath[] = u"SOFTWARE\\ZumRehearsalTest";
constexpr char16_t kFullPath[] = u"HKEY_LOCAL_MACHINE\\SOFTWARE\\ZumRehearsalTest";
constexpr winapi::Dword kBothRights = winapi::kKeyRead | winapi::kKeyWrite | winapi::kKeyWow6464Key;

winapi::Key Open(const char16_t* path, winapi::Dword rights = kBothRights) {
  winapi::Key key = nullptr;
  const winapi::Error error =
      winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), path, 0, rights, &key);
  EXPECT_EQ(error, 0U);
  return key;
}

winapi::Error Set(winapi::Key key, const char16_t* name, winapi::Dword type, const Bytes& data,
                  std::size_t size) {
  return winapi::RegSetValueExW(key, name, 0, type, data.data(), static_cast<winapi::Dword>(size));
}

struct Answer {
  winapi::Error error = 0;
  winapi::Dword type = 0xAAAA;
  Bytes data = {};
  bool operator==(const Answer&) const = default;
};

Answer Query(winapi::Key key, const char16_t* name) {
  Answer answer;
  Bytes buffer(200, 0xCC);
  auto size = static_cast<winapi::Dword>(buffer.size());
  answer.error = winapi::RegQueryValueExW(key, name, nullptr, &answer.type, buffer.data(), &size);
  if (answer.error == 0) answer.data.assign(buffer.begin(), buffer.begin() + size);
  return answer;
}

// A key with one string value, "old", in it and two keys below.
class RehearsalRegistry : public ::testing::Test {
 protected:
  RehearsalRegistry() : m_tree(kPath) {
    tests::CreateKey(kPath);
    tests::CreateKey(std::u16string(kPath) + u"\\first");
    tests::CreateKey(std::u16string(kPath) + u"\\second");
    tests::SetValue(kPath, m_old);
  }

  // The machine is as it was set up.
  void ExpectMachineUntouched() {
    EXPECT_EQ(tests::Values(kPath), std::vector<tests::Value>{m_old});
  }

  const tests::Value m_old{u"Name", winapi::kRegSz, Utf16Bytes(u"old")};
  const Bytes m_new = Utf16Bytes(u"new");

 private:
  tests::ScopedTree m_tree;
};

TEST_F(RehearsalRegistry, ReadsWhatTheMachineHolds) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  EXPECT_EQ(Query(key, u"name"), (Answer{0, winapi::kRegSz, Utf16Bytes(u"old")}));
  EXPECT_EQ(Query(key, u"absent"), (Answer{winapi::kErrorFileNotFound}));
  winapi::Dword size = 3;
  Bytes small(3, 0xCC);
  EXPECT_EQ(winapi::RegQueryValueExW(key, u"Name", nullptr, nullptr, small.data(), &size),
            winapi::kErrorMoreData);
  EXPECT_EQ(size, 8U);
  char16_t name[20] = {};
  EXPECT_EQ(winapi::RegEnumKeyW(key, 1, name, 20), 0U);
  EXPECT_EQ(std::u16string(name), u"second");
  EXPECT_EQ(winapi::RegEnumKeyW(key, 2, name, 20), winapi::kErrorNoMoreItems);
  EXPECT_TRUE(rehearsal.Record().changes.empty());
  EXPECT_TRUE(rehearsal.Record().refusals.empty());
  EXPECT_TRUE(rehearsal.Record().brokenLists.empty());
}

TEST_F(RehearsalRegistry, ReadsSeeAWriteAndTheMachineDoesNot) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  EXPECT_EQ(Set(key, u"NAME", winapi::kRegBinary, m_new, m_new.size()), 0U);
  EXPECT_EQ(Query(key, u"Name"), (Answer{0, winapi::kRegBinary, m_new}));
  EXPECT_EQ(Query(Open(u"software\\ZUMREHEARSALTEST"), u"name"),
            (Answer{0, winapi::kRegBinary, m_new}));
  winapi::Dword size = 7;
  Bytes small(7, 0xCC);
  EXPECT_EQ(winapi::RegQueryValueExW(key, u"Name", nullptr, nullptr, small.data(), &size),
            winapi::kErrorMoreData);
  EXPECT_EQ(size, 8U);
  EXPECT_EQ(small, Bytes(7, 0xCC));
  ExpectMachineUntouched();
}

TEST_F(RehearsalRegistry, ADeletedValueIsGoneForReadsAndTheMachineKeepsIt) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  EXPECT_EQ(winapi::RegDeleteValueW(key, u"name"), 0U);
  EXPECT_EQ(Query(key, u"Name"), (Answer{winapi::kErrorFileNotFound}));
  EXPECT_EQ(winapi::RegDeleteValueW(key, u"Name"), winapi::kErrorFileNotFound);
  EXPECT_EQ(winapi::RegDeleteValueW(key, u"absent"), winapi::kErrorFileNotFound);
  EXPECT_EQ(rehearsal.Record().changes.size(), 1U);
  ExpectMachineUntouched();
}

TEST_F(RehearsalRegistry, AWriteIsSeenThroughAHandleOfOtherRights) {
  const Rehearsal rehearsal(Machine::ThisOne());
  EXPECT_EQ(Set(Open(kPath), u"Name", winapi::kRegBinary, m_new, 2), 0U);
  const winapi::Key reading = Open(kPath, winapi::kKeyQueryValue | winapi::kKeyWow6464Key);
  EXPECT_EQ(Query(reading, u"Name").type, winapi::kRegBinary);
}

TEST_F(RehearsalRegistry, NotesEachChangeWithWhatWasThere) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(u"SOFTWARE\\\\ZumRehearsalTest\\");
  ASSERT_EQ(Set(key, u"Name", winapi::kRegBinary, m_new, 2), 0U);
  ASSERT_EQ(Set(key, u"Name", winapi::kRegBinary, m_new, 0), 0U);
  ASSERT_EQ(winapi::RegDeleteValueW(key, u"Name"), 0U);
  ASSERT_EQ(Set(key, u"Added", winapi::kRegDword, Bytes{1, 2, 3, 4}, 4), 0U);
  const auto& changes = rehearsal.Record().changes;
  ASSERT_EQ(changes.size(), 4U);
  for (const auto& change : changes) EXPECT_EQ(change.key, kFullPath);
  using winapi::rehearsal::Value;
  EXPECT_EQ(changes[0].name, u"Name");
  EXPECT_EQ(changes[0].before, (Value{winapi::kRegSz, Utf16Bytes(u"old")}));
  EXPECT_EQ(changes[0].after, (Value{winapi::kRegBinary, {'n', 0}}));
  EXPECT_EQ(changes[1].before, changes[0].after);
  EXPECT_EQ(changes[1].after, (Value{winapi::kRegBinary, {}}));
  EXPECT_EQ(changes[2].before, changes[1].after);
  EXPECT_EQ(changes[2].after, std::nullopt);
  EXPECT_EQ(changes[3].name, u"Added");
  EXPECT_EQ(changes[3].before, std::nullopt);
  EXPECT_EQ(changes[3].after, (Value{winapi::kRegDword, {1, 2, 3, 4}}));
}

// As the system does: it looks for the zero behind the range.
TEST_F(RehearsalRegistry, StoresTheZeroThatStandsBehindAString) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  const Bytes withZero = {'a', 0, 0, 0};
  const Bytes withoutZero = {'a', 0, 'b', 0};
  ASSERT_EQ(Set(key, u"with", winapi::kRegSz, withZero, 2), 0U);
  ASSERT_EQ(Set(key, u"without", winapi::kRegSz, withoutZero, 2), 0U);
  ASSERT_EQ(Set(key, u"empty", winapi::kRegSz, withZero, 0), 0U);
  const auto& changes = rehearsal.Record().changes;
  ASSERT_EQ(changes.size(), 3U);
  EXPECT_EQ(changes[0].after->data, withZero);
  EXPECT_EQ(changes[1].after->data, (Bytes{'a', 0}));
  EXPECT_EQ(changes[2].after->data, Bytes());
}

TEST_F(RehearsalRegistry, AHandleWithoutTheRightIsRefused) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key readOnly = Open(kPath, winapi::kKeyRead | winapi::kKeyWow6464Key);
  EXPECT_EQ(Set(readOnly, u"Name", winapi::kRegBinary, m_new, 2), winapi::kErrorAccessDenied);
  EXPECT_EQ(winapi::RegDeleteValueW(readOnly, u"Name"), winapi::kErrorAccessDenied);
  const winapi::Key writeOnly = Open(kPath, winapi::kKeySetValue | winapi::kKeyWow6464Key);
  EXPECT_EQ(Query(writeOnly, u"Name").error, winapi::kErrorAccessDenied);
  char16_t name[20];
  EXPECT_EQ(winapi::RegEnumKeyW(writeOnly, 0, name, 20), winapi::kErrorAccessDenied);
  EXPECT_TRUE(rehearsal.Record().changes.empty());
}

TEST_F(RehearsalRegistry, APredefinedKeyIsOpenWithAllRights) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key root = winapi::HkeyLocalMachine();
  constexpr char16_t kOwn[] = u"ZumRehearsalTest";
  EXPECT_EQ(Query(root, kOwn).error, 2U);
  EXPECT_EQ(Set(root, kOwn, winapi::kRegBinary, m_new, m_new.size()), 0U);
  EXPECT_EQ(Query(root, kOwn), (Answer{0, winapi::kRegBinary, m_new}));
}

TEST_F(RehearsalRegistry, AClosedHandleStandsForNothing) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  EXPECT_EQ(winapi::RegCloseKey(key), 0U);
  EXPECT_EQ(winapi::RegCloseKey(key), winapi::kErrorInvalidHandle);
  EXPECT_EQ(winapi::RegCloseKey(nullptr), winapi::kErrorInvalidHandle);
  EXPECT_EQ(Query(key, u"Name").error, winapi::kErrorInvalidHandle);
  EXPECT_EQ(Set(key, u"Name", winapi::kRegBinary, m_new, 2), winapi::kErrorInvalidHandle);
  EXPECT_EQ(winapi::RegDeleteValueW(key, u"Name"), winapi::kErrorInvalidHandle);
  EXPECT_EQ(winapi::RegCloseKey(winapi::HkeyLocalMachine()), 0U);
}

TEST_F(RehearsalRegistry, HandlesAreMultiplesOfFourAndNeverGivenTwice) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key first = Open(kPath);
  EXPECT_EQ(winapi::RegCloseKey(first), 0U);
  const winapi::Key second = Open(kPath);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(first) % 4, 0U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(second) % 4, 0U);
  EXPECT_NE(first, second);
}

TEST_F(RehearsalRegistry, ANameNeedsRoomForItsZero) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  char16_t name[6] = {};
  EXPECT_EQ(winapi::RegEnumKeyW(key, 0, name, 5), winapi::kErrorMoreData);
  EXPECT_EQ(winapi::RegEnumKeyW(key, 0, name, 6), 0U);
  EXPECT_EQ(std::u16string(name), u"first");
}

TEST_F(RehearsalRegistry, RightsByOtherNamesAreSpelledOut) {
  constexpr winapi::Dword kMaximumAllowed = 0x02000000;
  constexpr winapi::Dword kGenericAll = 0x10000000;
  const Rehearsal rehearsal(Machine::ThisOne());
  for (const winapi::Dword rights : {kMaximumAllowed, kGenericAll}) {
    const winapi::Key key = Open(kPath, rights | winapi::kKeyWow6464Key);
    EXPECT_EQ(Query(key, u"Name").error, 0U) << rights;
    EXPECT_EQ(Set(key, u"Name", winapi::kRegBinary, m_new, 2), 0U) << rights;
  }
}

TEST_F(RehearsalRegistry, AnOpenFailsAsInTheMachine) {
  const Rehearsal rehearsal(Machine::ThisOne());
  winapi::Key key = winapi::HkeyLocalMachine();
  const auto open = [&key](const char16_t* path) {
    return winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), path, 0, kBothRights, &key);
  };
  EXPECT_EQ(open(u"SOFTWARE\\ZumRehearsalTest\\absent"), winapi::kErrorFileNotFound);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(open(u"\\SOFTWARE"), winapi::kErrorBadPathname);
  EXPECT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), kPath, 0, kBothRights, nullptr),
            winapi::kErrorInvalidParameter);
  EXPECT_EQ(open(nullptr), 0U);
  EXPECT_EQ(key, winapi::HkeyLocalMachine());
  EXPECT_TRUE(rehearsal.Record().refusals.empty());
}

TEST_F(RehearsalRegistry, KeysAreOpenedBelowOpenKeys) {
  const Rehearsal rehearsal(Machine::ThisOne());
  winapi::Key first = nullptr;
  ASSERT_EQ(winapi::RegOpenKeyExW(Open(kPath), u"first", 0, kBothRights, &first), 0U);
  ASSERT_EQ(Set(first, u"Name", winapi::kRegBinary, m_new, 2), 0U);
  EXPECT_EQ(rehearsal.Record().changes[0].key, std::u16string(kFullPath) + u"\\first");
  EXPECT_EQ(Query(Open(u"SOFTWARE\\ZumRehearsalTest\\FIRST"), u"Name").error, 0U);
  EXPECT_EQ(Query(Open(u"SOFTWARE\\ZumRehearsalTest\\second"), u"Name").error,
            winapi::kErrorFileNotFound);
}

TEST_F(RehearsalRegistry, AnOpenKeyLeadsBelowItWithAnyRights) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key writing = Open(kPath, winapi::kKeySetValue | winapi::kKeyWow6464Key);
  winapi::Key first = nullptr;
  EXPECT_EQ(winapi::RegOpenKeyExW(writing, u"first", 0, kBothRights, &first), 0U);
  EXPECT_EQ(Query(writing, u"Name").error, winapi::kErrorAccessDenied);
}

TEST_F(RehearsalRegistry, NothingOutlivesARehearsal) {
  winapi::Key old = nullptr;
  {
    const Rehearsal rehearsal(Machine::ThisOne());
    old = Open(kPath);
    ASSERT_EQ(winapi::RegDeleteValueW(old, u"Name"), 0U);
  }
  const Rehearsal rehearsal(Machine::ThisOne());
  EXPECT_EQ(Query(old, u"Name").error, winapi::kErrorInvalidHandle);
  EXPECT_EQ(Query(Open(kPath), u"Name").error, 0U);
  EXPECT_TRUE(rehearsal.Record().changes.empty());
}

TEST_F(RehearsalRegistry, WithoutARehearsalNothingOpens) {
  winapi::Key key = winapi::HkeyLocalMachine();
  EXPECT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), kPath, 0, kBothRights, &key),
            winapi::kErrorInvalidHandle);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(Query(winapi::HkeyLocalMachine(), u"Name").error, winapi::kErrorInvalidHandle);
  EXPECT_EQ(winapi::RegCloseKey(winapi::HkeyLocalMachine()), 0U);
}

TEST_F(RehearsalRegistry, AWriteWithoutDataNeedsNoSize) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  EXPECT_EQ(winapi::RegSetValueExW(key, u"Name", 0, winapi::kRegSz, nullptr, 2),
            winapi::kErrorNoAccess);
  EXPECT_EQ(winapi::RegSetValueExW(key, u"Name", 0, winapi::kRegSz, nullptr, 0), 0U);
  EXPECT_EQ(rehearsal.Record().changes.size(), 1U);
}

TEST_F(RehearsalRegistry, ANameMayHave16383Characters) {
  const Rehearsal rehearsal(Machine::ThisOne());
  const winapi::Key key = Open(kPath);
  const std::u16string longest(16383, u'n');
  const std::u16string longer(16384, u'n');
  EXPECT_EQ(Set(key, longest.c_str(), winapi::kRegBinary, m_new, 2), 0U);
  EXPECT_EQ(Set(key, longer.c_str(), winapi::kRegBinary, m_new, 2), winapi::kErrorInvalidParameter);
  EXPECT_EQ(rehearsal.Record().changes.size(), 1U);
}

}  // namespace
