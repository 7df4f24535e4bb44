#include "zum_setup_util_lib/secure_directory.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

#include "oru/rtl/exception.h"
#include "oru/rtl/trace.h"
#include "platform/util/windows/system_error.h"
#include "platform/util/windows/unique_handle.h"
#include "winapi/errors.h"
#include "winapi/files.h"
#include "winapi/modules.h"
#include "winapi/security.h"

namespace correct_setup::FileSystemActions {
namespace {

using Buffer = std::vector<std::uint8_t>;

// A fixed position: this is one of the file system actions, whichever file it stands in.
constexpr char kSourceFile[] = "zum_setup_util_lib/filesystem_actions";

// Throws the last error with the text of the call that set it: as the trace has always shown the
// call, not as it stands here.
void Require(bool succeeded, std::uint32_t line, const char* expression) {
  if (succeeded) return;
  throw windows_helpers::WindowsErrorException(winapi::GetLastError(), expression)
      << oru::SetFile{kSourceFile} << oru::SetLine{line};
}

void Require(winapi::Bool succeeded, std::uint32_t line, const char* expression) {
  Require(succeeded != 0, line, expression);
}

// Sizes of access lists are multiples of 4 bytes.
constexpr winapi::Dword RoundUp(winapi::Dword n) { return ((n - 1) | 3) + 1; }

// The buffer of a vector of bytes is aligned for anything, and the list's functions write into it.
winapi::Acl* AsAcl(Buffer& buffer) { return reinterpret_cast<winapi::Acl*>(buffer.data()); }

// A copy, since a buffer of bytes may not be read as another type. A buffer that came out shorter
// than the head leaves zeros.
template <typename Head>
Head HeadOf(const Buffer& buffer) {
  Head head{};
  std::memcpy(&head, buffer.data(), std::min(sizeof(head), buffer.size()));
  return head;
}

// What the process's token says of its user and, where it has one, of its integrity level.
struct TokenFacts {
  Buffer user;
  Buffer label;

