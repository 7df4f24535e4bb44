#include "platform/util/windows/registry_query.h"

#include <algorithm>
#include <exception>

#include "oru/rtl/check.h"
#include "winapi/errors.h"
#include "winapi/registry.h"

namespace windows_helpers {
namespace {

// Most values fit into the local buffer, and cost one call and no memory.
constexpr std::uint32_t kLocalCapacity = 64;
// A writer who changes the value between two reads wins a few times before room is made for what
// may come next.
constexpr std::uint32_t kDoublingPass = 5;
// The name is part of a check's text, with its spelling.
constexpr std::uint32_t OverallInterationsLimit = 69;
constexpr std::uint32_t kMaxSizeHalved = MaxSize / 2;

// One read: where it went, and what the system said.
struct Reading {
  char16_t* data;
  std::uint32_t capacity;  // characters
  winapi::Dword type;
  std::uint32_t length;  // characters
  winapi::Error error;
};

Reading ReadOnce(const RegKey& key, const char16_t* name, char16_t* data,
                 std::uint32_t capacity) noexcept {
  ORU_CHECK(capacity <= MaxSize);
  winapi::Dword type = winapi::kRegNone;
  // An odd count of bytes loses its last one in the division below; the room for it is asked for in
  // vain then, until the doubling.
  winapi::Dword bytes = capacity * 2;
  const winapi::Error error =
      winapi::RegQueryValueExW(key.GetValue(), name, /*reserved=*/nullptr, &type,
                               reinterpret_cast<std::uint8_t*>(data), &bytes);
  return {data, capacity, type, bytes / 2, error};
}

// The gap that this opens lies over the whole storage and keeps what was read into it.
void SetSize(oru::String16& value, std::uint32_t n) {
  value.resize_extra_at(n, /*pos=*/0, /*replaced=*/0);
}
void SetSize(CharacterArray& value, std::uint32_t n) noexcept { value.set_size(n); }

template <typename Target>
bool Reserve(Target& value, std::uint32_t n) noexcept {
  try {
    value.reserve(n);
    return true;
  } catch (const std::exception&) {
    return false;
  }
}

// The length of the content: one terminating zero of a string goes and no more.
std::uint32_t ContentLength(const Reading& reading, winapi::Dword type) noexcept {
  // More than there was room for can't have been read, whatever the system says.
  const std::uint32_t length = std::min(reading.length, reading.capacity);
  const bool isString = type == winapi::kRegSz || type == winapi::kRegExpandSz;
  return isString && length != 0 && reading.data[length - 1] == u'\0' ? length - 1 : length;
}

template <typename Target>
winapi::Error Store(Target& value, const Reading& reading, winapi::Dword type) noexcept {
  const std::uint32_t length = ContentLength(reading, type);
  try {
    if (reading.data == value.data()) {
      SetSize(value, length);
    } else {
      value.assign(reading.data, length);
    }
    return winapi::kErrorSuccess;
  } catch (const std::exception&) {
    return winapi::kErrorNotEnoughMemory;
  }
}

template <typename Target>
winapi::Error Query(const RegKey& key, const char16_t* name, winapi::Dword expectedType,
                    Target& value) noexcept {
  ORU_CHECK(key.IsValid());
  ORU_CHECK_TEXT(key.GetValue() != winapi::HkeyPerformanceData(),
                 "key.GetValue() != (( HKEY ) (ULONG_PTR)((LONG)0x80000004) )");
  char16_t local[kLocalCapacity];
  value.clear();
  for (std::uint32_t i = 0;; ++i) {
    ORU_CHECK(i < OverallInterationsLimit);
    const bool ownStorage = value.capacity() >= kLocalCapacity;
    const Reading reading =
        ReadOnce(key, name, ownStorage ? value.data() : local,
                 ownStorage ? std::min(value.capacity(), MaxSize) : kLocalCapacity);
    if (reading.error == winapi::kErrorSuccess && reading.type == expectedType) {
      return Store(value, reading, expectedType);
    }
    // What a failed read left in the target's storage is no text; a string gets its terminator
    // back.
    value.clear();
    // A value that is read whole and isn't of the type; one that doesn't fit is read again first.
    if (reading.error == winapi::kErrorSuccess) return winapi::kErrorDatatypeMismatch;
    if (reading.error != winapi::kErrorMoreData) return reading.error;
    ORU_CHECK_TEXT(reading.length > reading.capacity, "newCapacity > capacity");
    if (!Reserve(value, GrownCapacity(i, reading.length))) return winapi::kErrorNotEnoughMemory;
  }
}

}  // namespace

void CharacterArray::reserve(std::uint32_t n) {
  if (n <= m_capacity) return;
  // The old content needn't be kept: the next read brings all of it.
  m_data = std::make_unique_for_overwrite<char16_t[]>(n);
  m_capacity = n;
  m_size = 0;
}

void CharacterArray::assign(const char16_t* first, std::uint32_t n) {
  reserve(n);
  std::copy_n(first, n, m_data.get());
  m_size = n;
}

std::uint32_t GrownCapacity(std::uint32_t pass, std::uint32_t reported) noexcept {
  if (pass < kDoublingPass) return reported;
  return reported >= kMaxSizeHalved ? MaxSize : reported * 2;
}

winapi::Error QueryValueInto(const RegKey& key, const char16_t* name, winapi::Dword expectedType,
                             oru::String16& value) noexcept {
  return Query(key, name, expectedType, value);
}

winapi::Error QueryValueInto(const RegKey& key, const char16_t* name, winapi::Dword expectedType,
                             CharacterArray& value) noexcept {
  ORU_CHECK(MaxSize <= value.max_size());
  return Query(key, name, expectedType, value);
}

}  // namespace windows_helpers
