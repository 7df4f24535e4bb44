#include <gtest/gtest.h>

#include <string>

#include "tests/contract/named_path.h"
#include "tests/support/answers.h"
#include "tests/support/directory_tree.h"
#include "tests/support/seam_error.h"
#include "winapi/files.h"

namespace {

using tests::Answers;
using tests::Attributes;
using tests::Copy;
using tests::CreateNew;
using tests::Delete;
using tests::Hex;
using tests::kHost;
using tests::kWindows;
using tests::kWine;
using tests::kWine10;
using tests::kWine8;
using tests::NamedPath;

class FileContract : public ::testing::Test, protected tests::DirectoryTree {};

TEST_F(FileContract, CreateNewMakesAnEmptyFile) {
  EXPECT_EQ(0u, CreateNew(Windows(u"new.txt")));
  EXPECT_TRUE(Has(u"new.txt"));
  EXPECT_EQ(0u, std::filesystem::file_size(File(u"new.txt")));
}

TEST_F(FileContract, CreateNewRefusesWhatExists) {
  Write(u"file", "content");
  MakeDirectory(u"folder");
  EXPECT_EQ(80u, CreateNew(Windows(u"file")));
  EXPECT_EQ(80u, CreateNew(Windows(u"FILE")));
  EXPECT_EQ(80u, CreateNew(Windows(u"folder")));
  EXPECT_EQ("content", Read(u"file"));
}

TEST_F(FileContract, CreateNewRefusesBadPaths) {
  Write(u"file", "");
  const std::u16string missing = Windows(u"none\\x");
  const NamedPath cases[] = {
      {"missing folder", missing, 3},
      {"below a file", Windows(u"file\\x"), 3},
      {"empty", u"", 3},
      {"separator at the end", Windows(u"x\\"), 123},
      {"wildcard", Windows(u"a?b"), 123},
      {"less-than sign", Windows(u"a<b"), 123},
      {"missing drive", u"q:\\x",
       Answers(3u, kHost | kWindows).Or(2u, kWine, "says that a file is missing, not its drive")},
  };
  for (const NamedPath& one : cases) EXPECT_ANSWER(one.name, one.error, CreateNew(one.path));
}

// The handle asks for no access, so it locks nothing.
TEST_F(FileContract, AnOpenNewFileCanBeCopiedAndDeleted) {
  const winapi::Handle file =
      winapi::CreateFileW(Windows(u"x").c_str(), 0, 0, nullptr, winapi::kCreateNew, 0, nullptr);
  ASSERT_NE(winapi::InvalidHandleValue(), file);
  EXPECT_EQ(0u, Copy(Windows(u"x"), Windows(u"y")));
  EXPECT_EQ(0u, Delete(Windows(u"x")));
  EXPECT_NE(0, winapi::CloseHandle(file));
  EXPECT_FALSE(Has(u"x"));
  EXPECT_TRUE(Has(u"y"));
}

TEST_F(FileContract, CopyGivesTheSameContent) {
  std::string content;
  for (int i = 0; i < 200000; ++i) content += static_cast<char>(i * 7 % 256);
  Write(u"from", content);
  EXPECT_EQ(0u, Copy(Windows(u"from"), Windows(u"to")));
  EXPECT_EQ(content, Read(u"to"));
  EXPECT_EQ(content, Read(u"from"));
  EXPECT_EQ(std::filesystem::last_write_time(File(u"from")),
            std::filesystem::last_write_time(File(u"to")));
}

TEST_F(FileContract, CopyReplacesALongerFile) {
  Write(u"from", "new");
  Write(u"to", "what was there before");
  EXPECT_EQ(80u, Copy(Windows(u"from"), Windows(u"to"), /*failIfExists=*/true));
  EXPECT_EQ("what was there before", Read(u"to"));
  EXPECT_EQ(0u, Copy(Windows(u"FROM"), Windows(u"TO")));
  EXPECT_EQ("new", Read(u"to"));
}

TEST_F(FileContract, CopyRefusals) {
  Write(u"file", "content");
  MakeDirectory(u"folder");
  struct Case {
    const char* name;
    std::u16string from;
    std::u16string to;
    winapi::Error error;
  };
  const std::u16string file = Windows(u"file");
  const Case cases[] = {
      {"missing source", Windows(u"none"), Windows(u"x"), 2},
      {"missing folder of the source", Windows(u"none\\x"), Windows(u"x"), 3},
      {"missing folder of the target", file, Windows(u"none\\x"), 3},
      {"folder as the target", file, Windows(u"folder"), 5},
      {"folder as the source", Windows(u"folder"), Windows(u"x"), 5},
      {"onto itself", file, file, 32},
      {"onto itself, in other letters", file, Windows(u"FILE"), 32},
      {"empty source", u"", Windows(u"x"), 3},
      {"empty target", file, u"", 3},
      {"wildcard", file, Windows(u"a*b"), 123},
  };
  for (const Case& one : cases) {
    EXPECT_ANSWER(one.name, one.error, Copy(one.from, one.to));
    EXPECT_FALSE(Has(u"x")) << one.name;
  }
  EXPECT_EQ("content", Read(u"file"));
}

TEST_F(FileContract, AHeldFileCanBeNeitherCopiedNorCopiedOnto) {
  Write(u"held", "content");
  Write(u"free", "other");
  {
    const tests::HeldFile held(*this, u"held");
    EXPECT_EQ(32u, Copy(Windows(u"held"), Windows(u"x")));
    EXPECT_EQ(32u, Copy(Windows(u"free"), Windows(u"held")));
    EXPECT_EQ(32u, Delete(Windows(u"held")));
    winapi::Dword attributes = 0;
    EXPECT_EQ(0u, Attributes(Windows(u"held"), attributes));
    EXPECT_EQ(0x20u, attributes);
  }
  EXPECT_FALSE(Has(u"x"));
  EXPECT_EQ("content", Read(u"held"));
  EXPECT_EQ(0u, Copy(Windows(u"held"), Windows(u"x")));
}

TEST_F(FileContract, CopyKeepsReadOnly) {
  Write(u"from", "content");
  SetReadOnly(u"from", true);
  EXPECT_EQ(0u, Copy(Windows(u"from"), Windows(u"to")));
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(Windows(u"to"), attributes));
  EXPECT_EQ(0x21u, attributes);
  SetReadOnly(u"from", false);
  SetReadOnly(u"to", false);
}

