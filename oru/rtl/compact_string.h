// The framework's small 8-bit string, used where 16-bit text is converted on its way to a host
// stream.
//
// Up to 11 characters stand in the object itself, longer texts in a block of the process heap. The
// object is 12 bytes on the 32-bit target; in a 64-bit process the pointer makes it 16. Running out
// of memory, or of 32-bit lengths, throws std::bad_alloc and leaves the string as it was. A null
// text of more than 0 characters counts as empty.
#ifndef ORU_RTL_COMPACT_STRING_H_
#define ORU_RTL_COMPACT_STRING_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "oru/rtl/memory_resource.h"
#include "oru/rtl/result_code.h"

namespace oru {

namespace detail {

// What a growth from `capacity` by `n` more characters aims at: the double where that is enough and
// fits.
[[nodiscard]] constexpr std::uint32_t GrownCompactCapacity(std::uint32_t capacity,
                                                           std::uint32_t n) noexcept {
  return capacity < 0x7FFFFFFF && n < capacity ? capacity * 2 : capacity + n;
}

}  // namespace detail

class CompactString {
 public:
  using value_type = char;
  using size_type = std::uint32_t;
  using allocator_type = memory::stateless_allocator<memory::windows::default_heap_resource>;

  // Characters with their terminator in a block are always a multiple of this.
  static constexpr size_type heap_capacity_alignment = 2;

  // What fits without a block.
  [[nodiscard]] static constexpr size_type min_capacity() noexcept { return 11; }
  [[nodiscard]] static constexpr size_type max_size() noexcept { return 0xFFFFFFFD; }

  CompactString() noexcept;
  explicit CompactString(std::string_view text);
  CompactString(const CompactString& other);
  // Leaves `other` empty.
  CompactString(CompactString&& other) noexcept;
  CompactString& operator=(const CompactString& other);
  CompactString& operator=(CompactString&& other) noexcept;
  ~CompactString();

  // Always zero-terminated.
  [[nodiscard]] const char* c_str() const noexcept { return data(); }
  [[nodiscard]] const char* data() const noexcept;
  [[nodiscard]] char* data() noexcept;
  [[nodiscard]] size_type size() const noexcept;
  [[nodiscard]] bool empty() const noexcept { return size() == 0; }
  [[nodiscard]] std::string_view view() const noexcept { return {data(), size()}; }
  // Without the terminator.
  [[nodiscard]] size_type capacity() const noexcept { return capacity_without_null_char(); }

  // Empties the text and keeps the capacity.
  void clear() noexcept { SetSize(0); }
  // A new capacity is twice the old one, or exactly what is needed where that is more (and one
  // character more where that makes the block even). `text` may be part of this string.
  CompactString& append(std::string_view text);
  // Makes the string `n` characters long, all of them with undefined content, and gives the first
  // one.
  char* resize_for_overwrite(size_type n);

 private:
  // In the long form: the data pointer, the size, and a word that is capacity_including_null_char
  // shifted right by one, with the top bit set. In the short form: the characters, and 11 - size in
  // the last byte, which on the 32-bit target is the terminator of a text of 11. The top bit of the
  // last byte tells them apart, which makes the layout one of little-endian machines.
  static constexpr std::size_t kSizeOffset = sizeof(char*);
  static constexpr std::size_t kCapacityOffset = kSizeOffset + sizeof(size_type);
  static constexpr std::size_t kBytes = kCapacityOffset + sizeof(size_type);

  [[nodiscard]] bool IsLong() const noexcept { return (m_bytes[kBytes - 1] & 0x80) != 0; }
  [[nodiscard]] size_type capacity_including_null_char() const noexcept;
  [[nodiscard]] size_type capacity_without_null_char() const noexcept;

  void MakeShort() noexcept;
  void MakeLong(char* data, size_type size, size_type capacity_including_null_char) noexcept;
  void StorePointer(char* ptr) noexcept;
  void StoreCapacity(size_type capacity_including_null_char) noexcept;
  void SetSize(size_type n) noexcept;
  [[nodiscard]] size_type GrownCapacity(size_type n) const;
  void AllocateBlock(size_type n);
  [[nodiscard]] CompactString EmptyWithPlaceFor(std::uint64_t size) const;
  void FreeBlock() noexcept;

  alignas(char*) unsigned char m_bytes[kBytes] = {};
};

static_assert(sizeof(void*) != 4 || sizeof(CompactString) == 12);

// Utf16ToAnsi of text_conversion.h, with the same results.
[[nodiscard]] ResultCode Utf16ToAnsi(std::u16string_view source, CompactString& target) noexcept;

}  // namespace oru

#endif  // ORU_RTL_COMPACT_STRING_H_
