#include "oru/rtl/compact_string.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "oru/rtl/alignment.h"
#include "oru/rtl/check.h"
#include "oru/rtl/text_conversion_impl.h"

namespace oru {
namespace {

// The top bit of the capacity word marks the long form; the rest is the capacity shifted right by
// one.
constexpr std::uint32_t kLongMark = 0x80000000;

// Without data; an object is only needed since the helpers take one.
CompactString::allocator_type allocator;

}  // namespace

CompactString::CompactString() noexcept { MakeShort(); }

CompactString::CompactString(std::string_view text) : CompactString() { append(text); }

CompactString::CompactString(const CompactString& other) : CompactString(other.view()) {}

CompactString::CompactString(CompactString&& other) noexcept {
  std::copy_n(other.m_bytes, kBytes, m_bytes);
  other.MakeShort();
}

CompactString& CompactString::operator=(const CompactString& other) {
  if (this != &other) *this = CompactString(other);
  return *this;
}

CompactString& CompactString::operator=(CompactString&& other) noexcept {
  if (this != &other) {
    FreeBlock();
    std::copy_n(other.m_bytes, kBytes, m_bytes);
    other.MakeShort();
  }
  return *this;
}

CompactString::~CompactString() { FreeBlock(); }

// The words of the long form go in and out by memcpy, since the same bytes are characters in the
// short one.
const char* CompactString::data() const noexcept {
  if (!IsLong()) return reinterpret_cast<const char*>(m_bytes);
  const char* block = nullptr;
  std::memcpy(&block, m_bytes, sizeof(block));
  return block;
}

char* CompactString::data() noexcept {
  if (!IsLong()) return reinterpret_cast<char*>(m_bytes);
  char* block = nullptr;
  std::memcpy(&block, m_bytes, sizeof(block));
  return block;
}

auto CompactString::size() const noexcept -> size_type {
  // What is missing to 11 and not the size: a text of 11 then has its terminator in this byte.
  if (!IsLong()) return min_capacity() - m_bytes[kBytes - 1];
  size_type size = 0;
  std::memcpy(&size, m_bytes + kSizeOffset, sizeof(size));
  return size;
}

CompactString& CompactString::append(std::string_view text) {
  if (text.data() == nullptr || text.empty()) return *this;
  const size_type old = size();
  const std::uint64_t needed = std::uint64_t{old} + text.size();
  if (needed <= capacity_without_null_char()) {
    std::memmove(data() + old, text.data(), text.size());
    SetSize(static_cast<size_type>(needed));
    return *this;
  }
  // The old block lives until both texts are copied, since `text` may be part of it.
  CompactString grown = EmptyWithPlaceFor(needed);
  std::copy_n(data(), old, grown.data());
  std::copy_n(text.data(), text.size(), grown.data() + old);
  grown.SetSize(static_cast<size_type>(needed));
  return *this = std::move(grown);
}

// The old text isn't taken along by a growth, since all of it is to be overwritten.
char* CompactString::resize_for_overwrite(size_type n) {
  if (n > capacity_without_null_char()) *this = EmptyWithPlaceFor(n);
  SetSize(n);
  return data();
}

auto CompactString::capacity_including_null_char() const noexcept -> size_type {
  if (!IsLong()) return min_capacity() + 1;
  size_type word = 0;
  std::memcpy(&word, m_bytes + kCapacityOffset, sizeof(word));
  return word << 1;
}

auto CompactString::capacity_without_null_char() const noexcept -> size_type {
  return capacity_including_null_char() - 1;
}

void CompactString::MakeShort() noexcept {
  // Before the size is set, which goes by the form that this byte tells.
  m_bytes[kBytes - 1] = min_capacity();
  SetSize(0);
}

void CompactString::MakeLong(char* data, size_type size,
                             size_type capacity_including_null_char) noexcept {
  ORU_CHECK(data != nullptr);
  ORU_CHECK(size < capacity_including_null_char);
  StorePointer(data);
  StoreCapacity(capacity_including_null_char);
  SetSize(size);
}

void CompactString::StorePointer(char* ptr) noexcept {
  ORU_CHECK(ptr != nullptr);
  std::memcpy(m_bytes, &ptr, sizeof(ptr));
}

void CompactString::StoreCapacity(size_type capacity_including_null_char) noexcept {
  ORU_CHECK(oru::math::is_aligned(capacity_including_null_char, heap_capacity_alignment));
  const size_type word = (capacity_including_null_char >> 1) | kLongMark;
  std::memcpy(m_bytes + kCapacityOffset, &word, sizeof(word));
}

void CompactString::SetSize(size_type n) noexcept {
  ORU_CHECK(n <= capacity_without_null_char());
  data()[n] = 0;
  if (IsLong()) {
    std::memcpy(m_bytes + kSizeOffset, &n, sizeof(n));
  } else {
    m_bytes[kBytes - 1] = static_cast<unsigned char>(min_capacity() - n);
  }
}

// For `n` characters more than the capacity.
auto CompactString::GrownCapacity(size_type n) const -> size_type {
  const size_type capacity = capacity_without_null_char();
  ORU_CHECK(n <= max_size() - capacity);
  if (n > max_size() - capacity) throw std::bad_alloc();
  return detail::GrownCompactCapacity(capacity, n);
}

// Gives a string in the short form, whose text goes, a block for `n` characters.
void CompactString::AllocateBlock(size_type n) {
  ORU_CHECK(min_capacity() < n);
  ORU_CHECK(n <= max_size());
  const size_type capacity_including_null_char = math::align_down(n + 2, heap_capacity_alignment);
  ORU_CHECK(n < capacity_including_null_char);
  char* const block = memory::allocate_elements<char>(allocator, capacity_including_null_char);
  if (block == nullptr) throw std::bad_alloc();
  MakeLong(block, /*size=*/0, capacity_including_null_char);
}

// An empty string that has grown from this one's capacity to `size`, which is above it.
CompactString CompactString::EmptyWithPlaceFor(std::uint64_t size) const {
  const std::uint64_t excess = size - capacity_without_null_char();
  CompactString grown;
  grown.AllocateBlock(
      GrownCapacity(static_cast<size_type>(std::min<std::uint64_t>(excess, 0xFFFFFFFF))));
  return grown;
}

void CompactString::FreeBlock() noexcept {
  if (!IsLong()) return;
  memory::deallocate_elements(allocator, data(), capacity_including_null_char());
}

ResultCode Utf16ToAnsi(std::u16string_view source, CompactString& target) noexcept {
  return detail::ConvertText(source, target, detail::DecodeWide, detail::EncodeAnsi);
}

}  // namespace oru
