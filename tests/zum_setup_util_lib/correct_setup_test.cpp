// The correction where its first stage refuses, which any machine without the product does.
#include "zum_setup_util_lib/correct_setup.h"

#include <gtest/gtest.h>

#include "tests/support/expected_failure.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "tests/zum_setup_util_lib/product_data.h"

namespace {

// The arguments, which are none, aren't looked at.
TEST(ExecuteCorrectSetup, ProductThatIsNotThereEndsItInItsFirstStage) {
  const tests::ProductData data;
  const tests::InstalledTracer tracer;
  tests::ExpectFailureOf("zum_setup_util_lib/correct_setup", 0xA1780001,
                         [] { (void)correct_setup::ExecuteCorrectSetup({}); });
  const tests::TraceRecords records = tracer.Records();
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(records[0].second, "setup\t[correct_setup::ExecuteCorrectSetup]  begin");
  EXPECT_EQ(records[1].second, "setup\t[correct_setup::detail::CheckSelfDefense]  begin");
  EXPECT_EQ(records[2].first, 300u);
  EXPECT_EQ(records[3].second, "setup\t[correct_setup::detail::CheckSelfDefense]  end");
  EXPECT_EQ(records[4].second, "setup\t[correct_setup::ExecuteCorrectSetup]  end");
  tests::ExpectProbes(tracer, 2);
}

}  // namespace
