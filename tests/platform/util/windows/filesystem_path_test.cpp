#include "platform/util/windows/filesystem/path.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/platform/util/windows/filesystem_reference.h"
#include "tests/platform/util/windows/filesystem_text.h"
#include "tests/support/current_directory.h"
#include "tests/support/temporary_folder.h"

namespace {

using product_platform::filesystem::GetFileNamePart;
using product_platform::filesystem::GetParentPath;
using product_platform::filesystem::HasLongPathPrefix;
using product_platform::filesystem::IsDriveAbsolutePath;
using product_platform::filesystem::IsPathSeparator;
using product_platform::filesystem::IsRootedPath;
using product_platform::filesystem::JoinPath;
using product_platform::filesystem::MakeLongPath;
using tests::RandomPaths;
using tests::Shown;

TEST(PathSeparator, IsBackslashOrSlash) {
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) {
    EXPECT_EQ(IsPathSeparator(static_cast<char16_t>(unit)), unit == 0x5C || unit == 0x2F) << unit;
  }
}

struct FormCase {
  const char* name;
  std::u16string path;
  bool rooted;
  bool driveAbsolute;
  bool prefixed;
};

const FormCase kForms[] = {
    {"empty", u"", false, false, false},
    {"one backslash", u"\\", false, false, false},
    {"two backslashes", u"\\\\", true, false, false},
    {"two slashes", u"//", false, false, false},
    {"backslash and slash", u"\\/server", false, false, false},
    {"server", u"\\\\server\\share", true, false, false},
    {"drive alone", u"C:", false, false, false},
    {"drive root", u"C:\\", false, true, false},
    {"drive root with slash", u"C:/", false, true, false},
    {"drive relative", u"C:x", false, false, false},
    {"any first character", u"?:\\x", false, true, false},
    {"separator first", u"\\:\\x", false, true, false},
    {"colon elsewhere", u"CC:\\", false, false, false},
    {"question mark prefix", u"\\\\?\\", true, false, true},
    {"full stop prefix", u"\\\\.\\x", true, false, true},
    {"prefix cut short", u"\\\\?", true, false, false},
    {"prefix with a slash behind", u"\\\\?/x", true, false, false},
    {"prefix with slashes", u"//?/x", false, false, false},
    {"other character in the prefix", u"\\\\!\\x", true, false, false},
    {"relative", u"a\\b", false, false, false},
};

TEST(PathForms, AreToldByTheFirstCharacters) {
  for (const FormCase& test : kForms) {
    EXPECT_EQ(IsRootedPath(test.path), test.rooted) << test.name;
    EXPECT_EQ(IsDriveAbsolutePath(test.path), test.driveAbsolute) << test.name;
    EXPECT_EQ(HasLongPathPrefix(test.path), test.prefixed) << test.name;
  }
}

struct SplitCase {
  std::u16string path;
  std::u16string parent;
  std::u16string name;
};

const SplitCase kSplits[] = {
    {u"", u"", u""},
    {u"x", u"", u"x"},
    {u"C:\\x", u"C:\\", u"x"},
    {u"C:\\x\\", u"C:\\x", u""},
    {u"C:/x", u"C:/", u"x"},
    {u"C:x", u"C:", u"x"},
    {u"C:", u"C:", u""},
    {u"C:\\", u"C:\\", u""},
    {u"C:\\a\\b.txt", u"C:\\a", u"b.txt"},
    {u"C:\\a/b", u"C:\\a", u"b"},
    {u"a\\b:c", u"a", u"b:c"},
    {u"ab:c", u"", u"ab:c"},
    {u"\\x", u"\\", u"x"},
    {u"/", u"/", u""},
    {u"\\\\", u"\\", u""},
    {u"\\\\x", u"\\", u"x"},
    {u"a\\\\b", u"a\\", u"b"},
    {u"\\\\server\\share\\x", u"\\\\server\\share", u"x"},
    {u"\\\\?\\C:\\x", u"\\\\?\\C:\\", u"x"},
    {u"a:\\", u"a:\\", u""},
    {u"name:/x", u"name:/", u"x"},
};

TEST(GetParentPath, IsWhatStandsBeforeTheName) {
  for (const SplitCase& test : kSplits) {
    EXPECT_EQ(GetParentPath(test.path), test.parent) << Shown(test.path);
  }
}

