// The trust provider, by the functions of wintrust.dll and crypt32.dll, which are loaded from the
// system directory at the first use.
//
// Each function passes its arguments on and gives what the system's own gives. Where the system
// has none, WinVerifyTrust gives a failure, the helpers null, and CertGetNameStringW 0.
#ifndef PLATFORM_UTIL_WINDOWS_TRUST_H_
#define PLATFORM_UTIL_WINDOWS_TRUST_H_

#include <cstdint>

#include "winapi/trust.h"

namespace windows_helpers {

// Negative for a failure. 0x8007007E or 0x8007007F where the function is missing: the Win32 error
// as an HRESULT, since zero and above would pass for a verified file.
[[nodiscard]] std::int32_t WinVerifyTrust(winapi::Handle window, const winapi::Guid* action,
                                          winapi::WintrustData* data) noexcept;

// What these three give belongs to the state and lives until its close.
[[nodiscard]] winapi::CryptProviderData* WTHelperProvDataFromStateData(
    winapi::Handle state) noexcept;
[[nodiscard]] winapi::CryptProviderSigner* WTHelperGetProvSignerFromChain(
    winapi::CryptProviderData* data, winapi::Dword signer, winapi::Bool counterSigner,
    winapi::Dword counterSignerIndex) noexcept;
[[nodiscard]] winapi::CryptProviderCert* WTHelperGetProvCertFromChain(
    winapi::CryptProviderSigner* signer, winapi::Dword certificate) noexcept;

// Characters with the terminator: those that were written, or, with a null `name`, those needed.
[[nodiscard]] winapi::Dword CertGetNameStringW(const winapi::CertContext* certificate,
                                               winapi::Dword type, winapi::Dword flags,
                                               void* typeParameter, char16_t* name,
                                               winapi::Dword size) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_TRUST_H_
