// Enumerating subkeys.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/contract/registry_fixture.h"
#include "tests/support/answers.h"

namespace tests {
namespace {

using RegistryEnum = RegistryContract;

using Names = std::vector<std::u16string>;

Names SubKeys(winapi::Key key) {
  Names names;
  char16_t name[261];
  while (winapi::RegEnumKeyW(key, static_cast<winapi::Dword>(names.size()), name, 260) == 0) {
    names.emplace_back(name);
  }
  return names;
}

void CreateAll(const std::u16string& path, const Names& names) {
  for (const std::u16string& name : names) CreateKey(path + u"\\" + name);
}

TEST_F(RegistryEnum, OrderIgnoresCase) {
  CreateAll(path,
            {u"Z", u"c", u"a1", u"{x}", u"A", u"9", u"B2", u"\u00c4b", u"10", u"b", u"\u00e4"});
  const Names expected = {u"10", u"9", u"A",   u"a1",     u"b",      u"B2",
                          u"c",  u"Z", u"{x}", u"\u00e4", u"\u00c4b"};
  EXPECT_EQ(SubKeys(SeamKey(path).key), expected);
}

TEST_F(RegistryEnum, OrderOfGreekAndCyrillicIgnoresCase) {
  CreateAll(path, {u"\u0416b", u"\u0436a", u"\u03c9", u"\u0391b", u"\u03b1a"});
  const Names expected = {u"\u03b1a", u"\u0391b", u"\u03c9", u"\u0436a", u"\u0416b"};
  EXPECT_EQ(SubKeys(SeamKey(path).key), expected);
}

TEST_F(RegistryEnum, OrderOfTheCharactersBetweenTheCases) {
  CreateAll(path, {u"_x", u"^", u"`", u"[", u"a", u"Z"});
  const auto expected = Answers(Names{u"a", u"Z", u"[", u"^", u"_x", u"`"}, kHost | kWindows)
                            .Or(Names{u"[", u"^", u"_x", u"`", u"a", u"Z"}, kWine,
                                "compares names in lower case, Windows in upper case");
  EXPECT_ANSWER("names in their order", expected, SubKeys(SeamKey(path).key));
}

TEST_F(RegistryEnum, OrderOfLettersWhoseCasesLieApart) {
  CreateAll(path, {u"\u0436", u"\u0454", u"\u00ff", u"\u0100"});
  const auto expected = Answers(Names{u"\u0100", u"\u00ff", u"\u0454", u"\u0436"}, kHost | kWindows)
                            .Or(Names{u"\u00ff", u"\u0100", u"\u0436", u"\u0454"}, kWine,
                                "compares names in lower case, Windows in upper case");
  EXPECT_ANSWER("names in their order", expected, SubKeys(SeamKey(path).key));
}

TEST_F(RegistryEnum, NamesKeepTheirSpelling) {
  CreateKey(path + u"\\MiXed");
  CreateKey(path + u"\\mixed");
  EXPECT_EQ(SubKeys(SeamKey(path).key), Names{u"MiXed"});
}

TEST_F(RegistryEnum, CasesOfFurtherLettersAreOneName) {
  struct Case {
    const char* name;
    std::u16string upper, lower;
  };
  const Case cases[] = {
      {"Latin1", u"\u00c0\u00de", u"\u00e0\u00fe"},
      {"YWithDiaeresis", u"\u0178", u"\u00ff"},
      {"LatinExtended", u"\u0100\u0139\u017d", u"\u0101\u013a\u017e"},
      {"Greek", u"\u0386\u0388\u0391\u03a9\u038c\u038f", u"\u03ac\u03ad\u03b1\u03c9\u03cc\u03ce"},
      {"Cyrillic", u"\u0410\u042f\u0401\u040f\u0490", u"\u0430\u044f\u0451\u045f\u0491"},
      {"Armenian", u"\u0531\u0556", u"\u0561\u0586"},
      {"RomanNumerals", u"\u2160\u216f", u"\u2170\u217f"},
      {"CircledLetters", u"\u24b6\u24cf", u"\u24d0\u24e9"},
      {"FullWidth", u"\uff21\uff3a", u"\uff41\uff5a"},
  };
  for (const Case& c : cases) {
    CreateKey(path + u"\\" + c.upper);
    EXPECT_ANSWER(c.name, 0U, SeamKey(path + u"\\" + c.lower).error);
  }
}

TEST_F(RegistryEnum, OtherSignsKeepTheirCase) {
  struct Case {
    const char* name;
    std::u16string first, second;
  };
  const Case cases[] = {
      {"DivisionAndTimes", u"\u00d7", u"\u00f7"},
      {"SharpS", u"\u00df", u"SS"},
      {"DotlessI", u"I", u"\u0131"},
      {"KelvinSign", u"k", u"\u212a"},
  };
  for (const Case& c : cases) {
    CreateKey(path + u"\\" + c.first);
    EXPECT_ANSWER(c.name, 2U, SeamKey(path + u"\\" + c.second).error);
  }
}

TEST_F(RegistryEnum, BufferNeedsRoomForTheTerminator) {
  CreateKey(path + u"\\abcd");
  const SeamKey key(path);
  for (const winapi::Dword size : {0U, 1U, 4U}) {
    char16_t name[8] = u"#######";
    EXPECT_EQ(winapi::RegEnumKeyW(key.key, 0, name, size), 234U) << size;
  }
  for (const winapi::Dword size : {5U, 6U}) {
    char16_t name[8] = u"#######";
    EXPECT_EQ(winapi::RegEnumKeyW(key.key, 0, name, size), 0U) << size;
    EXPECT_EQ(std::u16string(name), u"abcd") << size;
    EXPECT_EQ(name[5], u'#') << size;
  }
}

TEST_F(RegistryEnum, IndexPastTheEndEnds) {
  CreateKey(path + u"\\one");
  const SeamKey key(path);
  char16_t name[260];
  EXPECT_EQ(winapi::RegEnumKeyW(key.key, 1, name, 260), 259U);
  EXPECT_EQ(winapi::RegEnumKeyW(key.key, 0xFFFFFFFF, name, 260), 259U);
  EXPECT_EQ(winapi::RegEnumKeyW(key.key, 1, name, 0), 259U);
}

TEST_F(RegistryEnum, LongNamesComeWhole) {
  const std::u16string longest(255, u'x');
  CreateKey(path + u"\\" + longest);
  const SeamKey key(path);
  char16_t name[260];
  ASSERT_EQ(winapi::RegEnumKeyW(key.key, 0, name, 260), 0U);
  EXPECT_EQ(std::u16string(name), longest);
  EXPECT_EQ(winapi::RegEnumKeyW(key.key, 0, name, 255), 234U);
  EXPECT_EQ(winapi::RegEnumKeyW(key.key, 0, name, 256), 0U);
}

TEST_F(RegistryEnum, ChangesMoveTheIndexes) {
  CreateAll(path, {u"b", u"d"});
  const SeamKey key(path);
  EXPECT_EQ(SubKeys(key.key), (Names{u"b", u"d"}));
  CreateKey(path + u"\\c");
  EXPECT_EQ(SubKeys(key.key), (Names{u"b", u"c", u"d"}));
  DeleteTree(path + u"\\b");
  CreateKey(path + u"\\e");
  EXPECT_EQ(SubKeys(key.key), (Names{u"c", u"d", u"e"}));
}

TEST_F(RegistryEnum, BadHandlesGiveSix) {
  char16_t name[260];
  EXPECT_EQ(winapi::RegEnumKeyW(nullptr, 0, name, 260), 6U);
}

}  // namespace
}  // namespace tests
