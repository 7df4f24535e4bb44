#include "winapi/guid.h"

#include <sys/random.h>

#include <utility>

#include "winapi/host/call.h"
#include "winapi/host/control.h"

namespace winapi {
namespace {

constexpr std::int32_t kOk = 0;
constexpr auto kFail = static_cast<std::int32_t>(0x80004005);  // E_FAIL

host::GuidSource& TheSource() {
  static host::GuidSource& source = *new host::GuidSource;
  return source;
}

// The random form: version 4, variant 1.
std::int32_t RandomGuid(Guid& guid) {
  Guid random;
  if (::getrandom(&random, sizeof(random), 0) != sizeof(random)) return kFail;
  random.Data3 = static_cast<std::uint16_t>((random.Data3 & 0x0FFF) | 0x4000);
  random.Data4[0] = static_cast<std::uint8_t>((random.Data4[0] & 0x3F) | 0x80);
  guid = random;
  return kOk;
}

// A Windows error becomes a result; what is one already stays.
std::int32_t ResultOf(Error error) {
  return static_cast<std::int32_t>(error <= 0xFFFF ? 0x80070000 | error : error);
}

}  // namespace

std::int32_t CoCreateGuid(Guid* guid) noexcept {
  host::Call call("CoCreateGuid");
  if (const auto fault = call.Fault()) return ResultOf(*fault);
  return TheSource() ? TheSource()(*guid) : RandomGuid(*guid);
}

void host::SetGuidSource(GuidSource source) {
  const SeamMark mark;
  TheSource() = std::move(source);
}

}  // namespace winapi
