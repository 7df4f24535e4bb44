// The order of the run's steps and its two regions, seen on the calls that it makes.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "oru/rtl/check.h"
#include "oru/rtl/exception.h"
#include "oru/rtl/tracer.h"
#include "standalone_tracer_lib/tracers.h"
#include "tests/support/checks.h"
#include "tests/support/directory_tree.h"
#include "tests/support/installer_keys.h"
#include "tests/support/temporary_folder.h"
#include "winapi/exceptions.h"
#include "winapi/host/control.h"
#include "zum_setup_util/run.h"
#include "zum_setup_util/trace_setup.h"

namespace zum_setup_util {
namespace {

namespace host = winapi::host;

const std::u16string kProducts = u"HKEY_LOCAL_MACHINE\\" + tests::kUserData;

// The standard output during a run: keeps the bytes, and notes how many calls of the seam came
// before them.
class RecordingOutput : public std::streambuf {
 public:
  RecordingOutput() : m_old(std::cout.rdbuf(this)) {}
  RecordingOutput(const RecordingOutput&) = delete;
  RecordingOutput& operator=(const RecordingOutput&) = delete;
  ~RecordingOutput() override {
    std::cout.exceptions(std::ios::goodbit);
    std::cout.clear();
    std::cout.rdbuf(m_old);
  }

  // From now on a write throws, and the stream lets the exception out.
  void FailWrites() {
    m_fails = true;
    std::cout.exceptions(std::ios::badbit);
  }

  [[nodiscard]] const std::string& Bytes() const { return m_bytes; }
  [[nodiscard]] std::size_t CallsBefore() const { return m_callsBefore; }
  [[nodiscard]] int Flushes() const { return m_flushes; }

 protected:
  int_type overflow(int_type character) override {
    const char byte = traits_type::to_char_type(character);
    return xsputn(&byte, 1) == 1 ? character : traits_type::eof();
  }
  std::streamsize xsputn(const char* bytes, std::streamsize count) override {
    if (m_fails) throw std::runtime_error("the output is broken");
    if (m_bytes.empty()) m_callsBefore = host::CallLog().size();
    m_bytes.append(bytes, static_cast<std::size_t>(count));
    return count;
  }
  int sync() override {
    ++m_flushes;
    return 0;
  }

 private:
  std::streambuf* m_old;
  std::string m_bytes;
  std::size_t m_callsBefore = 0;
  int m_flushes = 0;
  bool m_fails = false;
};

class RunOrder : public testing::Test {
 protected:
  RunOrder() {
    host::CreateRegistryKey(kProducts);
    host::StartCallLog();
    host::ClearCallLog();
  }
  ~RunOrder() override {
    host::ClearFaults();
    // A run leaves its tracer installed, and the next case's calls would be traced by it.
    standalone::trace::TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());
  }

  // The first `count` calls of the log, without those that only move memory and the last error
  // about.
  static std::vector<std::string> Operations(std::size_t count = host::CallLog().size()) {
    std::vector<std::string> names;
    for (std::size_t i = 0; i < count; ++i) {
      const std::string& name = host::CallLog()[i].operation;
      if (!name.ends_with("LastError") && name.find("Heap") == std::string::npos) {
        names.push_back(name);
      }
    }
    return names;
  }
  static std::size_t PositionOf(const std::string& operation) {
    const std::vector<std::string> names = Operations();
    return static_cast<std::size_t>(std::find(names.begin(), names.end(), operation) -
                                    names.begin());
  }

  std::u16string TraceArgument() { return u"--trace-output=" + m_folder.WindowsPath(); }

  // The trace file as it stands; lets go of the tracer first, so that the file is complete.
  std::string Trace() {
    standalone::trace::TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());
    std::string text;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.Path())) {
      text += tests::ReadAll(entry.path());
    }
    return text;
  }

  RecordingOutput m_output;
  tests::TemporaryFolder m_folder;
};
using RunOrderOwnProcess = RunOrder;

