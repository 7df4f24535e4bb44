#include "winapi/security.h"

#include <windows.h>

#include <cstddef>

#include "winapi/win32/shape.h"
#include "winapi/win32/wide.h"

namespace winapi {

static_assert(kTokenQuery == TOKEN_QUERY);
static_assert(kTokenUserClass == ::TokenUser);
static_assert(kTokenIntegrityLevelClass == ::TokenIntegrityLevel);
static_assert(kWinLocalSystemSid == ::WinLocalSystemSid);
static_assert(kAclRevision == ACL_REVISION);
static_assert(kSecurityDescriptorRevision == SECURITY_DESCRIPTOR_REVISION);
static_assert(kGenericAll == GENERIC_ALL);
static_assert(kMandatoryLabelNoWriteUp == SYSTEM_MANDATORY_LABEL_NO_WRITE_UP);
static_assert(kMandatoryLabelNoReadUp == SYSTEM_MANDATORY_LABEL_NO_READ_UP);

static_assert(kSecurityAttributesSize == sizeof(SECURITY_ATTRIBUTES));

static_assert(sizeof(Acl) == sizeof(ACL));
static_assert(offsetof(Acl, AclRevision) == offsetof(ACL, AclRevision));
static_assert(offsetof(Acl, Sbz1) == offsetof(ACL, Sbz1));
static_assert(offsetof(Acl, AclSize) == offsetof(ACL, AclSize));
static_assert(offsetof(Acl, AceCount) == offsetof(ACL, AceCount));
static_assert(offsetof(Acl, Sbz2) == offsetof(ACL, Sbz2));

static_assert(sizeof(SecurityDescriptor) == sizeof(SECURITY_DESCRIPTOR));
static_assert(offsetof(SecurityDescriptor, Revision) == offsetof(SECURITY_DESCRIPTOR, Revision));
static_assert(offsetof(SecurityDescriptor, Sbz1) == offsetof(SECURITY_DESCRIPTOR, Sbz1));
static_assert(offsetof(SecurityDescriptor, Control) == offsetof(SECURITY_DESCRIPTOR, Control));
static_assert(offsetof(SecurityDescriptor, Owner) == offsetof(SECURITY_DESCRIPTOR, Owner));
static_assert(offsetof(SecurityDescriptor, Group) == offsetof(SECURITY_DESCRIPTOR, Group));
static_assert(offsetof(SecurityDescriptor, Sacl) == offsetof(SECURITY_DESCRIPTOR, Sacl));
static_assert(offsetof(SecurityDescriptor, Dacl) == offsetof(SECURITY_DESCRIPTOR, Dacl));

static_assert(sizeof(SidAndAttributes) == sizeof(SID_AND_ATTRIBUTES));
static_assert(offsetof(SidAndAttributes, Sid) == offsetof(SID_AND_ATTRIBUTES, Sid));
static_assert(offsetof(SidAndAttributes, Attributes) == offsetof(SID_AND_ATTRIBUTES, Attributes));
static_assert(sizeof(TokenUser) == sizeof(TOKEN_USER));
static_assert(offsetof(TokenUser, User) == offsetof(TOKEN_USER, User));
static_assert(sizeof(TokenMandatoryLabel) == sizeof(TOKEN_MANDATORY_LABEL));
static_assert(offsetof(TokenMandatoryLabel, Label) == offsetof(TOKEN_MANDATORY_LABEL, Label));

static_assert(win32::kSameShape<AddMandatoryAceFunction, decltype(&::AddMandatoryAce)>);

Handle GetCurrentProcess() noexcept { return ::GetCurrentProcess(); }

Bool OpenProcessToken(Handle process, Dword access, Handle* token) noexcept {
  return ::OpenProcessToken(process, access, token);
}

Bool GetTokenInformation(Handle token, int informationClass, void* information, Dword length,
                         Dword* needed) noexcept {
  return ::GetTokenInformation(token, static_cast<TOKEN_INFORMATION_CLASS>(informationClass),
                               information, length, win32::Wide(needed));
}

Bool CreateWellKnownSid(int type, void* domain, void* sid, Dword* size) noexcept {
  return ::CreateWellKnownSid(static_cast<WELL_KNOWN_SID_TYPE>(type), domain, sid,
                              win32::Wide(size));
}

Dword GetLengthSid(void* sid) noexcept { return ::GetLengthSid(sid); }

Bool InitializeAcl(Acl* acl, Dword size, Dword revision) noexcept {
  return ::InitializeAcl(reinterpret_cast<ACL*>(acl), size, revision);
}

Bool AddAccessAllowedAce(Acl* acl, Dword revision, Dword mask, void* sid) noexcept {
  return ::AddAccessAllowedAce(reinterpret_cast<ACL*>(acl), revision, mask, sid);
}

Bool InitializeSecurityDescriptor(SecurityDescriptor* descriptor, Dword revision) noexcept {
  return ::InitializeSecurityDescriptor(descriptor, revision);
}

Bool SetSecurityDescriptorDacl(SecurityDescriptor* descriptor, Bool present, Acl* dacl,
                               Bool defaulted) noexcept {
  return ::SetSecurityDescriptorDacl(descriptor, present, reinterpret_cast<ACL*>(dacl), defaulted);
}

Bool SetSecurityDescriptorSacl(SecurityDescriptor* descriptor, Bool present, Acl* sacl,
                               Bool defaulted) noexcept {
  return ::SetSecurityDescriptorSacl(descriptor, present, reinterpret_cast<ACL*>(sacl), defaulted);
}

}  // namespace winapi
