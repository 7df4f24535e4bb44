#include "winapi/host/access_lists.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/last_error.h"

namespace winapi {
namespace {

using Bytes = std::vector<std::uint8_t>;
using MaybeBytes = std::optional<Bytes>;

// The binary forms. An identifier is its revision, the number of its parts, six bytes of authority
// and four a part; a list is a head (Acl) with the entries behind it, each with its own size.
// Nothing is aligned but by luck, so whatever is wider than a byte is copied out and in.
constexpr std::uint8_t kSidRevision = 1;
constexpr std::size_t kSidHead = 8;
constexpr std::uint8_t kMaxSubAuthorities = 15;
constexpr std::uint8_t kLowestAclRevision = 2;  // ACL_REVISION
constexpr std::uint8_t kHighestAclRevision =
    4;  // ACL_REVISION_DS, for entries of a directory service
constexpr std::uint8_t kAccessAllowedAceType = 0;
constexpr std::uint8_t kMandatoryLabelAceType = 0x11;
constexpr Dword kMandatoryPolicies = 7;  // no write up, no read up, no execute up

// Bits of a descriptor's control word. A list counts only with its "present" bit; "present" and
// null admits everybody, which is the opposite of an empty list.
constexpr std::uint16_t kDaclPresent = 0x0004;
constexpr std::uint16_t kSaclPresent = 0x0010;
constexpr std::uint16_t kSelfRelative = 0x8000;

// ACCESS_ALLOWED_ACE and SYSTEM_MANDATORY_LABEL_ACE without the identifier that follows.
struct AceHead {
  std::uint8_t AceType;
  std::uint8_t AceFlags;
  std::uint16_t AceSize;
  Dword Mask;
};

std::uint8_t* BytesOf(Acl* acl) { return reinterpret_cast<std::uint8_t*>(acl); }
const std::uint8_t* BytesOf(const Acl* acl) { return reinterpret_cast<const std::uint8_t*>(acl); }

bool HasValidHead(const Acl& acl) {
  return acl.AclRevision >= kLowestAclRevision && acl.AclRevision <= kHighestAclRevision &&
         acl.AclSize >= sizeof(Acl);
}

// A list has no mark at its end: the sizes in it are all there is to go by, so each is held against
// the list's own before it is believed. Where the next entry would go; nullopt for a list that is
// damaged.
std::optional<std::size_t> EndOfEntries(const Acl& acl) {
  if (!HasValidHead(acl)) return std::nullopt;
  std::size_t end = sizeof(Acl);
  for (int i = 0; i < acl.AceCount; ++i) {
    AceHead head;
    if (end + sizeof(head) > acl.AclSize) return std::nullopt;
    std::memcpy(&head, BytesOf(&acl) + end, sizeof(head));
    if (head.AceSize < sizeof(head) || end + head.AceSize > acl.AclSize) return std::nullopt;
    end += head.AceSize;
  }
  return end;
}

// The identifier is looked at first and the room last, so a damaged list never tells of its room. A
// list takes the higher revision of what is put into it.
Error AddEntry(Acl* acl, Dword revision, AceHead head, const void* sid) {
  const std::size_t sidLength = host::SidLength(sid);
  if (sidLength == 0) return kErrorInvalidSid;
  if (acl->AclRevision > kHighestAclRevision || revision < kLowestAclRevision ||
      revision > kHighestAclRevision) {
    return kErrorRevisionMismatch;
  }
  const std::optional<std::size_t> end = EndOfEntries(*acl);
  if (!end) return kErrorInvalidAcl;
  const std::size_t size = sizeof(head) + sidLength;
  if (*end + size > acl->AclSize) return kErrorNoSpaceInAcl;
  head.AceSize = static_cast<std::uint16_t>(size);
  std::memcpy(BytesOf(acl) + *end, &head, sizeof(head));
  std::memcpy(BytesOf(acl) + *end + sizeof(head), sid, sidLength);
  acl->AclRevision = std::max(acl->AclRevision, static_cast<std::uint8_t>(revision));
  ++acl->AceCount;
  return kErrorSuccess;
}

Bool Answer(Error error) { return error == kErrorSuccess ? 1 : host::FailWith(error, Bool{0}); }

// The self-relative form has offsets where this one has addresses; to follow them would read
// anywhere.
Error CheckDescriptor(const SecurityDescriptor& descriptor) {
  if (descriptor.Revision != kSecurityDescriptorRevision) return kErrorUnknownRevision;
  return (descriptor.Control & kSelfRelative) != 0 ? kErrorInvalidDescriptor : kErrorSuccess;
}

// Without "present" the address in the descriptor stays, as on Windows: the bit alone decides.
// The bit that says where the list came from is the next one above.
Error PutList(SecurityDescriptor& descriptor, unsigned bit, Acl*& place, Acl* list, bool present,
              bool defaulted) {
  if (const Error error = CheckDescriptor(descriptor); error != 0) return error;
  unsigned control = descriptor.Control & ~bit;
  if (present) {
    control = (control & ~(bit << 1U)) | bit | (defaulted ? bit << 1U : 0U);
    place = list;
  }
  descriptor.Control = static_cast<std::uint16_t>(control);
  return kErrorSuccess;
}

// What isn't used of the list is kept too: the product's bytes are compared as it wrote them.
Error CaptureList(const Acl* acl, bool present, MaybeBytes& captured) {
  if (!present || acl == nullptr) return kErrorSuccess;
  if (!EndOfEntries(*acl)) return kErrorInvalidAcl;
  captured = Bytes(BytesOf(acl), BytesOf(acl) + acl->AclSize);
  return kErrorSuccess;
}

Error CaptureSid(const void* sid, MaybeBytes& captured) {
  if (sid == nullptr) return kErrorSuccess;
  const std::size_t length = host::SidLength(sid);
  if (length == 0) return kErrorInvalidSid;
  const auto* bytes = static_cast<const std::uint8_t*>(sid);
  captured = Bytes(bytes, bytes + length);
  return kErrorSuccess;
}

Error CaptureParts(const SecurityDescriptor& from, host::CapturedDescriptor& to) {
  if (const Error error = CaptureSid(from.Owner, to.owner); error != 0) return error;
  if (const Error error = CaptureSid(from.Group, to.group); error != 0) return error;
  const bool hasDacl = (from.Control & kDaclPresent) != 0;
  if (const Error error = CaptureList(from.Dacl, hasDacl, to.dacl); error != 0) return error;
  return CaptureList(from.Sacl, (from.Control & kSaclPresent) != 0, to.sacl);
}

}  // namespace

std::size_t host::SidLength(const void* sid) noexcept {
  if (sid == nullptr) return 0;
  const auto* bytes = static_cast<const std::uint8_t*>(sid);
  if (bytes[0] != kSidRevision || bytes[1] > kMaxSubAuthorities) return 0;
  return kSidHead + std::size_t{bytes[1]} * sizeof(Dword);
}

Error host::CaptureDescriptor(const void* descriptor, std::optional<CapturedDescriptor>& captured) {
  const auto& from = *static_cast<const SecurityDescriptor*>(descriptor);
  if (const Error error = CheckDescriptor(from); error != 0) return error;
  CapturedDescriptor to{.control = from.Control, .owner = {}, .group = {}, .dacl = {}, .sacl = {}};
  if (const Error error = CaptureParts(from, to); error != 0) return error;
  captured = std::move(to);
  return kErrorSuccess;
}

Bool WINAPI_STDCALL host::AddMandatoryAce(Acl* acl, Dword revision, Dword aceFlags, Dword policy,
                                          void* labelSid) noexcept {
  Call call("AddMandatoryAce");
  call.Argument("acl", acl).Argument("revision", revision).Mask("aceFlags", aceFlags);
  call.Mask("policy", policy).Data("labelSid", labelSid, SidLength(labelSid));
  if (const auto fault = call.Fault()) return FailWith(*fault, Bool{0});
  if ((policy & ~kMandatoryPolicies) != 0) return FailWith(kErrorInvalidParameter, Bool{0});
  const AceHead head{.AceType = kMandatoryLabelAceType,
                     .AceFlags = static_cast<std::uint8_t>(aceFlags),
                     .AceSize = 0,
                     .Mask = policy};
  return Answer(AddEntry(acl, revision, head, labelSid));
}

Dword GetLengthSid(void* sid) noexcept {
  host::Call call("GetLengthSid");
  const std::size_t length = host::SidLength(sid);
  call.Data("sid", sid, length);
  return static_cast<Dword>(length);
}

// Whether it fits or not, the caller learns the size.
Bool CreateWellKnownSid(int type, void* domain, void* sid, Dword* size) noexcept {
  constexpr std::uint8_t kLocalSystem[] = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};
  host::Call call("CreateWellKnownSid");
  call.Argument("type", static_cast<Dword>(type)).Argument("domain", domain);
  if (size != nullptr) call.Argument("size", *size);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (type != kWinLocalSystemSid || size == nullptr) {
    return host::FailWith(kErrorInvalidParameter, Bool{0});
  }
  const bool fits = sid != nullptr && *size >= sizeof(kLocalSystem);
  *size = sizeof(kLocalSystem);
  if (!fits) return host::FailWith(kErrorInsufficientBuffer, Bool{0});
  std::memcpy(sid, kLocalSystem, sizeof(kLocalSystem));
  return 1;
}

