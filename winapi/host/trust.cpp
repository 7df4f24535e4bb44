#include "winapi/host/trust.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/live.h"
#include "winapi/host/open_files.h"
#include "winapi/host/plain_file.h"

// The three that are only passed on: all that the host needs of them is an address, and the name.
struct winapi::CryptProviderData {};
struct winapi::CryptProviderSigner {};
struct winapi::CertContext {
  std::u16string name;
};

namespace winapi::host {
namespace {

constexpr std::int32_t Status(std::uint32_t pattern) { return static_cast<std::int32_t>(pattern); }

constexpr std::int32_t kProviderUnknown = Status(0x800B0001);  // TRUST_E_PROVIDER_UNKNOWN
constexpr std::int32_t kInvalidArgument = Status(0x80070057);  // E_INVALIDARG

// What a verification leaves behind until its state is closed. Its address is the state's handle.
struct TrustState {
  CryptProviderData data;
  CryptProviderSigner signer;
  CertContext context;
  CryptProviderCert certificate{sizeof(CryptProviderCert), nullptr};
  bool hasSigner = false;
  Handle file = nullptr;
};

// A file that the trust provider holds open and lets others read: the check and what is done with
// the file afterwards are about the same bytes for as long as this lives.
class TrustedFile final : public KernelObject {
 public:
  explicit TrustedFile(PlainFile file)
      : m_file(std::move(file)), m_hold(m_file.data, OpenFile::Sharing::kReading) {}

