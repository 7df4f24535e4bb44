#include "platform/util/windows/trust.h"

#include "platform/util/windows/system_library.h"

namespace windows_helpers {
namespace {

constinit SystemLibrary wintrust(u"wintrust.dll");
constinit SystemLibrary crypt32(u"crypt32.dll");

std::int32_t FailureOf(winapi::Error error) noexcept {
  return static_cast<std::int32_t>(0x80070000 | (error & 0xFFFF));
}

// The function of that name as `Function`, or null.
template <typename Function>
Function Find(SystemLibrary& library, const char* name) noexcept {
  winapi::Procedure procedure = nullptr;
  (void)library.Find(name, procedure);  // a failure is the null pointer
  return reinterpret_cast<Function>(procedure);
}

}  // namespace

std::int32_t WinVerifyTrust(winapi::Handle window, const winapi::Guid* action,
                            winapi::WintrustData* data) noexcept {
  winapi::Procedure procedure = nullptr;
  if (const winapi::Error error = wintrust.Find("WinVerifyTrust", procedure)) {
    return FailureOf(error);
  }
  return reinterpret_cast<winapi::WinVerifyTrustFunction>(procedure)(window, action, data);
}

winapi::CryptProviderData* WTHelperProvDataFromStateData(winapi::Handle state) noexcept {
  const auto function = Find<winapi::WTHelperProvDataFromStateDataFunction>(
      wintrust, "WTHelperProvDataFromStateData");
  return function == nullptr ? nullptr : function(state);
}

winapi::CryptProviderSigner* WTHelperGetProvSignerFromChain(
    winapi::CryptProviderData* data, winapi::Dword signer, winapi::Bool counterSigner,
    winapi::Dword counterSignerIndex) noexcept {
  const auto function = Find<winapi::WTHelperGetProvSignerFromChainFunction>(
      wintrust, "WTHelperGetProvSignerFromChain");
  return function == nullptr ? nullptr : function(data, signer, counterSigner, counterSignerIndex);
}

winapi::CryptProviderCert* WTHelperGetProvCertFromChain(winapi::CryptProviderSigner* signer,
                                                        winapi::Dword certificate) noexcept {
  const auto function =
      Find<winapi::WTHelperGetProvCertFromChainFunction>(wintrust, "WTHelperGetProvCertFromChain");
  return function == nullptr ? nullptr : function(signer, certificate);
}

winapi::Dword CertGetNameStringW(const winapi::CertContext* certificate, winapi::Dword type,
                                 winapi::Dword flags, void* typeParameter, char16_t* name,
                                 winapi::Dword size) noexcept {
  const auto function = Find<winapi::CertGetNameStringWFunction>(crypt32, "CertGetNameStringW");
  return function == nullptr ? 0 : function(certificate, type, flags, typeParameter, name, size);
}

}  // namespace windows_helpers
