#include "zum_setup_util_lib/self_defense.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>

#include "oru/rtl/exception.h"
#include "tests/support/checks.h"
#include "tests/support/expected_failure.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "tests/zum_setup_util_lib/product_data.h"

namespace {

using correct_setup::detail::CheckSelfDefense;
using tests::InstalledTracer;
using tests::ProductData;

using Names = std::set<std::u16string>;

constexpr char kBegin[] = "setup\t[correct_setup::detail::CheckSelfDefense]  begin";
constexpr char kEnd[] = "setup\t[correct_setup::detail::CheckSelfDefense]  end";

void ExpectRefusal() {
  tests::ExpectFailureOf("zum_setup_util_lib/correct_setup", 0xA1780001, CheckSelfDefense);
}

// The path's own failure comes at once: nothing is repeated.
void ExpectRefusalOfThePath() {
  const InstalledTracer tracer;
  ExpectRefusal();
  const tests::TraceRecords records = tracer.Records();
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].first, 700u);
  EXPECT_EQ(records[0].second, kBegin);
  EXPECT_EQ(records[1].first, 300u);
  EXPECT_TRUE(records[1].second.starts_with(
      "setup\t[correct_setup::detail::CheckSelfDefense] CheckFailedException - "
      "[correct_setup::detail::CheckSelfDefense] path is not exists: path = "
      "c:\\ProgramData\\Quorvanta\\ZUM\\Data. At zum_setup_util_lib/correct_setup("))
      << records[1].second;
  EXPECT_EQ(records[2].first, 700u);
  EXPECT_EQ(records[2].second, kEnd);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(CheckSelfDefense, PassesAndLeavesTheDirectoryAsItWas) {
  const ProductData data;
  data.Make();
  tests::WriteAll(data.Path() / "settings", "content");
  const InstalledTracer tracer;
  CheckSelfDefense();
  EXPECT_EQ(data.Names(), Names{u"settings"});
  EXPECT_EQ(tests::ReadAll(data.Path() / "settings"), "content");
  EXPECT_EQ(tracer.Records(), (tests::TraceRecords{{700, kBegin}, {700, kEnd}}));
  tests::ExpectProbes(tracer, 1);
  EXPECT_TRUE(tests::ReportedChecks().empty());
}

TEST(CheckSelfDefense, PassesAgain) {
  const ProductData data;
  data.Make();
  CheckSelfDefense();
  CheckSelfDefense();
  EXPECT_TRUE(data.Names().empty());
}

TEST(CheckSelfDefense, MissingDirectoryIsRefusedAtOnce) {
  const ProductData data;
  ExpectRefusalOfThePath();
}

TEST(CheckSelfDefense, FileInItsPlaceIsRefusedAtOnce) {
  const ProductData data;
  tests::WriteAll(data.Path(), "content");
  ExpectRefusalOfThePath();
  EXPECT_EQ(tests::ReadAll(data.Path()), "content");
}

}  // namespace
