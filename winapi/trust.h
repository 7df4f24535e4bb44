// The trust provider's structures and functions. None is imported: wintrust.dll and crypt32.dll are
// loaded on first use, after the search path was narrowed.
#ifndef WINAPI_TRUST_H_
#define WINAPI_TRUST_H_

#include <cstdint>

#include "winapi/guid.h"
#include "winapi/types.h"

namespace winapi {

// WINTRUST_FILE_INFO: 16 bytes on the 32-bit target.
struct WintrustFileInfo {
  Dword cbStruct;
  const char16_t* pcwszFilePath;
  Handle hFile;
  Guid* pgKnownSubject;
};

// WINTRUST_DATA with the signature settings at its end: 52 bytes on the 32-bit target.
struct WintrustData {
  Dword cbStruct;
  void* pPolicyCallbackData;
  void* pSIPClientData;
  Dword dwUIChoice;
  Dword fdwRevocationChecks;
  Dword dwUnionChoice;
  WintrustFileInfo* pFile;
  Dword dwStateAction;
  Handle hWVTStateData;
  char16_t* pwszURLReference;
  Dword dwProvFlags;
  Dword dwUIContext;
  void* pSignatureSettings;
};

// CERT_CONTEXT, CRYPT_PROVIDER_DATA and CRYPT_PROVIDER_SGNR are only passed on.
struct CertContext;
struct CryptProviderData;
struct CryptProviderSigner;

// The head of CRYPT_PROVIDER_CERT.
struct CryptProviderCert {
  Dword cbStruct;
  const CertContext* pCert;
};

// sizeof(WINTRUST_DATA) and sizeof(WINTRUST_FILE_INFO) on the 32-bit target, in both worlds.
inline constexpr Dword kWintrustDataSize = 0x34;
inline constexpr Dword kWintrustFileInfoSize = 16;

inline constexpr Dword kWtdUiNone = 2;                      // WTD_UI_NONE
inline constexpr Dword kWtdRevokeNone = 0;                  // WTD_REVOKE_NONE
inline constexpr Dword kWtdChoiceFile = 1;                  // WTD_CHOICE_FILE
inline constexpr Dword kWtdStateActionVerify = 1;           // WTD_STATEACTION_VERIFY
inline constexpr Dword kWtdStateActionClose = 2;            // WTD_STATEACTION_CLOSE
inline constexpr Dword kWtdRevocationCheckNone = 0x10;      // WTD_REVOCATION_CHECK_NONE
inline constexpr Dword kWtdCacheOnlyUrlRetrieval = 0x1000;  // WTD_CACHE_ONLY_URL_RETRIEVAL
inline constexpr Dword kCertNameFriendlyDisplayType = 5;    // CERT_NAME_FRIENDLY_DISPLAY_TYPE

// WINTRUST_ACTION_GENERIC_VERIFY_V2.
inline constexpr Guid kWintrustActionGenericVerifyV2 = {
    0x00AAC56B, 0xCD44, 0x11D0, {0x8C, 0xC2, 0x00, 0xC0, 0x4F, 0xC2, 0x95, 0xEE}};

// What GetProcAddress gives for the functions of these names. None says anything by the last error.

// Verifies the file of `data`, or closes the state that a verification left, which must be done for
// each, a failed one too. Gives 0 for a trusted signature and else a status, negative for the
// verdicts; for a file that can't be opened the error, which is positive under Wine and on the host
// (2, 3, 5) and 0x80092003 on Windows. Sets the state's handle and, where it opened the file, the
// file's: that handle keeps everybody from writing to the file and deleting it, not from reading
// it. `window` is the owner of dialogs, or InvalidHandleValue() for none. The host knows the one
// action above, files alone and no dialog, and looks at no signature: the verdict is the test's.
using WinVerifyTrustFunction = std::int32_t(WINAPI_STDCALL*)(Handle window, const Guid* action,
                                                             WintrustData* data);
// What the provider knows by a state that isn't closed; null where it knows nothing. Belongs to the
// state, as all that the following three give.
using WTHelperProvDataFromStateDataFunction = CryptProviderData*(WINAPI_STDCALL*)(Handle state);
// The signer of that number, from 0, or one of its counter signers; null where there is none. The
// host has one signer, for a verdict of 0 or above, and no counter signers.
using WTHelperGetProvSignerFromChainFunction =
    CryptProviderSigner*(WINAPI_STDCALL*)(CryptProviderData* data, Dword signer, Bool counterSigner,
                                          Dword counterSignerIndex);
// The certificate of that number in the signer's chain, 0 for its own; null where there is none.
// The host's chain has one.
using WTHelperGetProvCertFromChainFunction =
    CryptProviderCert*(WINAPI_STDCALL*)(CryptProviderSigner* signer, Dword certificate);
// A certificate's name of the given type as text. Gives the length in characters with the
// terminator, so 1 for a certificate without such a name; for a null or empty buffer the size
// needed. What doesn't fit is cut off. The host has one name, whatever the type, and 1 for a
// context of no open state.
using CertGetNameStringWFunction = Dword(WINAPI_STDCALL*)(const CertContext* certificate,
                                                          Dword type, Dword flags,
                                                          void* typeParameter, char16_t* name,
                                                          Dword size);

}  // namespace winapi

#endif  // WINAPI_TRUST_H_
