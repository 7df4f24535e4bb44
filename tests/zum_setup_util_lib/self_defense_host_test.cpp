// The probe against a directory that refuses, on a clock that stands still.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "oru/rtl/exception.h"
#include "tests/support/allocation_faults.h"
#include "tests/support/checks.h"
#include "tests/support/expected_failure.h"
#include "tests/support/standing_clock.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "tests/zum_setup_util_lib/product_data.h"
#include "winapi/host/control.h"
#include "zum_setup_util_lib/self_defense.h"

namespace host = winapi::host;

namespace {

using correct_setup::detail::CheckSelfDefense;
using tests::InstalledTracer;
using tests::ProductData;

const std::u16string kPath = u"c:\\ProgramData\\Quorvanta\\ZUM\\Data";
const std::string kActionText =
    "[correct_setup::detail::CheckSelfDefense::<lambda_55d4e313ff881600db388e2b646f2faf>"
    "::operator ()] path = c:\\ProgramData\\Quorvanta\\ZUM\\Data";
constexpr char kReport[] = "!\"Can't create a temporary file\"";

class SelfDefense : public testing::Test {
 protected:
  SelfDefense() {
    m_data.Make();
    host::StartCallLog();
    host::ClearCallLog();
  }
  ~SelfDefense() override {
    host::ClearFaults();
    host::SetGuidSource(nullptr);
  }

  [[nodiscard]] std::vector<winapi::Dword> Sleeps() const { return m_clock.Sleeps(); }
  static void ExpectRefusal() {
    tests::ExpectFailureOf("zum_setup_util_lib/correct_setup", 0xA1780001, CheckSelfDefense);
  }
  // 101 runs with 100 delays of 100 ms, and a report of the first failure alone.
  void ExpectAllRunsToFail() {
    ExpectRefusal();
    EXPECT_EQ(host::CallsOf("CreateFileW").size(), 101u);
    EXPECT_EQ(Sleeps(), std::vector<winapi::Dword>(100, 100));
    EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{kReport});
    EXPECT_TRUE(m_data.Names().empty());
    EXPECT_TRUE(host::CallsOf("DeleteFileW").empty());
  }

  ProductData m_data;
  tests::StandingClock m_clock;
};
using SelfDefenseOwnProcess = SelfDefense;

TEST_F(SelfDefenseOwnProcess, DirectoryThatRefusesEndsAfter101Runs) {
  ASSERT_TRUE(host::SetReadOnlyDirectory(kPath, true));
  ExpectAllRunsToFail();
}

// Nothing refuses root, so root becomes somebody else for the while, who must find the way there.
TEST_F(SelfDefenseOwnProcess, DirectoryWithoutTheRightToWriteEndsAfter101Runs) {
  using std::filesystem::perms;
  constexpr perms kSearch = perms::owner_exec | perms::group_exec | perms::others_exec;
  constexpr perms kRead = perms::owner_read | perms::group_read | perms::others_read;
  const std::filesystem::path root = host::RootFolder();
  for (auto path = m_data.Path(); path != root.parent_path(); path = path.parent_path()) {
    std::filesystem::permissions(path, kSearch, std::filesystem::perm_options::add);
  }
  std::filesystem::permissions(m_data.Path(), kRead | kSearch);
  constexpr uid_t kNobody = 65534;
  const uid_t user = ::geteuid();
  ASSERT_TRUE(user != 0 || ::seteuid(kNobody) == 0);
  ExpectAllRunsToFail();
  ASSERT_TRUE(user != 0 || ::seteuid(user) == 0);
  std::filesystem::permissions(m_data.Path(), perms::owner_all);
}

