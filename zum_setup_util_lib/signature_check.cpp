#include "zum_setup_util_lib/signature_check.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <string_view>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/system_error.h"
#include "platform/util/windows/trust.h"
#include "winapi/errors.h"
#include "winapi/handles.h"
#include "zum_setup_util_lib/stage.h"
#include "zum_setup_util_lib/tool_result_codes.h"

namespace correct_setup::detail {
namespace {

constexpr std::u16string_view kRequiredName = u"quorvanta";

// The C library's lower case in its default locale: ASCII letters only.
char16_t ToLower(char16_t unit) {
  return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;
}

void RequirePath(const std::u16string& path) {
  if (!path.empty()) return;
  throw oru::CheckResultFailedException(kStageSourceFile, __LINE__, oru::errInvalidPathName)
      << u"[correct_setup::detail::CheckVerisignSignature] " << u"empty path to package";
}

winapi::WintrustData MakeTrustData(winapi::WintrustFileInfo& file) {
  winapi::WintrustData data{};
  data.cbStruct = winapi::kWintrustDataSize;
  data.dwUIChoice = winapi::kWtdUiNone;
  data.fdwRevocationChecks = winapi::kWtdRevokeNone;
  data.dwUnionChoice = winapi::kWtdChoiceFile;
  data.pFile = &file;
  data.dwStateAction = winapi::kWtdStateActionVerify;
  data.dwProvFlags = winapi::kWtdRevocationCheckNone | winapi::kWtdCacheOnlyUrlRetrieval;
  return data;
}

// The provider may leave the file open, for some of its refusals too, and an open file could not be
// removed with its directory. The close of the state would close the number once more, whosever it
// is by then, so it is taken out.
void CloseFile(winapi::WintrustFileInfo& file) {
  if (file.hFile == nullptr || file.hFile == winapi::InvalidHandleValue()) return;
  (void)winapi::CloseHandle(file.hFile);  // nothing helps where it fails
  file.hFile = nullptr;
}

// A result of zero or above passes: only negative ones are failures.
void VerifyTrust(winapi::WintrustData& data) {
  const std::int32_t status = windows_helpers::WinVerifyTrust(
      winapi::InvalidHandleValue(), &winapi::kWintrustActionGenericVerifyV2, &data);
  CloseFile(*data.pFile);
  if (status >= 0) return;
  throw windows_helpers::WindowsErrorException(
      static_cast<std::uint32_t>(status),
      "WinVerifyTrust(static_cast<HWND>(((HANDLE)(LONG_PTR)-1)), &guidAction, &sWintrustData)")
      << oru::SetFile{kStageSourceFile} << oru::SetLine{__LINE__};
}

[[noreturn]] void FailCheck(std::uint32_t line, const char16_t* what) {
  throw oru::CheckFailedException(kStageSourceFile, line)
      << u"setup\t[correct_setup::detail::CheckVerisignSignature] " << what;
}

// The signing certificate behind a verified state.
const winapi::CertContext* FindSigningCertificate(winapi::Handle state) {
  winapi::CryptProviderData* const data = windows_helpers::WTHelperProvDataFromStateData(state);
  if (data == nullptr) FailCheck(__LINE__, u"WTHelperProvDataFromStateData fail");
  winapi::CryptProviderSigner* const signer = windows_helpers::WTHelperGetProvSignerFromChain(
      data, /*signer=*/0, /*counterSigner=*/0, /*counterSignerIndex=*/0);
  if (signer == nullptr) FailCheck(__LINE__, u"WTHelperGetProvSignerFromChain fail");
  const winapi::CryptProviderCert* const certificate =
      windows_helpers::WTHelperGetProvCertFromChain(signer, /*certificate=*/0);
  if (certificate == nullptr) FailCheck(__LINE__, u"WTHelperGetProvCertFromChain fail");
  return certificate->pCert;
}

// Lowers the text in place: a copy could fail behind a good verdict.
void RequireMakersName(std::u16string& description) {
  std::transform(description.begin(), description.end(), description.begin(), ToLower);
  if (description.find(kRequiredName) != std::u16string::npos) return;
  throw oru::CheckResultFailedException(kStageSourceFile, __LINE__, oru::errInvalidSignature)
      << u"not correct cert information";
}

// More characters have no size in bytes on a 32-bit system: twice their number wraps.
constexpr winapi::Dword kMostCharacters = 0x7FFFFFFF;

// Null where there is no memory, and for a size that no block can have.
char16_t* AllocateText(winapi::Dword size) noexcept {
  if (size > kMostCharacters) return nullptr;
  return static_cast<char16_t*>(
      winapi::LocalAlloc(winapi::kLmemFixed, static_cast<std::size_t>(size) * sizeof(char16_t)));
}

// Owns a block of LocalAlloc for `size` characters, all of them zero at the start: what the system
// leaves unwritten in it is the end of the text and not what the memory held before.
class LocalText {
 public:
  explicit LocalText(winapi::Dword size) noexcept : m_data(AllocateText(size)), m_size(size) {
    if (m_data != nullptr) std::fill_n(m_data, m_size, u'\0');
  }
  LocalText(const LocalText&) = delete;
  LocalText& operator=(const LocalText&) = delete;
  ~LocalText() {
    if (m_data != nullptr) (void)winapi::LocalFree(m_data);  // nothing helps where it fails
  }