TEST_F(RunOrder, ARunWithNothingToDoMakesOnlyTheDriversCalls) {
  host::SetCommandLine(u"tool.exe");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(Operations(),
            (std::vector<std::string>{"LoadLibraryW", "GetProcAddress", "SetDefaultDllDirectories",
                                      "FreeLibrary", "AddVectoredExceptionHandler",
                                      "GetCommandLineW", "RemoveVectoredExceptionHandler"}));
  EXPECT_EQ(m_output.Bytes(), "Completed");
  EXPECT_EQ(Operations(m_output.CallsBefore()).back(), "GetCommandLineW")
      << "the report stands between the arguments and the end";
  EXPECT_EQ(m_output.Flushes(), 0);
}

TEST_F(RunOrder, HandlerStandsAtTheHeadOfTheChain) {
  host::SetCommandLine(u"tool.exe");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(host::CallsOf("AddVectoredExceptionHandler").at(0).Argument("first"), "1");
}

TEST_F(RunOrder, SearchIsNarrowedToTheSystemDirectory) {
  host::SetCommandLine(u"tool.exe");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(host::CallsOf("SetDefaultDllDirectories").at(0).Argument("flags"), "0x800");
}

// A report that the run's own handler still swallowed would not reach the recorder.
TEST_F(RunOrderOwnProcess, HandlerIsGoneBehindTheRun) {
  host::SetCommandLine(u"tool.exe");
  EXPECT_EQ(RunSetupUtil(), 0);
  oru::FailedAssertion("after");
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{"after"});
}

TEST_F(RunOrderOwnProcess, HandlerIsGoneBehindAFailureOfTheOuterRegion) {
  host::SetCommandLine(u"tool.exe");
  m_output.FailWrites();
  EXPECT_EQ(RunSetupUtil(), oru::MakeResultCode(0x80000072));
  oru::FailedAssertion("after");
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{"after"});
}

TEST_F(RunOrder, InstallerTokenStartsNothingAndReadsNoRecords) {
  host::SetCommandLine(u"tool.exe /installmsi C:\\x.msi /qn");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(m_output.Bytes(), "Completed");
  for (const std::string& name : Operations()) {
    EXPECT_NE(name, "CreateProcessW");
    EXPECT_FALSE(name.starts_with("Reg")) << name;
  }
}

TEST_F(RunOrder, CommandLineWithoutAnyTokenIsCompleted) {
  host::SetCommandLine(u"");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(m_output.Bytes(), "Completed");
}

TEST_F(RunOrder, FailedSearchSetUpIsIgnored) {
  host::SetCommandLine(u"tool.exe");
  host::FailCall("LoadLibraryW", 1, 126);
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(m_output.Bytes(), "Completed");
}

TEST_F(RunOrder, UnarmedHandlerIsNotTested) {
  host::SetCommandLine(u"tool.exe");
  host::FailCall("AddVectoredExceptionHandler", 1, 8);
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(m_output.Bytes(), "Completed");
  EXPECT_EQ(host::CallsOf("RemoveVectoredExceptionHandler").size(), 1u);
}

TEST_F(RunOrder, FailedRemovalIsIgnored) {
  host::SetCommandLine(u"tool.exe");
  host::FailCall("RemoveVectoredExceptionHandler", 1, 6);
  EXPECT_EQ(RunSetupUtil(), 0);
}

TEST_F(RunOrder, UnblockRunsOnceThoughItIsAskedForTwice) {
  host::SetCommandLine(u"tool.exe /unblock /installmsi /unblock");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(host::CallsOf("RegOpenKeyExW").size(), 1u);
  EXPECT_EQ(m_output.Bytes(), "Completed");
}

TEST_F(RunOrder, ExitRecordStandsBetweenTheReportAndTheRemoval) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" /unblock");
  EXPECT_EQ(RunSetupUtil(), 0);
  const std::vector<std::string> names = Operations();
  // A record's time is read when it is committed: the last one before the removal is the exit
  // record's.
  const std::size_t removal = PositionOf("RemoveVectoredExceptionHandler");
  EXPECT_EQ(removal, names.size() - 1);
  const auto report =
      names.begin() + static_cast<std::ptrdiff_t>(Operations(m_output.CallsBefore()).size());
  EXPECT_EQ(std::count(report, names.end(), "GetSystemTimeAsFileTime"), 1);
  EXPECT_LT(PositionOf("OpenOutputStream"), PositionOf("RegOpenKeyExW"));
}

