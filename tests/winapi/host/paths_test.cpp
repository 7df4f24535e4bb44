#include "winapi/host/paths.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/current_directory.h"
#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/host/control.h"
#include "winapi/host/locate.h"
#include "winapi/host/root.h"

namespace winapi {
namespace {

namespace fs = std::filesystem;

fs::path DriveC() {
  fs::create_directories(host::DriveCFolder());
  return host::DriveCFolder();
}

TEST(HostPaths, FullPaths) {
  struct Case {
    const char* name;
    std::u16string path;
    Error error;
    std::u16string full;
  };
  const Case cases[] = {
      {"Drive", u"c:\\a\\b", 0, u"C:\\a\\b"},
      {"Slashes", u"C:/a//b", 0, u"C:\\a\\b"},
      {"OtherDrive", u"q:\\a", 0, u"Q:\\a"},
      {"DriveRoot", u"C:\\", 0, u"C:\\"},
      {"OtherDrivesCurrentFolder", u"C:x", 0, u"C:\\x"},
      {"OnlyAnotherDrive", u"C:", 0, u"C:\\"},
      {"Relative", u"a\\b", 0, u"Z:\\usr\\lib\\a\\b"},
      {"Rooted", u"\\a", 0, u"Z:\\a"},
      {"HostPath", u"/usr/x", 0, u"Z:\\usr\\x"},
      {"OwnDrivesCurrentFolder", u"Z:x", 0, u"Z:\\usr\\lib\\x"},
      {"Dot", u".", 0, u"Z:\\usr\\lib"},
      {"DotDot", u"..\\x", 0, u"Z:\\usr\\x"},
      {"DotDotPastTheRoot", u"..\\..\\..\\x", 0, u"Z:\\x"},
      {"DotsInside", u"C:\\a\\.\\b\\..\\c", 0, u"C:\\a\\c"},
      {"TrailingSeparator", u"C:\\a\\", 0, u"C:\\a\\"},
      {"TrailingDotsAndBlanks", u"C:\\a\\b .", 0, u"C:\\a\\b"},
      {"OneFullStopInside", u"C:\\a.\\b", 0, u"C:\\a\\b"},
      {"FullStopsInside", u"C:\\a..\\...\\b", 0, u"C:\\a..\\...\\b"},
      {"BlanksInside", u"C:\\a \\b. .\\c", 0, u"C:\\a \\b. \\c"},
      {"BlankAndSeparator", u"C:\\a \\", 0, u"C:\\a \\"},
      {"NothingButBlanks", u"  ", 3, u""},
      {"LongPrefix", u"\\\\?\\C:\\a\\b", 0, u"C:\\a\\b"},
      {"LongPrefixKeepsTails", u"\\\\?\\c:\\a. ", 0, u"C:\\a. "},
      {"LongPrefixSeparator", u"\\\\?\\C:\\a\\", 0, u"C:\\a\\"},
      {"LongPrefixSlash", u"\\\\?\\C:\\a/b", 123, u""},
      {"LongPrefixDots", u"\\\\?\\C:\\a\\..\\b", 123, u""},
      {"LongPrefixRelative", u"\\\\?\\a", 3, u""},
      {"LongPrefixShare", u"\\\\?\\UNC\\server\\share", 3, u""},
      {"Empty", u"", 3, u""},
      {"Share", u"\\\\server\\share\\x", 3, u""},
      {"ShareSlashes", u"//server/share", 3, u""},
      {"Wildcard", u"C:\\a*", 123, u""},
      {"Less", u"C:\\a<b", 123, u""},
      {"Quote", u"C:\\\"", 123, u""},
      {"Stream", u"C:\\a:b", 123, u""},
      {"Control", u"C:\\a\x1F", 123, u""},
  };
  const tests::CurrentDirectory current("/usr/lib");
  for (const Case& c : cases) {
    std::u16string full;
    EXPECT_EQ(host::FullPath(c.path, full), c.error) << c.name;
    EXPECT_TRUE(full == c.full) << c.name << ": " << fs::path(full);
  }
}

TEST(HostPaths, TheLimitOf260Characters) {
  struct Case {
    const char* name;
    std::u16string path;
    Error error;
  };
  const std::u16string longName(256, u'n');
  const Case cases[] = {
      {"259", u"C:\\" + longName, 0},
      {"260", u"C:\\" + longName + u"n", 3},
      {"260WithThePrefix", u"\\\\?\\C:\\" + longName + u"n", 0},
      {"LongAsWrittenOnly", u"C:\\" + longName + u"\\..\\x", 0},
      {"LongAsFullPathOnly", longName.substr(0, 250), 3},
  };
  // 10 characters with the drive, and a separator.
  const tests::CurrentDirectory current("/usr/lib");
  for (const Case& c : cases) {
    std::u16string full;
    EXPECT_EQ(host::FullPath(c.path, full), c.error) << c.name;
  }
}

// The host's own path of what a path means; the error as text where it means nothing.
std::string HostPathOf(const std::u16string& path) {
  host::Location location;
  const Error error = host::Locate(path.c_str(), location);
  return error == 0 ? host::HostPath(location) : std::to_string(error);
}

TEST(HostPaths, DrivesOfTheHost) {
  struct Case {
    const char* name;
    std::u16string path;
    std::string hostPath;
  };
  const std::string drive = fs::canonical(DriveC()).string();
  fs::create_directory(DriveC() / "a");
  fs::create_directory(DriveC() / "a ");
  const Case cases[] = {
      {"C", u"C:\\a\\b", drive + "/a/b"},
      {"CRoot", u"c:\\", drive},
      {"Z", u"Z:\\usr\\none", "/usr/none"},
      {"ZRoot", u"Z:\\", "/"},
      {"BelowTheRoot", u"Z:\\none", "/none"},
      {"TrailingSeparator", u"Z:\\usr\\", "/usr"},
      {"Letters", u"C:\\\u00e4\U0001F600", drive + "/\xC3\xA4\xF0\x9F\x98\x80"},
      {"BlankInside", u"C:\\a \\b", drive + "/a /b"},
      {"BlankAtTheEnd", u"C:\\a ", drive + "/a"},
      {"BlankBehindThePrefix", u"\\\\?\\C:\\a ", drive + "/a "},
      {"MissingFolder", u"C:\\none\\b", "3"},
      {"MissingDrive", u"Q:\\a", "3"},
  };
  for (const Case& c : cases) EXPECT_EQ(HostPathOf(c.path), c.hostPath) << c.name;
}

TEST(HostPaths, NamesIgnoreCase) {
  const fs::path folder = fs::canonical(DriveC()) / "Program Files" / "\xC3\x84pfel";
  fs::create_directories(folder);
  std::ofstream(folder / "File.TXT").put('x');
  EXPECT_EQ(HostPathOf(u"C:\\PROGRAM FILES\\\u00e4PFEL\\file.txt"), folder / "File.TXT");
  std::ofstream(folder / "file.txt").put('x');
  EXPECT_EQ(HostPathOf(u"C:\\program files\\\u00e4pfel\\file.txt"), folder / "file.txt")
      << "an exact name goes first";
  EXPECT_EQ(HostPathOf(u"C:\\program files\\NEW"), folder.parent_path() / "NEW");
}

TEST(HostPaths, TheCurrentFolderIsOnOneOfTheDrives) {
  fs::create_directories(DriveC() / "work");
  {
    const tests::CurrentDirectory current("/usr");
    EXPECT_EQ(host::CurrentDirectory(), u"Z:\\usr");
  }
  {
    const tests::CurrentDirectory current("/");
    EXPECT_EQ(host::CurrentDirectory(), u"Z:\\");
  }
  {
    const tests::CurrentDirectory current(DriveC());
    EXPECT_EQ(host::CurrentDirectory(), u"C:\\");
  }
  const tests::CurrentDirectory current(DriveC() / "work");
  EXPECT_EQ(host::CurrentDirectory(), u"C:\\work");
  std::u16string full;
  EXPECT_EQ(host::FullPath(u"x", full), 0U);
  EXPECT_EQ(full, u"C:\\work\\x");
  EXPECT_EQ(host::FullPath(u"Z:x", full), 0U);
  EXPECT_EQ(full, u"Z:\\x");
}

TEST(HostPaths, HostPathsAsWindowsPaths) {
  const std::string drive = DriveC().string();
  EXPECT_EQ(host::WindowsPath("/"), u"Z:\\");
  EXPECT_EQ(host::WindowsPath("/a/b"), u"Z:\\a\\b");
  EXPECT_EQ(host::WindowsPath(drive), u"C:\\");
  EXPECT_EQ(host::WindowsPath(drive + "/a"), u"C:\\a");
  const std::u16string beside = host::WindowsPath(drive + "x");
  EXPECT_EQ(beside.substr(0, 3), u"Z:\\") << "a folder whose name only starts alike";
}

// Each of the four calls, with a buffer of that size.
struct PathCall {
  const char* operation;
  Dword (*call)(Dword size, char16_t* buffer);
};

const PathCall kPathCalls[] = {
    {"GetFullPathNameW",
     [](Dword size, char16_t* buffer) {
       return GetFullPathNameW(u"C:\\a", size, buffer, /*filePart=*/nullptr);
     }},
    {"GetCurrentDirectoryW", GetCurrentDirectoryW},
    {"GetTempPathW", GetTempPathW},
    {"GetSystemDirectoryW",
     [](Dword size, char16_t* buffer) { return GetSystemDirectoryW(buffer, size); }},
};

TEST(HostPathScripts, AnswerInThePlaceOfTheRealPath) {
  for (const PathCall& one : kPathCalls) {
    SCOPED_TRACE(one.operation);
    std::vector<Dword> asked;
    host::SetPathScript(one.operation, [&asked](Dword size) {
      asked.push_back(size);
      return host::PathAnswer{u"D:\\path", {}};
    });
    std::u16string buffer(20, u'?');
    EXPECT_EQ(one.call(7, buffer.data()), 8U);
    EXPECT_EQ(buffer, std::u16string(20, u'?'));
    EXPECT_EQ(one.call(0, nullptr), 8U);
    EXPECT_EQ(one.call(8, buffer.data()), 7U);
    EXPECT_EQ(buffer.substr(0, 8), std::u16string(u"D:\\path\0", 8));
    EXPECT_EQ(asked, (std::vector<Dword>{7, 0, 8}));
    host::SetPathScript(one.operation, nullptr);
    EXPECT_NE(one.call(0, nullptr), 8U);
  }
}

TEST(HostPathScripts, MayGiveAnyLengthAndThenWriteNothing) {
  for (const PathCall& one : kPathCalls) {
    SCOPED_TRACE(one.operation);
    host::SetPathScript(one.operation, [](Dword size) {
      return host::PathAnswer{u"text", size + 7};
    });
    std::u16string buffer(20, u'?');
    EXPECT_EQ(one.call(20, buffer.data()), 27U);
    EXPECT_EQ(buffer, std::u16string(20, u'?'));
    host::SetPathScript(one.operation, [](Dword) { return host::PathAnswer{}; });
    EXPECT_EQ(one.call(20, buffer.data()), 0U);
    host::FailCall(one.operation, 1, 5);
    EXPECT_EQ(one.call(20, buffer.data()), 0U);
    EXPECT_EQ(GetLastError(), 5U);
    host::SetPathScript(one.operation, nullptr);
  }
}

TEST(HostPathScripts, AreOneForEachCall) {
  const auto answer = [](Dword) { return host::PathAnswer{u"D:\\x", {}}; };
  host::SetPathScript("GetTempPathW", answer);
  host::SetPathScript("GetCurrentDirectoryW", answer);
  host::SetPathScript("GetTempPathW", nullptr);
  EXPECT_EQ(GetCurrentDirectoryW(0, nullptr), 5U);
  EXPECT_EQ(GetSystemDirectoryW(nullptr, 0), 20U);
  EXPECT_NE(GetTempPathW(0, nullptr), 5U);
  host::SetPathScript("GetCurrentDirectoryW", nullptr);
}

TEST(HostOutputStream, AnOutputStreamIsBinaryAndTruncates) {
  const fs::path file = DriveC() / "out.txt";
  std::ofstream(file) << "what was there before";
  std::ofstream stream;
  OpenOutputStream(stream, u"C:\\OUT.TXT");
  ASSERT_TRUE(stream.is_open());
  EXPECT_TRUE(stream.good());
  stream << "a\nb";
  stream.close();
  EXPECT_EQ(tests::ReadAll(file), "a\nb");
}

TEST(HostOutputStream, OthersMayReadAndWriteAtTheSameTime) {
  const fs::path file = DriveC() / "shared.txt";
  std::ofstream stream;
  OpenOutputStream(stream, u"C:\\shared.txt");
  ASSERT_TRUE(stream.is_open());
  stream << "one" << std::flush;
  EXPECT_EQ(tests::ReadAll(file), "one");
  std::ofstream other(file, std::ios::app);
  EXPECT_TRUE(other.is_open());
}

TEST(HostOutputStream, WhatCantBeOpenedIsntOpen) {
  fs::create_directories(DriveC() / "folder");
  const std::u16string tooLong = u"C:\\" + std::u16string(300, u'l');
  struct Case {
    const char* name;
    const char16_t* path;
  };
  const Case cases[] = {
      {"Null", nullptr},
      {"Empty", u""},
      {"Folder", u"C:\\folder"},
      {"FolderBySeparator", u"C:\\new.txt\\"},
      {"NoFolder", u"C:\\none\\x"},
      {"BelowAFile", u"C:\\file\\x"},
      {"NoDrive", u"Q:\\x"},
      {"BadName", u"C:\\a?b"},
      {"TooLong", tooLong.c_str()},
  };
  std::ofstream(DriveC() / "file").put('x');
  for (const Case& c : cases) {
    std::ofstream stream;
    OpenOutputStream(stream, c.path);
    EXPECT_FALSE(stream.is_open()) << c.name;
    EXPECT_TRUE(stream.fail()) << c.name;
  }
  EXPECT_FALSE(fs::exists(DriveC() / "new.txt"));
}

TEST(HostOutputStream, OpeningIsLoggedAndCanFail) {
  host::StartCallLog();
  host::ClearCallLog();
  host::FailCall("OpenOutputStream", 1, 5);
  std::ofstream stream;
  OpenOutputStream(stream, u"C:\\failed.txt");
  EXPECT_FALSE(stream.is_open());
  EXPECT_TRUE(stream.fail());
  EXPECT_FALSE(fs::exists(DriveC() / "failed.txt"));
  ASSERT_EQ(host::CallsOf("OpenOutputStream").size(), 1U);
  EXPECT_EQ(host::CallLog()[0].Argument("path"), "C:\\failed.txt");
  EXPECT_TRUE(host::CallLog()[0].failed);
  host::ClearFaults();
}

}  // namespace
}  // namespace winapi