  // Null where there was no memory.
  [[nodiscard]] char16_t* Data() const noexcept { return m_data; }
  // A copy, up to the first zero.
  [[nodiscard]] std::u16string Copy() const {
    return {m_data, std::find(m_data, m_data + m_size, u'\0')};
  }

 private:
  char16_t* m_data;
  winapi::Dword m_size;
};

// The trust state is closed at the end only: after a failure on the way it stays open.
void VerifyPackage(const std::u16string& path) {
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CheckVerisignSignature] "
                                      << "path = " << path);
  RequirePath(path);
  winapi::WintrustFileInfo file{};
  file.cbStruct = winapi::kWintrustFileInfoSize;
  file.pcwszFilePath = path.c_str();
  winapi::WintrustData data = MakeTrustData(file);
  VerifyTrust(data);
  std::u16string description =
      GetCertificateDescription(FindSigningCertificate(data.hWVTStateData));
  ORU_TRACE(oru::kTraceLevelInfo, "setup\t[correct_setup::detail::CheckVerisignSignature] "
                                      << "certificate description = " << description);
  RequireMakersName(description);
  data.dwUIChoice = winapi::kWtdUiNone;
  data.dwStateAction = winapi::kWtdStateActionClose;
  (void)windows_helpers::WinVerifyTrust(winapi::InvalidHandleValue(),
                                        &winapi::kWintrustActionGenericVerifyV2, &data);
}

}  // namespace

std::u16string GetCertificateDescription(const winapi::CertContext* certificate) {
  winapi::Dword type = 1;
  const winapi::Dword size =
      windows_helpers::CertGetNameStringW(certificate, winapi::kCertNameFriendlyDisplayType,
                                          /*flags=*/0, &type, /*name=*/nullptr, /*size=*/0);
  if (size == 0) return {};
  const LocalText text(size);
  // The call is made for a null buffer too, and its result doesn't count.
  (void)windows_helpers::CertGetNameStringW(certificate, winapi::kCertNameFriendlyDisplayType,
                                            /*flags=*/0, &type, text.Data(), size);
  if (text.Data() == nullptr) {
    throw oru::CheckFailedException(kStageSourceFile, __LINE__)
        << u"setup\t[correct_setup::detail::GetCertificateDescription] "
        << u"CertGetNameString fail";
  }
  return text.Copy();
}

void CheckVerisignSignature(const std::u16string& path) {
  try {
    VerifyPackage(path);
  } catch (const std::exception&) {
    FailStage("setup\t[correct_setup::detail::CheckVerisignSignature] ", __LINE__,
              rcSignatureCheckFailed);
  }
}

}  // namespace correct_setup::detail
