// The installer's launch with a stand-in in the host's system directory.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "platform/util/windows/system_error.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "winapi/handles.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/installer_launch.h"

namespace host = winapi::host;
using correct_setup::detail::CreateProcessAndWait;
using correct_setup::detail::LaunchMsiPackage;
using tests::InstalledTracer;

namespace {

using Record = std::pair<std::uint32_t, std::string>;

const std::string kStage = "setup\t[correct_setup::detail::LaunchMsiPackage] ";
const std::string kCreate = "setup\t[correct_setup::detail::CreateProcessAndWait] ";
const std::u16string kMsiexec = u"C:\\windows\\system32\\msiexec.exe";

class LaunchOnHost : public ::testing::Test {
 protected:
  LaunchOnHost() : m_folder(host::RootFolder() + "/drive_c/windows/system32") {
    std::filesystem::create_directories(m_folder);
    PutInstaller("exit 0\n");
    host::ClearCallLog();
    host::StartCallLog();
  }
  ~LaunchOnHost() override {
    host::ClearFaults();
    host::SetExitCode(std::nullopt);
    host::SetProgramWait(std::nullopt);
    EXPECT_EQ(host::Live().handles, 0u);
  }

  void PutInstaller(const std::string& commands) {
    const std::string path = m_folder + "/msiexec.exe";
    std::ofstream(path, std::ios::binary) << "#!/bin/sh\n" + commands;
    std::filesystem::permissions(path, std::filesystem::perms::owner_all,
                                 std::filesystem::perm_options::add);
  }
  // One that runs until the file "gate" is there.
  void PutWaitingInstaller() {
    PutInstaller("while [ ! -e '" + m_folder + "/gate' ]; do sleep 0.01; done\n");
  }
  void LetInstallersEnd() {
    std::ofstream(m_folder + "/gate") << "";
    for (int i = 0; host::RunningPrograms() != 0 && i < 6000; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    EXPECT_EQ(host::RunningPrograms(), 0u);
  }
  [[nodiscard]] const std::string& Folder() const { return m_folder; }

  [[nodiscard]] tests::TraceRecords Records() const { return m_tracer.Records(); }
  [[nodiscard]] const InstalledTracer& Tracer() const { return m_tracer; }
  // Expects those of a launch that fails behind the installer's start.
  void ExpectRecordsOfAStartedInstaller() const {
    const tests::TraceRecords records = Records();
    ASSERT_EQ(records.size(), 5u);
    EXPECT_EQ(records[0], Record(700, kStage + " begin"));
    EXPECT_EQ(records[1],
              Record(700, kCreate + "application name = C:\\windows\\system32\\msiexec.exe; "
                                    "arguments = '/i p'"));
    EXPECT_EQ(records[2].first, 700u);
    EXPECT_TRUE(records[2].second.starts_with(kCreate + "created process: pid = "))
        << records[2].second;
    EXPECT_EQ(records[3].first, 300u);
    EXPECT_EQ(records[4], Record(700, kStage + " end"));
  }
  // The record of the cause of a failure, which must be there, without its prefix.
  [[nodiscard]] std::string Cause() const {
    for (const auto& [level, text] : m_tracer.Records()) {
      if (level == 300 && text.starts_with(kStage)) return text.substr(kStage.size());
    }
    ADD_FAILURE() << "no cause was traced";
    return {};
  }

  static void ExpectStageFailure() {
    try {
      (void)LaunchMsiPackage(u"/i p");
      FAIL() << "it returned";
    } catch (const oru::CheckResultFailedException& exception) {
      EXPECT_EQ(exception.Code(), oru::MakeResultCode(0xA1780005));
      EXPECT_STREQ(exception.File(), "zum_setup_util_lib/correct_setup");
      EXPECT_EQ(exception.Line(), 260u);
      EXPECT_TRUE(exception.Message().empty());
    }
  }

 private:
  std::string m_folder;
  InstalledTracer m_tracer;
};
using LaunchOnHostOwnProcess = LaunchOnHost;

TEST_F(LaunchOnHost, ExitCodesComeBackAsTheyAre) {
  struct Case {
    std::uint32_t code;
    const char* text;
  };
  const Case kCases[] = {{0, "0x00000000"},    {3010, "0x00000bc2"}, {1641, "0x00000669"},
                         {1603, "0x00000643"}, {1618, "0x00000652"}, {0xC0000005, "0xc0000005"}};
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.text);
    const InstalledTracer tracer;
    host::SetExitCode(one.code);
    EXPECT_EQ(LaunchMsiPackage(u"/i p"), one.code);
    const tests::TraceRecords records = tracer.Records();
    ASSERT_EQ(records.size(), 5u);
    EXPECT_EQ(records[3], Record(700, kCreate + "process exit: code = " + std::string(one.text)));
    for (const auto& [level, text] : records) EXPECT_EQ(level, 700u) << text;
  }
}

