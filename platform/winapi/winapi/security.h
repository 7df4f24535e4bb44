// Access tokens, security identifiers, access lists and descriptors.
//
// The structures are Windows' own binary forms, so a descriptor that a test reads back can be
// compared byte for byte. Boolean functions give 0 with the last error set on failure.
#ifndef PLATFORM_WINAPI_WINAPI_SECURITY_H_
#define PLATFORM_WINAPI_WINAPI_SECURITY_H_

#include <cstdint>

#include "platform/winapi/winapi/types.h"

namespace winapi {

// ACL: the head of an access list.
struct Acl {
  std::uint8_t AclRevision;
  std::uint8_t Sbz1;
  std::uint16_t AclSize;
  std::uint16_t AceCount;
  std::uint16_t Sbz2;
};

// SECURITY_DESCRIPTOR in its absolute form.
struct SecurityDescriptor {
  std::uint8_t Revision;
  std::uint8_t Sbz1;
  std::uint16_t Control;
  void* Owner;
  void* Group;
  Acl* Sacl;
  Acl* Dacl;
};

// SECURITY_ATTRIBUTES.
struct SecurityAttributes {
  Dword nLength;
  void* lpSecurityDescriptor;
  Bool bInheritHandle;
};

// SID_AND_ATTRIBUTES.
struct SidAndAttributes {
  void* Sid;
  Dword Attributes;
};

// TOKEN_USER and TOKEN_MANDATORY_LABEL; the identifier itself follows in the same buffer.
struct TokenUser {
  SidAndAttributes User;
};
struct TokenMandatoryLabel {
  SidAndAttributes Label;
};

inline constexpr Dword kTokenQuery = 0x0008;             // TOKEN_QUERY
inline constexpr int kTokenUserClass = 1;                // TokenUser
inline constexpr int kTokenIntegrityLevelClass = 25;     // TokenIntegrityLevel
inline constexpr int kWinLocalSystemSid = 22;            // WinLocalSystemSid
inline constexpr Dword kAclRevision = 2;                 // ACL_REVISION
inline constexpr Dword kSecurityDescriptorRevision = 1;  // SECURITY_DESCRIPTOR_REVISION
inline constexpr Dword kGenericAll = 0x10000000;         // GENERIC_ALL
inline constexpr Dword kMandatoryLabelNoWriteUp = 0x1;   // SYSTEM_MANDATORY_LABEL_NO_WRITE_UP
inline constexpr Dword kMandatoryLabelNoReadUp = 0x2;    // SYSTEM_MANDATORY_LABEL_NO_READ_UP

// The pseudo handle of the running process; isn't closed.
[[nodiscard]] Handle GetCurrentProcess() noexcept;

[[nodiscard]] Bool OpenProcessToken(Handle process, Dword access, Handle* token) noexcept;

// `length` bytes of room; `*needed` receives the size needed, also on failure with 122. The host
// has the user and the integrity level, both settable; a token without a level gives 0 with
// `*needed` 0.
[[nodiscard]] Bool GetTokenInformation(Handle token, int informationClass, void* information,
                                       Dword length, Dword* needed) noexcept;

// The host knows the local system's identifier. `*size` is the buffer's size in bytes, then the
// bytes used.
[[nodiscard]] Bool CreateWellKnownSid(int type, void* domain, void* sid, Dword* size) noexcept;

// In bytes.
[[nodiscard]] Dword GetLengthSid(void* sid) noexcept;

[[nodiscard]] Bool InitializeAcl(Acl* acl, Dword size, Dword revision) noexcept;
[[nodiscard]] Bool AddAccessAllowedAce(Acl* acl, Dword revision, Dword mask, void* sid) noexcept;
[[nodiscard]] Bool InitializeSecurityDescriptor(SecurityDescriptor* descriptor,
                                                Dword revision) noexcept;
[[nodiscard]] Bool SetSecurityDescriptorDacl(SecurityDescriptor* descriptor, Bool present,
                                             Acl* dacl, Bool defaulted) noexcept;
[[nodiscard]] Bool SetSecurityDescriptorSacl(SecurityDescriptor* descriptor, Bool present,
                                             Acl* sacl, Bool defaulted) noexcept;

// What GetProcAddress gives for "AddMandatoryAce" of advapi32.dll.
using AddMandatoryAceFunction = Bool(WINAPI_STDCALL*)(Acl* acl, Dword revision, Dword aceFlags,
                                                      Dword policy, void* labelSid);

}  // namespace winapi

#endif  // PLATFORM_WINAPI_WINAPI_SECURITY_H_
