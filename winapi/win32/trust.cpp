// Only comparisons with the headers: nothing of the trust provider is imported.
#include "winapi/trust.h"

#include <windows.h>

#include <wincrypt.h>
#include <wintrust.h>

#include <softpub.h>

#include <cstddef>

#include "winapi/win32/shape.h"

namespace winapi {

// The compiler's header has the structure of older systems, without the signature settings.
static_assert(sizeof(WintrustData) == kWintrustDataSize);
static_assert(offsetof(WintrustData, pSignatureSettings) == sizeof(WINTRUST_DATA));
static_assert(offsetof(WintrustData, cbStruct) == offsetof(WINTRUST_DATA, cbStruct));
static_assert(offsetof(WintrustData, pPolicyCallbackData) ==
              offsetof(WINTRUST_DATA, pPolicyCallbackData));
static_assert(offsetof(WintrustData, pSIPClientData) == offsetof(WINTRUST_DATA, pSIPClientData));
static_assert(offsetof(WintrustData, dwUIChoice) == offsetof(WINTRUST_DATA, dwUIChoice));
static_assert(offsetof(WintrustData, fdwRevocationChecks) ==
              offsetof(WINTRUST_DATA, fdwRevocationChecks));
static_assert(offsetof(WintrustData, dwUnionChoice) == offsetof(WINTRUST_DATA, dwUnionChoice));
static_assert(offsetof(WintrustData, pFile) == offsetof(WINTRUST_DATA, pFile));
static_assert(offsetof(WintrustData, dwStateAction) == offsetof(WINTRUST_DATA, dwStateAction));
static_assert(offsetof(WintrustData, hWVTStateData) == offsetof(WINTRUST_DATA, hWVTStateData));
static_assert(offsetof(WintrustData, pwszURLReference) ==
              offsetof(WINTRUST_DATA, pwszURLReference));
static_assert(offsetof(WintrustData, dwProvFlags) == offsetof(WINTRUST_DATA, dwProvFlags));
static_assert(offsetof(WintrustData, dwUIContext) == offsetof(WINTRUST_DATA, dwUIContext));

static_assert(sizeof(WintrustFileInfo) == kWintrustFileInfoSize);
static_assert(sizeof(WintrustFileInfo) == sizeof(WINTRUST_FILE_INFO));
static_assert(offsetof(WintrustFileInfo, cbStruct) == offsetof(WINTRUST_FILE_INFO, cbStruct));
static_assert(offsetof(WintrustFileInfo, pcwszFilePath) ==
              offsetof(WINTRUST_FILE_INFO, pcwszFilePath));
static_assert(offsetof(WintrustFileInfo, hFile) == offsetof(WINTRUST_FILE_INFO, hFile));
static_assert(offsetof(WintrustFileInfo, pgKnownSubject) ==
              offsetof(WINTRUST_FILE_INFO, pgKnownSubject));

static_assert(offsetof(CryptProviderCert, cbStruct) == offsetof(CRYPT_PROVIDER_CERT, cbStruct));
static_assert(offsetof(CryptProviderCert, pCert) == offsetof(CRYPT_PROVIDER_CERT, pCert));

static_assert(kWtdUiNone == WTD_UI_NONE);
static_assert(kWtdRevokeNone == WTD_REVOKE_NONE);
static_assert(kWtdChoiceFile == WTD_CHOICE_FILE);
static_assert(kWtdStateActionVerify == WTD_STATEACTION_VERIFY);
static_assert(kWtdStateActionClose == WTD_STATEACTION_CLOSE);
static_assert(kWtdRevocationCheckNone == WTD_REVOCATION_CHECK_NONE);
static_assert(kWtdCacheOnlyUrlRetrieval == WTD_CACHE_ONLY_URL_RETRIEVAL);
static_assert(kCertNameFriendlyDisplayType == CERT_NAME_FRIENDLY_DISPLAY_TYPE);

constexpr bool SameGuid(const Guid& ours, const GUID& theirs) {
  bool same =
      ours.Data1 == theirs.Data1 && ours.Data2 == theirs.Data2 && ours.Data3 == theirs.Data3;
  for (std::size_t i = 0; i < sizeof(ours.Data4); ++i) same &= ours.Data4[i] == theirs.Data4[i];
  return same;
}
static_assert(SameGuid(kWintrustActionGenericVerifyV2, GUID WINTRUST_ACTION_GENERIC_VERIFY_V2));

static_assert(win32::kSameShape<WinVerifyTrustFunction, decltype(&::WinVerifyTrust)>);
static_assert(win32::kSameShape<WTHelperProvDataFromStateDataFunction,
                                decltype(&::WTHelperProvDataFromStateData)>);
static_assert(win32::kSameShape<WTHelperGetProvSignerFromChainFunction,
                                decltype(&::WTHelperGetProvSignerFromChain)>);
static_assert(win32::kSameShape<WTHelperGetProvCertFromChainFunction,
                                decltype(&::WTHelperGetProvCertFromChain)>);
static_assert(win32::kSameShape<CertGetNameStringWFunction, decltype(&::CertGetNameStringW)>);

}  // namespace winapi
