#include "zum_setup_util/dll_search.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace zum_setup_util {
namespace {

TEST(EnableSystemDllSearch, SystemFolderIsTaken) {
  EXPECT_EQ(EnableSystemDllSearch(2048), 0);
  EXPECT_EQ(kLoadLibrarySearchSystem32, 2048u);
}

TEST(EnableSystemDllSearch, CanBeAskedTwice) {
  EXPECT_EQ(EnableSystemDllSearch(2048), 0);
  EXPECT_EQ(EnableSystemDllSearch(2048), 0);
}

// 87, which is "Invalid argument".
TEST(EnableSystemDllSearch, RefusedFlagsGiveTheMappedError) {
  EXPECT_EQ(EnableSystemDllSearch(0x40000), oru::MakeResultCode(0x80000046));
  EXPECT_EQ(EnableSystemDllSearch(0), oru::MakeResultCode(0x80000046));
}

TEST(GetExecutablePath, IsTheFullPathOfThisProgram) {
  const std::u16string path = GetExecutablePath();
  ASSERT_GT(path.size(), 3u);
  EXPECT_EQ(path.substr(1, 2), u":\\");
  EXPECT_NE(path.find(u"\\zum_setup_util_test"), std::u16string::npos);
  EXPECT_EQ(std::count(path.begin(), path.end(), u'\0'), 0);
}

}  // namespace
}  // namespace zum_setup_util
