// Programs that the host layer really starts.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "tests/support/directory_tree.h"
#include "winapi/child_process.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"

namespace winapi {
namespace {

const char* const kScript = "#!/bin/sh\n";

class HostChildProcess : public ::testing::Test {
 protected:
  HostChildProcess() : m_folder(host::RootFolder() + "/drive_c/windows/system32") {
    std::filesystem::create_directories(m_folder);
  }
  ~HostChildProcess() override {
    host::ClearFaults();
    host::SetExitCode(std::nullopt);
    host::SetProgramWait(std::nullopt);
    std::filesystem::remove_all(host::RootFolder() + "/drive_c");
  }

  // A file in the host's system directory.
  std::string Put(const std::string& name, const std::string& content, bool isProgram = true) {
    const std::string path = m_folder + "/" + name;
    std::ofstream(path, std::ios::binary) << content;
    if (isProgram) {
      std::filesystem::permissions(path, std::filesystem::perms::owner_all,
                                   std::filesystem::perm_options::add);
    }
    return path;
  }

  // A shell script under the name x.exe there.
  std::string PutScript(const std::string& commands) { return Put("x.exe", kScript + commands); }

  Bool Start(const char16_t* line, const char16_t* path = u"C:\\windows\\system32\\x.exe") {
    std::u16string writable = line == nullptr ? std::u16string() : std::u16string(line);
    StartupInfo startup{};
    startup.cb = 68;
    m_information = {};
    return CreateProcessW(path, line == nullptr ? nullptr : writable.data(), nullptr, nullptr, 0,
                          0x08000000, nullptr, nullptr, &startup, &m_information);
  }

  // Waits, reads the code and closes both handles.
  Dword Finish() {
    EXPECT_EQ(WaitForSingleObjectEx(m_information.hProcess, kInfinite, 0), kWaitObject0);
    Dword code = 0x1234;
    EXPECT_NE(GetExitCodeProcess(m_information.hProcess, &code), 0);
    EXPECT_NE(CloseHandle(m_information.hThread), 0);
    EXPECT_NE(CloseHandle(m_information.hProcess), 0);
    return code;
  }

  [[nodiscard]] const std::string& Folder() const { return m_folder; }
  [[nodiscard]] const ProcessInformation& Information() const { return m_information; }