TEST_F(LaunchOnHost, CrashOfTheInstallerIsItsExitCode) {
  PutInstaller("kill -SEGV $$\n");
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 0xC0000005u);
}

TEST_F(LaunchOnHost, TraceOfALaunch) {
  EXPECT_EQ(LaunchMsiPackage(u"/norestart /i C:\\p.msi QVPASSWD=secret /qn"), 0u);
  const tests::TraceRecords records = Records();
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(records[0], Record(700, kStage + " begin"));
  EXPECT_EQ(records[1],
            Record(700, kCreate + "application name = C:\\windows\\system32\\msiexec.exe; "
                                  "arguments = '/norestart /i C:\\p.msi QVPASSWD=<sensitive data "
                                  "was hidden> /qn'"));
  EXPECT_TRUE(records[2].second.starts_with(kCreate + "created process: pid = "));
  EXPECT_EQ(records[3], Record(700, kCreate + "process exit: code = 0x00000000"));
  EXPECT_EQ(records[4], Record(700, kStage + " end"));
  tests::ExpectProbes(Tracer(), 1);
}

// The last call of the launch's own that was made before each record.
TEST_F(LaunchOnHost, RecordsStandBetweenTheirCalls) {
  const std::set<std::string> own = {"CreateProcessW", "WaitForSingleObjectEx",
                                     "GetExitCodeProcess", "CloseHandle"};
  std::vector<std::string> calls;
  InstalledTracer tracer;
  tracer->Script(
      tests::RecordingTracer::Call::kCommit,
      [&](char**) {
        calls.emplace_back();
        for (const host::CallRecord& call : host::CallLog()) {
          if (own.contains(call.operation)) calls.back() = call.operation;
        }
        return oru::sOk;
      },
      5);
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 0u);
  const tests::TraceRecords records = tracer.Records();
  ASSERT_EQ(records.size(), 5u);
  EXPECT_TRUE(records[2].second.starts_with(kCreate + "created process: ")) << records[2].second;
  EXPECT_TRUE(records[3].second.starts_with(kCreate + "process exit: ")) << records[3].second;
  EXPECT_EQ(calls, (std::vector<std::string>{"", "", "CreateProcessW", "GetExitCodeProcess",
                                             "CloseHandle"}));
}

TEST_F(LaunchOnHost, InstallerGetsTheTrueLine) {
  PutInstaller("printf '%s|%s' $# \"$1\" > '" + Folder() + "/seen'\n");
  EXPECT_EQ(LaunchMsiPackage(u"/i C:\\a b\\p.msi QVPASSWD=secret /qn"), 0u);
  EXPECT_EQ(tests::ReadAll(Folder() + "/seen"), "1|/i C:\\a b\\p.msi QVPASSWD=secret /qn");
}

TEST_F(LaunchOnHost, ArgumentsOfTheCreation) {
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 0u);
  const std::vector<host::CallRecord> calls = host::CallsOf("CreateProcessW");
  ASSERT_EQ(calls.size(), 1u);
  const host::CallRecord& call = calls[0];
  const decltype(call.arguments) expected = {{"application", "C:\\windows\\system32\\msiexec.exe"},
                                             {"commandLine", "/i p"},
                                             {"processAttributes", "0x0"},
                                             {"threadAttributes", "0x0"},
                                             {"inheritHandles", "0"},
                                             {"creationFlags", "0x8000000"},
                                             {"environment", "0x0"},
                                             {"currentDirectory", "(null)"},
                                             {"startup.cb", "68"},
                                             {"startup", "zero"},
                                             {"information", "zero"},
                                             {"*hProcess", call.Argument("*hProcess")},
                                             {"*hThread", call.Argument("*hThread")}};
  EXPECT_EQ(call.arguments, expected);
}

TEST_F(LaunchOnHost, EmptyLineIsANullPointer) {
  EXPECT_EQ(CreateProcessAndWait(kMsiexec, u""), 0u);
  EXPECT_EQ(host::CallsOf("CreateProcessW").at(0).Argument("commandLine"), "(null)");
  EXPECT_EQ(Records().at(0).second,
            kCreate + "application name = C:\\windows\\system32\\msiexec.exe; arguments = ''");
}

TEST_F(LaunchOnHost, ThreadIsClosedBeforeTheProcess) {
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 0u);
  const host::CallRecord create = host::CallsOf("CreateProcessW").at(0);
  const std::vector<host::CallRecord> closes = host::CallsOf("CloseHandle");
  ASSERT_EQ(closes.size(), 2u);
  EXPECT_EQ(closes[0].Argument("handle"), create.Argument("*hThread"));
  EXPECT_EQ(closes[1].Argument("handle"), create.Argument("*hProcess"));
  const std::vector<host::CallRecord> waits = host::CallsOf("WaitForSingleObjectEx");
  ASSERT_EQ(waits.size(), 1u);
  EXPECT_EQ(waits[0].Argument("handle"), create.Argument("*hProcess"));
  EXPECT_EQ(waits[0].Argument("milliseconds"), "4294967295");
  EXPECT_EQ(waits[0].Argument("alertable"), "0");
  EXPECT_EQ(host::CallsOf("GetExitCodeProcess").at(0).Argument("process"),
            create.Argument("*hProcess"));
}

