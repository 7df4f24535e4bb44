// Opening, closing and the two views.
#include <gtest/gtest.h>

#include <string>

#include "tests/contract/registry_fixture.h"
#include "tests/support/answers.h"
#include "winapi/errors.h"

namespace tests {
namespace {

using RegistryOpen = RegistryContract;

winapi::Key Unlikely() { return reinterpret_cast<winapi::Key>(std::uintptr_t{0x5A5A5A58}); }

// Not by the operator, of which the compiler gives a false warning here.
std::u16string LongName(std::size_t length) {
  std::u16string name(length + 1, u'q');
  name[0] = u'\\';
  return name;
}

TEST_F(RegistryOpen, PathsGiveTheirErrors) {
  struct Case {
    const char* name;
    std::u16string below;
    winapi::Dword rights;
    winapi::Error error;
  };
  const Case cases[] = {
      {"Read", u"\\Sub", 0x20119, 0},
      {"ReadAndWrite", u"\\Sub", 0x2011F, 0},
      {"NoRightButTheView", u"\\Sub", 0x100, 0},
      {"OtherCase", u"\\sUB", 0x20119, 0},
      {"Deeper", u"\\Sub\\Deep", 0x20119, 0},
      {"TrailingBackslash", u"\\Sub\\", 0x20119, 0},
      {"DoubleBackslash", u"\\\\Sub", 0x20119, 0},
      {"Missing", u"\\None", 0x20119, 2},
      {"MissingInTheMiddle", u"\\None\\Deep", 0x20119, 2},
      {"BlankIsPartOfTheName", u"\\Sub ", 0x20119, 2},
      {"SlashIsPartOfTheName", u"/Sub", 0x20119, 2},
      {"Missing255Characters", LongName(255), 0x20119, 2},
      {"Missing256Characters", LongName(256), 0x20119, 2},
      {"TooLong257Characters", LongName(257), 0x20119, 87},
  };
  CreateKey(path + u"\\Sub\\Deep");
  for (const Case& c : cases) {
    winapi::Key key = Unlikely();
    EXPECT_ANSWER(c.name, c.error,
                  winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), (path + c.below).c_str(), 0,
                                        c.rights, &key));
    EXPECT_EQ(key == nullptr, c.error != 0) << c.name;
    EXPECT_NE(key, Unlikely()) << c.name;
    if (key != nullptr) {
      EXPECT_EQ(winapi::RegCloseKey(key), 0U) << c.name;
    }
  }
}

TEST_F(RegistryOpen, LeadingBackslashIsRefused) {
  winapi::Key key = Unlikely();
  EXPECT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), u"\\SOFTWARE", 0, kRead64, &key),
            161U);
  EXPECT_EQ(key, nullptr);
  const SeamKey parent(path);
  key = Unlikely();
  EXPECT_EQ(winapi::RegOpenKeyExW(parent.key, u"\\Sub", 0, kRead64, &key), 161U);
  EXPECT_EQ(key, nullptr);
}

TEST_F(RegistryOpen, BadParentsGiveSixAndNull) {
  winapi::Key closed = nullptr;
  ASSERT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), path.c_str(), 0, kRead64, &closed),
            0U);
  ASSERT_EQ(winapi::RegCloseKey(closed), 0U);
  auto* const madeUp = reinterpret_cast<winapi::Key>(std::uintptr_t{0x12345678});
  for (const winapi::Key parent : {winapi::Key{nullptr}, closed, madeUp}) {
    winapi::Key key = Unlikely();
    EXPECT_EQ(winapi::RegOpenKeyExW(parent, u"x", 0, kRead64, &key), 6U) << parent;
    EXPECT_EQ(key, nullptr) << parent;
  }
}

TEST_F(RegistryOpen, NullResultIsRefused) {
  EXPECT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), path.c_str(), 0, kRead64, nullptr),
            87U);
}

TEST_F(RegistryOpen, NoSubKeyGivesThePredefinedKeyItself) {
  for (const char16_t* none : {static_cast<const char16_t*>(nullptr), u""}) {
    winapi::Key key = nullptr;
    EXPECT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), none, 0, kRead64, &key), 0U);
    EXPECT_EQ(key, winapi::HkeyLocalMachine());
  }
}

