#include "platform/util/windows/trust.h"

#include "platform/util/windows/system_library.h"
#include "winapi/errors.h"

namespace windows_helpers {
namespace {

// Each is loaded by a run that verifies a package only.
constinit SystemLibrary wintrust(u"wintrust.dll");
constinit SystemLibrary crypt32(u"crypt32.dll");

// An HRESULT of facility 7, so that it is negative whatever the number.
std::int32_t NegativeFailure(winapi::Error error) noexcept {
  return static_cast<std::int32_t>(0x80070000 | (error & 0xFFFF));
}

}  // namespace

std::int32_t WinVerifyTrust(winapi::Handle window, const winapi::Guid* action,
                            winapi::WintrustData* data) noexcept {
  winapi::WinVerifyTrustFunction verify = nullptr;
  if (const winapi::Error error = wintrust.Find("WinVerifyTrust", verify))
    return NegativeFailure(error);
  return verify(window, action, data);
}

// The helpers say by null alone that something isn't there; why it isn't, nobody asks.
winapi::CryptProviderData* WTHelperProvDataFromStateData(winapi::Handle state) noexcept {
  winapi::WTHelperProvDataFromStateDataFunction function = nullptr;
  if (wintrust.Find("WTHelperProvDataFromStateData", function) != winapi::kErrorSuccess) {
    return nullptr;
  }
  return function(state);
}

winapi::CryptProviderSigner* WTHelperGetProvSignerFromChain(
    winapi::CryptProviderData* data, winapi::Dword signer, winapi::Bool counterSigner,
    winapi::Dword counterSignerIndex) noexcept {
  winapi::WTHelperGetProvSignerFromChainFunction function = nullptr;
  if (wintrust.Find("WTHelperGetProvSignerFromChain", function) != winapi::kErrorSuccess) {
    return nullptr;
  }
  return function(data, signer, counterSigner, counterSignerIndex);
}

winapi::CryptProviderCert* WTHelperGetProvCertFromChain(winapi::CryptProviderSigner* signer,
                                                        winapi::Dword certificate) noexcept {
  winapi::WTHelperGetProvCertFromChainFunction function = nullptr;
  if (wintrust.Find("WTHelperGetProvCertFromChain", function) != winapi::kErrorSuccess) {
    return nullptr;
  }
  return function(signer, certificate);
}

winapi::Dword CertGetNameStringW(const winapi::CertContext* certificate, winapi::Dword type,
                                 winapi::Dword flags, void* typeParameter, char16_t* name,
                                 winapi::Dword size) noexcept {
  winapi::CertGetNameStringWFunction function = nullptr;
  // 0 reads as a certificate without a name, and such a name passes no test.
  if (crypt32.Find("CertGetNameStringW", function) != winapi::kErrorSuccess) return 0;
  return function(certificate, type, flags, typeParameter, name, size);
}

}  // namespace windows_helpers