// Only the head is written; what stands behind it is the caller's memory as it was.
Bool InitializeAcl(Acl* acl, Dword size, Dword revision) noexcept {
  host::Call call("InitializeAcl");
  call.Argument("acl", acl).Argument("size", size).Argument("revision", revision);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (size < sizeof(Acl)) return host::FailWith(kErrorInsufficientBuffer, Bool{0});
  if (size > 0xFFFF || revision < kLowestAclRevision || revision > kHighestAclRevision) {
    return host::FailWith(kErrorInvalidParameter, Bool{0});
  }
  *acl = {.AclRevision = static_cast<std::uint8_t>(revision),
          .Sbz1 = 0,
          .AclSize = static_cast<std::uint16_t>(size),
          .AceCount = 0,
          .Sbz2 = 0};
  return 1;
}

Bool AddAccessAllowedAce(Acl* acl, Dword revision, Dword mask, void* sid) noexcept {
  host::Call call("AddAccessAllowedAce");
  call.Argument("acl", acl).Argument("revision", revision).Mask("mask", mask);
  call.Data("sid", sid, host::SidLength(sid));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const AceHead head{.AceType = kAccessAllowedAceType, .AceFlags = 0, .AceSize = 0, .Mask = mask};
  return Answer(AddEntry(acl, revision, head, sid));
}

