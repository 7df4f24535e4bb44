// What a registry does with the bytes of its values: the rules of winapi/registry.h that the seam's
// own registries share, the host's and the rehearsal's. Nothing here fails.
#ifndef WINAPI_REGISTRY_DATA_H_
#define WINAPI_REGISTRY_DATA_H_

#include <cstdint>
#include <vector>

#include "winapi/types.h"

namespace winapi {

// The bytes that a write stores: a string whose terminator stands just behind the range gets it.
// `data` isn't null unless `size` is 0, and is readable as RegSetValueExW asks for.
[[nodiscard]] std::vector<std::uint8_t> CompletedData(Dword type, const std::uint8_t* data,
                                                      Dword size);

// Answers a query with a value of these bytes: 0, or 234 for a buffer that is too small. `reported`
// is the size that the caller is told.
[[nodiscard]] Error GiveValue(Dword valueType, const std::vector<std::uint8_t>& bytes,
                              Dword reported, Dword* type, std::uint8_t* data, Dword* size);

}  // namespace winapi

#endif  // WINAPI_REGISTRY_DATA_H_