TEST_F(RegistryOpen, NoSubKeyGivesANewHandleOfAnotherKey) {
  CreateKey(path + u"\\Sub");
  const SeamKey key(path);
  for (const char16_t* none : {static_cast<const char16_t*>(nullptr), u""}) {
    const SeamKey again(key.key, none, kRead64);
    EXPECT_EQ(again.error, 0U);
    EXPECT_NE(again.key, key.key);
    EXPECT_EQ(SeamKey(again.key, u"Sub", kRead64).error, 0U);
  }
}

TEST_F(RegistryOpen, PerformanceDataHasNoKeys) {
  EXPECT_EQ(SeamKey(winapi::HkeyPerformanceData(), u"x", kRead64).error, 6U);
  char16_t name[260];
  EXPECT_EQ(winapi::RegEnumKeyW(winapi::HkeyPerformanceData(), 0, name, 260), 6U);
  EXPECT_EQ(winapi::RegSetValueExW(winapi::HkeyPerformanceData(), u"x", 0, 3, nullptr, 0), 6U);
  EXPECT_EQ(winapi::RegDeleteValueW(winapi::HkeyPerformanceData(), u"x"), 6U);
}

TEST_F(RegistryOpen, AForgottenViewFlagShows) {
  EXPECT_EQ(SeamKey(path, 0x20119).error, 0U);  // KEY_WOW64_64KEY
  EXPECT_EQ(SeamKey(path, 0x20019).error, 2U);  // no view
  EXPECT_EQ(SeamKey(path, 0x20219).error, 2U);  // KEY_WOW64_32KEY
  EXPECT_EQ(SeamKey(path, 0x20319).error, 0U);  // both
}

TEST_F(RegistryOpen, NoFlagSeesTheOtherView) {
  const ScopedTree other(u"SOFTWARE\\WOW6432Node\\ZumContractOther");
  CreateKey(u"SOFTWARE\\WOW6432Node\\ZumContractOther");
  EXPECT_EQ(SeamKey(u"SOFTWARE\\ZumContractOther", 0x20019).error, 0U);
  EXPECT_EQ(SeamKey(u"software\\ZumContractOther", 0x20219).error, 0U);
  EXPECT_EQ(SeamKey(u"SOFTWARE\\ZumContractOther", 0x20119).error, 2U);
  EXPECT_EQ(SeamKey(u"SOFTWARE\\WOW6432Node\\ZumContractOther", 0x20019).error, 0U);
  EXPECT_EQ(SeamKey(u"SOFTWARE\\WOW6432Node\\ZumContractOther", 0x20119).error, 0U);
}

TEST_F(RegistryOpen, BelowAHandleItsOwnViewStays) {
  CreateKey(path + u"\\Sub");
  const SeamKey in64(path, 0x20119);
  EXPECT_EQ(SeamKey(in64.key, u"Sub", 0x20019).error, 0U);
  const SeamKey software(u"SOFTWARE", 0x20119);
  EXPECT_EQ(SeamKey(software.key, u"ZumContract", 0x20019).error, 0U);
  CreateKey(u"SOFTWARE\\WOW6432Node");  // every real machine has it
  const SeamKey in32(u"SOFTWARE", 0x20019);
  ASSERT_EQ(in32.error, 0U);
  EXPECT_EQ(SeamKey(in32.key, u"ZumContract", 0x20019).error, 2U);
  EXPECT_EQ(SeamKey(in32.key, u"ZumContract", 0x20119).error, 2U);
}

TEST_F(RegistryOpen, OtherBranchesHaveOneView) {
  const ScopedTree system(u"SYSTEM\\ZumContract");
  CreateKey(u"SYSTEM\\ZumContract");
  EXPECT_EQ(SeamKey(u"SYSTEM\\ZumContract", 0x20019).error, 0U);
  EXPECT_EQ(SeamKey(u"SYSTEM\\ZumContract", 0x20119).error, 0U);
}

