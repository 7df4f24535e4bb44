#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "platform/util/windows/filesystem/path.h"
#include "tests/platform/util/windows/filesystem_reference.h"
#include "tests/platform/util/windows/filesystem_text.h"

namespace {

using product_platform::filesystem::NormalizePath;
using tests::RandomPaths;
using tests::Shown;

std::u16string Normal(std::u16string path) {
  NormalizePath(path);
  return path;
}

struct PathCase {
  std::u16string path;
  std::u16string normal;
};

template <std::size_t N>
void ExpectNormal(const PathCase (&cases)[N]) {
  for (const PathCase& test : cases) EXPECT_EQ(Normal(test.path), test.normal) << Shown(test.path);
}

TEST(NormalizePath, DotSegmentsGoAndATrailingBackslashToo) {
  EXPECT_EQ(Normal(u"\\\\?\\C:\\a\\.\\b\\..\\c"), u"\\\\?\\C:\\a\\c");
  EXPECT_EQ(Normal(u"\\\\?\\C:\\a\\.\\b\\..\\c\\"), u"\\\\?\\C:\\a\\c");
}

TEST(NormalizePath, EmptyPathAndBareDriveStay) {
  const PathCase cases[] = {{u"", u""}, {u"C:", u"C:"}, {u"/:", u"/:"}, {u".:", u".:"}};
  ExpectNormal(cases);
}

TEST(NormalizePath, OfARelativePath) {
  const PathCase cases[] = {
      {u"a", u"a"},           {u"a\\", u"a"},        {u"a//b", u"a\\b"},         {u"a/b", u"a\\b"},
      {u"a\\.\\b", u"a\\b"},  {u"a\\.", u"a"},       {u"a\\b\\..", u"a"},        {u"a\\..", u""},
      {u"a\\..\\", u""},      {u"a\\..\\b", u"b"},   {u"a\\b\\..\\..\\c", u"c"}, {u"...", u"..."},
      {u"a.\\.b", u"a.\\.b"}, {u"C:x\\..\\y", u"y"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, LeftOverDotDotStandsInFront) {
  const PathCase cases[] = {
      {u"..", u".."},          {u"..\\", u".."},
      {u"../..", u"..\\.."},   {u"..\\a", u"..\\a"},
      {u"a\\..\\..", u".."},   {u"a\\..\\..\\b", u"..\\b"},
      {u"..\\a\\..", u".."},   {u"..\\..\\a\\..\\b", u"..\\..\\b"},
      {u"..\\.\\a", u"..\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, DotStaysAsTheFirstSegmentOnly) {
  const PathCase cases[] = {
      {u".", u"."},    {u".\\", u"."},        {u".\\a", u".\\a"}, {u"./a/.", u".\\a"},
      {u".\\.", u"."}, {u".\\.\\a", u".\\a"}, {u"..\\.", u".."},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, FirstDotIsWhatADotDotTakes) {
  const PathCase cases[] = {
      {u".\\..", u""}, {u".\\..\\..", u".."}, {u".\\a\\..\\..", u""}, {u".\\..\\a", u"a"}};
  ExpectNormal(cases);
}

TEST(NormalizePath, DotBehindALeadingSeparatorVanishes) {
  const PathCase cases[] = {
      {u"\\.", u"\\"},
      {u"\\.\\a", u"\\a"},
      {u"/./a", u"\\a"},
      {u"C:\\.", u"C:\\"},
      {u"C:\\.\\a", u"C:\\a"},
      {u"\\\\s\\h\\.\\a", u"\\\\s\\h\\a"},
      {u"\\\\?\\C:\\.", u"\\\\?\\C:\\"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, LeftOverDotDotIsLostBehindALeadingSeparator) {
  const PathCase cases[] = {
      {u"\\", u"\\"},       {u"/", u"\\"},
      {u"//", u"\\"},       {u"\\..", u"\\"},
      {u"\\..\\a", u"\\a"}, {u"/a/../../b", u"\\b"},
      {u"C:\\..", u"C:\\"}, {u"C:\\a\\..\\..\\b", u"C:\\b"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, OfADriveAbsolutePath) {
  const PathCase cases[] = {
      {u"C:\\", u"C:\\"},        {u"C:/", u"C:\\"},       {u"C:\\\\", u"C:\\"},
      {u"C:/a/b/", u"C:\\a\\b"}, {u"C:\\a\\..", u"C:\\"}, {u"\\:\\a", u"\\:\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, ServerAndShareAreARoot) {
  const PathCase cases[] = {
      {u"\\\\server\\share", u"\\\\server\\share"},
      {u"\\\\server\\share\\", u"\\\\server\\share\\"},
      {u"\\\\server\\share\\a\\..", u"\\\\server\\share\\"},
      {u"\\\\server\\share\\..\\..\\a", u"\\\\server\\share\\a"},
      {u"\\\\server\\..\\a", u"\\\\server\\..\\a"},
      {u"\\\\server/share/a/b", u"\\\\server/share\\a\\b"},
      {u"\\\\server", u"\\\\server"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, EmptyComponentOfARootEndsBeforeTheSeparator) {
  const PathCase cases[] = {
      {u"\\\\", u"\\\\"},
      {u"\\\\server\\", u"\\\\server\\"},
      {u"\\\\server\\\\a\\..\\b", u"\\\\server\\b"},
      {u"\\\\\\share\\a\\..\\b", u"\\\\\\share\\b"},
      {u"\\\\\\\\a\\..", u"\\\\\\"},
      {u"\\\\?\\\\a\\..\\b", u"\\\\?\\b"},
      {u"\\\\?\\UNC\\", u"\\\\?\\UNC\\"},
      {u"\\\\?\\UNC\\server\\\\..\\a", u"\\\\?\\UNC\\server\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, PrefixAndDriveAreARoot) {
  const PathCase cases[] = {
      {u"\\\\?\\C:\\", u"\\\\?\\C:\\"},
      {u"\\\\?\\C:\\..\\..\\a", u"\\\\?\\C:\\a"},
      {u"\\\\.\\C:/a/../b", u"\\\\.\\C:\\b"},
      {u"\\\\?\\C:", u"\\\\?\\C:"},
      {u"\\\\?\\C:a\\..\\..\\b", u"\\\\?\\C:a\\b"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, PrefixAndServerFormAreARoot) {
  const PathCase cases[] = {
      {u"\\\\?\\UNC\\server\\share\\a\\..\\..\\b", u"\\\\?\\UNC\\server\\share\\b"},
      {u"\\\\?\\UNC\\server\\share", u"\\\\?\\UNC\\server\\share"},
      {u"\\\\.\\UNC/server/share/..", u"\\\\.\\UNC/server/share\\"},
      {u"\\\\?\\UNC", u"\\\\?\\UNC"},
  };
  ExpectNormal(cases);
}

// In these capitals, and whatever comes behind them.
TEST(NormalizePath, PrefixAndTheThreeLettersTakeTheServerForm) {
  const PathCase cases[] = {
      {u"\\\\?\\UNCLE\\share\\..\\a", u"\\\\?\\UNCLE\\share\\a"},
      {u"\\\\?\\UNC:\\x\\..\\a", u"\\\\?\\UNC:\\x\\a"},
      {u"\\\\?\\unc\\server\\..\\a", u"\\\\?\\unc\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, PrefixAndAnythingElseHaveOneComponentAsRoot) {
  const PathCase cases[] = {
      {u"\\\\?\\Volume{1}\\a\\..\\..\\b", u"\\\\?\\Volume{1}\\b"},
      {u"\\\\.\\pipe\\..", u"\\\\.\\pipe\\"},
      {u"\\\\?\\", u"\\\\?\\"},
      {u"\\\\?\\..\\a", u"\\\\?\\..\\a"},
  };
  ExpectNormal(cases);
}

// The current directory may be a server form, and has the prefix put before it as it is.
TEST(NormalizePath, PrefixBeforeAServerFormLosesItsServer) {
  EXPECT_EQ(Normal(u"\\\\?\\\\\\server\\share\\dir"), u"\\\\?\\server\\share\\dir");
}

TEST(NormalizePath, IsTheSameAsASecondImplementation) {
  auto random = RandomPaths();
  for (int i = 0; i < 100000; ++i) {
    const std::u16string path = random(9);
    ASSERT_EQ(Normal(path), tests::ReferenceNormal(path)) << Shown(path);
  }
}

TEST(NormalizePath, SecondTimeChangesNothing) {
  auto random = RandomPaths();
  for (int i = 0; i < 100000; ++i) {
    const std::u16string path = random(9);
    const std::u16string once = Normal(path);
    ASSERT_EQ(Normal(once), once) << Shown(path);
  }
}

TEST(NormalizePath, TenThousandSegmentsAreNoTrouble) {
  std::u16string path = u"C:";
  for (int i = 0; i < 10000; ++i) path += u"\\a";
  for (int i = 0; i < 9999; ++i) path += u"\\..";
  EXPECT_EQ(Normal(path), u"C:\\a");
}

}  // namespace
