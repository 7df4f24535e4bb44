// Access tokens, security identifiers, access lists and descriptors.
//
// The structures are Windows' own binary forms, so a descriptor that a test reads back can be
// compared byte for byte. Boolean functions give 0 with the last error set on failure, and leave
// outputs alone then but for what is said; after a success the last error isn't settled.
//
// The host leaves out all entries, policies and identifiers that the product doesn't use.
#ifndef WINAPI_SECURITY_H_
#define WINAPI_SECURITY_H_

#include <cstdint>

#include "winapi/types.h"

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

// SECURITY_ATTRIBUTES: 12 bytes on the 32-bit target.
struct SecurityAttributes {
  Dword nLength;
  void* lpSecurityDescriptor;
  Bool bInheritHandle;
};

// sizeof(SECURITY_ATTRIBUTES) on the 32-bit target, in both worlds.
inline constexpr Dword kSecurityAttributesSize = 12;

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

// The token of a process, for the rights of `access`; CloseHandle closes it. 6 for a handle of no
// process. The host knows the running process alone, by its pseudo handle.
[[nodiscard]] Bool OpenProcessToken(Handle process, Dword access, Handle* token) noexcept;

// Fills `information`, which has room for `length` bytes, with the structure of the class and the
// identifier that it points to behind it. `*needed` receives the size needed, also on failure with
// 122, which tells of a null or too small buffer. 6 for a handle of no token, 5 for one opened
// without kTokenQuery. The host has the user and the integrity level, both settable; a token
// without a level, and any other class, give 87 with `*needed` 0.
[[nodiscard]] Bool GetTokenInformation(Handle token, int informationClass, void* information,
                                       Dword length, Dword* needed) noexcept;

// Fills `sid` with the identifier of a well-known type; `domain` is null for those that belong to
// none. `*size` is the buffer's size in bytes, then the bytes used or, with 122, needed. The host
// knows the local system's identifier and gives 87 for others.
[[nodiscard]] Bool CreateWellKnownSid(int type, void* domain, void* sid, Dword* size) noexcept;

// The length in bytes of an identifier, which must be a valid one: what the call gives for others
// isn't settled (the host: 0). Can't fail.
[[nodiscard]] Dword GetLengthSid(void* sid) noexcept;

// Makes an empty list of `size` bytes in all, its head and the room for entries. Only the head is
// written. 122 for a size below the head's 8 bytes, 87 for one above 65,535 and for a revision that
// is neither 2, 3 nor 4.
[[nodiscard]] Bool InitializeAcl(Acl* acl, Dword size, Dword revision) noexcept;
// Puts an entry that allows the rights of `mask` to `sid` behind the others of the list, with no
// flags. 1344 where the list has no room for it, 1337 for what is no identifier; the list is then
// as before.
[[nodiscard]] Bool AddAccessAllowedAce(Acl* acl, Dword revision, Dword mask, void* sid) noexcept;
// Makes an empty descriptor in its absolute form. 1305 for a revision other than 1.
[[nodiscard]] Bool InitializeSecurityDescriptor(SecurityDescriptor* descriptor,
                                                Dword revision) noexcept;
// Puts an access list into a descriptor by its address, so the list must live as long. `present` 0
// takes the list's bit away and looks at nothing else; a null list that is present admits
// everybody. 1305 for a descriptor of another revision. The list itself isn't looked at.
[[nodiscard]] Bool SetSecurityDescriptorDacl(SecurityDescriptor* descriptor, Bool present,
                                             Acl* dacl, Bool defaulted) noexcept;
// The same for the system's list, in which the integrity label stands.
[[nodiscard]] Bool SetSecurityDescriptorSacl(SecurityDescriptor* descriptor, Bool present,
                                             Acl* sacl, Bool defaulted) noexcept;

// What GetProcAddress gives for "AddMandatoryAce" of advapi32.dll: puts an integrity label with the
// given flags and policy behind the others of a list. 1344 where the list has no room for it, 1337
// for what is no identifier, 87 for a policy with unknown bits.
using AddMandatoryAceFunction = Bool(WINAPI_STDCALL*)(Acl* acl, Dword revision, Dword aceFlags,
                                                      Dword policy, void* labelSid);

}  // namespace winapi

#endif  // WINAPI_SECURITY_H_