TEST_F(LaunchOnHost, MissingInstaller) {
  std::filesystem::remove(Folder() + "/msiexec.exe");
  ExpectStageFailure();
  EXPECT_EQ(Cause(),
            "ResultCodeException - System error: 0x00000002. The system cannot find the file "
            "specified. Expression: '::CreateProcessW( applicationName.c_str(), "
            "commandLine.empty() ? nullptr : MakeVector(commandLine).data(), nullptr, nullptr, 0, "
            "0x08000000, nullptr, nullptr, &startupInfo, &processInfo)': 0x80010102 (File not "
            "found). At zum_setup_util_lib/correct_setup(235) ");
  EXPECT_EQ(host::CallsOf("CreateProcessW").size(), 1u) << "nothing is repeated";
  EXPECT_EQ(Records().back(), Record(700, kStage + " end"));
}

TEST_F(LaunchOnHost, SystemDirectoryThatIsNotTold) {
  host::FailCall("GetSystemDirectoryW", 1, 5);
  ExpectStageFailure();
  EXPECT_NE(Cause().find("GetSystemFilesDirectory"), std::string::npos) << Cause();
  EXPECT_TRUE(host::CallsOf("CreateProcessW").empty());
}

TEST_F(LaunchOnHost, FailedWaitLeavesTheInstallerRunning) {
  PutWaitingInstaller();
  host::FailCall("WaitForSingleObjectEx", 1, 6);
  ExpectStageFailure();
  EXPECT_EQ(Cause(),
            "CheckResultFailedException - 0x80010101 (Invalid handle). At "
            "zum_setup_util_lib/correct_setup(241) ");
  EXPECT_TRUE(host::CallsOf("GetExitCodeProcess").empty());
  EXPECT_EQ(host::CallsOf("CloseHandle").size(), 2u);
  EXPECT_EQ(host::Live().handles, 0u);
  EXPECT_EQ(host::RunningPrograms(), 1u);
  ExpectRecordsOfAStartedInstaller();
  LetInstallersEnd();
}

TEST_F(LaunchOnHost, AbandonedWaitIsAFailure) {
  PutWaitingInstaller();
  host::SetProgramWait(winapi::kWaitAbandoned);
  ExpectStageFailure();
  EXPECT_EQ(Cause(),
            "CheckResultFailedException - 0x80010106 (Wait abandoned). At "
            "zum_setup_util_lib/correct_setup(241) ");
  EXPECT_EQ(host::RunningPrograms(), 1u);
  ExpectRecordsOfAStartedInstaller();
  LetInstallersEnd();
}

// Not negative, so the code is asked for: that of a program that runs.
TEST_F(LaunchOnHost, WaitThatTimesOutIsNoFailure) {
  PutWaitingInstaller();
  host::SetProgramWait(winapi::kWaitTimeout);
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 259u);
  LetInstallersEnd();
}

TEST_F(LaunchOnHost, ExitCodeThatIsNotTold) {
  host::FailCall("GetExitCodeProcess", 1, 6);
  ExpectStageFailure();
  EXPECT_TRUE(Cause().starts_with("ResultCodeException - System error: 0x00000006. ")) << Cause();
  EXPECT_NE(Cause().find(". Expression: 'GetExitCodeProcess(processHandle, &exitcode)': 0x"),
            std::string::npos)
      << Cause();
  EXPECT_TRUE(Cause().ends_with(". At zum_setup_util_lib/correct_setup(244) ")) << Cause();
  EXPECT_EQ(host::CallsOf("CloseHandle").size(), 2u);
  ExpectRecordsOfAStartedInstaller();
}

TEST_F(LaunchOnHostOwnProcess, HandlesThatCannotBeClosedAreReported) {
  host::FailCall("CloseHandle", 1, 6, host::Repeat::kForever);
  host::SetExitCode(1603);
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 1603u);
  EXPECT_EQ(
      tests::CountReported("!static_cast<const void *>(\"oru::sOk == Traits::Close(m_handle)\")"),
      1u);
}

TEST_F(LaunchOnHost, WithoutATracerTheResultIsTheSame) {
  const InstalledTracer silent(0);
  host::SetExitCode(3010);
  EXPECT_EQ(LaunchMsiPackage(u"/i p"), 3010u);
  EXPECT_TRUE(silent.Records().empty());
}

}  // namespace
