#include "winapi/registry_data.h"

#include <cstddef>
#include <cstring>

#include "winapi/errors.h"
#include "winapi/registry.h"

namespace winapi {
namespace {

bool IsStringType(Dword type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

// Copies `bytes` to `data`, which has room for `size`. A string without a terminator gets one
// behind it where there is room, and nothing tells the caller.
void CopyValue(const std::vector<std::uint8_t>& bytes, Dword type, std::uint8_t* data, Dword size) {
  if (bytes.empty()) return;
  std::memcpy(data, bytes.data(), bytes.size());
  const std::size_t count = bytes.size();
  const bool terminated = count >= 2 && bytes[count - 1] == 0 && bytes[count - 2] == 0;
  if (IsStringType(type) && !terminated && size - count >= 2) std::memset(data + count, 0, 2);
}

}  // namespace

// Of an odd number of bytes no character ends the range, and nothing is looked at.
std::vector<std::uint8_t> CompletedData(Dword type, const std::uint8_t* data, Dword size) {
  if (size == 0) return {};
  std::vector<std::uint8_t> bytes(data, data + size);
  if (!IsStringType(type) || size % 2 != 0) return bytes;
  const bool terminated = data[size - 1] == 0 && data[size - 2] == 0;
  if (!terminated && data[size] == 0 && data[size + 1] == 0) bytes.insert(bytes.end(), 2, 0);
  return bytes;
}

Error GiveValue(Dword valueType, const std::vector<std::uint8_t>& bytes, Dword reported,
                Dword* type, std::uint8_t* data, Dword* size) {
  if (type != nullptr) *type = valueType;
  const Dword room = size == nullptr ? 0 : *size;
  if (size != nullptr) *size = reported;
  if (data == nullptr) return kErrorSuccess;
  if (bytes.size() > room) return kErrorMoreData;
  CopyValue(bytes, valueType, data, room);
  return kErrorSuccess;
}

}  // namespace winapi
