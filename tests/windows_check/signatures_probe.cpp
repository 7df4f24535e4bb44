// What the trust provider says of a signed package whose signer nobody trusts, intact and altered,
// and what becomes of the file's handle.
#include <windows.h>

#include <exception>
#include <stdexcept>

#include "platform/util/windows/trust.h"
#include "tests/windows_check/child.h"
#include "tests/windows_check/probes.h"
#include "tests/windows_check/text.h"
#include "tests/windows_check/this_machine.h"
#include "winapi/trust.h"
#include "zum_setup_util_lib/signature_check.h"

namespace windows_check {
namespace {

// A state that the provider opened, closed at the end as the product doesn't for a refusal.
class Verification {
 public:
  explicit Verification(const std::wstring& path) : m_path(ToSeam(path)) {
    m_file.cbStruct = winapi::kWintrustFileInfoSize;
    m_file.pcwszFilePath = m_path.c_str();
    m_data.cbStruct = winapi::kWintrustDataSize;
    m_data.dwUIChoice = winapi::kWtdUiNone;
    m_data.fdwRevocationChecks = winapi::kWtdRevokeNone;
    m_data.dwUnionChoice = winapi::kWtdChoiceFile;
    m_data.pFile = &m_file;
    m_data.dwProvFlags = winapi::kWtdRevocationCheckNone | winapi::kWtdCacheOnlyUrlRetrieval;
    m_status = Call(winapi::kWtdStateActionVerify);
  }
  Verification(const Verification&) = delete;
  Verification& operator=(const Verification&) = delete;
  ~Verification() { (void)Close(); }

  [[nodiscard]] std::string Status() const { return Hexadecimal(m_status); }
  // A number that isn't open any more would be closed a second time by whoever trusts it.
  [[nodiscard]] std::string HandleState() const {
    if (m_file.hFile == nullptr) return "null";
    if (m_file.hFile == winapi::InvalidHandleValue()) return "invalid";
    DWORD flags = 0;
    const bool open = ::GetHandleInformation(m_file.hFile, &flags) != 0;
    if (!open) return "the number of a closed handle";
    return ::GetFileType(m_file.hFile) == FILE_TYPE_DISK ? "an open file"
                                                         : "an open handle of another kind";
  }
  std::uint32_t Close() { return Call(winapi::kWtdStateActionClose); }

 private:
  std::uint32_t Call(winapi::Dword action) {
    m_data.dwStateAction = action;
    return static_cast<std::uint32_t>(windows_helpers::WinVerifyTrust(
        winapi::InvalidHandleValue(), &winapi::kWintrustActionGenericVerifyV2, &m_data));
  }

  std::u16string m_path;
  winapi::WintrustFileInfo m_file{};
  winapi::WintrustData m_data{};
  std::uint32_t m_status = 0;
};

void CheckPackage(Findings& findings, const std::string& name, const std::wstring& path,
                  const Accepted& status) {
  Verification verification(path);
  findings.Judge(name + ", verdict", verification.Status(), status);
  // These three are safe for the product, which closes an open one and leaves the others alone.
  findings.Judge(name + ", the file's handle after the verdict", verification.HandleState(),
                 {{"null", "invalid", "an open file"}, {"null", "invalid", "an open file"}});
  findings.Judge(name + ", close of the state", Hexadecimal(verification.Close()),
                 OnBoth("0x00000000"));
  findings.Note(name + ", the file's handle after the close", verification.HandleState());
}

// The product's own stage: it refuses, and nothing holds the file afterwards.
void CheckStage(Findings& findings, const std::string& name, const std::wstring& path) {
  bool refused = false;
  try {
    correct_setup::detail::CheckVerisignSignature(ToSeam(path));
  } catch (const std::exception&) {
    refused = true;
  }
  findings.Judge(name + ", the product refuses it", YesOrNo(refused), OnBoth("yes"));
  const bool deleted = ::DeleteFileW(path.c_str()) != 0 &&
                       ::GetFileAttributesW(path.c_str()) == INVALID_FILE_ATTRIBUTES;
  findings.Judge(name + ", it can be deleted behind the refusal", YesOrNo(deleted), OnBoth("yes"));
}

std::wstring Copy(const std::wstring& folder, const wchar_t* name, const std::string& bytes) {
  std::wstring path = folder + L"\\" + name;
  if (!WriteWhole(path, bytes)) throw std::runtime_error("a package can't be written");
  return path;
}

// One letter of the package's own tables.
std::string Altered(std::string bytes) {
  const std::size_t at = bytes.find("for reading only");
  if (at == std::string::npos)
    throw std::runtime_error("the package isn't the one that belongs here");
  bytes[at] = 'F';
  return bytes;
}

}  // namespace

std::wstring RefusedPackage() { return ProgramFolder() + L"\\refused.msi"; }

void CheckSignatures(Findings& findings, const Scratch& scratch) {
  const std::string bytes = ReadWhole(RefusedPackage());
  if (bytes.empty()) throw std::runtime_error("refused.msi isn't beside the program");
  const std::wstring folder = scratch.NewFolder(L"packages");
  const std::wstring intact = Copy(folder, L"intact.msi", bytes);
  const std::wstring altered = Copy(folder, L"altered.msi", Altered(bytes));
  const std::wstring longer = Copy(folder, L"longer.msi", bytes + std::string(512, '\0'));
  CheckPackage(findings, "intact package of an unknown signer", intact, OnBoth("0x800B0109"));
  // Wine doesn't look at a package's content.
  CheckPackage(findings, "package altered behind its signature", altered,
               {{"0x80096010"}, {"0x800B0109"}});
  {
    const Verification verification(longer);
    findings.Note("package with 512 bytes behind its end, verdict", verification.Status());
  }
  const std::wstring missing = folder + L"\\none.msi";
  CheckPackage(findings, "missing package", missing, {{"0x80092003"}, {"0x00000002"}});
  CheckStage(findings, "intact package of an unknown signer", intact);
  CheckStage(findings, "package altered behind its signature", altered);
}

}  // namespace windows_check
