// Reading a value whose size isn't known, or changes between two reads.
#ifndef PLATFORM_UTIL_WINDOWS_REGISTRY_QUERY_H_
#define PLATFORM_UTIL_WINDOWS_REGISTRY_QUERY_H_

#include <cstdint>
#include <memory>

#include "oru/rtl/string.h"
#include "platform/util/windows/unique_handle.h"
#include "winapi/types.h"

namespace windows_helpers {

// The largest size of a value, in characters.
inline constexpr std::uint32_t MaxSize = 0x7FFFFFFF;

// 16-bit characters as the registry gave them. Its storage isn't filled before it is read into, so
// a large capacity costs nothing until it is used. Sizes are 32-bit counts of characters.
class CharacterArray {
 public:
  // The largest count whose bytes fit 32 bits.
  [[nodiscard]] static constexpr std::uint32_t max_size() noexcept { return 0x7FFFFFFF; }

  [[nodiscard]] std::uint32_t size() const noexcept { return m_size; }
  [[nodiscard]] std::uint32_t capacity() const noexcept { return m_capacity; }
  [[nodiscard]] char16_t* data() noexcept { return m_data.get(); }
  [[nodiscard]] const char16_t* begin() const noexcept { return m_data.get(); }
  [[nodiscard]] const char16_t* end() const noexcept { return m_data.get() + m_size; }

  // Empties the array, which keeps its capacity.
  void clear() noexcept { m_size = 0; }
  // Capacity for exactly `n` characters if there is less; the content is lost then. Throws
  // std::bad_alloc, which leaves the array alone.
  void reserve(std::uint32_t n);
  // What stands in the storage becomes the content. `n` is at most the capacity.
  void set_size(std::uint32_t n) noexcept { m_size = n; }
  // Throws as reserve does.
  void assign(const char16_t* first, std::uint32_t n);

 private:
  std::unique_ptr<char16_t[]> m_data;
  std::uint32_t m_size = 0;
  std::uint32_t m_capacity = 0;
};

// The capacity for the next read, in characters, when pass number `pass` of the loop, counted from
// 0, was told that the value has `reported` characters: from pass 5 on twice that, but never above
// MaxSize.
[[nodiscard]] std::uint32_t GrownCapacity(std::uint32_t pass, std::uint32_t reported) noexcept;

// Reads the value into `value` and gives 0 or a Win32 error, which leaves `value` empty: 1629 when
// the value isn't of `expectedType`, 8 when memory runs out. One terminating zero goes from the
// string types REG_SZ and REG_EXPAND_SZ. A capacity of 64 characters or more is used as it is;
// below that the first read goes into a local buffer. Reads again for as long as the value has
// grown beyond the room for it; the 70th read is reported as a failed check and made all the same.
[[nodiscard]] winapi::Error QueryValueInto(const RegKey& key, const char16_t* name,
                                           winapi::Dword expectedType,
                                           oru::String16& value) noexcept;
[[nodiscard]] winapi::Error QueryValueInto(const RegKey& key, const char16_t* name,
                                           winapi::Dword expectedType,
                                           CharacterArray& value) noexcept;

}  // namespace windows_helpers

#endif  // PLATFORM_UTIL_WINDOWS_REGISTRY_QUERY_H_