 private:
  PlainFile m_file;
  OpenFile m_hold;
};

// The provider's answers are the test's; it reads no signature. What it does like the real one is
// what the caller can get wrong: states that must be closed, a file that stays open, pointers that
// die.
struct Provider {
  std::mutex mutex;
  TrustVerdict verdict;
  std::map<const void*, std::unique_ptr<TrustState>> states;
};

Provider& TheProvider() {
  static Provider& provider = *new Provider;
  return provider;
}

// The state of which `part` gives a member with that address; null when there is none. A pointer
// into a state that is closed is found out here and not followed.
template <class Part>
TrustState* StateWith(const void* address, Part part) {
  for (const auto& [key, state] : TheProvider().states) {
    if (static_cast<const void*>(part(*state)) == address) return state.get();
  }
  return nullptr;
}

bool IsSameGuid(const Guid& a, const Guid& b) {
  return a.Data1 == b.Data1 && a.Data2 == b.Data2 && a.Data3 == b.Data3 &&
         std::equal(std::begin(a.Data4), std::end(a.Data4), std::begin(b.Data4));
}

bool IsVerifiable(const WintrustData& data) {
  return data.cbStruct == kWintrustDataSize && data.dwUnionChoice == kWtdChoiceFile &&
         data.pFile != nullptr && data.pFile->cbStruct == kWintrustFileInfoSize;
}

// A state is made in any case, as by the real provider: a caller that closes it on success only
// leaks one at each refusal, and the count of states tells.
std::int32_t Verify(WintrustData& data) {
  Provider& provider = TheProvider();
  auto state = std::make_unique<TrustState>();
  PlainFile file;
  const Error fileError = OpenPlainFile(data.pFile->pcwszFilePath, file);
  const std::int32_t status =
      fileError == 0 ? provider.verdict.status : static_cast<std::int32_t>(fileError);
  state->hasSigner = fileError == 0 && status >= 0;
  state->context.name = provider.verdict.signer;
  state->certificate.pCert = &state->context;
  const bool opens = state->hasSigner || (fileError == 0 && provider.verdict.holdsRefusedFile);
  if (opens) state->file = OpenHandle(std::make_shared<TrustedFile>(std::move(file)));
  data.pFile->hFile = opens ? state->file : InvalidHandleValue();
  data.hWVTStateData = state.get();
  provider.states.emplace(state.get(), std::move(state));
  ++liveCounters.trustStates;
  return status;
}

std::int32_t Close(WintrustData& data) {
  Provider& provider = TheProvider();
  const auto found = provider.states.find(data.hWVTStateData);
  if (found == provider.states.end()) return 0;
  (void)CloseObject(found->second->file);  // the product may have closed it
  provider.states.erase(found);
  --liveCounters.trustStates;
  data.hWVTStateData = nullptr;
  if (data.pFile != nullptr) data.pFile->hFile = InvalidHandleValue();
  return 0;
}

void LogData(Call& call, const WintrustData& data) {
  call.Argument("cbStruct", data.cbStruct).Argument("dwUIChoice", data.dwUIChoice);
  call.Argument("pPolicyCallbackData", data.pPolicyCallbackData);
  call.Argument("pSIPClientData", data.pSIPClientData);
  call.Argument("fdwRevocationChecks", data.fdwRevocationChecks);
  call.Argument("dwUnionChoice", data.dwUnionChoice);
  call.Argument("dwStateAction", data.dwStateAction);
  call.Argument("hWVTStateData", data.hWVTStateData);
  call.Argument("pwszURLReference", static_cast<const void*>(data.pwszURLReference));
  call.Mask("dwProvFlags", data.dwProvFlags).Argument("dwUIContext", data.dwUIContext);
  call.Argument("pSignatureSettings", data.pSignatureSettings);
  if (data.pFile == nullptr) return;
  call.Argument("pFile.cbStruct", data.pFile->cbStruct);
  call.Argument("pFile.pcwszFilePath", data.pFile->pcwszFilePath);
  call.Argument("pFile.hFile", data.pFile->hFile);
  call.Argument("pFile.pgKnownSubject", data.pFile->pgKnownSubject);
}

}  // namespace

std::int32_t WINAPI_STDCALL WinVerifyTrust(Handle window, const Guid* action,
                                           WintrustData* data) noexcept {
  Call call("WinVerifyTrust");
  call.Argument("window", window).Data("action", action, action == nullptr ? 0 : sizeof *action);
  if (data != nullptr) LogData(call, *data);
  const auto fault = call.Fault();
  const std::lock_guard lock(TheProvider().mutex);
  const bool closes = data != nullptr && data->dwStateAction == kWtdStateActionClose;
  if (closes) {
    const std::int32_t closed = Close(*data);
    return fault ? static_cast<std::int32_t>(*fault) : closed;
  }
  if (fault) return static_cast<std::int32_t>(*fault);
  if (action == nullptr || !IsSameGuid(*action, kWintrustActionGenericVerifyV2)) {
    return kProviderUnknown;
  }
  if (data == nullptr || !IsVerifiable(*data)) return kInvalidArgument;
  return Verify(*data);
}

CryptProviderData* WINAPI_STDCALL WTHelperProvDataFromStateData(Handle state) noexcept {
  Call call("WTHelperProvDataFromStateData");
  call.Argument("state", state);
  if (call.Fault()) return nullptr;
  const std::lock_guard lock(TheProvider().mutex);
  const auto found = TheProvider().states.find(state);
  return found == TheProvider().states.end() ? nullptr : &found->second->data;
}

CryptProviderSigner* WINAPI_STDCALL WTHelperGetProvSignerFromChain(
    CryptProviderData* data, Dword signer, Bool counterSigner, Dword counterSignerIndex) noexcept {
  Call call("WTHelperGetProvSignerFromChain");
  call.Argument("data", data).Argument("signer", signer);
  call.Argument("counterSigner", static_cast<Dword>(counterSigner));
  call.Argument("counterSignerIndex", counterSignerIndex);
  if (call.Fault()) return nullptr;
  const std::lock_guard lock(TheProvider().mutex);
  TrustState* state = StateWith(data, [](TrustState& one) { return &one.data; });
  const bool exists = state != nullptr && state->hasSigner && signer == 0 && counterSigner == 0;
  return exists ? &state->signer : nullptr;
}

CryptProviderCert* WINAPI_STDCALL WTHelperGetProvCertFromChain(CryptProviderSigner* signer,
                                                               Dword certificate) noexcept {
  Call call("WTHelperGetProvCertFromChain");
  call.Argument("signer", signer).Argument("certificate", certificate);
  if (call.Fault()) return nullptr;
  const std::lock_guard lock(TheProvider().mutex);
  TrustState* state = StateWith(signer, [](TrustState& one) { return &one.signer; });
  return state != nullptr && certificate == 0 ? &state->certificate : nullptr;
}

Dword WINAPI_STDCALL CertGetNameStringW(const CertContext* certificate, Dword type, Dword flags,
                                        void* typeParameter, char16_t* name, Dword size) noexcept {
  Call call("CertGetNameStringW");
  call.Argument("certificate", certificate).Argument("type", type).Argument("flags", flags);
  call.Data("typeParameter", typeParameter, sizeof(Dword));
  call.Argument("name", static_cast<const void*>(name)).Argument("size", size);
  if (call.Fault()) return 0;
  const std::lock_guard lock(TheProvider().mutex);
  const TrustState* state = StateWith(certificate, [](TrustState& one) { return &one.context; });
  const std::u16string_view text = state == nullptr ? std::u16string_view() : state->context.name;
  if (name == nullptr || size == 0) return static_cast<Dword>(text.size() + 1);
  const std::size_t copied = std::min<std::size_t>(text.size(), size - 1);
  *std::copy_n(text.begin(), copied, name) = u'\0';
  return static_cast<Dword>(copied + 1);
}

void SetTrustVerdict(TrustVerdict verdict) {
  const SeamMark mark;
  TheProvider().verdict = std::move(verdict);
}

}  // namespace winapi::host