TEST(GetParentPath, OfAFileInADriveRootIsTheRoot) { EXPECT_EQ(GetParentPath(u"C:\\x"), u"C:\\"); }

TEST(GetParentPath, TrailingSeparatorGoesAlone) { EXPECT_EQ(GetParentPath(u"C:\\x\\"), u"C:\\x"); }

TEST(GetParentPath, OfABareNameIsEmpty) { EXPECT_EQ(GetParentPath(u"x"), u""); }

TEST(GetFileNamePart, IsWhatStandsBehindTheLastSeparator) {
  for (const SplitCase& test : kSplits) {
    EXPECT_EQ(GetFileNamePart(test.path), test.name) << Shown(test.path);
  }
}

TEST(GetFileNamePart, StandsBehindADrivesColon) { EXPECT_EQ(GetFileNamePart(u"C:x"), u"x"); }

struct JoinCase {
  std::u16string left;
  std::u16string right;
  std::u16string joined;
};

const JoinCase kJoins[] = {
    {u"", u"", u""},
    {u"", u"b", u"b"},
    {u"a", u"", u"a"},
    {u"a\\", u"", u"a\\"},
    {u"a", u"b", u"a\\b"},
    {u"a\\", u"b", u"a\\b"},
    {u"a/", u"b", u"a/b"},
    {u"a", u"\\b", u"a\\\\b"},
    {u"a\\", u"\\b", u"a\\\\b"},
    {u"a", u"C:\\b", u"a\\C:\\b"},
    {u"C:", u"b", u"C:\\b"},
    {u"\\\\?\\", u"C:\\b", u"\\\\?\\C:\\b"},
    {u"a", u"..", u"a\\.."},
};

TEST(JoinPath, PutsABackslashWhereThereIsNoSeparator) {
  for (const JoinCase& test : kJoins) {
    EXPECT_EQ(JoinPath(test.left, test.right), test.joined)
        << Shown(test.left) << " and " << Shown(test.right);
  }
}

TEST(JoinPath, TrailingBackslashIsNotDoubled) {
  EXPECT_EQ(JoinPath(u"C:\\dir\\", u"name"), u"C:\\dir\\name");
}

TEST(JoinPath, OfANameIsSplitIntoTheSameAgain) {
  auto random = RandomPaths();
  for (int i = 0; i < 20000; ++i) {
    const std::u16string left = random(6);
    const std::u16string path = JoinPath(left, u"name.x");
    ASSERT_EQ(GetFileNamePart(path), u"name.x") << Shown(left);
    if (left.empty()) continue;
    // What was there, with one separator at the end of a drive and none elsewhere.
    const bool ends = left.back() == u'\\' || left.back() == u'/';
    std::u16string parent = ends ? left : left + u"\\";
    if (!parent.ends_with(u":\\") && !parent.ends_with(u":/") && parent.size() > 1)
      parent.pop_back();
    ASSERT_EQ(GetParentPath(path), parent) << Shown(left);
  }
}

TEST(GetFileNamePart, IsTheEndOfThePathAndHoldsNoSeparator) {
  auto random = RandomPaths();
  for (int i = 0; i < 20000; ++i) {
    const std::u16string path = random(8);
    const std::u16string name = GetFileNamePart(path);
    ASSERT_TRUE(path.ends_with(name)) << Shown(path);
    ASSERT_EQ(name.find_first_of(u"\\/"), std::u16string::npos) << Shown(path);
    ASSERT_TRUE(path.starts_with(GetParentPath(path))) << Shown(path);
  }
}

TEST(SplitAndJoin, AreTheSameAsSecondImplementations) {
  auto random = RandomPaths();
  for (int i = 0; i < 100000; ++i) {
    const std::u16string left = random(6);
    const std::u16string right = random(6);
    const std::u16string joined = JoinPath(left, right);
    ASSERT_EQ(joined, tests::ReferenceJoin(left, right)) << Shown(left) << " and " << Shown(right);
    ASSERT_EQ(GetFileNamePart(joined), tests::ReferenceCut(joined).name) << Shown(joined);
    ASSERT_EQ(GetParentPath(joined), tests::ReferenceParent(joined)) << Shown(joined);
  }
}

std::u16string WithoutSeparators(std::u16string path) {
  std::erase_if(path, IsPathSeparator);
  return path;
}