TEST_F(RegistryOpen, ClosingGivesItsErrors) {
  EXPECT_EQ(winapi::RegCloseKey(winapi::HkeyLocalMachine()), 0U);
  EXPECT_EQ(SeamKey(path).error, 0U) << "the predefined key is still there";
  EXPECT_EQ(winapi::RegCloseKey(nullptr), 6U);
  winapi::Key key = nullptr;
  ASSERT_EQ(winapi::RegOpenKeyExW(winapi::HkeyLocalMachine(), path.c_str(), 0, kRead64, &key), 0U);
  EXPECT_EQ(winapi::RegCloseKey(key), 0U);
  EXPECT_EQ(winapi::RegCloseKey(key), 6U);
}

TEST_F(RegistryOpen, ADeletedKeyIsToldFromAClosedOne) {
  CreateKey(path + u"\\Gone\\Sub");
  const SeamKey gone(path + u"\\Gone");
  ASSERT_EQ(gone.error, 0U);
  DeleteTree(path + u"\\Gone");
  char16_t name[260];
  winapi::Dword size = 0;
  EXPECT_EQ(SeamKey(gone.key, u"", kRead64).error, 1018U);
  EXPECT_EQ(SeamKey(gone.key, u"Sub", kRead64).error, 1018U);
  EXPECT_EQ(winapi::RegEnumKeyW(gone.key, 0, name, 260), 1018U);
  EXPECT_EQ(winapi::RegQueryValueExW(gone.key, u"x", nullptr, nullptr, nullptr, &size), 1018U);
  EXPECT_EQ(winapi::RegSetValueExW(gone.key, u"x", 0, 3, nullptr, 0), 1018U);
  EXPECT_EQ(winapi::RegDeleteValueW(gone.key, u"x"), 1018U);
}

TEST_F(RegistryOpen, EachCallNeedsItsRight) {
  struct Case {
    const char* name;
    winapi::Dword rights;
    winapi::Error query, set, remove, enumerate;
  };
  const Case cases[] = {
      {"QueryOnly", 0x101, 0, 5, 5, 5},           {"SetOnly", 0x102, 5, 0, 0, 5},
      {"EnumerateOnly", 0x108, 5, 5, 5, 0},       {"Read", 0x20119, 0, 5, 5, 0},
      {"ReadAndWrite", 0x2011F, 0, 0, 0, 0},      {"None", 0x100, 5, 5, 5, 5},
      {"MaximumAllowed", 0x02000100, 0, 0, 0, 0}, {"GenericRead", 0x80000100, 0, 5, 5, 0},
      {"GenericWrite", 0x40000100, 5, 0, 0, 5},   {"GenericAll", 0x10000100, 0, 0, 0, 0},
  };
  CreateKey(path + u"\\Sub");
  for (const Case& c : cases) {
    SetValue(path, {u"v", 3, {1}});
    const SeamKey key(path, c.rights);
    ASSERT_EQ(key.error, 0U) << c.name;
    char16_t name[260];
    winapi::Dword size = 0;
    const std::string row = std::string(c.name) + ": ";
    EXPECT_ANSWER(row + "query", c.query,
                  winapi::RegQueryValueExW(key.key, u"v", nullptr, nullptr, nullptr, &size));
    EXPECT_ANSWER(row + "set", c.set, winapi::RegSetValueExW(key.key, u"w", 0, 3, nullptr, 0));
    EXPECT_ANSWER(row + "delete", c.remove, winapi::RegDeleteValueW(key.key, u"v"));
    EXPECT_ANSWER(row + "enumerate", c.enumerate, winapi::RegEnumKeyW(key.key, 0, name, 260));
  }
}

TEST_F(RegistryOpen, NoCallTouchesTheLastError) {
  winapi::SetLastError(4711);
  char16_t name[260];
  {
    const SeamKey key(path);
    const SeamKey missing(path + u"\\None");
    (void)winapi::RegEnumKeyW(key.key, 5, name, 260);  // the calls matter, not what they give
    (void)Query(key.key, u"none", 32);
    (void)winapi::RegSetValueExW(key.key, u"v", 0, 3, nullptr, 4);
    (void)winapi::RegDeleteValueW(key.key, u"none");
    (void)winapi::RegCloseKey(nullptr);
  }
  EXPECT_EQ(winapi::GetLastError(), 4711U);
}

}  // namespace
}  // namespace tests