TEST_F(FileContract, DeleteTakesOneFile) {
  Write(u"file", "");
  Write(u"other", "");
  EXPECT_EQ(0u, Delete(Windows(u"FILE")));
  EXPECT_FALSE(Has(u"file"));
  EXPECT_TRUE(Has(u"other"));
}

TEST_F(FileContract, DeleteRefusals) {
  MakeDirectory(u"folder");
  Write(u"file", "");
  const NamedPath cases[] = {
      {"folder", Windows(u"folder"), 5},
      {"missing", Windows(u"none"), 2},
      {"missing folder", Windows(u"none\\x"), 3},
      {"empty", u"", 3},
      {"separator at the end", Windows(u"file\\"), 123},
      {"wildcard", Windows(u"*"), 123},
  };
  for (const NamedPath& one : cases) EXPECT_ANSWER(one.name, one.error, Delete(one.path));
  EXPECT_TRUE(Has(u"file"));
}

TEST_F(FileContract, DeleteRefusesAReadOnlyFile) {
  Write(u"file", "");
  SetReadOnly(u"file", true);
  EXPECT_EQ(5u, Delete(Windows(u"file")));
  EXPECT_TRUE(Has(u"file"));
  SetReadOnly(u"file", false);
  EXPECT_EQ(0u, Delete(Windows(u"file")));
}

