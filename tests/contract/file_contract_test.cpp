#include <string>

#include "platform/winapi/winapi/files.h"
#include "tests/contract/difference.h"
#include "tests/contract/file_fixture.h"

namespace {

using tests::Expected;

class FileContract : public tests::FileFixture {
 protected:
  static winapi::Error Copy(const std::u16string& from, const std::u16string& to,
                            bool failIfExists = false) {
    return ErrorOf([&] { return winapi::CopyFileW(from.c_str(), to.c_str(), failIfExists); });
  }
  static winapi::Error Delete(const std::u16string& path) {
    return ErrorOf([&] { return winapi::DeleteFileW(path.c_str()); });
  }
  static winapi::Error Attributes(const std::u16string& path, winapi::Dword& attributes) {
    winapi::SetLastError(kUntouched);
    attributes = winapi::GetFileAttributesW(path.c_str());
    return attributes == winapi::kInvalidFileAttributes ? winapi::GetLastError() : 0;
  }
};

struct NamedPath {
  const char* name;
  std::u16string path;
  winapi::Error error;
};

TEST_F(FileContract, CreateNewMakesAnEmptyFile) {
  EXPECT_EQ(0u, CreateNew(Windows(u"new.txt")));
  EXPECT_TRUE(Exists("new.txt"));
  EXPECT_EQ(0u, std::filesystem::file_size(Native("new.txt")));
}

TEST_F(FileContract, CreateNewRefusesWhatExists) {
  Write("file", "content");
  MakeFolder("folder");
  EXPECT_EQ(80u, CreateNew(Windows(u"file")));
  EXPECT_EQ(80u, CreateNew(Windows(u"FILE")));
  EXPECT_EQ(80u, CreateNew(Windows(u"folder")));
  EXPECT_EQ("content", Read("file"));
}

TEST_F(FileContract, CreateNewRefusesBadPaths) {
  Write("file", "");
  const std::u16string missing = Windows(u"none\\x");
  const NamedPath cases[] = {
      {"missing folder", missing, 3},
      {"below a file", Windows(u"file\\x"), 3},
      {"empty", u"", 3},
      {"separator at the end", Windows(u"x\\"), 123},
      {"wildcard", Windows(u"a?b"), 123},
      {"less-than sign", Windows(u"a<b"), 123},
      {"missing drive", u"q:\\x", Expected(3u, 2u, "says that a file is missing, not its drive")},
  };
  for (const NamedPath& one : cases) EXPECT_EQ(one.error, CreateNew(one.path)) << one.name;
}

// The handle asks for no access, so it locks nothing.
TEST_F(FileContract, AnOpenNewFileCanBeCopiedAndDeleted) {
  const winapi::Handle file =
      winapi::CreateFileW(Windows(u"x").c_str(), 0, 0, nullptr, winapi::kCreateNew, 0, nullptr);
  ASSERT_NE(winapi::InvalidHandleValue(), file);
  EXPECT_EQ(0u, Copy(Windows(u"x"), Windows(u"y")));
  EXPECT_EQ(0u, Delete(Windows(u"x")));
  EXPECT_NE(0, winapi::CloseHandle(file));
  EXPECT_FALSE(Exists("x"));
  EXPECT_TRUE(Exists("y"));
}

TEST_F(FileContract, CopyGivesTheSameContent) {
  std::string content;
  for (int i = 0; i < 200000; ++i) content += static_cast<char>(i * 7 % 256);
  Write("from", content);
  EXPECT_EQ(0u, Copy(Windows(u"from"), Windows(u"to")));
  EXPECT_EQ(content, Read("to"));
  EXPECT_EQ(content, Read("from"));
  EXPECT_EQ(std::filesystem::last_write_time(Native("from")),
            std::filesystem::last_write_time(Native("to")));
}

TEST_F(FileContract, CopyReplacesALongerFile) {
  Write("from", "new");
  Write("to", "what was there before");
  EXPECT_EQ(80u, Copy(Windows(u"from"), Windows(u"to"), /*failIfExists=*/true));
  EXPECT_EQ("what was there before", Read("to"));
  EXPECT_EQ(0u, Copy(Windows(u"FROM"), Windows(u"TO")));
  EXPECT_EQ("new", Read("to"));
}

TEST_F(FileContract, CopyRefusals) {
  Write("file", "content");
  MakeFolder("folder");
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
    EXPECT_EQ(one.error, Copy(one.from, one.to)) << one.name;
    EXPECT_FALSE(Exists("x")) << one.name;
  }
  EXPECT_EQ("content", Read("file"));
}

