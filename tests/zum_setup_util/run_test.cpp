// A run in the test's own process, whose command line asks for nothing.
#include "zum_setup_util/run.h"

#include <gtest/gtest.h>

#include "tests/support/captured_output.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

namespace zum_setup_util {
namespace {

TEST(RunSetupUtil, TracesItsScopeAndItsResult) {
  const tests::InstalledTracer tracer;
  const tests::CapturedOutput output;
  EXPECT_EQ(RunSetupUtil(), oru::sOk);
  EXPECT_EQ(output.Text(), "Completed");
  EXPECT_EQ(tracer.Records(),
            (tests::TraceRecords{{700, "zs_util\t[main]  begin"},
                                 {700, "zs_util\t[main]  end"},
                                 {700, "zs_util\t[main] exit with result = 0x00000000"}}));
  tests::ExpectProbes(tracer, 1);
}

}  // namespace
}  // namespace zum_setup_util
