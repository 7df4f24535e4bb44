#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "tests/support/answers.h"
#include "tests/support/current_directory.h"
#include "tests/support/seam_error.h"
#include "tests/support/temporary_folder.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/strings.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kUntouchedError;
using tests::kWindows;
using tests::kWine;

using Operation = std::function<winapi::Dword(winapi::Dword size, char16_t* buffer)>;

std::u16string Ask(const Operation& operation) {
  std::u16string text(40000, u'?');
  const winapi::Dword length = operation(40000, text.data());
  EXPECT_LT(length, 40000u);
  EXPECT_EQ(u'\0', text[length]);
  text.resize(length);
  return text;
}

std::u16string FullPath(const std::u16string& path) {
  return Ask([&](winapi::Dword size, char16_t* buffer) {
    return winapi::GetFullPathNameW(path.c_str(), size, buffer, nullptr);
  });
}

std::u16string CurrentDirectory() { return Ask(winapi::GetCurrentDirectoryW); }
std::u16string TempPath() { return Ask(winapi::GetTempPathW); }
std::u16string SystemDirectory() {
  return Ask([](winapi::Dword size, char16_t* buffer) {
    return winapi::GetSystemDirectoryW(buffer, size);
  });
}

// Length and text where there is room, the size needed where there is not, and nothing written.
// `behind` is what room behind the text then holds.
void ExpectSizes(const char* name, const Operation& operation, char16_t behind = u'?') {
  const std::u16string whole = Ask(operation);
  const auto length = static_cast<winapi::Dword>(whole.size());
  EXPECT_EQ(length + 1, operation(0, nullptr)) << name;
  for (const winapi::Dword size : {length - 1, length, length + 1, length + 2}) {
    std::u16string text(length + 2, u'?');
    const winapi::Dword given = operation(size, text.data());
    EXPECT_EQ(size > length ? length : length + 1, given) << name << ' ' << size;
    if (size <= length) continue;
    EXPECT_EQ(whole, text.substr(0, length)) << name << ' ' << size;
    EXPECT_EQ(u'\0', text[length]) << name << ' ' << size;
    EXPECT_EQ(size == length + 2 ? behind : u'?', text[length + 1]) << name << ' ' << size;
  }
}

// The same text whatever folder the case has.
std::u16string WithoutFolder(std::u16string path, const std::u16string& folder,
                             const char16_t* sign) {
  if (path.starts_with(folder)) path.replace(0, folder.size(), sign);
  return path;
}

const char* const kDropsOneStop = "drops one of several full stops at the end of an inner name";

TEST(PathContract, FullPaths) {
  const tests::TemporaryFolder folder;
  std::filesystem::create_directories(folder.Path() / "one" / "two");
  const tests::CurrentDirectory inFolder(folder.Path() / "one" / "two");
  const std::u16string one = folder.WindowsPath() + u"\\one";
  const std::u16string longName(300, u'n');
  struct Case {
    const char* name;
    std::u16string path;
    Answers<std::u16string> full;
  };
  const Case cases[] = {
      {"name", u"a", u"<one>\\two\\a"},
      {"name and separator", u"a\\", u"<one>\\two\\a\\"},
      {"long name", longName, u"<one>\\two\\" + longName},
      {"dot", u".", u"<one>\\two"},
      {"two dots", u"..", u"<one>"},
      {"two dots and a name", u"..\\x", u"<one>\\x"},
      {"drive", u"D:\\a\\b", u"D:\\a\\b"},
      {"slashes", u"D:/a//b", u"D:\\a\\b"},
      {"dots inside", u"D:\\a\\.\\b\\..\\c", u"D:\\a\\c"},
      {"two dots at the end", u"D:\\a\\b\\..", u"D:\\a"},
      {"dot at the end", u"D:\\a\\.", u"D:\\a"},
      {"two dots and a separator", u"D:\\a\\b\\..\\", u"D:\\a\\"},
      {"root", u"D:\\", u"D:\\"},
      {"above the root", u"D:\\..\\a", u"D:\\a"},
      {"current directory of another drive", u"Q:x", u"Q:\\x"},
      {"only another drive", u"Q:", u"Q:\\"},
      {"full stops and blanks at the end", u"D:\\a. .", u"D:\\a"},
      {"full stop inside", u"D:\\a.\\b", u"D:\\a\\b"},
      {"full stops inside", u"D:\\a..\\b",
       Answers<std::u16string>(u"D:\\a..\\b", kHost | kWindows)
           .Or(u"D:\\a.\\b", kWine, kDropsOneStop)},
      {"nothing but full stops inside", u"D:\\...\\b",
       Answers<std::u16string>(u"D:\\...\\b", kHost | kWindows)
           .Or(u"D:\\..\\b", kWine, kDropsOneStop)},
      {"blank inside", u"D:\\a \\b", u"D:\\a \\b"},
      {"blanks and full stops inside", u"D:\\a. .\\b", u"D:\\a. \\b"},
      {"blank and separator at the end", u"D:\\a \\", u"D:\\a \\"},
      {"blank behind a separator", u"D:\\a\\ ", u"D:\\a\\"},
      {"wildcards", u"D:\\a*\\?", u"D:\\a*\\?"},
      {"share", u"\\\\server\\share\\a\\..\\b", u"\\\\server\\share\\b"},
      {"share's root", u"\\\\server\\share\\..\\a", u"\\\\server\\share\\a"},
      {"prefix", u"\\\\?\\D:\\a\\..\\b", u"\\\\?\\D:\\b"},
  };
  for (const Case& c : cases) {
    EXPECT_ANSWER(c.name, c.full, WithoutFolder(FullPath(c.path), one, u"<one>"));
  }
  const Case ofTheDrive[] = {
      {"dots past the root", u"..\\..\\..\\..\\..\\..\\..\\..\\..\\..\\..\\..\\x", u"<drive>\\x"},
      {"rooted", u"\\x", u"<drive>\\x"},
      {"slash", u"/x",
       Answers<std::u16string>(u"<drive>\\x", kHost | kWindows)
           .Or(u"Z:\\x", kWine, "takes a path with a slash as one of the system below")},
  };
  for (const Case& c : ofTheDrive) {
    EXPECT_ANSWER(c.name, c.full, WithoutFolder(FullPath(c.path), one.substr(0, 2), u"<drive>"));
  }
  ExpectSizes("full path", [](winapi::Dword size, char16_t* buffer) {
    return winapi::GetFullPathNameW(u"a\\b", size, buffer, nullptr);
  });
}