 private:
  std::string m_folder;
  ProcessInformation m_information{};
};

TEST_F(HostChildProcess, TheLineIsTheOneArgument) {
  struct Case {
    const char* name;
    const char16_t* line;
    const char* expected;
  };
  const Case kCases[] = {
      {"blanks and quotes", u"/i  \"a b\" 'c' $HOME `x` \\", "1\n/i  \"a b\" 'c' $HOME `x` \\"},
      {"not ASCII", u"/i п€\U0001F511", "1\n/i п€\U0001F511"},
      {"empty", u"", "1\n"},
      {"none", nullptr, "0\n"},
  };
  PutScript("printf '%s\\n%s' $# \"$1\" > \"" + Folder() + "/seen\"\n");
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    ASSERT_NE(Start(one.line), 0);
    EXPECT_EQ(Finish(), 0U);
    EXPECT_EQ(tests::ReadAll(Folder() + "/seen"), one.expected);
  }
}

TEST_F(HostChildProcess, TheLineIsWrittenOver) {
  PutScript("exit 0\n");
  char16_t line[] = u"abc";
  StartupInfo startup{};
  startup.cb = 68;
  ProcessInformation information{};
  ASSERT_NE(CreateProcessW(u"C:\\windows\\system32\\x.exe", line, nullptr, nullptr, 0, 0, nullptr,
                           nullptr, &startup, &information),
            0);
  EXPECT_EQ(std::u16string(line, 4), std::u16string(u"###\0", 4));
  EXPECT_EQ(WaitForSingleObjectEx(information.hProcess, kInfinite, 0), kWaitObject0);
  EXPECT_NE(CloseHandle(information.hThread), 0);
  EXPECT_NE(CloseHandle(information.hProcess), 0);
}

TEST_F(HostChildProcess, ExitCodes) {
  struct Case {
    const char* name;
    std::string commands;
    Dword code;
  };
  const Case kCases[] = {
      {"success", "exit 0\n", 0},
      {"the low 8 bits", "exit 255\n", 255},
      {"crash", "kill -SEGV $$\n", 0xC0000005},
      {"bus error", "kill -BUS $$\n", 0xC0000005},
      {"illegal instruction", "kill -ILL $$\n", 0xC000001D},
      {"arithmetic", "kill -FPE $$\n", 0xC0000094},
      {"abort", "kill -ABRT $$\n", 3},
      {"killed", "kill -KILL $$\n", 1},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    PutScript(one.commands);
    ASSERT_NE(Start(u"x"), 0);
    EXPECT_EQ(Finish(), one.code);
  }
}

TEST_F(HostChildProcess, AnExitCodeCanBeSet) {
  PutScript("exit 7\n");
  for (const Dword code : {0U, 3010U, 1641U, 1603U, 1618U, 0xC0000005U, 0xFFFFFFFFU}) {
    host::SetExitCode(code);
    ASSERT_NE(Start(u"x"), 0);
    EXPECT_EQ(Finish(), code);
  }
  host::SetExitCode(std::nullopt);
  ASSERT_NE(Start(u"x"), 0);
  EXPECT_EQ(Finish(), 7U);
}

TEST_F(HostChildProcess, RunsUntilItEnds) {
  const std::string gate = Folder() + "/gate";
  PutScript("while [ ! -e '" + gate + "' ]; do sleep 0.01; done\n");
  host::SetExitCode(5);
  ASSERT_NE(Start(u"x"), 0);
  EXPECT_EQ(WaitForSingleObjectEx(Information().hProcess, 20, 0), kWaitTimeout);
  Dword code = 0;
  EXPECT_NE(GetExitCodeProcess(Information().hProcess, &code), 0);
  EXPECT_EQ(code, 259U);
  EXPECT_EQ(host::RunningPrograms(), 1U);
  std::ofstream(gate) << "";
  EXPECT_EQ(WaitForSingleObjectEx(Information().hThread, 60'000, 0), kWaitObject0);
  EXPECT_EQ(host::RunningPrograms(), 0U);
  EXPECT_EQ(Finish(), 5U);
}

TEST_F(HostChildProcess, ClosedHandlesLeaveItRunning) {
  const std::string gate = Folder() + "/gate";
  PutScript("while [ ! -e '" + gate + "' ]; do sleep 0.01; done\n");
  const std::size_t before = host::Live().handles;
  ASSERT_NE(Start(u"x"), 0);
  EXPECT_EQ(host::Live().handles, before + 2);
  EXPECT_NE(Information().hProcess, Information().hThread);
  EXPECT_NE(CloseHandle(Information().hThread), 0);
  EXPECT_NE(CloseHandle(Information().hProcess), 0);
  EXPECT_EQ(host::Live().handles, before);
  EXPECT_EQ(host::RunningPrograms(), 1U);
  std::ofstream(gate) << "";
  for (int i = 0; host::RunningPrograms() != 0 && i < 6000; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  EXPECT_EQ(host::RunningPrograms(), 0U);
}

TEST_F(HostChildProcess, AWaitCanBeSet) {
  const std::string gate = Folder() + "/gate";
  PutScript("while [ ! -e '" + gate + "' ]; do sleep 0.01; done\n");
  ASSERT_NE(Start(u"x"), 0);
  host::SetProgramWait(kWaitAbandoned);
  EXPECT_EQ(WaitForSingleObjectEx(Information().hProcess, kInfinite, 0), kWaitAbandoned);
  EXPECT_EQ(host::RunningPrograms(), 1U);
  host::SetProgramWait(std::nullopt);
  std::ofstream(gate) << "";
  EXPECT_EQ(Finish(), 0U);
}

TEST_F(HostChildProcess, ItsNumberIsTheSystems) {
  PutScript("printf '%s' $$ > \"" + Folder() + "/pid\"\n");
  ASSERT_NE(Start(u"x"), 0);
  const Dword id = Information().dwProcessId;
  EXPECT_EQ(Finish(), 0U);
  EXPECT_EQ(tests::ReadAll(Folder() + "/pid"), std::to_string(id));
}

TEST_F(HostChildProcess, HasFolderAndEnvironmentAndNoOpenFile) {
  const std::string seen = Folder() + "/seen";
  ASSERT_EQ(::setenv("ZUM_TEST_VARIABLE", "handed down", 1), 0);
  std::ofstream open(Folder() + "/open");
  PutScript(
      "links=$(for f in 0 1 2; do readlink /proc/$$/fd/$f; done)\n"
      "count=$(ls /proc/$$/fd | sort -n | tail -1)\n"
      "printf '%s\\n' \"$ZUM_TEST_VARIABLE\" \"$PWD\" \"$links\" \"$count\" > '" +
      seen + "'\n");
  ASSERT_NE(Start(u"x"), 0);
  EXPECT_EQ(Finish(), 0U);
  std::ifstream lines(seen);
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(line, "handed down");
  std::getline(lines, line);
  EXPECT_EQ(line, std::filesystem::current_path().string());
  for (int i = 0; i < 3; ++i) {
    std::getline(lines, line);
    EXPECT_EQ(line, "/dev/null");
  }
  // The shell itself keeps its script open, as one descriptor of its choice.
  std::getline(lines, line);
  EXPECT_TRUE(line == "2" || line == "10" || line == "255") << line;
}

TEST_F(HostChildProcess, WhatCantBeStarted) {
  std::filesystem::create_directory(Folder() + "/folder.exe");
  Put("text.exe", "no program\n");
  Put("unmarked.exe", kScript, /*isProgram=*/false);
  Put("lost.exe", "#!/no/such/interpreter\n");
  struct Case {
    const char* name;
    const char16_t* path;
    Error error;
  };
  const Case kCases[] = {
      {"missing file", u"C:\\windows\\system32\\none.exe", 2},
      {"missing folder", u"C:\\windows\\none\\x.exe", 3},
      {"missing drive", u"Q:\\x.exe", 3},
      {"empty path", u"", 3},
      {"folder", u"C:\\windows\\system32\\folder.exe", 5},
      {"text", u"C:\\windows\\system32\\text.exe", 193},
      {"not marked as a program", u"C:\\windows\\system32\\unmarked.exe", 193},
      {"script without its interpreter", u"C:\\windows\\system32\\lost.exe", 193},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    const std::size_t handles = host::Live().handles;
    EXPECT_EQ(Start(u"x", one.path), 0);
    EXPECT_EQ(GetLastError(), one.error);
    EXPECT_EQ(Information().hProcess, nullptr);
    EXPECT_EQ(host::Live().handles, handles);
  }
}

// More than the system takes as one argument; Windows itself ends at 32,767 characters.
TEST_F(HostChildProcess, LineThatIsTooLong) {
  PutScript("exit 0\n");
  EXPECT_EQ(Start(std::u16string(1'000'000, u'x').c_str()), 0);
  EXPECT_EQ(GetLastError(), 206u);
}

TEST_F(HostChildProcess, OtherFormsAreRefused) {
  PutScript("exit 0\n");
  int something = 0;
  SecurityAttributes attributes{};
  StartupInfo right{};
  right.cb = 68;
  StartupInfo wrong{};
  wrong.cb = 104;
  ProcessInformation information{};
  const char16_t* const path = u"C:\\windows\\system32\\x.exe";
  const auto error = [&](const char16_t* application, SecurityAttributes* process,
                         SecurityAttributes* thread, Bool inherit, Dword flags, void* environment,
                         const char16_t* folder, StartupInfo* startup, ProcessInformation* result) {
    SetLastError(0);
    EXPECT_EQ(CreateProcessW(application, nullptr, process, thread, inherit, flags, environment,
                             folder, startup, result),
              0);
    return GetLastError();
  };
  const auto* none = static_cast<const char16_t*>(nullptr);
  EXPECT_EQ(error(none, nullptr, nullptr, 0, 0, nullptr, none, &right, &information), 87U);
  EXPECT_EQ(error(path, &attributes, nullptr, 0, 0, nullptr, none, &right, &information), 87U);
  EXPECT_EQ(error(path, nullptr, &attributes, 0, 0, nullptr, none, &right, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 1, 0, nullptr, none, &right, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 0, 4, nullptr, none, &right, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 0, 0, &something, none, &right, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 0, 0, nullptr, u"C:\\", &right, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 0, 0, nullptr, none, &wrong, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 0, 0, nullptr, none, nullptr, &information), 87U);
  EXPECT_EQ(error(path, nullptr, nullptr, 0, 0, nullptr, none, &right, nullptr), 87U);
  EXPECT_EQ(host::RunningPrograms(), 0U);
}

TEST_F(HostChildProcess, ExitCodeIsOfAProcess) {
  Dword code = 77;
  EXPECT_EQ(GetExitCodeProcess(nullptr, &code), 0);
  EXPECT_EQ(GetLastError(), 6U);
  const Handle waitable = host::MakeWaitable(true);
  EXPECT_EQ(GetExitCodeProcess(waitable, &code), 0);
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(code, 77U);
  EXPECT_NE(CloseHandle(waitable), 0);
  PutScript("exit 0\n");
  ASSERT_NE(Start(u"x"), 0);
  EXPECT_EQ(GetExitCodeProcess(Information().hProcess, nullptr), 0);
  EXPECT_EQ(GetLastError(), 998U);
  EXPECT_EQ(Finish(), 0U);
}

TEST_F(HostChildProcess, FaultsStartNothing) {
  PutScript("touch '" + Folder() + "/started'\n");
  host::FailCall("CreateProcessW", 1, 1450);
  EXPECT_EQ(Start(u"x"), 0);
  EXPECT_EQ(GetLastError(), 1450U);
  EXPECT_FALSE(std::filesystem::exists(Folder() + "/started"));
  ASSERT_NE(Start(u"x"), 0);
  host::FailCall("GetExitCodeProcess", 1, 5);
  Dword code = 77;
  EXPECT_EQ(GetExitCodeProcess(Information().hProcess, &code), 0);
  EXPECT_EQ(GetLastError(), 5U);
  EXPECT_EQ(code, 77U);
  EXPECT_EQ(Finish(), 0U);
}

TEST_F(HostChildProcess, LogShowsTheArguments) {
  PutScript("exit 0\n");
  host::ClearCallLog();
  host::StartCallLog();
  ASSERT_NE(Start(u"/i a"), 0);
  const host::CallRecord call = host::CallsOf("CreateProcessW").at(0);
  EXPECT_EQ(call.Argument("application"), "C:\\windows\\system32\\x.exe");
  EXPECT_EQ(call.Argument("commandLine"), "/i a");
  EXPECT_EQ(call.Argument("creationFlags"), "0x8000000");
  EXPECT_EQ(call.Argument("startup.cb"), "68");
  EXPECT_EQ(call.Argument("startup"), "zero");
  EXPECT_EQ(call.Argument("information"), "zero");
  EXPECT_NE(call.Argument("*hProcess"), call.Argument("*hThread"));
  EXPECT_EQ(Finish(), 0U);
}

}  // namespace
}  // namespace winapi
