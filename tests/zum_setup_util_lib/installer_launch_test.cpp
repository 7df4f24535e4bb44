// A program that is really started, in both worlds.
#include "zum_setup_util_lib/installer_launch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "platform/util/windows/system_error.h"
#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/program.h"
#include "tests/support/temporary_folder.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

using correct_setup::detail::CreateProcessAndWait;
using correct_setup::detail::GetMsiexecPath;
using correct_setup::detail::MakeVector;
using tests::InstalledTracer;

namespace {

using Record = std::pair<std::uint32_t, std::string>;

const std::string kPrefix = "setup\t[correct_setup::detail::CreateProcessAndWait] ";

// The failed call as the message tells it.
const std::string kCreateExpression =
    ". Expression: '::CreateProcessW( applicationName.c_str(), commandLine.empty() ? nullptr : "
    "MakeVector(commandLine).data(), nullptr, nullptr, 0, 0x08000000, nullptr, nullptr, "
    "&startupInfo, &processInfo)'";

class InstallerLaunch : public ::testing::Test {
 protected:
  InstallerLaunch() { std::filesystem::copy_file(LAUNCH_PROBE, m_folder.Path() / "probe.exe"); }

  [[nodiscard]] std::u16string Program() const { return m_folder.WindowsPath() + u"\\probe.exe"; }
  [[nodiscard]] std::u16string Seen() const {
    const std::string bytes = tests::ReadAll(m_folder.Path() / "probe.seen");
    std::u16string text(bytes.size() / 2, u'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * 2);
    return text;
  }
  // The program's own number, as it tells it itself.
  [[nodiscard]] std::string ProcessNumber() const {
    return tests::ReadAll(m_folder.Path() / "probe.pid");
  }
  [[nodiscard]] const std::filesystem::path& Folder() const { return m_folder.Path(); }
  [[nodiscard]] std::u16string WindowsFolder() const { return m_folder.WindowsPath(); }
  [[nodiscard]] tests::TraceRecords Records() const { return m_tracer.Records(); }
  [[nodiscard]] const InstalledTracer& Tracer() const { return m_tracer; }

 private:
  tests::TemporaryFolder m_folder;
  InstalledTracer m_tracer;
};

TEST_F(InstallerLaunch, GivesTheExitCode) {
  EXPECT_EQ(CreateProcessAndWait(Program(), u"/x exit=0"), 0u);
  EXPECT_EQ(CreateProcessAndWait(Program(), u"/x exit=7"), 7u);
  EXPECT_EQ(CreateProcessAndWait(Program(), u"/x exit=255"), 255u);
}

#ifdef _WIN32
// All 32 bits of it; natively a process has 8.
TEST_F(InstallerLaunch, GivesTheWholeExitCode) {
  struct Case {
    const char16_t* line;
    std::uint32_t code;
    const char* text;
  };
  const Case kCases[] = {
      {u"exit=3010", 3010, "0x00000bc2"},
      {u"exit=1641", 1641, "0x00000669"},
      {u"exit=1603", 1603, "0x00000643"},
      {u"exit=1618", 1618, "0x00000652"},
      {u"exit=259", 259, "0x00000103"},
      {u"exit=3221225477", 0xC0000005, "0xc0000005"},
      {u"exit=2147483648", 0x80000000, "0x80000000"},
      {u"exit=4294967295", 0xFFFFFFFF, "0xffffffff"},
  };
  for (const Case& one : kCases) {
    EXPECT_EQ(CreateProcessAndWait(Program(), one.line), one.code);
    EXPECT_EQ(Records().back(),
              Record(700, kPrefix + "process exit: code = " + std::string(one.text)));
  }
}

// The real installer, asked for a package that isn't there: a code and no failure. Which code is
// the installer's own matter (Wine's gives 2, where Windows' gives 1619), so it is asked twice.
TEST_F(InstallerLaunch, RealInstallerRefusesAMissingPackage) {
  const std::u16string line = u"/norestart /i " + WindowsFolder() + u"\\none.msi /qn";
  const std::uint32_t code = tests::RunProgram("C:\\windows\\system32\\msiexec.exe", line).status;
  EXPECT_NE(code, 0u);
  EXPECT_EQ(correct_setup::detail::LaunchMsiPackage(line), code);
  EXPECT_EQ(Records().at(1).second,
            kPrefix + "application name = C:\\windows\\system32\\msiexec.exe; arguments = '" +
                std::string(line.begin(), line.end()) + "'");
  tests::ExpectProbes(Tracer(), 1);
}
#endif

TEST_F(InstallerLaunch, TraceOfARun) {
  EXPECT_EQ(CreateProcessAndWait(Program(), u"/i exit=3"), 3u);
  const tests::TraceRecords records = Records();
  ASSERT_EQ(records.size(), 3u);
  const std::u16string program = Program();
  EXPECT_EQ(records[0], Record(700, kPrefix + "application name = " +
                                        std::string(program.begin(), program.end()) +
                                        "; arguments = '/i exit=3'"));
  EXPECT_NE(ProcessNumber(), "");
  EXPECT_EQ(records[1], Record(700, kPrefix + "created process: pid = " + ProcessNumber()));
  EXPECT_EQ(records[2], Record(700, kPrefix + "process exit: code = 0x00000003"));
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(InstallerLaunch, ProgramGetsTheLineAsItIs) {
  const std::u16string lines[] = {
      u"/norestart /i C:\\a b\\p.msi /qn SKIPREBOOTPENDING=1",
      u" two  blanks \"quoted 'text\\\" ",
      u"/i \u043F\u20AC\U0001F511",
      std::u16string(30'000, u'x'),
  };
  for (const std::u16string& line : lines) {
    EXPECT_EQ(CreateProcessAndWait(Program(), line), 0u);
    EXPECT_EQ(Seen(), line);
  }
}

TEST_F(InstallerLaunch, PasswordIsHiddenInTheTraceOnly) {
  EXPECT_EQ(CreateProcessAndWait(Program(), u"/i p QVPASSWD=secret /qn"), 0u);
  EXPECT_EQ(Seen(), u"/i p QVPASSWD=secret /qn");
  const std::string text = Records().at(0).second;
  EXPECT_TRUE(text.ends_with("; arguments = '/i p QVPASSWD=<sensitive data was hidden> /qn'"))
      << text;
  for (const auto& [level, record] : Records()) {
    EXPECT_EQ(record.find("secret"), std::string::npos) << record;
  }
}

// The call gets no line then, and the system puts the program's path in its place.
TEST_F(InstallerLaunch, EmptyLine) {
  EXPECT_EQ(CreateProcessAndWait(Program(), u""), 0u);
  EXPECT_TRUE(Records().at(0).second.ends_with("; arguments = ''")) << Records().at(0).second;
#ifdef _WIN32
  std::u16string quoted(1, u'"');
  quoted.append(Program()).push_back(u'"');
  EXPECT_EQ(Seen(), quoted);
#else
  EXPECT_EQ(Seen(), u"");
#endif
}

TEST_F(InstallerLaunch, WhatCannotBeStarted) {
  std::ofstream(Folder() / "text.exe", std::ios::binary) << "no program at all, just text\n";
  struct Case {
    const char* name;
    const char16_t* file;
    winapi::Error error;
    const char* text;
  };
  const Case kCases[] = {
      {"missing file", u"\\none.exe", 2, "System error: 0x00000002. "},
      {"missing folder", u"\\none\\probe.exe", 3, "System error: 0x00000003. "},
      {"no program", u"\\text.exe", 193, "System error: 0x000000c1. "},
  };
  for (const Case& one : kCases) {
    SCOPED_TRACE(one.name);
    try {
      (void)CreateProcessAndWait(WindowsFolder() + one.file, u"/i p");
      FAIL() << "it returned";
    } catch (const windows_helpers::WindowsErrorException& exception) {
      EXPECT_EQ(exception.systemError, one.error);
      EXPECT_STREQ(exception.File(), "zum_setup_util_lib/correct_setup");
      EXPECT_EQ(exception.Line(), 235u);
      const std::u16string_view message = exception.Message().view();
      const std::string text(message.begin(), message.end());
      EXPECT_TRUE(text.starts_with(one.text)) << text;
      EXPECT_TRUE(text.ends_with(kCreateExpression)) << text;
    }
  }
}

TEST_F(InstallerLaunch, InstallerIsInTheSystemDirectory) {
  EXPECT_EQ(GetMsiexecPath().view(), u"C:\\windows\\system32\\msiexec.exe");
}

TEST_F(InstallerLaunch, VectorHasTheTerminator) {
  EXPECT_EQ(MakeVector(u"/i"), (std::vector<char16_t>{u'/', u'i', u'\0'}));
  EXPECT_EQ(MakeVector(u""), std::vector<char16_t>{u'\0'});
  EXPECT_EQ(MakeVector(std::u16string(u"a\0b", 3)),
            (std::vector<char16_t>{u'a', u'\0', u'b', u'\0'}));
}

}  // namespace
