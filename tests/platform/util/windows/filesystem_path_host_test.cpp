// What the current directory and the system's may be, and when they can't be told.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <typeinfo>

#include "oru/rtl/exception.h"
#include "platform/util/windows/filesystem/path.h"
#include "platform/util/windows/filesystem/system_directory.h"
#include "tests/support/result_code.h"
#include "winapi/host/control.h"

namespace host = winapi::host;

namespace {

using product_platform::filesystem::MakeLongPath;
using tests::Code;

TEST(MakeLongPathOnHost, UnknownCurrentDirectoryIsThrown) {
  host::FailCall("GetCurrentDirectoryW", 1, 5);
  try {
    (void)MakeLongPath(u"a");
    FAIL() << "nothing was thrown";
  } catch (const oru::ResultCodeException& exception) {
    EXPECT_EQ(typeid(exception), typeid(oru::ResultCodeException));
    EXPECT_EQ(Code(exception.Code()), 0x80000045u);
    EXPECT_STREQ(exception.File(), "platform/util/windows/filesystem/path");
  }
}

TEST(MakeLongPathOnHost, UnknownCurrentDirectoryIsThrownWithoutAnErrorToo) {
  host::FailCall("GetCurrentDirectoryW", 1, 0);
  try {
    (void)MakeLongPath(u"a");
    FAIL() << "nothing was thrown";
  } catch (const oru::ResultCodeException& exception) {
    EXPECT_EQ(typeid(exception), typeid(oru::ResultCodeException));
    EXPECT_EQ(Code(exception.Code()), 0x8000004Bu);
  }
}

// The process's current directory is this while it lives.
class InDirectory {
 public:
  explicit InDirectory(const std::u16string& path) {
    host::SetPathScript("GetCurrentDirectoryW", [path](winapi::Dword) {
      return host::PathAnswer{path, {}};
    });
  }
  InDirectory(const InDirectory&) = delete;
  InDirectory& operator=(const InDirectory&) = delete;
  ~InDirectory() { host::SetPathScript("GetCurrentDirectoryW", nullptr); }
};

TEST(MakeLongPathOnHost, CurrentDirectoryWithAPrefixGetsNoOther) {
  {
    const InDirectory current(u"\\\\?\\C:\\d");
    EXPECT_EQ(MakeLongPath(u"a\\..\\b"), u"\\\\?\\C:\\d\\b");
  }
  const InDirectory current(u"\\\\.\\C:\\d\\");
  EXPECT_EQ(MakeLongPath(u"a"), u"\\\\.\\C:\\d\\a");
}

// It is put together as text, and of the three backslashes in a row the normalisation leaves one.
TEST(MakeLongPathOnHost, CurrentDirectoryOnAServerGetsThePrefixInFront) {
  const InDirectory current(u"\\\\server\\share\\d");
  EXPECT_EQ(MakeLongPath(u"a"), u"\\\\?\\server\\share\\d\\a");
}

// The call for it then succeeds with an empty text.
TEST(MakeLongPathOnHost, CurrentDirectoryThatGrowsEachTimeIsNone) {
  host::SetPathScript("GetCurrentDirectoryW", [](winapi::Dword size) {
    return host::PathAnswer{{}, size + 1};
  });
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(MakeLongPath(u"a"), u"\\\\?\\a");
  EXPECT_EQ(host::CallsOf("GetCurrentDirectoryW").size(), 5u);
  host::SetPathScript("GetCurrentDirectoryW", nullptr);
}

TEST(MakeLongPathOnHost, AbsolutePathNeedsNoCurrentDirectory) {
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(MakeLongPath(u"C:\\a"), u"\\\\?\\C:\\a");
  EXPECT_TRUE(host::CallsOf("GetCurrentDirectoryW").empty());
}

TEST(GetSystemFilesDirectoryOnHost, EitherCallsFailureIsThrown) {
  for (const std::size_t nth : {1u, 2u}) {
    host::FailCall("GetSystemDirectoryW", nth, 5);
    try {
      (void)product_platform::windows::detail::GetSystemFilesDirectory();
      ADD_FAILURE() << "nothing was thrown at call " << nth;
    } catch (const oru::CheckResultFailedException& exception) {
      EXPECT_EQ(Code(exception.Code()), 0x80000045u);
      EXPECT_EQ(exception.Message().view(),
                u"product_platform::windows::detail::GetSystemFilesDirectory failed ");
      EXPECT_STREQ(exception.File(), "platform/util/windows/filesystem/system_directory");
    }
    EXPECT_EQ(host::InjectedFaultCount(), 1u);
    host::ClearFaults();
  }
}

TEST(GetSystemFilesDirectoryOnHost, FailureWithoutAnErrorIsNoSuccess) {
  for (const std::size_t nth : {1u, 2u}) {
    host::FailCall("GetSystemDirectoryW", nth, 0);
    try {
      (void)product_platform::windows::detail::GetSystemFilesDirectory();
      ADD_FAILURE() << "nothing was thrown at call " << nth;
    } catch (const oru::CheckResultFailedException& exception) {
      EXPECT_EQ(Code(exception.Code()), 0x8000004Bu);
    }
    host::ClearFaults();
  }
}

TEST(GetSystemFilesDirectoryOnHost, SecondAnswerMayDifferFromTheFirst) {
  struct Case {
    const char* name;
    host::PathAnswer second;
    std::u16string directory;
  };
  const Case cases[] = {
      {"shorter", {u"D:\\w", {}}, u"D:\\w"},
      {"as long as the buffer", {{}, 20}, std::u16string(20, u'\0')},
      {"longer, and nothing written", {{}, 30}, std::u16string(20, u'\0')},
  };
  for (const Case& test : cases) {
    host::SetPathScript("GetSystemDirectoryW", [&test](winapi::Dword size) {
      return size == 0 ? host::PathAnswer{{}, 20} : test.second;
    });
    EXPECT_EQ(product_platform::windows::detail::GetSystemFilesDirectory(), test.directory)
        << test.name;
  }
  host::SetPathScript("GetSystemDirectoryW", nullptr);
}

TEST(GetSystemFilesDirectoryOnHost, AsksForTheSizeFirst) {
  host::StartCallLog();
  host::ClearCallLog();
  (void)product_platform::windows::detail::GetSystemFilesDirectory();
  EXPECT_EQ(host::CallsOf("GetSystemDirectoryW").size(), 2u);
  EXPECT_EQ(host::CallsOf("GetSystemDirectoryW").at(0).Argument("size"), "0");
  EXPECT_EQ(host::CallsOf("GetSystemDirectoryW").at(1).Argument("size"), "20");
}

}  // namespace