// The time in the path is read behind the command line, which is masked first.
TEST_F(RunOrder, CommandLineIsMaskedBeforeTheTraceFilesPathIsMade) {
  host::SetCommandLine(u"tool.exe " + TraceArgument());
  EXPECT_EQ(RunSetupUtil(), 0);
  std::vector<std::string> calls;
  for (const std::string& name : Operations()) {
    if (name == "GetCommandLineW" || name == "GetSystemTimeAsFileTime" ||
        name == "OpenOutputStream") {
      calls.push_back(name);
    }
    if (name == "OpenOutputStream") break;
  }
  EXPECT_EQ(calls, (std::vector<std::string>{"GetCommandLineW", "GetCommandLineW",
                                             "GetSystemTimeAsFileTime", "OpenOutputStream"}));
}

TEST_F(RunOrder, TraceFileIsNamedForAllComponents) {
  host::SetCommandLine(u"tool.exe " + TraceArgument());
  EXPECT_EQ(RunSetupUtil(), 0);
  const std::filesystem::directory_iterator files(m_folder.Path());
  const std::string name = files->path().filename().string();
  EXPECT_TRUE(name.starts_with("zum-setup-util-") && name.ends_with("-all.log")) << name;
}

TEST_F(RunOrder, TraceHasTheRecordsInTheirOrder) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" /unblock");
  EXPECT_EQ(RunSetupUtil(), 0);
  const std::string trace = Trace();
  std::size_t position = 0;
  for (const char* text :
       {"\tINF\tzs_util\t[main]  begin\r\n",
        "\tINF\tsetup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade]  begin\r\n",
        "\tINF\tsetup\t[correct_setup::detail::DisableProtectiveMeasuresUpgrade]  end\r\n",
        "\tINF\tzs_util\t[main]  end\r\n",
        "\tINF\tzs_util\t[main] exit with result = 0x00000000\r\n", "End of trace file, time: "}) {
    const std::size_t found = trace.find(text, position);
    ASSERT_NE(found, std::string::npos) << text << "\nin\n" << trace;
    position = found;
  }
}

TEST_F(RunOrder, TracerOfTheRunKeepsLevelsUpTo700) {
  host::SetCommandLine(u"tool.exe " + TraceArgument());
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(GetTracer()->ReserveRecord(700, nullptr, 0), oru::MakeResultCode(0x80000079));
  EXPECT_EQ(GetTracer()->ReserveRecord(701, nullptr, 0), oru::MakeResultCode(0x8000007A));
}

TEST_F(RunOrder, FailureOfTheActionIsTracedBehindTheScopesEnd) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" /unblock");
  host::FailCall("RegOpenKeyExW", 1, 5);
  EXPECT_EQ(RunSetupUtil(), oru::MakeResultCode(0xA1780003));
  EXPECT_EQ(m_output.Bytes(),
            "Failed: 0xa1780003 (Problem in disable protective upgrade registry)");
  const std::string trace = Trace();
  const std::size_t end = trace.find("\tINF\tzs_util\t[main]  end\r\n");
  const std::size_t error = trace.find(
      "\tERR\tzs_util\t[main] CheckResultFailedException - 0xa1780003 (Unknown result code). At "
      "zum_setup_util_lib/correct_setup(");
  const std::size_t exit = trace.find("[main] exit with result = 0xa1780003\r\n");
  ASSERT_NE(end, std::string::npos) << trace;
  ASSERT_NE(error, std::string::npos) << trace;
  ASSERT_NE(exit, std::string::npos) << trace;
  EXPECT_LT(end, error);
  EXPECT_LT(error, exit);
}

