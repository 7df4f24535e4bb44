#include <gtest/gtest.h>

#include <cstdint>
#include <fstream>
#include <string>

#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"
#include "winapi/files.h"
#include "winapi/process.h"

#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace {

using tests::ReadAll;

#ifdef _WIN32
unsigned OwnProcessId() { return static_cast<unsigned>(_getpid()); }
#else
unsigned OwnProcessId() { return static_cast<unsigned>(getpid()); }
#endif

TEST(CommandLineContract, NamesTheProgramAndStays) {
  const char16_t* line = winapi::GetCommandLineW();
  ASSERT_NE(nullptr, line);
  EXPECT_NE(std::u16string::npos, std::u16string(line).find(u"contract_test"));
  EXPECT_EQ(line, winapi::GetCommandLineW());
}

TEST(IdentityContract, IsTheProcesssOwn) {
  EXPECT_EQ(OwnProcessId(), winapi::GetCurrentProcessId());
  EXPECT_NE(0u, winapi::GetCurrentThreadId());
}

TEST(OpenOutputStreamContract, WritesBytesAsTheyAre) {
  const tests::TemporaryFolder folder;
  std::ofstream stream;
  winapi::OpenOutputStream(stream, (folder.WindowsPath() + u"\\file.log").c_str());
  ASSERT_TRUE(stream.is_open());
  const std::string bytes("a\nb\r\n\x1A\0c\xFF", 9);
  stream << bytes;
  stream.close();
  EXPECT_EQ(bytes, ReadAll(folder.Path() / "file.log"));
}

TEST(OpenOutputStreamContract, Truncates) {
  const tests::TemporaryFolder folder;
  std::ofstream(folder.Path() / "file.log") << "what was there before";
  std::ofstream stream;
  winapi::OpenOutputStream(stream, (folder.WindowsPath() + u"\\file.log").c_str());
  ASSERT_TRUE(stream.is_open());
  EXPECT_EQ("", ReadAll(folder.Path() / "file.log"));
}

TEST(OpenOutputStreamContract, OthersMayReadAndWriteMeanwhile) {
  const tests::TemporaryFolder folder;
  const std::u16string path = folder.WindowsPath() + u"\\file.log";
  std::ofstream stream;
  winapi::OpenOutputStream(stream, path.c_str());
  ASSERT_TRUE(stream.is_open());
  stream << "first" << std::flush;
  EXPECT_EQ("first", ReadAll(folder.Path() / "file.log"));
  std::ofstream second(folder.Path() / "file.log", std::ios::binary | std::ios::app);
  EXPECT_TRUE(second.is_open());
  second << " second" << std::flush;
  EXPECT_EQ("first second", ReadAll(folder.Path() / "file.log"));
  std::ofstream third;
  winapi::OpenOutputStream(third, path.c_str());
  EXPECT_TRUE(third.is_open());
}

TEST(OpenOutputStreamContract, TakesNamesBeyondAscii) {
  const tests::TemporaryFolder folder;
  const std::u16string name = u"\u00C4\u0416\u4E2D.log";
  std::ofstream stream;
  winapi::OpenOutputStream(stream, (folder.WindowsPath() + u"\\" + name).c_str());
  ASSERT_TRUE(stream.is_open());
  stream << "x";
  stream.close();
  EXPECT_EQ("x", ReadAll(folder.Path() / std::filesystem::path(name)));
}

TEST(OpenOutputStreamContract, FailsWhereThereIsNoFolder) {
  const tests::TemporaryFolder folder;
  std::ofstream stream;
  winapi::OpenOutputStream(stream, (folder.WindowsPath() + u"\\missing\\file.log").c_str());
  EXPECT_FALSE(stream.is_open());
  EXPECT_FALSE(stream.good());
}

TEST(OpenOutputStreamContract, FailsOnAFolder) {
  const tests::TemporaryFolder folder;
  std::ofstream stream;
  winapi::OpenOutputStream(stream, folder.WindowsPath().c_str());
  EXPECT_FALSE(stream.is_open());
}

}  // namespace