// The path's own question: nothing is tried, so nothing is repeated.
TEST_F(SelfDefense, DirectoryThatCanNotBeAskedIsRefusedAtOnce) {
  host::FailCall("GetFileAttributesW", 1, 5);
  const InstalledTracer tracer;
  ExpectRefusal();
  ASSERT_EQ(tracer.Records().size(), 3u);
  EXPECT_TRUE(tracer.Records()[1].second.starts_with(
      "setup\t[correct_setup::detail::CheckSelfDefense] CheckFailedException - "
      "[correct_setup::detail::CheckSelfDefense] path is not exists: path = "
      "c:\\ProgramData\\Quorvanta\\ZUM\\Data. At "))
      << tracer.Records()[1].second;
  EXPECT_EQ(host::CallsOf("GetFileAttributesW").size(), 1u);
  EXPECT_TRUE(host::CallsOf("CreateFileW").empty());
  EXPECT_TRUE(Sleeps().empty());
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST_F(SelfDefenseOwnProcess, FullDiskCountsAlike) {
  host::FailCall("CreateFileW", 1, 112, host::Repeat::kForever);
  ExpectAllRunsToFail();
}

// Each failed run writes two records behind the first one of the scope; the thirtieth repeat is
// told after 3 seconds.
TEST_F(SelfDefenseOwnProcess, DirectoryFreedAfterThreeSecondsPassesAtThe31stRun) {
  InstalledTracer tracer;
  ASSERT_TRUE(host::SetReadOnlyDirectory(kPath, true));
  tracer->Script(
      tests::RecordingTracer::Call::kCommit, [](char**) { return oru::sOk; }, 1 + 30 * 2 - 1);
  tracer->Script(tests::RecordingTracer::Call::kCommit, [](char**) {
    EXPECT_TRUE(host::SetReadOnlyDirectory(kPath, false));
    return oru::sOk;
  });
  CheckSelfDefense();
  EXPECT_EQ(Sleeps(), std::vector<winapi::Dword>(30, 100));
  EXPECT_EQ(host::CallsOf("CreateFileW").size(), 31u);
  EXPECT_EQ(tests::ReportedChecks(), std::vector<std::string>{kReport});
  EXPECT_TRUE(m_data.Names().empty());
}

TEST_F(SelfDefense, ProbeIsANewEmptyFileThatIsRemoved) {
  CheckSelfDefense();
  const auto creations = host::CallsOf("CreateFileW");
  ASSERT_EQ(creations.size(), 1u);
  const std::string path = creations[0].Argument("path");
  EXPECT_TRUE(path.starts_with("c:\\ProgramData\\Quorvanta\\ZUM\\Data\\"));
  EXPECT_EQ(path.size(), kPath.size() + 1 + 36);
  EXPECT_EQ(creations[0].Argument("access"), "0x0");
  EXPECT_EQ(creations[0].Argument("share"), "0x0");
  EXPECT_EQ(creations[0].Argument("disposition"), "1");
  const auto deletions = host::CallsOf("DeleteFileW");
  ASSERT_EQ(deletions.size(), 1u);
  EXPECT_EQ(deletions[0].Argument("path"), path);
  EXPECT_TRUE(Sleeps().empty());
}

TEST_F(SelfDefense, ProbeThatCanNotBeDeletedIsNoFailure) {
  const InstalledTracer tracer;
  host::FailCall("DeleteFileW", 1, 5);
  CheckSelfDefense();
  EXPECT_EQ(m_data.Names().size(), 1u);
  EXPECT_EQ(tracer.Records().size(), 2u);
}

TEST_F(SelfDefense, LinkIsRefusedLikeAMissingPath) {
  const tests::DirectoryTree elsewhere;
  std::filesystem::remove(m_data.Path());
  std::filesystem::create_directory_symlink(elsewhere.File(u""), m_data.Path());
  const InstalledTracer tracer;
  ExpectRefusal();
  ASSERT_EQ(tracer.Records().size(), 3u);
  EXPECT_NE(tracer.Records()[1].second.find("path is not exists: path = "), std::string::npos);
  EXPECT_TRUE(Sleeps().empty());
  EXPECT_TRUE(elsewhere.Names().empty());
  std::filesystem::remove(m_data.Path());
}

std::string TextOfAttempt(unsigned number) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  const std::string last{kDigits[number / 16], kDigits[number % 16]};
  return kActionText + "\\00000000-0000-0000-0000-0000000000" + last + ": ";
}

TEST_F(SelfDefenseOwnProcess, TextNamesTheLastAttemptsFile) {
  std::uint8_t attempts = 0;
  host::SetGuidSource([&attempts](winapi::Guid& guid) {
    guid = {};
    guid.Data4[7] = ++attempts;
    return 0;
  });
  ASSERT_TRUE(host::SetReadOnlyDirectory(kPath, true));
  const InstalledTracer tracer;
  ExpectRefusal();
  const tests::TraceRecords records = tracer.Records();
  ASSERT_EQ(records.size(), 1u + 101 + 100 + 1 + 1);
  // The creation's own error: the report of the failed check leaves another one behind.
  EXPECT_NE(records[1].second.find(TextOfAttempt(1) + "0x80000045 (Access denied). At "),
            std::string::npos)
      << records[1].second;
  EXPECT_EQ(records[2].second,
            "setup\t[correct_setup::helpers::TryExecuteWithRepeat] try repeat execution: count "
            "1:100");
  const std::string& own = records[records.size() - 2].second;
  EXPECT_TRUE(own.starts_with(
      "setup\t[correct_setup::detail::CheckSelfDefense] "
      "CheckResultFailedException - " +
      TextOfAttempt(101) + "0x80000045 (Access denied). At zum_setup_util_lib/correct_setup("))
      << own;
}

// The first question is the path's own test.
TEST_F(SelfDefense, TextNamesTheBareDirectoryWhereNoNameWasMade) {
  host::FailCall("GetFileAttributesW", 2, 5, host::Repeat::kForever);
  const std::vector<std::string> reported = tests::ReportedChecks();
  const InstalledTracer tracer;
  ExpectRefusal();
  const std::string own = tracer.Records()[tracer.Records().size() - 2].second;
  EXPECT_NE(own.find(kActionText + ": 0x80000045 (Access denied)"), std::string::npos) << own;
  EXPECT_EQ(Sleeps().size(), 100u);
  EXPECT_EQ(tests::ReportedChecks(), reported);
}

TEST_F(SelfDefense, DirectoryThatGoesAwayIsAPathNotFound) {
  host::FailCall("GetFileAttributesW", 2, 2, host::Repeat::kForever);
  const InstalledTracer tracer;
  ExpectRefusal();
  const std::string own = tracer.Records()[tracer.Records().size() - 2].second;
  EXPECT_NE(own.find(": 0x80010103 (Path not found)"), std::string::npos) << own;
}

// Without identifiers all names are the same, and one that is left behind stands in the way.
TEST_F(SelfDefenseOwnProcess, LeftoverOfAZeroIdentifierFailsLaterRuns) {
  host::FailCall("CoCreateGuid", 1, 5, host::Repeat::kForever);
  host::FailCall("DeleteFileW", 1, 5);
  CheckSelfDefense();
  EXPECT_EQ(m_data.Names(), std::set<std::u16string>{u"00000000-0000-0000-0000-000000000000"});
  const InstalledTracer tracer;
  ExpectRefusal();
  EXPECT_EQ(Sleeps().size(), 100u);
  EXPECT_NE(tracer.Records()[1].second.find("0x80010105 (Already exists)"), std::string::npos);
}

TEST_F(SelfDefense, NothingStaysOpen) {
  const std::size_t handles = host::Live().handles;
  CheckSelfDefense();
  EXPECT_EQ(host::Live().handles, handles);
}

}  // namespace
