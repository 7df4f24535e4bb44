// Unique identifiers.
#ifndef WINAPI_GUID_H_
#define WINAPI_GUID_H_

#include <cstdint>

namespace winapi {

// GUID.
struct Guid {
  std::uint32_t Data1;
  std::uint16_t Data2;
  std::uint16_t Data3;
  std::uint8_t Data4[8];
};

// Gives a new identifier, and an HRESULT: negative on failure, with `*guid` untouched.
[[nodiscard]] std::int32_t CoCreateGuid(Guid* guid) noexcept;

}  // namespace winapi

#endif  // WINAPI_GUID_H_
