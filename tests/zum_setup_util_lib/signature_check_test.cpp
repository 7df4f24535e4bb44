// The check with the trust provider of the machine that the test runs on.
#include "zum_setup_util_lib/signature_check.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "oru/rtl/exception.h"
#include "tests/support/expected_failure.h"
#include "tests/support/temporary_folder.h"
#include "tests/zum_setup_util_lib/installed_tracer.h"

using correct_setup::detail::CheckVerisignSignature;
using tests::InstalledTracer;

namespace {

const std::string kPrefix = "setup\t[correct_setup::detail::CheckVerisignSignature] ";

class SignatureCheck : public ::testing::Test {
 protected:
  // Gives the record of the cause; the check must fail.
  std::string CauseFor(const std::u16string& path) {
    tests::ExpectFailureOf("zum_setup_util_lib/correct_setup", 0xA1780007,
                           [&] { CheckVerisignSignature(path); });
    const tests::TraceRecords records = m_tracer.Records();
    EXPECT_EQ(records.size(), 2u);
    if (records.size() != 2) return {};
    const std::string narrow(path.begin(), path.end());
    EXPECT_EQ(records[0].first, 700u);
    EXPECT_EQ(records[0].second, kPrefix + "path = " + narrow);
    EXPECT_EQ(records[1].first, 300u);
    EXPECT_TRUE(records[1].second.starts_with(kPrefix)) << records[1].second;
    EXPECT_TRUE(tests::EndsAtALineOf(records[1].second, "zum_setup_util_lib/correct_setup"))
        << records[1].second;
    return records[1].second.substr(kPrefix.size());
  }

  tests::TemporaryFolder m_folder;

 private:
  InstalledTracer m_tracer;
};

TEST_F(SignatureCheck, EmptyPath) {
  const std::string cause = CauseFor(u"");
  EXPECT_TRUE(cause.starts_with(
      "CheckResultFailedException - [correct_setup::detail::CheckVerisignSignature] empty path to "
      "package: 0x80010109 (Invalid path name). At zum_setup_util_lib/correct_setup("))
      << cause;
}

TEST_F(SignatureCheck, UnsignedPackage) {
  std::ofstream(m_folder.Path() / "p.msi", std::ios::binary) << "no package";
  const std::string cause = CauseFor(m_folder.WindowsPath() + u"\\p.msi");
#ifdef _WIN32
  const char* const start = "ResultCodeException - System error: 0x800b0003. ";  // unknown form
#else
  const char* const start = "ResultCodeException - System error: 0x800b0100. ";  // no signature
#endif
  EXPECT_TRUE(cause.starts_with(start)) << cause;
  EXPECT_NE(cause.find("Expression: 'WinVerifyTrust(static_cast<HWND>(((HANDLE)(LONG_PTR)-1)), "
                       "&guidAction, &sWintrustData)': 0x"),
            std::string::npos)
      << cause;
}

// The provider's status for it is positive and passes; there is no signer to go on with.
TEST_F(SignatureCheck, MissingPackage) {
  const std::string cause = CauseFor(m_folder.WindowsPath() + u"\\none.msi");
  EXPECT_TRUE(cause.starts_with(
      "CheckFailedException - setup\t[correct_setup::detail::CheckVerisignSignature] "
      "WTHelperGetProvSignerFromChain fail. At zum_setup_util_lib/correct_setup("))
      << cause;
}

}  // namespace