TEST_F(FileContract, AttributesOfWhatIsThere) {
  Write(u"file", "");
  Write(u"fixed", "");
  SetReadOnly(u"fixed", true);
  MakeDirectory(u"folder");
  struct Case {
    const char* name;
    std::u16string path;
    winapi::Dword attributes;
  };
  const Case cases[] = {
      {"file", Windows(u"file"), 0x20},
      {"file in other letters", Windows(u"File"), 0x20},
      {"read-only file", Windows(u"fixed"), 0x21},
      {"folder", Windows(u"folder"), 0x10},
      {"folder with a separator", Windows(u"folder\\"), 0x10},
      {"dots on the way", Windows(u"folder\\..\\file"), 0x20},
      {"with the prefix", u"\\\\?\\" + Windows(u"file"), 0x20},
  };
  for (const Case& one : cases) {
    winapi::Dword attributes = 0;
    EXPECT_EQ(0u, Attributes(one.path, attributes)) << one.name;
    EXPECT_ANSWER(one.name, Hex{one.attributes}, Hex{attributes});
  }
  SetReadOnly(u"fixed", false);
}

TEST_F(FileContract, AttributesOfWhatIsNotThere) {
  Write(u"file", "");
  const NamedPath cases[] = {
      {"missing", Windows(u"none"), 2},
      {"missing folder", Windows(u"none\\x"), 3},
      {"below a file", Windows(u"file\\x"), 3},
      {"empty", u"", 3},
      {"wildcard", Windows(u"*"), 123},
      {"file with a separator", Windows(u"file\\"),
       Answers(123u, kHost | kWindows)
           .Or(3u, kWine, "says that a file's path with a separator at its end isn't there")},
      {"missing drive", u"q:\\x",
       Answers(3u, kHost | kWindows).Or(2u, kWine, "says that a file is missing, not its drive")},
      {"prefix with slashes", u"\\\\?\\C:/x",
       Answers(123u, kHost | kWindows)
           .Or(66u, kWine, "takes slashes behind the prefix for a share's")},
  };
  for (const NamedPath& one : cases) {
    winapi::Dword attributes = 0;
    EXPECT_ANSWER(one.name, one.error, Attributes(one.path, attributes));
  }
}

TEST_F(FileContract, ANameOf255CharactersIsTheLongest) {
  const std::u16string longest = u"\\\\?\\" + Windows(std::u16string(255, u'n'));
  const std::u16string longer = u"\\\\?\\" + Windows(std::u16string(256, u'n'));
  const auto refused = Answers(123u, kHost | kWindows)
                           .Or(2u, kWine, "takes a name of 256 characters for a missing one");
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, CreateNew(longest));
  EXPECT_EQ(0u, Attributes(longest, attributes));
  EXPECT_ANSWER("create", refused, CreateNew(longer));
  EXPECT_ANSWER("attributes", refused, Attributes(longer, attributes));
  EXPECT_ANSWER("delete", refused, Delete(longer));
  EXPECT_EQ(0u, Delete(longest));
}

// "x" is what both names mean.
TEST_F(FileContract, FullStopsAndBlanksAtTheEndFallAway) {
  EXPECT_EQ(0u, CreateNew(Windows(u"x. ")));
  EXPECT_TRUE(Has(u"x"));
  EXPECT_EQ(80u, CreateNew(Windows(u"x. .")));
  EXPECT_EQ(0u, Delete(Windows(u"x ")));
  EXPECT_FALSE(Has(u"x"));
}

// Inside a path they belong to the name, but for one full stop that stands alone.
TEST_F(FileContract, FullStopsAndBlanksInsideStay) {
  MakeDirectory(u"a");
  const NamedPath cases[] = {
      {"full stop", Windows(u"a.\\x"), 0},
      {"blank", Windows(u"a \\x"), 3},
      {"full stops and blanks", Windows(u"a. .\\x"), 3},
      {"full stops", Windows(u"a...\\x"), 3},
      {"nothing but full stops", Windows(u"...\\a\\x"),
       Answers(3u, kHost | kWindows).Or(123u, kWine, "takes a full stop off a name of full stops")},
      {"blank and separator at the end", Windows(u"a \\"), 123},
  };
  for (const NamedPath& one : cases) EXPECT_ANSWER(one.name, one.error, CreateNew(one.path));
  EXPECT_TRUE(Has(u"a/x"));
}

