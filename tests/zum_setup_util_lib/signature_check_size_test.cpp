// Sizes of a signer's name that no block of memory can have: this program has a trust provider of
// its own.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "oru/rtl/exception.h"
#include "platform/util/windows/trust.h"
#include "zum_setup_util_lib/signature_check.h"

#ifndef _WIN32
#include "winapi/host/control.h"
#endif

namespace {

winapi::Dword toldSize = 0;

// Whether a call of CertGetNameStringW had a buffer, and the size that it was given.
std::vector<std::pair<bool, winapi::Dword>> nameCalls;

}  // namespace

namespace windows_helpers {

std::int32_t WinVerifyTrust(winapi::Handle, const winapi::Guid*, winapi::WintrustData*) noexcept {
  return 0;
}
winapi::CryptProviderData* WTHelperProvDataFromStateData(winapi::Handle) noexcept {
  return nullptr;
}
winapi::CryptProviderSigner* WTHelperGetProvSignerFromChain(winapi::CryptProviderData*,
                                                            winapi::Dword, winapi::Bool,
                                                            winapi::Dword) noexcept {
  return nullptr;
}
winapi::CryptProviderCert* WTHelperGetProvCertFromChain(winapi::CryptProviderSigner*,
                                                        winapi::Dword) noexcept {
  return nullptr;
}
winapi::Dword CertGetNameStringW(const winapi::CertContext*, winapi::Dword, winapi::Dword, void*,
                                 // The signature is the platform's.
                                 // NOLINTNEXTLINE(readability-non-const-parameter)
                                 char16_t* name, winapi::Dword size) noexcept {
  nameCalls.emplace_back(name != nullptr, size);
  return toldSize;
}

}  // namespace windows_helpers

namespace {

// Goes on as for a failed allocation.
void ExpectNoBuffer(winapi::Dword size) {
  SCOPED_TRACE(size);
  toldSize = size;
  nameCalls.clear();
  try {
    (void)correct_setup::detail::GetCertificateDescription(nullptr);
    FAIL() << "it returned";
  } catch (const oru::CheckFailedException& exception) {
    EXPECT_EQ(exception.Message().view(),
              u"setup\t[correct_setup::detail::GetCertificateDescription] "
              u"CertGetNameString fail");
  }
  EXPECT_EQ(nameCalls, (decltype(nameCalls){{false, 0}, {false, size}}));
}

class SignatureNameSize : public ::testing::Test {
 protected:
#ifndef _WIN32
  SignatureNameSize() { winapi::host::StartCallLog(); }
#endif
};

// Twice these wraps in 32 bits: to nothing, to 2 and to 65536 bytes, and to almost all.
TEST_F(SignatureNameSize, SizeThatHasNoBytesIsNoBuffer) {
  for (const winapi::Dword size : {0x80000000u, 0x80000001u, 0x80008000u, 0xFFFFFFFFu}) {
    ExpectNoBuffer(size);
  }
#ifndef _WIN32
  EXPECT_TRUE(winapi::host::CallsOf("LocalAlloc").empty());
#endif
}

// The last one that has is asked for; a 32-bit process has no room for it.
TEST_F(SignatureNameSize, GreatestSizeIsAskedFor) {
#ifndef _WIN32
  winapi::host::FailCall("LocalAlloc", 1, 8);
#endif
  ExpectNoBuffer(0x7FFFFFFF);
#ifndef _WIN32
  const std::vector<winapi::host::CallRecord> calls = winapi::host::CallsOf("LocalAlloc");
  ASSERT_EQ(calls.size(), 1u);
  EXPECT_EQ(calls[0].Argument("bytes"), "4294967294");
#endif
}

}  // namespace