TEST_F(RunOrder, FailedReportIsTheOuterRegionsOutcome) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" /unblock");
  host::FailCall("RegOpenKeyExW", 1, 5);
  m_output.FailWrites();
  EXPECT_EQ(RunSetupUtil(), oru::MakeResultCode(0x80000072)) << "the later failure replaces it";
  EXPECT_EQ(m_output.Bytes(), "");
  EXPECT_EQ(Operations().back(), "RemoveVectoredExceptionHandler");
  const std::string trace = Trace();
  EXPECT_EQ(trace.find("exit with result"), std::string::npos) << trace;
  EXPECT_EQ(trace.find("the output is broken"), std::string::npos) << trace;
}

TEST_F(RunOrder, ReportThatFindsNoMemoryPrintsNothing) {
  host::SetCommandLine(u"tool.exe /unblock");
  host::FailCall("RegOpenKeyExW", 1, 5);
  host::FailCall("HeapAlloc", 1, 8, host::Repeat::kForever);
  EXPECT_EQ(RunSetupUtil(), oru::MakeResultCode(0x80000041));
  EXPECT_EQ(m_output.Bytes(), "");
}

TEST_F(RunOrder, EmptyTraceDirectoryIsNoOption) {
  host::SetCommandLine(u"tool.exe --trace-output= /unblock");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_TRUE(host::CallsOf("OpenOutputStream").empty());
}

TEST_F(RunOrder, FirstOfTwoTraceDirectoriesCounts) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" " + TraceArgument() + u"\\missing");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_NE(Trace(), "");
}

TEST_F(RunOrder, MissingTraceDirectoryChangesNothing) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u"\\missing /unblock");
  EXPECT_EQ(RunSetupUtil(), 0);
  EXPECT_EQ(m_output.Bytes(), "Completed");
  EXPECT_EQ(Trace(), "");
}

TEST_F(RunOrder, HeaderHasTheMaskedCommandLineWithItsDoubledLabel) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" QVPASSWD=secret");
  EXPECT_EQ(RunSetupUtil(), 0);
  const std::string trace = Trace();
  EXPECT_NE(trace.find("\r\nCommand line: Command line: tool.exe --trace-output="),
            std::string::npos)
      << trace;
  EXPECT_NE(trace.find(" QVPASSWD=<sensitive data was hidden>\r\n"), std::string::npos) << trace;
  EXPECT_EQ(trace.find("secret"), std::string::npos) << trace;
}

// The command line's text goes through a block of the process heap: without one the conversion
// fails, with its own code.
TEST_F(RunOrder, UnconvertibleCommandLineEndsTheRunWithTheConversionsCode) {
  host::SetCommandLine(u"tool.exe " + TraceArgument() + u" /unblock");
  host::FailCall("HeapAlloc", 1, 8, host::Repeat::kOnce);
  const oru::ResultCode result = RunSetupUtil();
  EXPECT_EQ(result, oru::MakeResultCode(0x80000041));
  EXPECT_EQ(m_output.Bytes(), "Failed: 0x80000041 (Out of memory)");
  EXPECT_TRUE(host::CallsOf("RegOpenKeyExW").empty()) << "the action isn't reached";
}

TEST_F(RunOrder, MaskedCommandLineTellsWhereTheConversionFailed) {
  host::SetCommandLine(u"a command line that doesn't fit into a string's own buffer");
  host::FailCall("HeapAlloc", 1, 8, host::Repeat::kForever);
  try {
    (void)GetMaskedCommandLine();
    FAIL() << "nothing was thrown";
  } catch (const oru::CheckResultFailedException& exception) {
    EXPECT_EQ(exception.Code(), oru::MakeResultCode(0x80000041));
    EXPECT_STREQ(exception.File(), "platform/util/text_utils");
    EXPECT_EQ(exception.Line(), 53u);
  }
}

TEST_F(RunOrder, NothingIsLeftOpen) {
  const host::LiveResources before = host::Live();
  host::SetCommandLine(u"tool.exe /unblock");
  EXPECT_EQ(RunSetupUtil(), 0);
  const host::LiveResources after = host::Live();
  EXPECT_EQ(after.keys, before.keys);
  EXPECT_EQ(after.handles, before.handles);
  EXPECT_EQ(after.moduleReferences, before.moduleReferences);
}

}  // namespace
}  // namespace zum_setup_util