// But for separators, of which there may be others and another number.
TEST(SplitAndJoin, JoinUndoesASplit) {
  auto random = RandomPaths();
  int same = 0;
  for (int i = 0; i < 50000; ++i) {
    const std::u16string path = random(8);
    const std::u16string again = JoinPath(GetParentPath(path), GetFileNamePart(path));
    if (GetFileNamePart(path).empty()) {
      ASSERT_EQ(again, GetParentPath(path)) << Shown(path);
    } else {
      ASSERT_EQ(GetFileNamePart(again), GetFileNamePart(path)) << Shown(path);
    }
    ASSERT_EQ(WithoutSeparators(again), WithoutSeparators(path)) << Shown(path);
    same += again == path ? 1 : 0;
  }
  EXPECT_GT(same, 10000);
}

struct LongPathCase {
  const char* name;
  std::u16string path;
  std::u16string longPath;
};

const LongPathCase kLongPaths[] = {
    {"drive-absolute", u"C:\\a\\b", u"\\\\?\\C:\\a\\b"},
    {"drive root", u"C:\\", u"\\\\?\\C:\\"},
    {"slashes", u"C:/a/b", u"\\\\?\\C:\\a\\b"},
    {"dot segments", u"C:\\a\\.\\b\\..\\c\\", u"\\\\?\\C:\\a\\c"},
    {"above the root", u"C:\\..\\..\\a", u"\\\\?\\C:\\a"},
    {"server", u"\\\\server\\share\\dir", u"\\\\server\\share\\dir"},
    {"prefix already", u"\\\\?\\C:\\a\\..\\b", u"\\\\?\\C:\\a\\..\\b"},
    {"two backslashes", u"\\\\", u"\\\\"},
};

TEST(MakeLongPath, PutsThePrefixBeforeADrive) {
  for (const LongPathCase& test : kLongPaths) {
    EXPECT_EQ(MakeLongPath(test.path), test.longPath) << test.name;
  }
}

TEST(MakeLongPath, RootedPathStaysWithItsDotSegments) {
  EXPECT_EQ(MakeLongPath(u"\\\\server\\share\\dir\\.\\..\\x/y\\"),
            u"\\\\server\\share\\dir\\.\\..\\x/y\\");
}

// The process's current directory is a folder of the test's own while it lives.
class InOwnFolder {
 public:
  [[nodiscard]] std::u16string Windows() const { return m_folder.WindowsPath(); }

 private:
  tests::TemporaryFolder m_folder;
  tests::CurrentDirectory m_inFolder{m_folder.Path()};
};

TEST(MakeLongPath, RelativePathIsPutBehindTheCurrentDirectory) {
  const InOwnFolder folder;
  const std::u16string base = u"\\\\?\\" + folder.Windows();
  EXPECT_EQ(MakeLongPath(u"a\\b"), base + u"\\a\\b");
  EXPECT_EQ(MakeLongPath(u"a/./b//c/.."), base + u"\\a\\b");
  EXPECT_EQ(MakeLongPath(u"x\\..\\.."), GetParentPath(base));
  EXPECT_EQ(MakeLongPath(u"."), base);
  EXPECT_EQ(MakeLongPath(u""), base);
}

// Neither is looked at any further: what is right of a join is text.
TEST(MakeLongPath, HalfAbsolutePathsAreRelativeOnes) {
  const InOwnFolder folder;
  const std::u16string base = u"\\\\?\\" + folder.Windows();
  EXPECT_EQ(MakeLongPath(u"\\x"), base + u"\\x");
  EXPECT_EQ(MakeLongPath(u"C:x"), base + u"\\C:x");
}

TEST(MakeLongPath, RelativePathIsMadeAbsoluteWhateverItsLength) {
  const InOwnFolder folder;
  const std::u16string base = u"\\\\?\\" + folder.Windows() + u"\\";
  for (const std::size_t length : {1u, 246u, 247u, 259u, 260u, 300u, 40000u}) {
    const std::u16string path(length, u'n');
    EXPECT_TRUE(MakeLongPath(path) == base + path) << length;
  }
}

TEST(MakeLongPath, IsTheSameAsASecondImplementation) {
  const InOwnFolder folder;
  auto random = RandomPaths();
  for (int i = 0; i < 30000; ++i) {
    const std::u16string path = random(8);
    ASSERT_EQ(MakeLongPath(path), tests::ReferenceLong(path, folder.Windows())) << Shown(path);
  }
}

}  // namespace
