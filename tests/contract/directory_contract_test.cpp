#include <gtest/gtest.h>

#include <string>

#include "tests/contract/named_path.h"
#include "tests/support/answers.h"
#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/seam_error.h"
#include "tests/support/unix_shell.h"
#include "winapi/files.h"
#include "winapi/strings.h"

namespace {

using tests::Answers;
using tests::CreateNew;
using tests::Hex;
using tests::kHost;
using tests::kWindows;
using tests::kWine;
using tests::MakeFolder;
using tests::NamedPath;
using tests::RemoveFolder;

class DirectoryContract : public ::testing::Test, protected tests::DirectoryTree {};

TEST_F(DirectoryContract, CreateMakesOneDirectory) {
  EXPECT_EQ(0u, MakeFolder(Windows(u"a")));
  EXPECT_EQ(0u, MakeFolder(Windows(u"A\\b\\")));
  EXPECT_TRUE(std::filesystem::is_directory(File(u"a/b")));
}

TEST_F(DirectoryContract, CreateRefusals) {
  MakeDirectory(u"folder");
  Write(u"file", "");
  const NamedPath cases[] = {
      {"existing", Windows(u"folder"), 183},
      {"existing in other letters", Windows(u"Folder"), 183},
      {"existing file", Windows(u"file"), 183},
      {"missing parent", Windows(u"none\\x"), 3},
      {"below a file", Windows(u"file\\x"), 3},
      {"empty", u"", 3},
      {"wildcard", Windows(u"a*b"), 123},
      {"root", u"C:\\",
       Answers(5u, kHost | kWindows)
           .Or(183u, kWine, "says that the root exists, not that it is refused")},
      {"missing drive", u"q:\\x",
       Answers(3u, kHost | kWindows).Or(2u, kWine, "says that a file is missing, not its drive")},
  };
  for (const NamedPath& one : cases) EXPECT_ANSWER(one.name, one.error, MakeFolder(one.path));
}

// Of a directory's path 247 characters are the most without the prefix.
TEST_F(DirectoryContract, TheLimitOfPaths) {
  const std::size_t room = 247 - (Windows().size() + 1);
  ASSERT_LT(room, 240u);
  const std::u16string longest = Windows(std::u16string(room, u'n'));
  const std::u16string longer = Windows(std::u16string(room + 1, u'n'));
  EXPECT_EQ(0u, MakeFolder(longest));
  EXPECT_ANSWER("one character more",
                Answers(206u, kHost | kWindows)
                    .Or(0u, kWine, "has no limit of 248 characters for directories"),
                MakeFolder(longer));
  EXPECT_ANSWER(
      "more than any path has",
      Answers(206u, kHost | kWindows).Or(0u, kWine, "has no limit of 260 characters for paths"),
      MakeFolder(Windows(std::u16string(room + 13, u'n'))));
  EXPECT_ANSWER("one character more, with the prefix",
                Answers(0u, kHost | kWindows).Or(183u, kWine, "made it without the prefix already"),
                MakeFolder(u"\\\\?\\" + longer));
  EXPECT_EQ(0u, RemoveFolder(longest));
  EXPECT_EQ(0u, RemoveFolder(longer));
}

TEST_F(DirectoryContract, FullStopsAndBlanksAtTheEndFallAway) {
  EXPECT_EQ(0u, MakeFolder(Windows(u"x. ")));
  EXPECT_TRUE(std::filesystem::is_directory(File(u"x")));
  EXPECT_EQ(183u, MakeFolder(Windows(u"x")));
  EXPECT_EQ(0u, RemoveFolder(Windows(u"x .")));
  EXPECT_FALSE(Has(u"x"));
}

TEST_F(DirectoryContract, ANameOf256CharactersIsTooLong) {
  const std::u16string path = u"\\\\?\\" + Windows(std::u16string(256, u'n'));
  const auto refused = Answers(123u, kHost | kWindows)
                           .Or(2u, kWine, "takes a name of 256 characters for a missing one");
  EXPECT_ANSWER("create", refused, MakeFolder(path));
  EXPECT_ANSWER("remove", refused, RemoveFolder(path));
}

TEST_F(DirectoryContract, OfALinkOnlyTheLinkIsRemoved) {
  MakeDirectory(u"folder");
  MakeLink(u"folder", u"link");
  EXPECT_EQ(0u, RemoveFolder(Windows(u"link")));
  const char* const reason = "removes what a link to a directory leads to, and keeps the link";
  EXPECT_ANSWER("the directory stays", Answers(true, kHost | kWindows).Or(false, kWine, reason),
                Has(u"folder"));
  EXPECT_ANSWER("the link stays", Answers(false, kHost | kWindows).Or(true, kWine, reason),
                IsLink(u"link"));
}

TEST_F(DirectoryContract, ALinkToAFullDirectoryIsRemovedLikeAnother) {
  MakeDirectory(u"folder");
  Write(u"folder/x", "");
  MakeLink(u"folder", u"link");
  const char* const reason = "takes a link to a directory for the directory, which isn't empty";
  EXPECT_ANSWER("remove", Answers(0u, kHost | kWindows).Or(145u, kWine, reason),
                RemoveFolder(Windows(u"link")));
  EXPECT_ANSWER("the link stays", Answers(false, kHost | kWindows).Or(true, kWine, reason),
                IsLink(u"link"));
  EXPECT_TRUE(Has(u"folder/x"));
}

// The bits of the system below keep nobody out who may do everything there.
TEST_F(DirectoryContract, ADirectoryClosedToWriting) {
  MakeDirectory(u"folder");
  ASSERT_TRUE(tests::RunUnixShell(File(u""), "chmod a-w folder"));
  EXPECT_ANSWER("its attributes",
                Answers(Hex{0x10}, kHost | kWindows)
                    .Or(Hex{0x11}, kWine, "shows a directory that nobody may write as read-only"),
                Hex{winapi::GetFileAttributesW(Windows(u"folder").c_str())});
  EXPECT_EQ(0u, RemoveFolder(Windows(u"folder")));
  EXPECT_FALSE(Has(u"folder"));
}

TEST_F(DirectoryContract, RemoveTakesAnEmptyDirectory) {
  MakeDirectory(u"folder");
  EXPECT_EQ(0u, RemoveFolder(Windows(u"FOLDER\\")));
  EXPECT_FALSE(Has(u"folder"));
}

TEST_F(DirectoryContract, RemoveRefusals) {
  MakeDirectory(u"full");
  Write(u"full/x", "");
  Write(u"file", "");
  const NamedPath cases[] = {
      {"not empty", Windows(u"full"), 145},
      {"missing", Windows(u"none"), 2},
      {"missing parent", Windows(u"none\\x"), 3},
      {"file", Windows(u"file"), 267},
      {"empty", u"",
       Answers(3u, kHost | kWindows)
           .Or(123u, kWine, "calls an empty name of a directory a bad one")},
  };
  for (const NamedPath& one : cases) EXPECT_ANSWER(one.name, one.error, RemoveFolder(one.path));
  EXPECT_TRUE(Has(u"full/x"));
}

// The current directory of a process is held open without sharing for deletion.
TEST_F(DirectoryContract, RemoveRefusesTheCurrentDirectory) {
  MakeDirectory(u"folder");
  {
    const tests::CurrentDirectory inFolder(File(u"folder"));
    EXPECT_EQ(32u, RemoveFolder(Windows(u"folder")));
  }
  EXPECT_EQ(0u, RemoveFolder(Windows(u"folder")));
}

TEST_F(DirectoryContract, LongPathsWithThePrefix) {
  std::u16string path = u"\\\\?\\" + Windows();
  std::vector<std::u16string> made;
  for (int level = 0; level < 60; ++level) {
    path += u"\\a level";
    ASSERT_EQ(0u, MakeFolder(path)) << level;
    made.push_back(path);
  }
  EXPECT_EQ(0u, CreateNew(path + u"\\file"));
  EXPECT_EQ(145u, RemoveFolder(path));
  EXPECT_EQ(0u, tests::Delete(path + u"\\FILE"));
  for (; !made.empty(); made.pop_back()) ASSERT_EQ(0u, RemoveFolder(made.back())) << made.size();
  EXPECT_FALSE(Has(u"a level"));
}

}  // namespace
