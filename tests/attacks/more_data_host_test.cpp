// A registry that answers "more data" to each read. The run asks again for as long as it does:
// nothing but memory's end, or a read that succeeds, ends that.
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "tests/support/captured_output.h"
#include "tests/support/installer_keys.h"
#include "tests/support/test_registry.h"
#include "winapi/host/control.h"
#include "zum_setup_util/run.h"

namespace {

namespace host = winapi::host;

constexpr std::uint32_t kMoreData = 234;
const std::u16string kProduct = u"PRODUCT";

class MoreData : public ::testing::Test {
 protected:
  MoreData() {
    for (const std::u16string& key :
         {tests::InstallProperties(kProduct), tests::SourceList(kProduct)}) {
      tests::CreateKey(key);
    }
    tests::SetValue(tests::InstallProperties(kProduct),
                    {u"LocalPackageNotExist", 1, tests::Utf16Bytes(u"C:\\1.msi")});
    tests::SetValue(tests::SourceList(kProduct),
                    {u"PackageNameNotExist", 1, tests::Utf16Bytes(u"x.msi")});
    host::SetCommandLine(u"tool.exe /unblock");
  }

  static void ExpectCompleted() {
    const tests::CapturedOutput output;
    EXPECT_EQ(zum_setup_util::RunSetupUtil(), 0);
    EXPECT_EQ(output.Text(), "Completed");
  }

  static std::string Package() {
    return tests::StateOf(tests::InstallProperties(kProduct), u"LocalPackage");
  }
  static std::string Source() {
    return tests::StateOf(tests::SourceList(kProduct), u"PackageName");
  }
};
using MoreDataOwnProcess = MoreData;

// Far more passes than the check of their number allows, which reports to the run's own handler and
// doesn't end the loop.
TEST_F(MoreDataOwnProcess, OfOneSizeIsAskedForAgainAndAgain) {
  constexpr std::uint32_t kRefusals = 100'000;
  std::uint32_t asked = 0;
  host::SetQueryScript([&asked](std::u16string_view, winapi::Dword) {
    std::optional<host::QueryAnswer> answer;
    if (++asked <= kRefusals) answer = host::QueryAnswer{kMoreData, 1, 1000, {}};
    return answer;
  });
  ExpectCompleted();
  EXPECT_EQ(asked, kRefusals + 2);  // and a read of each value that the registry itself answers
  EXPECT_EQ(Package(), "restored");
  EXPECT_EQ(Source(), "restored");
}

// Each time twice what there was room for, until there is no memory of that size: the value counts
// as unreadable, and the run goes on to the next.
TEST_F(MoreData, ThatGrowsEndsWithTheMemoryAndLeavesTheMarks) {
  std::uint32_t asked = 0;
  host::SetQueryScript([&asked](std::u16string_view, winapi::Dword size) {
    ++asked;
    const winapi::Dword doubled = size < 0x7FFFFFFF ? size * 2 : 0xFFFFFFFE;
    return std::optional(host::QueryAnswer{kMoreData, 1, doubled, {}});
  });
  ExpectCompleted();
  EXPECT_EQ(Package(), "marked");
  EXPECT_EQ(Source(), "marked");
  EXPECT_LT(asked, 100u);
}

}  // namespace
