#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/util/windows/filesystem/path.h"
#include "tests/platform/util/windows/filesystem_text.h"

namespace {

using product_platform::filesystem::NormalizePath;
using tests::RandomPaths;
using tests::Shown;

std::u16string Normal(std::u16string path) {
  NormalizePath(path);
  return path;
}

struct Case {
  std::u16string path;
  std::u16string normal;
};

template <std::size_t N>
void ExpectNormal(const Case (&cases)[N]) {
  for (const Case& test : cases) EXPECT_EQ(Normal(test.path), test.normal) << Shown(test.path);
}

TEST(NormalizePath, DotSegmentsGoAndATrailingBackslashToo) {
  EXPECT_EQ(Normal(u"\\\\?\\C:\\a\\.\\b\\..\\c"), u"\\\\?\\C:\\a\\c");
  EXPECT_EQ(Normal(u"\\\\?\\C:\\a\\.\\b\\..\\c\\"), u"\\\\?\\C:\\a\\c");
}

TEST(NormalizePath, EmptyPathAndBareDriveStay) {
  const Case cases[] = {{u"", u""}, {u"C:", u"C:"}, {u"/:", u"/:"}, {u".:", u".:"}};
  ExpectNormal(cases);
}

TEST(NormalizePath, OfARelativePath) {
  const Case cases[] = {
      {u"a", u"a"},           {u"a\\", u"a"},        {u"a//b", u"a\\b"},         {u"a/b", u"a\\b"},
      {u"a\\.\\b", u"a\\b"},  {u"a\\.", u"a"},       {u"a\\b\\..", u"a"},        {u"a\\..", u""},
      {u"a\\..\\", u""},      {u"a\\..\\b", u"b"},   {u"a\\b\\..\\..\\c", u"c"}, {u"...", u"..."},
      {u"a.\\.b", u"a.\\.b"}, {u"C:x\\..\\y", u"y"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, LeftOverDotDotStandsInFront) {
  const Case cases[] = {
      {u"..", u".."},          {u"..\\", u".."},
      {u"../..", u"..\\.."},   {u"..\\a", u"..\\a"},
      {u"a\\..\\..", u".."},   {u"a\\..\\..\\b", u"..\\b"},
      {u"..\\a\\..", u".."},   {u"..\\..\\a\\..\\b", u"..\\..\\b"},
      {u"..\\.\\a", u"..\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, DotStaysAsTheFirstSegmentOnly) {
  const Case cases[] = {
      {u".", u"."},    {u".\\", u"."},        {u".\\a", u".\\a"}, {u"./a/.", u".\\a"},
      {u".\\.", u"."}, {u".\\.\\a", u".\\a"}, {u"..\\.", u".."},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, FirstDotIsWhatADotDotTakes) {
  const Case cases[] = {
      {u".\\..", u""}, {u".\\..\\..", u".."}, {u".\\a\\..\\..", u""}, {u".\\..\\a", u"a"}};
  ExpectNormal(cases);
}

TEST(NormalizePath, DotBehindALeadingSeparatorVanishes) {
  const Case cases[] = {
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
  const Case cases[] = {
      {u"\\", u"\\"},       {u"/", u"\\"},
      {u"//", u"\\"},       {u"\\..", u"\\"},
      {u"\\..\\a", u"\\a"}, {u"/a/../../b", u"\\b"},
      {u"C:\\..", u"C:\\"}, {u"C:\\a\\..\\..\\b", u"C:\\b"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, OfADriveAbsolutePath) {
  const Case cases[] = {
      {u"C:\\", u"C:\\"},        {u"C:/", u"C:\\"},       {u"C:\\\\", u"C:\\"},
      {u"C:/a/b/", u"C:\\a\\b"}, {u"C:\\a\\..", u"C:\\"}, {u"\\:\\a", u"\\:\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, ServerAndShareAreARoot) {
  const Case cases[] = {
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
  const Case cases[] = {
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
  const Case cases[] = {
      {u"\\\\?\\C:\\", u"\\\\?\\C:\\"},
      {u"\\\\?\\C:\\..\\..\\a", u"\\\\?\\C:\\a"},
      {u"\\\\.\\C:/a/../b", u"\\\\.\\C:\\b"},
      {u"\\\\?\\C:", u"\\\\?\\C:"},
      {u"\\\\?\\C:a\\..\\..\\b", u"\\\\?\\C:a\\b"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, PrefixAndServerFormAreARoot) {
  const Case cases[] = {
      {u"\\\\?\\UNC\\server\\share\\a\\..\\..\\b", u"\\\\?\\UNC\\server\\share\\b"},
      {u"\\\\?\\UNC\\server\\share", u"\\\\?\\UNC\\server\\share"},
      {u"\\\\.\\UNC/server/share/..", u"\\\\.\\UNC/server/share\\"},
      {u"\\\\?\\UNC", u"\\\\?\\UNC"},
  };
  ExpectNormal(cases);
}

// In these capitals, and whatever comes behind them.
TEST(NormalizePath, PrefixAndTheThreeLettersTakeTheServerForm) {
  const Case cases[] = {
      {u"\\\\?\\UNCLE\\share\\..\\a", u"\\\\?\\UNCLE\\share\\a"},
      {u"\\\\?\\UNC:\\x\\..\\a", u"\\\\?\\UNC:\\x\\a"},
      {u"\\\\?\\unc\\server\\..\\a", u"\\\\?\\unc\\a"},
  };
  ExpectNormal(cases);
}

TEST(NormalizePath, PrefixAndAnythingElseHaveOneComponentAsRoot) {
  const Case cases[] = {
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

// The same rules another way round: from the front, on a list of what is kept.
bool IsSeparator(char16_t c) { return c == u'\\' || c == u'/'; }

// How much of `text` its first `count` components take up, with the one separator between them.
std::size_t Components(std::u16string_view text, int count) {
  std::size_t used = 0;
  while (true) {
    const std::size_t end = text.find_first_of(u"\\/", used);
    if (end == text.npos) return text.size();
    if (--count == 0) return end;
    used = end + 1;
  }
}

std::size_t RootLength(const std::u16string& path) {
  if (path.substr(0, 2) != u"\\\\") {
    return path.size() > 2 && path[1] == u':' && IsSeparator(path[2]) ? 2 : 0;
  }
  const std::u16string head = path.substr(0, 4);
  const std::u16string_view rest =
      std::u16string_view(path).substr(std::min<std::size_t>(4, path.size()));
  std::size_t length = 0;
  if (head != u"\\\\?\\" && head != u"\\\\.\\") {
    length = 2 + Components(std::u16string_view(path).substr(2), 2);
  } else if (rest.substr(0, 3) == u"UNC") {
    const std::u16string_view server = rest.substr(3);
    const bool separated = !server.empty() && IsSeparator(server[0]);
    length = 7 + (separated ? 1 + Components(server.substr(1), 2) : Components(server, 2));
  } else if (rest.size() > 2 && rest[1] == u':' && IsSeparator(rest[2])) {
    length = 7;
  } else {
    length = 4 + Components(rest, 1);
  }
  return IsSeparator(path[length - 1]) ? length - 1 : length;
}

std::u16string Reference(const std::u16string& path) {
  if (path.empty() || (path.size() == 2 && path[1] == u':')) return path;
  const std::u16string root = path.substr(0, RootLength(path));
  const std::u16string part = path.substr(root.size());
  const bool separated = !part.empty() && IsSeparator(part[0]);
  std::vector<std::u16string> kept;
  std::u16string segment;
  bool first = true;
  for (const char16_t c : part + u"/") {
    if (!IsSeparator(c)) {
      segment += c;
      continue;
    }
    if (segment == u"..") {
      if (!kept.empty() && kept.back() != u"..") {
        kept.pop_back();
      } else if (!separated) {
        kept.push_back(segment);
      }
    } else if (!segment.empty() && (segment != u"." || first)) {
      kept.push_back(segment);
    }
    segment.clear();
    first = false;
  }
  std::u16string result = root;
  for (std::size_t i = 0; i < kept.size(); ++i) {
    if (i > 0 || separated) result += u"\\";
    result += kept[i];
  }
  return kept.empty() && separated ? result + u"\\" : result;
}

TEST(NormalizePath, IsTheSameAsASecondImplementation) {
  auto random = RandomPaths();
  for (int i = 0; i < 100000; ++i) {
    const std::u16string path = random(9);
    ASSERT_EQ(Normal(path), Reference(path)) << Shown(path);
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
