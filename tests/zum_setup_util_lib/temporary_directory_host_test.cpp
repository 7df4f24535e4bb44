// A temporary directory that changes while it is asked for.
#include "zum_setup_util_lib/temporary_directory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "winapi/host/control.h"

namespace host = winapi::host;
using correct_setup::helpers::GetTempDirectory;

namespace {

std::vector<std::string> SizesAsked() {
  std::vector<std::string> sizes;
  for (const host::CallRecord& call : host::CallsOf("GetTempPathW")) {
    sizes.push_back(call.Argument("size"));
  }
  return sizes;
}

TEST(GetTempDirectoryOnHost, PathThatGrowsEachTimeIsEmpty) {
  host::SetPathScript("GetTempPathW", [](winapi::Dword size) {
    return host::PathAnswer{{}, size + 1};
  });
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(GetTempDirectory(), u"");
  EXPECT_EQ(SizesAsked(), (std::vector<std::string>{"260", "261", "262", "263", "264"}));
  host::SetPathScript("GetTempPathW", nullptr);
}

TEST(GetTempDirectoryOnHost, PathLongerThanTheFirstBufferIsTakenWhole) {
  const std::u16string path = u"D:\\" + std::u16string(300, u'n') + u"\\";
  host::SetPathScript("GetTempPathW", [&path](winapi::Dword) {
    return host::PathAnswer{path, {}};
  });
  host::StartCallLog();
  host::ClearCallLog();
  EXPECT_EQ(GetTempDirectory(), path);
  EXPECT_EQ(SizesAsked(), (std::vector<std::string>{"260", "305"}));
  host::SetPathScript("GetTempPathW", nullptr);
}

}  // namespace
