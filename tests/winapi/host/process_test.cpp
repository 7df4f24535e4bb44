#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "tests/support/directory_tree.h"
#include "tests/support/temporary_folder.h"
#include "winapi/host/control.h"
#include "winapi/host/text.h"
#include "winapi/modules.h"
#include "winapi/process.h"

namespace {

constexpr const char* kOutputVariable = "ZUM_TEST_COMMAND_LINE_OUTPUT";

// The child: this program once more, which writes down the command line that it sees and ends.
// Before the entry, since that is where the tool's own initialisers may ask too.
[[maybe_unused]] const bool isParent = [] {
  const char* path = std::getenv(kOutputVariable);
  if (path == nullptr) return true;
  std::ofstream(path, std::ios::binary) << winapi::host::ToUtf8(winapi::GetCommandLineW());
  std::_Exit(0);
}();

std::string CommandLineOf(std::vector<std::string> arguments) {
  const tests::TemporaryFolder folder;
  const std::filesystem::path output = folder.Path() / "line";
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  const pid_t child = ::fork();
  if (child == 0) {
    ::setenv(kOutputVariable, output.c_str(), 1);
    ::execv("/proc/self/exe", pointers.data());
    ::_exit(127);
  }
  int status = -1;
  EXPECT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  return tests::ReadAll(output);
}

TEST(HostCommandLine, JoinsTheArgumentsByBlanks) {
  struct Case {
    const char* name;
    std::vector<std::string> arguments;
    std::string line;
  };
  const Case kCases[] = {
      {"program only", {"prog"}, "prog"},
      {"plain", {"prog", "/unblock", "--x=y"}, "prog /unblock --x=y"},
      {"blank in an argument", {"prog", "a b", "c"}, "prog \"a b\" c"},
      {"blank in the program's name", {"/opt/my prog", "c"}, "\"/opt/my prog\" c"},
      {"only a blank", {"prog", " "}, "prog \" \""},
      {"tabulator", {"prog", "a\tb"}, "prog \"a\tb\""},
      {"empty in the middle", {"prog", "", "c"}, "prog \"\" c"},
      {"empty at the end", {"prog", ""}, "prog \"\""},
      {"two empty ones", {"prog", "", ""}, "prog \"\" \"\""},
      {"empty program's name", {"", "c"}, "\"\" c"},
      {"quote", {"prog", "q\"uote"}, "prog \"q\"uote\""},
      {"quotes around", {"prog", "\"a\""}, "prog \"\"a\"\""},
      {"backslash", {"prog", "back\\", "sl ash\\"}, "prog back\\ \"sl ash\\\""},
      {"line end", {"prog", "a\nb"}, "prog a\nb"},
      {"beyond ASCII",
       {"prog", "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
       "prog \xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    EXPECT_EQ(one.line, CommandLineOf(one.arguments));
  }
}

TEST(HostCommandLine, OfWindowsGreatestLength) {
  const std::string value(32767 - 5, 'v');
  EXPECT_EQ("prog " + value, CommandLineOf({"prog", value}));
}

TEST(HostCommandLine, IsWhatWasSetAndEarlierOnesStay) {
  const char16_t* own = winapi::GetCommandLineW();
  const std::u16string copy = own;
  winapi::host::SetCommandLine(u"first");
  const char16_t* first = winapi::GetCommandLineW();
  winapi::host::SetCommandLine(u"");
  EXPECT_EQ(std::u16string(), winapi::GetCommandLineW());
  EXPECT_EQ(std::u16string(u"first"), first);
  EXPECT_EQ(copy, own);
}

TEST(HostIdentity, IsWhatWasSetAndTheRealOneForZero) {
  winapi::host::SetIdentity(4711, 815);
  EXPECT_EQ(4711u, winapi::GetCurrentProcessId());
  EXPECT_EQ(815u, winapi::GetCurrentThreadId());
  winapi::host::SetIdentity(0, 0);
  EXPECT_EQ(static_cast<winapi::Dword>(::getpid()), winapi::GetCurrentProcessId());
  EXPECT_EQ(static_cast<winapi::Dword>(::getpid()), winapi::GetCurrentThreadId());
}

// The numbers are asked for once, and a child mustn't go by its parent's.
TEST(HostIdentity, IsItsOwnInAChildOfFork) {
  const winapi::Dword own = winapi::GetCurrentProcessId();
  (void)winapi::GetCurrentThreadId();
  const pid_t child = ::fork();
  if (child == 0) {
    const auto number = static_cast<winapi::Dword>(::getpid());
    const bool isRight = winapi::GetCurrentProcessId() == number &&
                         winapi::GetCurrentThreadId() == number && number != own;
    ::_exit(isRight ? 0 : 1);
  }
  int status = -1;
  EXPECT_EQ(child, ::waitpid(child, &status, 0));
  EXPECT_EQ(0, status);
  EXPECT_EQ(own, winapi::GetCurrentProcessId());
}

TEST(HostExitStatus, IsTheLowByteAndOneForAFailureWhoseLowByteIsZero) {
  struct Case {
    std::uint32_t code;
    int status;
  };
  constexpr Case kCases[] = {
      {0, 0},          {1, 1},         {255, 255},      {256, 1},         {257, 1},
      {3010, 194},     {1603, 67},     {0xA1780003, 3}, {0x80070643, 67}, {0xFFFFFFFF, 255},
      {0x80000100, 1}, {0xA1780000, 1}};
  for (const Case& one : kCases) {
    EXPECT_EQ(one.status, winapi::ProcessExitStatus(static_cast<std::int32_t>(one.code)))
        << one.code;
  }
}

TEST(HostModuleFileName, IsTheProgramsOwnPathOnZ) {
  char16_t path[1024];
  const winapi::Dword length = winapi::GetModuleFileNameW(nullptr, path, 1024);
  std::string expected = std::filesystem::read_symlink("/proc/self/exe").string();
  for (char& character : expected) {
    if (character == '/') character = '\\';
  }
  EXPECT_EQ("Z:" + expected, winapi::host::ToUtf8(std::u16string_view(path, length)));
}

TEST(HostModuleFileName, IsWhatWasSet) {
  winapi::host::SetModuleFileName(std::u16string(300, u'x'));
  char16_t path[400];
  EXPECT_EQ(300u, winapi::GetModuleFileNameW(nullptr, path, 301));
  EXPECT_EQ(300u, winapi::GetModuleFileNameW(nullptr, path, 300));
  EXPECT_EQ(u'x', path[298]);
  EXPECT_EQ(u'\0', path[299]);
}

}  // namespace
