// The process and its access token.
#include <cstring>
#include <memory>
#include <utility>

#include "winapi/errors.h"
#include "winapi/host/call.h"
#include "winapi/host/control.h"
#include "winapi/host/handle_table.h"
#include "winapi/host/last_error.h"
#include "winapi/host/reset.h"
#include "winapi/security.h"

namespace winapi {
namespace {

constexpr std::intptr_t kCurrentProcess = -1;

// Only the rights asked for are kept: whose token it is, the test says for all of them.
struct Token final : host::KernelObject {
  explicit Token(Dword grantedAccess) : access(grantedAccess) {}
  Dword access;
};

host::TokenContent ContentAtTheStart() {
  return {.user = host::MakeSid(/*authority=*/5, {21, 0, 0, 0, 1000}),
          .integrityLevel = host::MakeSid(/*authority=*/16, {12288})};
}

host::TokenContent& TheContent() {
  static host::TokenContent& content = *new host::TokenContent(ContentAtTheStart());
  return content;
}

// The entry with the identifier behind it, in the caller's buffer; the address in the entry is that
// within the buffer.
Error Give(const std::vector<std::uint8_t>& sid, Dword attributes, void* buffer, Dword length,
           Dword* needed) {
  *needed = static_cast<Dword>(sizeof(SidAndAttributes) + sid.size());
  if (buffer == nullptr || length < *needed) return kErrorInsufficientBuffer;
  auto* const behind = static_cast<std::uint8_t*>(buffer) + sizeof(SidAndAttributes);
  SidAndAttributes entry{};
  entry.Sid = behind;
  entry.Attributes = attributes;
  std::memcpy(buffer, &entry, sizeof(entry));
  std::memcpy(behind, sid.data(), sid.size());
  return kErrorSuccess;
}

Error GiveInformation(int informationClass, void* buffer, Dword length, Dword* needed) {
  constexpr Dword kIntegrityEnabled = 0x60;  // SE_GROUP_INTEGRITY and ..._ENABLED
  const host::TokenContent& content = TheContent();
  if (informationClass == kTokenUserClass)
    return Give(content.user, /*attributes=*/0, buffer, length, needed);
  if (informationClass == kTokenIntegrityLevelClass && content.integrityLevel) {
    return Give(*content.integrityLevel, kIntegrityEnabled, buffer, length, needed);
  }
  *needed = 0;
  return kErrorInvalidParameter;
}

}  // namespace

Handle GetCurrentProcess() noexcept {
  const host::Call call("GetCurrentProcess");
  return reinterpret_cast<Handle>(kCurrentProcess);
}

Bool OpenProcessToken(Handle process, Dword access, Handle* token) noexcept {
  host::Call call("OpenProcessToken");
  call.Argument("process", process).Mask("access", access);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  if (reinterpret_cast<std::intptr_t>(process) != kCurrentProcess) {
    return host::FailWith(kErrorInvalidHandle, Bool{0});
  }
  if (token == nullptr) return host::FailWith(kErrorNoAccess, Bool{0});
  *token = host::OpenHandle(std::make_shared<Token>(access));
  return 1;
}

Bool GetTokenInformation(Handle token, int informationClass, void* information, Dword length,
                         Dword* needed) noexcept {
  host::Call call("GetTokenInformation");
  call.Argument("token", token).Argument("informationClass", static_cast<Dword>(informationClass));
  call.Argument("information", information).Argument("length", length);
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Bool{0});
  const auto object = host::ObjectOf<Token>(token);
  if (object == nullptr) return host::FailWith(kErrorInvalidHandle, Bool{0});
  if ((object->access & kTokenQuery) == 0) return host::FailWith(kErrorAccessDenied, Bool{0});
  if (needed == nullptr) return host::FailWith(kErrorNoAccess, Bool{0});
  const Error error = GiveInformation(informationClass, information, length, needed);
  return error == 0 ? 1 : host::FailWith(error, Bool{0});
}

void host::ResetToken() { TheContent() = ContentAtTheStart(); }

void host::SetToken(TokenContent content) {
  const SeamMark mark;
  TheContent() = std::move(content);
}

}  // namespace winapi
