#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "tests/support/answers.h"
#include "tests/support/program.h"
#include "tests/support/temporary_folder.h"
#include "winapi/child_process.h"
#include "winapi/errors.h"
#include "winapi/handles.h"

namespace {

using tests::Answers;
using tests::kHost;
using tests::kWindows;
using tests::kWine;

class CreateProcessContract : public ::testing::Test {
 protected:
  CreateProcessContract() {
    std::filesystem::copy_file(tests::BuiltProgram(LAUNCH_PROBE), m_folder.Path() / "probe.exe");
    std::ofstream(m_folder.Path() / "text.exe", std::ios::binary) << "no program at all\n";
    std::filesystem::create_directory(m_folder.Path() / "folder.exe");
  }

  winapi::Bool Start(const std::u16string& file, std::u16string line) {
    const std::u16string path = m_folder.WindowsPath() + file;
    winapi::StartupInfo startup{};
    startup.cb = winapi::kStartupInfoSize;
    m_information = {};
    winapi::SetLastError(0);
    return winapi::CreateProcessW(path.c_str(), line.data(), nullptr, nullptr,
                                  /*inheritHandles=*/0, winapi::kCreateNoWindow, nullptr, nullptr,
                                  &startup, &m_information);
  }

  tests::TemporaryFolder m_folder;
  winapi::ProcessInformation m_information{};
};

TEST_F(CreateProcessContract, RunsAndEndsWithItsCode) {
  ASSERT_NE(0, Start(u"\\probe.exe", u"/i exit=7"));
  EXPECT_NE(nullptr, m_information.hProcess);
  EXPECT_NE(nullptr, m_information.hThread);
  EXPECT_NE(m_information.hProcess, m_information.hThread);
  EXPECT_NE(0u, m_information.dwProcessId);
  for (const winapi::Handle handle : {m_information.hProcess, m_information.hThread}) {
    EXPECT_EQ(winapi::kWaitObject0,
              winapi::WaitForSingleObjectEx(handle, winapi::kInfinite, /*alertable=*/0));
  }
  winapi::Dword code = 99;
  EXPECT_NE(0, winapi::GetExitCodeProcess(m_information.hProcess, &code));
  EXPECT_EQ(7u, code);
  EXPECT_NE(0, winapi::CloseHandle(m_information.hThread));
  EXPECT_NE(0, winapi::CloseHandle(m_information.hProcess));
  EXPECT_EQ(0, winapi::GetExitCodeProcess(m_information.hProcess, &code));
  EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
}

TEST_F(CreateProcessContract, ErrorsOfWhatCannotBeStarted) {
  struct Case {
    const char* name;
    const char16_t* file;
    tests::Answers<winapi::Error> error;
  };
  const Case kCases[] = {
      {"missing file", u"\\none.exe", 2},
      {"missing folder", u"\\none\\probe.exe", 3},
      {"text", u"\\text.exe", 193},
      {"folder", u"\\folder.exe",
       Answers<winapi::Error>(5, kHost | kWindows).Or(6, kWine, "calls a folder a bad handle")},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    EXPECT_EQ(0, Start(one.file, u"/i"));
    EXPECT_ANSWER(one.name, one.error, winapi::GetLastError());
    EXPECT_EQ(nullptr, m_information.hProcess);
    EXPECT_EQ(nullptr, m_information.hThread);
  }
}

TEST(GetExitCodeProcessContract, RefusesWhatIsNoProcess) {
  winapi::Dword code = 77;
  EXPECT_EQ(0, winapi::GetExitCodeProcess(nullptr, &code));
  EXPECT_EQ(winapi::kErrorInvalidHandle, winapi::GetLastError());
  EXPECT_EQ(77u, code);
}

}  // namespace
