// What stands in the file of a program that has ended.
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/standalone_tracer_lib/trace_file.h"
#include "tests/support/directory_tree.h"
#include "tests/support/program.h"
#include "tests/support/temporary_folder.h"

namespace standalone::trace {
namespace {

constexpr char kWholeFile[] =
    "TVX TRACE FILE\tTime: <day minute>  PID: <process>(0x<process>)\r\n"
    "Command line: child\r\n"
    "Time(UTC) : <day minute>  \r\n"
    "\r\n"
    "\r\n"
    "<time of day>\t0x<thread>\tINF\tzs_util\t[main]  begin\r\n"
    "<time of day>\t0x<thread>\tINF\tzs_util\t[main]  end\r\n"
    "<time of day>\t0x<thread>\tINF\tlate\r\n"
    "End of trace file, time: <day second>\r\n";

// The masked file of a program that ended so; checks its exit status.
std::string TraceOf(const std::u16string& way, std::uint32_t status) {
  const tests::TemporaryFolder folder;
  const auto outcome = tests::RunProgram(
      ZUM_TRACED_PROGRAM, u"traced_program " + way + u" " + folder.WindowsPath() + u"\\t.log");
  EXPECT_EQ(outcome.status, status);
  EXPECT_EQ(outcome.output, "");
  return tests::MaskIdentity(tests::MaskTimes(tests::ReadAll(folder.Path() / "t.log")));
}

TEST(ProcessExitTest, ReturnFromMainWritesTheFooter) {
  EXPECT_EQ(TraceOf(u"return", 5), kWholeFile);
}

TEST(ProcessExitTest, ExitWritesTheFooter) { EXPECT_EQ(TraceOf(u"exit", 7), kWholeFile); }

TEST(ProcessExitTest, SuddenEndLosesWhatIsInTheBuffer) { EXPECT_EQ(TraceOf(u"die", 9), ""); }

}  // namespace
}  // namespace standalone::trace
