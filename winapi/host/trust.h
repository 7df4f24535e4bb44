// The functions of wintrust.dll and crypt32.dll, which are found by name only.
#ifndef WINAPI_HOST_TRUST_H_
#define WINAPI_HOST_TRUST_H_

#include "winapi/trust.h"

namespace winapi::host {

// What GetProcAddress gives for these names; they log and fail under them.

// Knows the verification of a file (WTD_CHOICE_FILE) by WINTRUST_ACTION_GENERIC_VERIFY_V2, and the
// close of its state; another action gives 0x800B0001, structures of other sizes or another choice
// give 0x80070057. Verifying makes a state in any case. A file that isn't there gives its plain
// Win32 error as Wine's does, which is positive: 2, 3, for a folder 5; the state then has provider
// data and no signer. Else the verdict is the test's, 0x800B0100 without one. Behind a verdict of
// 0 or above, and behind others where the test says so, `hFile` is an open handle of the file,
// which the close of the state closes if nobody else has; else it is InvalidHandleValue().
std::int32_t WINAPI_STDCALL WinVerifyTrust(Handle window, const Guid* action,
                                           WintrustData* data) noexcept;

// Null for what doesn't belong to a state that is open, and for indexes above 0.
CryptProviderData* WINAPI_STDCALL WTHelperProvDataFromStateData(Handle state) noexcept;
CryptProviderSigner* WINAPI_STDCALL WTHelperGetProvSignerFromChain(
    CryptProviderData* data, Dword signer, Bool counterSigner, Dword counterSignerIndex) noexcept;
CryptProviderCert* WINAPI_STDCALL WTHelperGetProvCertFromChain(CryptProviderSigner* signer,
                                                               Dword certificate) noexcept;

// The signer's name, whatever type is asked for. 1 and an empty text for a certificate without one;
// a buffer that is too small gets what fits, terminated.
Dword WINAPI_STDCALL CertGetNameStringW(const CertContext* certificate, Dword type, Dword flags,
                                        void* typeParameter, char16_t* name, Dword size) noexcept;

}  // namespace winapi::host

#endif  // WINAPI_HOST_TRUST_H_
