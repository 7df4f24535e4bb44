#include "winapi/host/registry_tree.h"

#include <gtest/gtest.h>

#include <string>

namespace winapi::host {
namespace {

TEST(HostRegistryTree, PathsThatNoKeyCanHave) {
  struct Case {
    const char* name;
    std::u16string path;
    bool created;
  };
  std::u16string levels = u"HKEY_USERS";
  for (int i = 1; i < 512; ++i) levels += u"\\x";
  const Case cases[] = {
      {"Hive", u"HKEY_LOCAL_MACHINE", true},
      {"HiveInOtherCase", u"hkey_local_machine\\a", true},
      {"EmptyParts", u"HKEY_USERS\\\\a\\", true},
      {"LongName", u"HKEY_USERS\\" + std::u16string(1000, u'l'), true},
      {"512Levels", levels, true},
      {"513Levels", levels + u"\\x", false},
      {"Empty", u"", false},
      {"OnlyBackslashes", u"\\\\", false},
      {"UnknownHive", u"HKLM\\a", false},
      {"PerformanceData", u"HKEY_PERFORMANCE_DATA\\a", false},
      {"ZeroInAName", std::u16string(u"HKEY_USERS\\a\0b", 14), false},
      {"LineFeedInAName", u"HKEY_USERS\\a\nb", true},
      {"CarriageReturnInAName", u"HKEY_USERS\\a\rb", true},
      {"LineBreakAtTheEnd", u"HKEY_USERS\\a\r\n", true},
      {"BracketBehindABreak", u"HKEY_USERS\\a\nb]c", true},
      {"BracketBeforeABreak", u"HKEY_USERS\\a]b\nc", false},
      {"BracketInAnotherNameBeforeABreak", u"HKEY_USERS\\a]\\b\nc", false},
      {"KeyBehindABreak", u"HKEY_USERS\\a\n[b", false},
      {"ValueBehindABreak", u"HKEY_USERS\\a\n\"b", false},
      {"DefaultValueBehindABreak", u"HKEY_USERS\\a\r@", false},
  };
  for (const Case& c : cases) {
    RegistryTree tree;
    EXPECT_EQ(tree.Create(c.path) != nullptr, c.created) << c.name;
    EXPECT_EQ(tree.Find(c.path) != nullptr, c.created) << c.name;
  }
}

TEST(HostRegistryTree, AFailedCreationMakesNothing) {
  RegistryTree tree;
  EXPECT_EQ(tree.Create(u"HKEY_USERS\\a\\b]\n"), nullptr);
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\a"), nullptr);
}

TEST(HostRegistryTree, DeletingTakesAllBelowAndMarksIt) {
  RegistryTree tree;
  const RegistryKeyPtr deep = tree.Create(u"HKEY_USERS\\a\\b\\c");
  const RegistryKeyPtr beside = tree.Create(u"HKEY_USERS\\a2");
  EXPECT_TRUE(tree.Delete(u"hkey_users\\A\\"));
  EXPECT_TRUE(deep->Deleted());
  EXPECT_FALSE(beside->Deleted());
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\a\\b"), nullptr);
  EXPECT_FALSE(tree.Delete(u"HKEY_USERS\\a"));
  EXPECT_FALSE(tree.Delete(u"HKEY_USERS\\none\\deep"));
}

TEST(HostRegistryTree, HivesCantBeDeleted) {
  RegistryTree tree;
  EXPECT_FALSE(tree.Delete(u"HKEY_USERS"));
  EXPECT_FALSE(tree.Delete(u""));
  EXPECT_NE(tree.Find(u"HKEY_USERS"), nullptr);
}

TEST(HostRegistryTree, AKeyMadeAgainIsANewOne) {
  RegistryTree tree;
  const RegistryKeyPtr old = tree.Create(u"HKEY_USERS\\a");
  old->SetValue(u"v", 3, {1});
  EXPECT_TRUE(tree.Delete(u"HKEY_USERS\\a"));
  const RegistryKeyPtr fresh = tree.Create(u"HKEY_USERS\\a");
  EXPECT_TRUE(old->Deleted());
  EXPECT_FALSE(fresh->Deleted());
  EXPECT_EQ(fresh->Value(u"v"), nullptr);
}

TEST(HostRegistryTree, ATrailLeadsToTheSameKeys) {
  RegistryTree tree;
  RegistryTree::Trail trail;
  constexpr std::u16string_view kPaths[] = {u"HKEY_USERS\\b\\c\\d", u"HKEY_USERS\\b\\c",
                                            u"HKEY_USERS\\b\\a\\d", u"HKEY_USERS\\B\\c\\D",
                                            u"hkey_users\\b",       u"HKEY_USERS",
                                            u"HKEY_USERS\\A",       u"HKEY_LOCAL_MACHINE\\b"};
  for (const std::u16string_view path : kPaths) {
    const RegistryKeyPtr key = tree.Create(path, trail);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(key, tree.Find(path));
    EXPECT_EQ(trail.back().second, key);
  }
  EXPECT_EQ(tree.Create(u"HKEY_NONE\\b", trail), nullptr);
  EXPECT_EQ(tree.Find(u"HKEY_USERS")->SubKeys().size(), 2U);
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\b")->SubKeys().size(), 2U);
  EXPECT_EQ(tree.Find(u"HKEY_USERS\\b\\c")->SubKeys().size(), 1U);
}

TEST(HostRegistryTree, EnumerationFollowsEachChange) {
  RegistryTree tree;
  const RegistryKeyPtr key = tree.Create(u"HKEY_USERS\\a");
  (void)key->AddChild(u"x");
  EXPECT_EQ(key->ChildAt(0)->Name(), u"x");
  // As many as before, but others.
  EXPECT_TRUE(key->RemoveChild(u"X"));
  (void)key->AddChild(u"y");
  EXPECT_EQ(key->ChildAt(0)->Name(), u"y");
  EXPECT_EQ(key->ChildAt(1), nullptr);
}

}  // namespace
}  // namespace winapi::host