TEST_F(FileContract, ADotInFrontOfANameMeansNothing) {
  Write(u".file", "");
  MakeDirectory(u".folder");
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(Windows(u".file"), attributes));
  EXPECT_ANSWER("attributes of a file",
                Answers(Hex{0x20}, kHost | kWine10 | kWindows)
                    .Or(Hex{0x22}, kWine8, "hides files whose names begin with a dot"),
                Hex{attributes});
  EXPECT_EQ(0u, Attributes(Windows(u".folder"), attributes));
  EXPECT_ANSWER("attributes of a folder",
                Answers(Hex{0x10}, kHost | kWine10 | kWindows)
                    .Or(Hex{0x12}, kWine8, "hides folders whose names begin with a dot"),
                Hex{attributes});
}

TEST_F(FileContract, AttributesOfLinks) {
  Write(u"file", "");
  MakeDirectory(u"folder");
  MakeLink(u"file", u"to file");
  MakeLink(u"folder", u"to folder");
  MakeLink(u"none", u"to nothing");
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(Windows(u"to folder"), attributes));
  EXPECT_ANSWER("of a link to a folder", Hex{0x410}, Hex{attributes});
  EXPECT_EQ(0u, Attributes(Windows(u"to file"), attributes));
  EXPECT_ANSWER("of a link to a file",
                Answers(Hex{0x420}, kHost | kWindows)
                    .Or(Hex{0x20}, kWine, "shows a link to a file as the file"),
                Hex{attributes});
  EXPECT_ANSWER("of a link to nothing",
                Answers(0u, kHost | kWindows).Or(2u, kWine, "doesn't see a link to nothing"),
                Attributes(Windows(u"to nothing"), attributes));
}

TEST_F(FileContract, OfALinkToAFileOnlyTheLinkIsDeleted) {
  Write(u"file", "");
  MakeLink(u"file", u"link");
  EXPECT_EQ(0u, Delete(Windows(u"link")));
  const char* const reason = "deletes what a link to a file leads to, and keeps the link";
  EXPECT_ANSWER("the file stays", Answers(true, kHost | kWindows).Or(false, kWine, reason),
                Has(u"file"));
  EXPECT_ANSWER("the link stays", Answers(false, kHost | kWindows).Or(true, kWine, reason),
                IsLink(u"link"));
}

// Of a path 259 characters are the most without the prefix.
TEST_F(FileContract, TheLimitOfPaths) {
  const std::size_t room = 259 - (Windows().size() + 1);
  ASSERT_LT(room, 240u);
  const std::u16string longest = Windows(std::u16string(room, u'n'));
  const std::u16string longer = Windows(std::u16string(room + 1, u'n'));
  const auto refused =
      Answers(3u, kHost | kWindows)
          .Or(0u, kWine, "has no limit of 260 characters for paths without the prefix");
  EXPECT_EQ(0u, CreateNew(longest));
  EXPECT_ANSWER("create", refused, CreateNew(longer));
  EXPECT_EQ(refused.Here() == 0 ? 80u : 0u, CreateNew(u"\\\\?\\" + longer));
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(longest, attributes));
  EXPECT_ANSWER("attributes", refused, Attributes(longer, attributes));
  EXPECT_ANSWER("copy from it", refused, Copy(longer, Windows(u"x")));
  EXPECT_ANSWER("copy to it", refused, Copy(longest, Windows(std::u16string(room + 1, u'm'))));
  EXPECT_ANSWER("delete", refused, Delete(longer));
  EXPECT_EQ(refused.Here() == 0 ? 2u : 0u, Delete(u"\\\\?\\" + longer));
  EXPECT_EQ(0u, Delete(longest));
}

}  // namespace
