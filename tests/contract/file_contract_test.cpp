#include <string>

#include "tests/contract/difference.h"
#include "tests/contract/file_fixture.h"
#include "winapi/files.h"
#ifdef _WIN32
#include <fcntl.h>
#include <io.h>
#include <share.h>
#else
#include "winapi/host/control.h"
#endif

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

// While it lives, somebody holds the file open and shares it with nobody.
class HeldFile {
 public:
#ifdef _WIN32
  HeldFile(const std::filesystem::path& file, const std::u16string& /*path*/) {
    EXPECT_EQ(0, ::_sopen_s(&m_descriptor, file.string().c_str(), _O_RDONLY, _SH_DENYRW, 0));
  }
  ~HeldFile() { ::_close(m_descriptor); }

 private:
  int m_descriptor = -1;
#else
  HeldFile(const std::filesystem::path& /*file*/, const std::u16string& path) : m_path(path) {
    EXPECT_TRUE(winapi::host::LockFile(m_path));
  }
  ~HeldFile() { winapi::host::UnlockFile(m_path); }

 private:
  std::u16string m_path;
#endif
 public:
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;
};

TEST_F(FileContract, AHeldFileCanBeNeitherCopiedNorCopiedOnto) {
  Write("held", "content");
  Write("free", "other");
  {
    const HeldFile held(Native("held"), Windows(u"held"));
    EXPECT_EQ(32u, Copy(Windows(u"held"), Windows(u"x")));
    EXPECT_EQ(32u, Copy(Windows(u"free"), Windows(u"held")));
    EXPECT_EQ(32u, Delete(Windows(u"held")));
    winapi::Dword attributes = 0;
    EXPECT_EQ(0u, Attributes(Windows(u"held"), attributes));
    EXPECT_EQ(0x20u, attributes);
  }
  EXPECT_FALSE(Exists("x"));
  EXPECT_EQ("content", Read("held"));
  EXPECT_EQ(0u, Copy(Windows(u"held"), Windows(u"x")));
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

TEST_F(FileContract, ANameOf255CharactersIsTheLongest) {
  const std::u16string longest = u"\\\\?\\" + Windows(std::u16string(255, u'n'));
  const std::u16string longer = u"\\\\?\\" + Windows(std::u16string(256, u'n'));
  const winapi::Error refused =
      Expected(123u, 2u, "takes a name of 256 characters for a missing one");
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, CreateNew(longest));
  EXPECT_EQ(0u, Attributes(longest, attributes));
  EXPECT_EQ(refused, CreateNew(longer));
  EXPECT_EQ(refused, Attributes(longer, attributes));
  EXPECT_EQ(refused, Delete(longer));
  EXPECT_EQ(0u, Delete(longest));
}

// "x" is what both names mean.
TEST_F(FileContract, FullStopsAndBlanksAtTheEndFallAway) {
  EXPECT_EQ(0u, CreateNew(Windows(u"x. ")));
  EXPECT_TRUE(Exists("x"));
  EXPECT_EQ(80u, CreateNew(Windows(u"x. .")));
  EXPECT_EQ(0u, Delete(Windows(u"x ")));
  EXPECT_FALSE(Exists("x"));
}

TEST_F(FileContract, ADotInFrontOfANameMeansNothing) {
  Write(".file", "");
  MakeFolder(".folder");
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(Windows(u".file"), attributes));
  EXPECT_EQ(Expected(0x20u, 0x22u, "hides files whose names begin with a dot"), attributes);
  EXPECT_EQ(0u, Attributes(Windows(u".folder"), attributes));
  EXPECT_EQ(Expected(0x10u, 0x12u, "hides folders whose names begin with a dot"), attributes);
}

TEST_F(FileContract, AttributesOfLinks) {
  Write("file", "");
  MakeFolder("folder");
  MakeLink("file", "to file");
  MakeLink("folder", "to folder");
  MakeLink("none", "to nothing");
  winapi::Dword attributes = 0;
  EXPECT_EQ(0u, Attributes(Windows(u"to folder"), attributes));
  EXPECT_EQ(0x410u, attributes);
  EXPECT_EQ(0u, Attributes(Windows(u"to file"), attributes));
  EXPECT_EQ(Expected(0x420u, 0x20u, "shows a link to a file as the file"), attributes);
  EXPECT_EQ(Expected(0u, 2u, "doesn't see a link to nothing"),
            Attributes(Windows(u"to nothing"), attributes));
}

TEST_F(FileContract, OfALinkToAFileOnlyTheLinkIsDeleted) {
  Write("file", "");
  MakeLink("file", "link");
  EXPECT_EQ(0u, Delete(Windows(u"link")));
  const char* const reason = "deletes what a link to a file leads to, and keeps the link";
  EXPECT_EQ(Expected(true, false, reason), Exists("file"));
  EXPECT_EQ(Expected(false, true, reason), IsLink("link"));
}

// Of a path 259 characters are the most without the prefix.
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