  // The identifiers stand in the same buffers.
  [[nodiscard]] void* UserSid() const { return HeadOf<winapi::TokenUser>(user).User.Sid; }
  [[nodiscard]] void* LabelSid() const {
    return HeadOf<winapi::TokenMandatoryLabel>(label).Label.Sid;
  }
};

winapi::Dword AskSize(winapi::Handle token, int informationClass) {
  winapi::Dword size = 0;
  // Fails for want of a buffer by design; the size is what counts.
  (void)winapi::GetTokenInformation(token, informationClass, /*information=*/nullptr, /*length=*/0,
                                    &size);
  return size;
}

void ReadUser(winapi::Handle token, TokenFacts& facts) {
  winapi::Dword processUserSidSize = AskSize(token, winapi::kTokenUserClass);
  Require(processUserSidSize != 0, __LINE__, "processUserSidSize");
  facts.user.resize(processUserSidSize);
  Require(winapi::GetTokenInformation(token, winapi::kTokenUserClass, facts.user.data(),
                                      processUserSidSize, &processUserSidSize),
          __LINE__,
          "GetTokenInformation( processToken, TokenUser, processUserSidBuffer.data(), "
          "processUserSidSize, &processUserSidSize)");
}

// A system before labels has none, and so has a token that was made without; neither is a failure.
void ReadLabel(winapi::Handle token, TokenFacts& facts) {
  winapi::Dword size = AskSize(token, winapi::kTokenIntegrityLevelClass);
  if (size == 0) return;
  facts.label.resize(size);
  Require(winapi::GetTokenInformation(token, winapi::kTokenIntegrityLevelClass, facts.label.data(),
                                      size, &size),
          __LINE__,
          "GetTokenInformation( processToken, TokenIntegrityLevel, "
          "processTokenMandatoryLabelBuffer.data(), processTokenMandatoryLabelSize, "
          "&processTokenMandatoryLabelSize)");
}

TokenFacts ReadToken(const windows_helpers::KernelHandle& token) {
  TokenFacts facts;
  ReadUser(token.GetValue(), facts);
  ReadLabel(token.GetValue(), facts);
  return facts;
}

Buffer BuildDacl(const TokenFacts& facts) {
  // S-1-5-18: 8 bytes and one number of 4.
  std::array<std::uint8_t, 12> systemSid{};
  winapi::Dword usedBytesForSystemSid = systemSid.size();
  Require(winapi::CreateWellKnownSid(winapi::kWinLocalSystemSid, /*domain=*/nullptr,
                                     systemSid.data(), &usedBytesForSystemSid),
          __LINE__,
          "CreateWellKnownSid(WinLocalSystemSid, nullptr, &systemSid, &usedBytesForSystemSid)");
  const winapi::Dword systemSidSize = winapi::GetLengthSid(systemSid.data());
  const winapi::Dword userSidSize = winapi::GetLengthSid(facts.UserSid());
  // 8 bytes of head and 8 before each identifier would do; what is left over stays zero.
  const winapi::Dword daclSize = RoundUp(32 + systemSidSize + userSidSize);
  Buffer dacl(daclSize);
  Require(winapi::InitializeAcl(AsAcl(dacl), daclSize, winapi::kAclRevision), __LINE__,
          "InitializeAcl(dacl, daclSize, (2))");
  Require(winapi::AddAccessAllowedAce(AsAcl(dacl), winapi::kAclRevision, winapi::kGenericAll,
                                      systemSid.data()),
          __LINE__, "AddAccessAllowedAce(dacl, (2), (0x10000000L), &systemSid)");
  Require(winapi::AddAccessAllowedAce(AsAcl(dacl), winapi::kAclRevision, winapi::kGenericAll,
                                      facts.UserSid()),
          __LINE__, "AddAccessAllowedAce(dacl, (2), (0x10000000L), tokenUser->User.Sid)");
  return dacl;
}

// Empty for a token without a label. The system's function for labels isn't on all systems.
Buffer BuildSacl(const TokenFacts& facts) {
  if (facts.label.empty()) return {};
  const auto fnAddMandatoryAce = reinterpret_cast<winapi::AddMandatoryAceFunction>(
      winapi::GetProcAddress(winapi::GetModuleHandleA("advapi32"), "AddMandatoryAce"));
  Require(fnAddMandatoryAce != nullptr, __LINE__, "fnAddMandatoryAce");
  // 8 of head and 8 before the identifier.
  const winapi::Dword saclSize = RoundUp(16 + winapi::GetLengthSid(facts.LabelSid()));
  Buffer sacl(saclSize);
  Require(winapi::InitializeAcl(AsAcl(sacl), saclSize, winapi::kAclRevision), __LINE__,
          "InitializeAcl(sacl, saclSize, (2))");
  Require(fnAddMandatoryAce(AsAcl(sacl), winapi::kAclRevision, /*aceFlags=*/0,
                            winapi::kMandatoryLabelNoWriteUp | winapi::kMandatoryLabelNoReadUp,
                            facts.LabelSid()),
          __LINE__, "fnAddMandatoryAce( sacl, (2), 0, 0x1 | 0x2, tokenMandatoryLabel->Label.Sid)");
  return sacl;
}

// The descriptor goes along with the creation: there is no moment at which the directory is open to
// others.
void CreateWithDescriptor(const std::u16string& directory, Buffer& dacl, Buffer& sacl) {
  winapi::SecurityDescriptor securityDescriptor{};
  Require(winapi::InitializeSecurityDescriptor(&securityDescriptor,
                                               winapi::kSecurityDescriptorRevision),
          __LINE__, "InitializeSecurityDescriptor(&securityDescriptor, (1))");
  Require(winapi::SetSecurityDescriptorDacl(&securityDescriptor, /*present=*/1, AsAcl(dacl),
                                            /*defaulted=*/0),
          __LINE__, "SetSecurityDescriptorDacl(&securityDescriptor, 1, dacl, 0)");
  if (!sacl.empty()) {
    Require(winapi::SetSecurityDescriptorSacl(&securityDescriptor, /*present=*/1, AsAcl(sacl),
                                              /*defaulted=*/0),
            __LINE__, "SetSecurityDescriptorSacl(&securityDescriptor, 1, sacl, 0)");
  }
  const winapi::SecurityAttributes securityAttributes{winapi::kSecurityAttributesSize,
                                                      &securityDescriptor, /*bInheritHandle=*/0};
  Require(winapi::CreateDirectoryW(directory.c_str(), &securityAttributes), __LINE__,
          "CreateDirectoryW(directory.c_str(), &securityAttributes)");
}

}  // namespace

void CreateSecureDirectory(const std::u16string& directory) {
  ORU_TRACE(oru::kTraceLevelInfo,
            "setup\t[correct_setup::FileSystemActions::CreateSecureDirectory] "
                << "dir = " << directory);
  if (directory.empty()) {
    throw oru::CheckResultFailedException(kSourceFile, __LINE__, oru::errInvalidArgument)
        << u"directory path is empty";
  }
  winapi::Handle nativeProcessToken = nullptr;
  Require(winapi::OpenProcessToken(winapi::GetCurrentProcess(), winapi::kTokenQuery,
                                   &nativeProcessToken),
          __LINE__, "OpenProcessToken(GetCurrentProcess(), (0x0008), &nativeProcessToken)");
  windows_helpers::KernelHandle processToken;
  processToken.Attach(nativeProcessToken);
  const TokenFacts facts = ReadToken(processToken);
  Buffer dacl = BuildDacl(facts);
  Buffer sacl = BuildSacl(facts);
  CreateWithDescriptor(directory, dacl, sacl);
}

}  // namespace correct_setup::FileSystemActions
