#include "winapi/guid.h"

#include <windows.h>

#include <objbase.h>

#include <cstddef>

namespace winapi {

static_assert(sizeof(Guid) == sizeof(GUID));
static_assert(offsetof(Guid, Data1) == offsetof(GUID, Data1));
static_assert(offsetof(Guid, Data2) == offsetof(GUID, Data2));
static_assert(offsetof(Guid, Data3) == offsetof(GUID, Data3));
static_assert(offsetof(Guid, Data4) == offsetof(GUID, Data4));
static_assert(sizeof(HRESULT) == sizeof(std::int32_t));

std::int32_t CoCreateGuid(Guid* guid) noexcept {
  return ::CoCreateGuid(reinterpret_cast<GUID*>(guid));
}

}  // namespace winapi