TEST(PathContract, FullPathOfNothing) {
  for (const std::u16string path : {u"", u" "}) {
    char16_t buffer[300] = {u'?'};
    winapi::SetLastError(kUntouchedError);
    EXPECT_EQ(0u, winapi::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr));
    EXPECT_EQ(0u, winapi::GetFullPathNameW(path.c_str(), 300, buffer, nullptr));
    EXPECT_ANSWER(path.empty() ? "last error for no character, 43981 before"
                               : "last error for a blank, 43981 before",
                  Answers(123u, kHost | kWindows)
                      .Or(kUntouchedError, kWine, "sets no last error for an empty path"),
                  winapi::GetLastError());
    EXPECT_EQ(u'?', buffer[0]);
  }
}

TEST(PathContract, FilePartOfAFullPath) {
  char16_t buffer[100];
  char16_t* filePart = nullptr;
  EXPECT_EQ(6u, winapi::GetFullPathNameW(u"D:\\a\\b", 100, buffer, &filePart));
  EXPECT_EQ(buffer + 5, filePart);
  EXPECT_EQ(7u, winapi::GetFullPathNameW(u"D:\\a\\b\\", 100, buffer, &filePart));
  EXPECT_EQ(nullptr, filePart);
}

TEST(PathContract, CurrentDirectory) {
  const tests::TemporaryFolder folder;
  const tests::CurrentDirectory inFolder(folder.Path());
  EXPECT_EQ(folder.WindowsPath(), CurrentDirectory());
  ExpectSizes("current directory", winapi::GetCurrentDirectoryW);
  std::filesystem::current_path(folder.Path().root_path());
  EXPECT_EQ(folder.WindowsPath().substr(0, 3), CurrentDirectory());
}

TEST(PathContract, TemporaryDirectory) {
  const std::u16string path = TempPath();
  EXPECT_TRUE(path.starts_with(u"C:\\"));
  EXPECT_TRUE(path.ends_with(u'\\'));
  EXPECT_EQ(0x10u, winapi::GetFileAttributesW(path.c_str()));
  ExpectSizes("temporary directory", winapi::GetTempPathW, /*behind=*/u'\0');
}

// The variable that the system looks at first, for a while.
class TemporaryVariable {
 public:
  explicit TemporaryVariable(const std::string& value) {
    const char* before = std::getenv("TMP");
    if (before != nullptr) m_before = before;
    Set(value);
  }
  TemporaryVariable(const TemporaryVariable&) = delete;
  TemporaryVariable& operator=(const TemporaryVariable&) = delete;
  ~TemporaryVariable() { Set(m_before); }

 private:
  static void Set(const std::string& value) {  // an empty one is none
#ifdef _WIN32
    EXPECT_EQ(0, ::_putenv(("TMP=" + value).c_str()));
#else
    EXPECT_EQ(0, value.empty() ? ::unsetenv("TMP") : ::setenv("TMP", value.c_str(), 1));
#endif
  }

  std::string m_before;
};

TEST(PathContract, TheTemporaryDirectoryIsNotMade) {
  const TemporaryVariable variable("C:\\zum none");
  EXPECT_EQ(u"C:\\zum none\\", TempPath());
  winapi::SetLastError(kUntouchedError);
  EXPECT_EQ(winapi::kInvalidFileAttributes, winapi::GetFileAttributesW(u"C:\\zum none"));
  EXPECT_EQ(2u, winapi::GetLastError());
}

TEST(PathContract, SystemDirectory) {
  const std::u16string path = SystemDirectory();
  EXPECT_EQ(19u, path.size());
  EXPECT_EQ(0, winapi::lstrcmpiW(u"C:\\Windows\\System32", path.c_str()));
  EXPECT_EQ(0x10u, winapi::GetFileAttributesW(path.c_str()));
  ExpectSizes("system directory", [](winapi::Dword size, char16_t* buffer) {
    return winapi::GetSystemDirectoryW(buffer, size);
  });
}

}  // namespace
