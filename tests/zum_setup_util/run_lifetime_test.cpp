// What the run's own texts live through: the trace directory dies before the action, the arguments
// before the report. Seen on the blocks that are live at those moments.

#include <gtest/gtest.h>

#include <iostream>
#include <iterator>

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

bool actionRan = false;
bool argumentsDuringAction = false;
bool directoryDuringAction = false;

class LookingOutput : public std::streambuf {
 public:
  bool written = false;
  bool argumentsDuringReport = false;

 protected:
  std::streamsize xsputn(const char*, std::streamsize count) override {
    written = true;
    argumentsDuringReport = tests::LiveBlockBeginsWith(kToken);
    return count;
  }
};

}  // namespace

void correct_setup::Unblock() {
  actionRan = true;
  argumentsDuringAction = tests::LiveBlockBeginsWith(kToken);
  directoryDuringAction = tests::LiveBlockBeginsWith(directory);
}

namespace {

TEST(RunLifetime, DirectoryDiesBeforeTheActionAndArgumentsBeforeTheReport) {
  const tests::TemporaryFolder folder;
  {
    const std::u16string path = folder.WindowsPath();
    directory = {directoryText, path.copy(directoryText, std::size(directoryText))};
    std::u16string commandLine = u"tool.exe --trace-output=";
    commandLine.append(path).append(u" ").append(kToken).append(u" /unblock");
    winapi::host::SetCommandLine(commandLine);
    EXPECT_TRUE(tests::LiveBlockBeginsWith(directory)) << "the search doesn't find what is there";
  }
  LookingOutput output;
  std::streambuf* const old = std::cout.rdbuf(&output);
  const oru::ResultCode result = zum_setup_util::RunSetupUtil();
  std::cout.rdbuf(old);

  EXPECT_EQ(result, 0);
  EXPECT_TRUE(actionRan);
  EXPECT_TRUE(argumentsDuringAction);
  EXPECT_FALSE(directoryDuringAction);
  EXPECT_TRUE(output.written);
  EXPECT_FALSE(output.argumentsDuringReport);
}

}  // namespace
