#include "zum_rehearse/places.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/directory_tree.h"

namespace {

using zum_rehearse::Places;

class PlacesTest : public testing::Test {
 protected:
  void SetUp() override {
    m_tree.MakeDirectory(u"folder");
    m_tree.Write(u"file");
  }

  [[nodiscard]] bool AreSame(std::u16string_view one, std::u16string_view other) const {
    Places places;
    EXPECT_TRUE(places.Add(m_tree.File(one)));
    const bool holds = places.Holds(m_tree.File(other));
    EXPECT_EQ(places.Add(m_tree.File(other)), !holds);
    return holds;
  }

  tests::DirectoryTree m_tree;
};

TEST_F(PlacesTest, WhatIsThereIsKnownBySpellingsAndLinks) {
  std::filesystem::create_hard_link(m_tree.File(u"file"), m_tree.File(u"hard"));
  m_tree.MakeLink(u"file", u"link");
  for (const char16_t* other : {u"file", u"./file", u"folder/../file", u"hard", u"link"}) {
    EXPECT_TRUE(AreSame(u"file", other)) << std::filesystem::path(other);
  }
  EXPECT_TRUE(AreSame(u"folder", u"folder/"));
  EXPECT_FALSE(AreSame(u"file", u"folder"));
}

TEST_F(PlacesTest, WhatIsFreeIsKnownByItsNameInAFolder) {
  m_tree.MakeLink(u"folder", u"to folder");
  EXPECT_TRUE(AreSame(u"folder/new", u"to folder/new"));
  EXPECT_TRUE(AreSame(u"folder/new/below", u"folder/./new/below"));
  EXPECT_TRUE(AreSame(u"new", u"new/"));
  EXPECT_TRUE(AreSame(u"new", u"new/."));
  EXPECT_FALSE(AreSame(u"folder/new", u"new"));
  EXPECT_FALSE(AreSame(u"new", u"new/below"));
  EXPECT_FALSE(AreSame(u"new", u"newer"));
  EXPECT_FALSE(AreSame(u"folder", u"folder/new"));
}

TEST_F(PlacesTest, NamesAreComparedAsTheSystemDoes) {
#ifdef _WIN32
  constexpr bool kIsSame = true;
#else
  constexpr bool kIsSame = false;
#endif
  EXPECT_EQ(AreSame(u"folder/new", u"folder/NEW"), kIsSame);
  EXPECT_EQ(AreSame(u"folder/new", u"folder/new. ."), kIsSame);
}

}  // namespace