Bool InitializeSecurityDescriptor(SecurityDescriptor* descriptor, Dword revision) noexcept {
  host::Call call("InitializeSecurityDescriptor");
  call.Argument("descriptor", descriptor).Argument("revision", revision);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (revision != kSecurityDescriptorRevision) {
    return host::FailWith(kErrorUnknownRevision, Bool{0});
  }
  *descriptor = {};
  descriptor->Revision = static_cast<std::uint8_t>(revision);
  return 1;
}

Bool SetSecurityDescriptorDacl(SecurityDescriptor* descriptor, Bool present, Acl* dacl,
                               Bool defaulted) noexcept {
  host::Call call("SetSecurityDescriptorDacl");
  call.Argument("descriptor", descriptor).Argument("present", static_cast<Dword>(present));
  call.Argument("dacl", dacl).Argument("defaulted", static_cast<Dword>(defaulted));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  return Answer(
      PutList(*descriptor, kDaclPresent, descriptor->Dacl, dacl, present != 0, defaulted != 0));
}

Bool SetSecurityDescriptorSacl(SecurityDescriptor* descriptor, Bool present, Acl* sacl,
                               Bool defaulted) noexcept {
  host::Call call("SetSecurityDescriptorSacl");
  call.Argument("descriptor", descriptor).Argument("present", static_cast<Dword>(present));
  call.Argument("sacl", sacl).Argument("defaulted", static_cast<Dword>(defaulted));
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  return Answer(
      PutList(*descriptor, kSaclPresent, descriptor->Sacl, sacl, present != 0, defaulted != 0));
}

std::vector<std::uint8_t> host::MakeSid(std::uint8_t authority,
                                        const std::vector<Dword>& subAuthorities) {
  const SeamMark mark;
  Bytes sid = {kSidRevision, static_cast<std::uint8_t>(subAuthorities.size()), 0, 0, 0, 0, 0,
               authority};
  for (const Dword part : subAuthorities) {
    for (int shift = 0; shift < 32; shift += 8) {
      sid.push_back(static_cast<std::uint8_t>(part >> shift));
    }
  }
  return sid;
}

}  // namespace winapi
