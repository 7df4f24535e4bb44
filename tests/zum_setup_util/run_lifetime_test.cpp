// What the run's own texts live through: the trace directory dies before the action, the arguments
// before the report and before the clause that catches a failure. Seen on the blocks that are live
// at those moments.

#include <gtest/gtest.h>

#include <cstdint>
#include <iostream>
#include <iterator>
#include <stdexcept>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/trace.h"
#include "standalone_tracer_lib/tracers.h"
#include "tests/support/object_stub.h"
#include "tests/support/temporary_folder.h"
#include "tests/zum_setup_util/live_blocks.h"
#include "winapi/host/control.h"
#include "zum_setup_util/run.h"
#include "zum_setup_util_lib/unblock.h"

namespace {

// Static, so that the searched texts aren't in blocks themselves.
constexpr std::u16string_view kToken = u"/a-token-that-needs-a-block-of-its-own";
char16_t directoryText[1000];
std::u16string_view directory;

// The action of a case's run: what it shall do, and what it saw.
struct Action {
  bool fails = false;
  bool ran = false;
  bool sawArguments = false;
  bool sawDirectory = false;
};
Action action;

// The standard output of a run. No member of it lies in a block of the run.
class LookingOutput : public std::streambuf {
 public:
  LookingOutput() : m_old(std::cout.rdbuf(this)) {}
  LookingOutput(const LookingOutput&) = delete;
  LookingOutput& operator=(const LookingOutput&) = delete;
  ~LookingOutput() override { std::cout.rdbuf(m_old); }

  bool written = false;
  bool argumentsDuringReport = false;

 protected:
  std::streamsize xsputn(const char*, std::streamsize count) override {
    written = true;
    argumentsDuringReport = tests::LiveBlockBeginsWith(kToken);
    return count;
  }

 private:
  std::streambuf* m_old;
};

// Looks when the clause traces what it caught, at the level of errors.
class LookingTracer final : public tests::ObjectStub<oru::ITracer> {
 public:
  oru::ResultCode ReserveRecord(std::uint32_t level, char** buffer, std::uint32_t) override {
    if (level == oru::kTraceLevelError && buffer != nullptr) {
      clauseRan = true;
      argumentsDuringClause = tests::LiveBlockBeginsWith(kToken);
    }
    return oru::errNotMatched;
  }
  oru::ResultCode CommitRecord(char*, std::uint32_t) override { return oru::errUnexpected; }

  bool clauseRan = false;
  bool argumentsDuringClause = false;
};

}  // namespace

void correct_setup::Unblock() {
  action.ran = true;
  action.sawArguments = tests::LiveBlockBeginsWith(kToken);
  action.sawDirectory = tests::LiveBlockBeginsWith(directory);
  if (action.fails) throw std::runtime_error("the action");
}

namespace {

class RunLifetime : public testing::Test {
 protected:
  RunLifetime() { action = {}; }
};

TEST_F(RunLifetime, DirectoryDiesBeforeTheActionAndArgumentsBeforeTheReport) {
  const tests::TemporaryFolder folder;
  {
    const std::u16string path = folder.WindowsPath();
    directory = {directoryText, path.copy(directoryText, std::size(directoryText))};
    std::u16string commandLine = u"tool.exe --trace-output=";
    commandLine.append(path).append(u" ").append(kToken).append(u" /unblock");
    winapi::host::SetCommandLine(commandLine);
    EXPECT_TRUE(tests::LiveBlockBeginsWith(directory)) << "the search doesn't find what is there";
  }
  const LookingOutput output;
  EXPECT_EQ(zum_setup_util::RunSetupUtil(), 0);
  EXPECT_TRUE(action.ran);
  EXPECT_TRUE(action.sawArguments);
  EXPECT_FALSE(action.sawDirectory);
  EXPECT_TRUE(output.written);
  EXPECT_FALSE(output.argumentsDuringReport);
}

TEST_F(RunLifetime, ArgumentsDieBeforeTheClauseOfAFailure) {
  using standalone::trace::TracerHolder;
  LookingTracer tracer;
  TracerHolder::Instance().Install(oru::ObjectPtr<oru::ITracer>::Share(&tracer));
  {
    std::u16string commandLine = u"tool.exe ";
    commandLine.append(kToken).append(u" /unblock");
    winapi::host::SetCommandLine(commandLine);
  }
  action.fails = true;
  const LookingOutput output;
  EXPECT_EQ(zum_setup_util::RunSetupUtil(), oru::MakeResultCode(0x80000072));
  TracerHolder::Instance().Install(standalone::trace::CreateEmptyTracer());

  EXPECT_TRUE(action.sawArguments);
  EXPECT_TRUE(tracer.clauseRan);
  EXPECT_FALSE(tracer.argumentsDuringClause);
  EXPECT_TRUE(output.written);
  EXPECT_FALSE(output.argumentsDuringReport);
}

}  // namespace