TEST_F(FileContract, CopyKeepsReadOnly) {
  Write("from", "content");
  SetReadOnly("from", true);
  EXPECT_EQ(0u, Copy(Windows(u"from"), Windows(u"to")));
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(Windows(u"to"), attributes));
  EXPECT_EQ(0x21u, attributes);
  SetReadOnly("from", false);
  SetReadOnly("to", false);
}

TEST_F(FileContract, DeleteTakesOneFile) {
  Write("file", "");
  Write("other", "");
  EXPECT_EQ(0u, Delete(Windows(u"FILE")));
  EXPECT_FALSE(Exists("file"));
  EXPECT_TRUE(Exists("other"));
}

TEST_F(FileContract, DeleteRefusals) {
  MakeFolder("folder");
  Write("file", "");
  const NamedPath cases[] = {
      {"folder", Windows(u"folder"), 5},
      {"missing", Windows(u"none"), 2},
      {"missing folder", Windows(u"none\\x"), 3},
      {"empty", u"", 3},
      {"separator at the end", Windows(u"file\\"), 123},
      {"wildcard", Windows(u"*"), 123},
  };
  for (const NamedPath& one : cases) EXPECT_EQ(one.error, Delete(one.path)) << one.name;
  EXPECT_TRUE(Exists("file"));
}

TEST_F(FileContract, DeleteRefusesAReadOnlyFile) {
  Write("file", "");
  SetReadOnly("file", true);
  EXPECT_EQ(5u, Delete(Windows(u"file")));
  EXPECT_TRUE(Exists("file"));
  SetReadOnly("file", false);
  EXPECT_EQ(0u, Delete(Windows(u"file")));
}

TEST_F(FileContract, AttributesOfWhatIsThere) {
  Write("file", "");
  Write("fixed", "");
  SetReadOnly("fixed", true);
  MakeFolder("folder");
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
    EXPECT_EQ(one.attributes, attributes) << one.name;
  }
  SetReadOnly("fixed", false);
}

TEST_F(FileContract, AttributesOfWhatIsNotThere) {
  Write("file", "");
  const NamedPath cases[] = {
      {"missing", Windows(u"none"), 2},
      {"missing folder", Windows(u"none\\x"), 3},
      {"below a file", Windows(u"file\\x"), 3},
      {"empty", u"", 3},
      {"wildcard", Windows(u"*"), 123},
      {"file with a separator", Windows(u"file\\"),
       Expected(123u, 3u, "says that a file's path with a separator at its end isn't there")},
      {"missing drive", u"q:\\x", Expected(3u, 2u, "says that a file is missing, not its drive")},
      {"prefix with slashes", u"\\\\?\\C:/x",
       Expected(123u, 66u, "takes slashes behind the prefix for a share's")},
  };
  for (const NamedPath& one : cases) {
    winapi::Dword attributes = 0;
    EXPECT_EQ(one.error, Attributes(one.path, attributes)) << one.name;
  }
}

// Paths of 260 characters with the terminator need the prefix.
TEST_F(FileContract, TheLimitOfPaths) {
  const std::size_t room = 259 - Windows(u"").size();
  ASSERT_LT(room, 240u);
  const std::u16string longest = Windows(std::u16string(room, u'n'));
  const std::u16string longer = Windows(std::u16string(room + 1, u'n'));
  const winapi::Error refused =
      Expected(3u, 0u, "has no limit of 260 characters for paths without the prefix");
  EXPECT_EQ(0u, CreateNew(longest));
  EXPECT_EQ(refused, CreateNew(longer));
  EXPECT_EQ(refused == 0 ? 80u : 0u, CreateNew(u"\\\\?\\" + longer));
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(longest, attributes));
  EXPECT_EQ(refused, Attributes(longer, attributes));
  EXPECT_EQ(refused, Copy(longer, Windows(u"x")));
  EXPECT_EQ(refused, Copy(longest, Windows(std::u16string(room + 1, u'm'))));
  EXPECT_EQ(refused, Delete(longer));
  EXPECT_EQ(refused == 0 ? 2u : 0u, Delete(u"\\\\?\\" + longer));
  EXPECT_EQ(0u, Delete(longest));
}

}  // namespace
