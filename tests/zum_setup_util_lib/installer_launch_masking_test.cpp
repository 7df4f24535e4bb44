// When the command line is masked: this program has a masking of its own that counts.
#include <gtest/gtest.h>

#include <string>

#include "oru/rtl/exception.h"
#include "tests/support/temporary_folder.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"
#include "zum_setup_util_lib/installer_launch.h"
#include "zum_setup_util_lib/sensitive_data.h"

namespace {

int calls = 0;

}  // namespace

namespace correct_setup::helpers {

std::u16string HideSensitiveData(const std::u16string& text) {
  ++calls;
  return u"masked " + text;
}

}  // namespace correct_setup::helpers

namespace {

// The trace stands in front of the creation, so a missing program does.
void LaunchMissing() {
  calls = 0;
  const tests::TemporaryFolder folder;
  EXPECT_THROW((void)correct_setup::detail::CreateProcessAndWait(
                   folder.WindowsPath() + u"\\none.exe", u"/i"),
               oru::ResultCodeException);
}

TEST(InstallerLaunchMasking, NotWithoutATracer) {
  LaunchMissing();
  EXPECT_EQ(calls, 0);
}

TEST(InstallerLaunchMasking, NotForARefusedLevel) {
  const tests::InstalledTracer tracer(699);
  LaunchMissing();
  EXPECT_EQ(calls, 0);
}

TEST(InstallerLaunchMasking, OnceForARecord) {
  const tests::InstalledTracer tracer;
  LaunchMissing();
  EXPECT_EQ(calls, 1);
  ASSERT_EQ(tracer.Records().size(), 1u);
  EXPECT_TRUE(tracer.Records()[0].second.ends_with("; arguments = 'masked /i'"))
      << tracer.Records()[0].second;
}

}  // namespace
