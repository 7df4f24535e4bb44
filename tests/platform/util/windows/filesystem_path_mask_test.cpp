#include "platform/util/windows/filesystem/path_mask.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>

#include "platform/util/windows/filesystem/path.h"
#include "tests/platform/util/windows/filesystem_reference.h"
#include "tests/platform/util/windows/filesystem_text.h"

namespace {

using product_platform::filesystem::GetFileNamePart;
using product_platform::filesystem::IsSamePathChar;
using product_platform::filesystem::JoinPath;
using product_platform::filesystem::MatchPathMask;
using product_platform::filesystem::MatchWildcard;
using tests::DirectoryRule;
using tests::RandomPaths;
using tests::RandomText;
using tests::Shown;

TEST(IsSamePathChar, IgnoresCase) {
  EXPECT_TRUE(IsSamePathChar(u'A', u'a'));
  EXPECT_TRUE(IsSamePathChar(u'a', u'A'));
  EXPECT_TRUE(IsSamePathChar(u'z', u'Z'));
  EXPECT_FALSE(IsSamePathChar(u'a', u'b'));
  EXPECT_FALSE(IsSamePathChar(u'@', u'`'));
  EXPECT_FALSE(IsSamePathChar(u'[', u'{'));
}

TEST(IsSamePathChar, SeparatorsAreTheSame) {
  EXPECT_TRUE(IsSamePathChar(u'\\', u'/'));
  EXPECT_TRUE(IsSamePathChar(u'/', u'\\'));
  EXPECT_TRUE(IsSamePathChar(u'/', u'/'));
  EXPECT_FALSE(IsSamePathChar(u'/', u'|'));
}

TEST(IsSamePathChar, OnlyAsciiLettersHaveACase) {
  EXPECT_FALSE(IsSamePathChar(0xE4, 0xC4));
  EXPECT_FALSE(IsSamePathChar(0x436, 0x416));
  EXPECT_TRUE(IsSamePathChar(0x436, 0x436));
  EXPECT_FALSE(IsSamePathChar(u'i', 0x130));
}

struct MaskCase {
  std::u16string text;
  std::u16string mask;
  bool matches;
};

template <std::size_t N, typename Match>
void ExpectMatches(const MaskCase (&cases)[N], Match match) {
  for (const MaskCase& test : cases) {
    EXPECT_EQ(match(test.text, test.mask), test.matches)
        << Shown(test.text) << " against " << Shown(test.mask);
  }
}

TEST(MatchWildcard, FollowsTheTable) {
  const MaskCase cases[] = {
      {u"", u"", true},
      {u"", u"*", true},
      {u"", u"**", true},
      {u"", u"?", false},
      {u"a", u"", false},
      {u"a", u"a", true},
      {u"A", u"a", true},
      {u"a", u"?", true},
      {u"ab", u"?", false},
      {u"a", u"??", false},
      {u"abc", u"*", true},
      {u"abc", u"a*", true},
      {u"abc", u"*c", true},
      {u"abc", u"a*c", true},
      {u"ac", u"a*c", true},
      {u"abc", u"a*b", false},
      {u"abcbc", u"a*bc", true},
      {u"aab", u"*ab", true},
      {u"abab", u"*ab", true},
      {u"abx", u"*ab", false},
      {u"abc", u"*?c", true},
      {u"c", u"*?c", false},
      {u"setup.MSI", u"*.msi", true},
      {u"name", u"name.*", false},
      {u"name.", u"name.*", true},
      {u"a*b", u"a*b", true},
      {u"a.b.c", u"*.c", true},
      {u"xaybzc", u"*a*b*c", true},
      {u"xaybz", u"*a*b*c", false},
      {u"abc", u"abc***", true},
      {u"a", u"a?*", false},
  };
  ExpectMatches(cases, MatchWildcard);
}

TEST(MatchWildcard, MaskEndingInDotStarNeedsAnExtension) {
  EXPECT_FALSE(MatchWildcard(u"name", u"name.*"));
  EXPECT_TRUE(MatchWildcard(u"name.msi", u"name.*"));
}

TEST(MatchWildcard, IsTheSameAsARecursiveMatcher) {
  RandomText names({u"a", u"b", u"A", u"."});
  RandomText masks({u"a", u"b", u"A", u".", u"*", u"?"});
  int matches = 0;
  for (int i = 0; i < 100000; ++i) {
    const std::u16string name = names(8);
    const std::u16string mask = masks(6);
    const bool expected =
        tests::ReferenceWildcard(tests::Comparable(name), tests::Comparable(mask));
    matches += expected ? 1 : 0;
    ASSERT_EQ(MatchWildcard(name, mask), expected) << Shown(name) << " against " << Shown(mask);
  }
  EXPECT_GT(matches, 1000);  // the texts aren't beside the point
}

// Trying all ways to share a name out between the stars takes twice as long for each further one:
// a hundred don't come to an end before the limit that the tests' runner sets.
TEST(MatchWildcard, ManyStarsComeToAnEnd) {
  std::u16string mask;
  for (int i = 0; i < 100; ++i) mask += u"a*";
  EXPECT_FALSE(MatchWildcard(std::u16string(30000, u'a'), mask + u"b"));
}

TEST(MatchPathMask, OfANameLooksAtTheFileNameAlone) {
  const MaskCase cases[] = {
      {u"", u"*", false},
      {u"", u"", false},
      {u"setup.msi", u"setup.msi", true},
      {u"C:\\d\\Setup.msi", u"setup.MSI", true},
      {u"C:\\d\\setup.msi", u"*.msi", true},
      {u"C:\\d\\setup.msp", u"*.msi", false},
      {u"C:\\d.msi\\setup", u"*.msi", false},
      {u"C:\\d\\", u"d", false},
      {u"C:x", u"x", true},
      {u"C:x", u"C:x", true},
      {u"name", u"name.*", false},
      {u"d\\name.x", u"name.*", true},
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, EmptyMaskMatchesEveryNonEmptyFileName) {
  const MaskCase cases[] = {
      {u"x", u"", true},        {u"name", u"", true},  {u"C:\\d\\x.y", u"", true},
      {u"C:\\d\\", u"", false}, {u"C:", u"", false},   {u"x", u"*", true},
      {u"x", u"*.*", true},     {u"d\\", u"*", false}, {u"d\\", u"*.*", false},
      {u"d\\", u"**", true},    {u"x", u"?.*", false},
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, RelativeDirectoryIsTheEndOfThePathsOwn) {
  const MaskCase cases[] = {
      {u"dir\\x", u"dir\\x", true},
      {u"C:\\a\\dir\\x", u"dir\\x", true},
      {u"C:\\a\\DIR/x", u"dir\\*", true},
      {u"C:\\a\\dir\\x", u"a\\dir\\*", true},
      {u"C:\\adir\\x", u"dir\\*", false},
      {u"C:\\dir\\a\\x", u"dir\\*", false},
      {u"C:\\dir\\a\\dir\\x", u"dir\\*", true},
      {u"x", u"dir\\*", false},
      {u"C:\\a\\dir\\", u"dir\\*", false},
      {u"C:\\a\\dirs\\x", u"dir\\*", false},
      {u"C:\\a\\x", u"\\a\\x", false},  // the occurrence must begin behind a separator
      {u"\\a\\x", u"\\a\\x", true},     // or at the start
      {u"C:\\\\a\\x", u"\\a\\x", true},
      {u"C:\\a\\dir\\x", u"d*\\x", false},  // its wildcards are plain characters
      {u"C:\\a\\d*\\x", u"d*\\x", true},
      {u"C:a", u"C:*", true},
      {u"C:\\a", u"C:*", false},
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, AbsoluteDirectoryIsTheWholeOfThePathsOwn) {
  const MaskCase cases[] = {
      {u"C:\\dir\\x", u"C:\\dir\\x", true},    {u"c:/DIR/X", u"C:\\dir\\x", true},
      {u"C:\\dir\\x", u"C:\\dir\\*", true},    {u"C:\\dir\\", u"C:\\dir\\", false},
      {u"C:\\dir\\x", u"C:\\dir\\", true},     {u"C:\\dir\\sub\\x", u"C:\\dir\\*", false},
      {u"C:\\x", u"C:\\dir\\*", false},        {u"D:\\dir\\x", u"C:\\dir\\*", false},
      {u"C:\\dis\\x", u"C:\\dir\\*", false},   {u"\\\\s\\h\\x", u"\\\\s\\h\\*", true},
      {u"\\\\s\\g\\x", u"\\\\s\\h\\*", false}, {u"dir\\x", u"C:\\dir\\*", false},
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, WildcardDirectoryIsLookedAtUpToTheCharacterBeforeIt) {
  const MaskCase cases[] = {
      {u"C:\\anything\\x", u"C:\\*\\x", true},
      {u"C:\\a\\b\\c\\x", u"C:\\*\\x", true},
      {u"C:\\dir\\x", u"C:\\d*\\x", true},
      {u"C:\\fir\\x", u"C:\\d*\\x", true},  // "d" is the one that isn't looked at
      {u"C:\\dir\\x", u"C:\\di?\\x", true},
      {u"C:\\fir\\x", u"C:\\di?\\x", false},
      {u"D:\\anything\\x", u"C:\\*\\x", false},
      {u"C:\\anything\\y", u"C:\\*\\x", false},
      {u"C:\\x", u"C:\\*\\x", false},  // shorter than the mask's
      {u"C:\\dir\\x", u"C:\\*\\zz\\*", false},
      {u"C:\\dir\\sub\\x", u"C:\\*\\zz\\*", true},  // behind the wildcard nothing is
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, WildcardThatStandsFirstNeedsAnAbsolutePath) {
  const MaskCase cases[] = {
      {u"D:\\dir\\x", u"?:\\*", true},
      {u"\\\\server\\x", u"*:\\x", true},
      {u"aa\\dir\\x", u"?:\\x", false},
      {u"D:\\dir\\x", u"?:\\y", false},
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, QuestionMarkOfThePrefixIsAWildcard) {
  const MaskCase cases[] = {
      {u"\\\\?\\C:\\dir\\x", u"\\\\?\\C:\\dir\\x", true},
      {u"\\\\?\\C:\\other\\x", u"\\\\?\\C:\\dir\\x", true},
      {u"\\\\server\\share\\x", u"\\\\?\\C:\\dir\\x", true},
      {u"C:\\dirdirdir\\x", u"\\\\?\\C:\\dir\\x", false},
      {u"\\anything\\at\\all\\x", u"\\\\?\\C:\\dir\\x", true},  // one backslash is compared
      {u"\\\\.\\C:\\other\\x", u"\\\\.\\C:\\dir\\x", false},
  };
  ExpectMatches(cases, MatchPathMask);
}

TEST(MatchPathMask, StarMatchesEveryPathThatHasAName) {
  auto random = RandomPaths();
  for (int i = 0; i < 50000; ++i) {
    const std::u16string path = random(8);
    const bool hasName = !GetFileNamePart(path).empty();
    for (const char16_t* const mask : {u"*", u"*.*", u""}) {
      ASSERT_EQ(MatchPathMask(path, mask), hasName) << Shown(path) << " against " << Shown(mask);
    }
  }
}

// A path has no wildcards of its own here, so as a mask it means itself.
TEST(MatchPathMask, PathWithANameMatchesItself) {
  RandomText random({u"\\", u"/", u"\\\\", u".", u"..", u"a", u"b", u"C:", u"C:\\", u"\\\\.\\"});
  for (int i = 0; i < 50000; ++i) {
    const std::u16string path = random(8);
    // Not with a colon further on: what is behind "C:" is a name, but no component.
    ASSERT_EQ(MatchPathMask(path, path), !GetFileNamePart(path).empty()) << Shown(path);
  }
}

TEST(MatchPathMask, DirectoryAndStarMatchesWhatIsJoinedToIt) {
  RandomText directories({u"\\", u"/", u".", u"a", u"b", u"C:\\", u"\\\\s\\h"});
  RandomText names({u"a", u"b", u".", u"x y"});
  for (int i = 0; i < 50000; ++i) {
    const std::u16string directory = u"D:\\" + directories(6);
    const std::u16string name = names(4) + u"n";
    ASSERT_TRUE(MatchPathMask(JoinPath(directory, name), JoinPath(directory, u"*")))
        << Shown(directory) << " with " << Shown(name);
    ASSERT_FALSE(MatchPathMask(JoinPath(directory, u"sub\\" + name), JoinPath(directory, u"*")))
        << Shown(directory) << " with " << Shown(name);
  }
}

// Some characters become wildcards, other separators, or letters of the other case.
std::u16string Varied(std::u16string text, RandomText& random) {
  for (char16_t& c : text) {
    const bool isLetter = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
    switch (random.Number(10)) {
      case 0:
        c = u'*';
        break;
      case 1:
        c = u'?';
        break;
      case 2:
        if (isLetter) c = static_cast<char16_t>(c ^ 0x20);
        break;
      case 3:
        if (c == u'\\' || c == u'/') c = static_cast<char16_t>(u'\\' + u'/' - c);
        break;
      default:
        break;
    }
  }
  return text;
}

// The whole path or its end, as it is or varied, or one that has nothing to do with it.
std::u16string MaskFor(const std::u16string& path, RandomText& random) {
  const std::size_t begin = random.Number(2) == 0 ? 0 : random.Number(path.size() + 1);
  switch (random.Number(6)) {
    case 0:
      return random(5);
    case 1:
      return path.substr(begin);
    case 2:
      return tests::ReferenceCut(path).directory.append(u"*");
    default:
      return Varied(path.substr(begin), random);
  }
}

TEST(MatchPathMask, IsTheSameAsASecondImplementation) {
  RandomText random({u"\\", u"\\", u"/", u"\\\\", u"a", u"b", u"A", u"a.b", u"C:", u"C:\\", u"D:/",
                     u"\\\\?\\", u"\\\\.\\C:\\", u"\\\\s\\h\\", u"dir\\", u"dir\\", u"*", u"?",
                     u"."});
  std::map<DirectoryRule, int> matches;
  std::map<DirectoryRule, int> others;
  for (int i = 0; i < 50000; ++i) {
    const std::u16string path = random(7);
    const std::u16string mask = MaskFor(path, random);
    const bool expected = tests::ReferenceMatch(path, mask);
    ++(expected ? matches : others)[tests::RuleOf(mask)];
    ASSERT_EQ(MatchPathMask(path, mask), expected) << Shown(path) << " against " << Shown(mask);
  }
  // The texts aren't beside the point of any of the rules.
  for (const DirectoryRule rule : {DirectoryRule::kNone, DirectoryRule::kRelative,
                                   DirectoryRule::kWhole, DirectoryRule::kBeginning}) {
    EXPECT_GT(matches[rule], 500) << static_cast<int>(rule);
    EXPECT_GT(others[rule], 500) << static_cast<int>(rule);
  }
  EXPECT_GT(matches[DirectoryRule::kAnyAbsolute], 25);
  EXPECT_GT(others[DirectoryRule::kAnyAbsolute], 25);
}

}  // namespace
