// The framework's string: zero-terminated text with an inline buffer and a run-time allocator.
//
// Sizes, capacities and positions are 32-bit counts of characters, without the terminator. Memory
// comes from the string's allocator handle. Running out of it throws std::bad_alloc, a length
// beyond max_size() throws std::length_error; a string is unchanged when an operation throws. A
// null text of more than 0 characters is reported as a failed check and then counts as empty. Texts
// that are passed in may be part of the string itself, its terminator included.
#ifndef ORU_RTL_STRING_H_
#define ORU_RTL_STRING_H_

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "oru/rtl/allocator.h"

namespace oru {

// Frees a string's old block later than the string lets go of it, so that a text inside that block
// stays readable while it is copied. Holds at most one block.
template <typename CharT>
class block_keeper {
 public:
  block_keeper() noexcept = default;
  block_keeper(const block_keeper&) = delete;
  block_keeper& operator=(const block_keeper&) = delete;
  // Gives the block back.
  ~block_keeper();

  // Takes over a block of `capacity + 1` characters of `allocator`; one that is held already goes
  // back.
  void Keep(const abi_v2_allocator& allocator, CharT* block, std::uint32_t capacity) noexcept;
  // The block that is held, or null.
  [[nodiscard]] const CharT* Block() const noexcept { return m_block; }

 private:
  void Release() noexcept;

  abi_v2_allocator m_allocator;
  CharT* m_block = nullptr;
  std::uint32_t m_capacity = 0;
};

template <typename CharT>
class basic_string_t {
 public:
  using value_type = CharT;
  using size_type = std::uint32_t;
  using view_type = std::basic_string_view<CharT>;

  // 15 for 8-bit and 7 for 16-bit characters.
  static constexpr size_type inline_capacity = 16 / sizeof(CharT) - 1;

  basic_string_t() noexcept;
  explicit basic_string_t(const abi_v2_allocator& allocator) noexcept;
  // From a zero-terminated text; null counts as empty.
  basic_string_t(const CharT* text);  // NOLINT(google-explicit-constructor): literals are strings
  // From `count` characters, in a block of exactly `count + 1` when they don't fit in line. A count
  // of 0xFFFFFFFF is refused with std::length_error.
  basic_string_t(const CharT* first, size_type count, const abi_v2_allocator& allocator = {});
  explicit basic_string_t(view_type text);
  // The copy uses the allocator of `other`.
  basic_string_t(const basic_string_t& other);
  // Takes block and allocator; `other` is empty then, and keeps using that allocator too.
  basic_string_t(basic_string_t&& other) noexcept;
  // Copies the text, in memory of this string's own allocator.
  basic_string_t& operator=(const basic_string_t& other);
  // Takes block and allocator, like the constructor.
  basic_string_t& operator=(basic_string_t&& other) noexcept;
  ~basic_string_t();

  [[nodiscard]] static constexpr size_type max_size() noexcept {
    return sizeof(CharT) == 1 ? 0xFFFFFFFEu : 0x7FFFFFFFu;
  }

  // Always zero-terminated.
  [[nodiscard]] const CharT* c_str() const noexcept { return m_data; }
  [[nodiscard]] const CharT* data() const noexcept { return m_data; }
  [[nodiscard]] CharT* data() noexcept { return m_data; }
  [[nodiscard]] size_type size() const noexcept { return m_size; }
  [[nodiscard]] size_type capacity() const noexcept { return m_capacity; }
  [[nodiscard]] bool empty() const noexcept { return m_size == 0; }
  // Of a text that isn't empty.
  [[nodiscard]] const CharT& back() const noexcept { return m_data[m_size - 1]; }
  [[nodiscard]] view_type view() const noexcept { return {m_data, m_size}; }
  [[nodiscard]] const abi_v2_allocator& get_allocator() const noexcept { return m_allocator; }

  // Empties the text and keeps the capacity.
  void clear() noexcept;
  void push_back(CharT character) {
    if (m_size == m_capacity) reserve_extra(/*n=*/1);
    m_data[m_size] = character;
    SetSize(m_size + 1);
  }

  basic_string_t& append(const CharT* first, size_type n) {
    if (first == nullptr || n > m_capacity - m_size) return AppendGrowing(first, n);
    PutBehind(first, n);
    return *this;
  }
  basic_string_t& append(const CharT* text);
  basic_string_t& append(view_type text);
  basic_string_t& append(size_type n, CharT character);
  basic_string_t& assign(const CharT* first, size_type n);
  basic_string_t& assign(view_type text);
  // Throws std::out_of_range for a position behind the end.
  basic_string_t& insert(size_type pos, const CharT* first, size_type n);
  // Cuts, or fills up with `character`.
  void resize(size_type n, CharT character = CharT());

  // Makes place for `n` more characters: a new capacity is `size() + n` or twice the old one,
  // whichever is larger. A `keeper` gets the old block in place of the allocator; a text in line
  // leaves none.
  void reserve_extra(size_type n, block_keeper<CharT>* keeper = nullptr);
  // Capacity for exactly `n` characters if there is less.
  void reserve(size_type n);
  // Opens a gap of `n` characters, with undefined content, in place of `replaced` ones at `pos`,
  // which have to be there. Grows as reserve_extra does.
  void resize_extra_at(size_type n, size_type pos, size_type replaced);
  // Makes the text `n` characters of undefined content, and gives the first one.
  CharT* resize_for_overwrite(size_type n);

  // Order by the unsigned value of the characters. A null text counts as empty.
  friend bool operator==(const basic_string_t& a, const basic_string_t& b) noexcept {
    return a.view() == b.view();
  }
  friend bool operator==(const basic_string_t& a, const CharT* b) noexcept {
    return a.view() == ViewOf(b);
  }
  friend auto operator<=>(const basic_string_t& a, const basic_string_t& b) noexcept {
    return a.view() <=> b.view();
  }
  friend auto operator<=>(const basic_string_t& a, const CharT* b) noexcept {
    return a.view() <=> ViewOf(b);
  }

 private:
  using traits = std::char_traits<CharT>;

  [[nodiscard]] static view_type ViewOf(const CharT* text) noexcept {
    return text == nullptr ? view_type() : view_type(text);
  }
  [[nodiscard]] static size_type CountOf(view_type text) noexcept;

  [[nodiscard]] bool IsInline() const noexcept { return m_data == m_inline; }
  [[nodiscard]] bool Overlaps(const CharT* first, size_type n) const noexcept;
  [[nodiscard]] size_type GrownCapacity(size_type kept, size_type n) const noexcept;

  [[nodiscard]] CharT* AllocateBlock(size_type capacity);
  void FreeBlock() noexcept;
  void ReplaceBlock(CharT* block, size_type capacity, block_keeper<CharT>* keeper) noexcept;
  void MoveToBlock(size_type capacity, size_type kept, block_keeper<CharT>* keeper);
  void ReserveBehind(size_type kept, size_type n, block_keeper<CharT>* keeper);
  basic_string_t& AppendGrowing(const CharT* first, size_type n);
  // There is place for them. Moved, not copied: a source of this string may take in the terminator,
  // which lies where the copy begins.
  void PutBehind(const CharT* first, size_type n) noexcept {
    traits::move(m_data + m_size, first, n);
    SetSize(m_size + n);
  }
  void UseInline() noexcept;
  void TakeText(basic_string_t& other) noexcept;
  void SetSize(size_type size) noexcept {
    m_size = size;
    m_data[size] = CharT();
  }

  // The order is that of the string's binary form. The text is in a heap block exactly when m_data
  // isn't m_inline.
  CharT* m_data;
  size_type m_size;
  size_type m_capacity;
  abi_v2_allocator m_allocator;
  CharT m_inline[16 / sizeof(CharT)];
};

using String8 = basic_string_t<char>;
using String16 = basic_string_t<char16_t>;

static_assert(sizeof(void*) != 4 || (sizeof(String8) == 32 && sizeof(String16) == 32));

extern template class block_keeper<char>;
extern template class block_keeper<char16_t>;
extern template class basic_string_t<char>;
extern template class basic_string_t<char16_t>;

}  // namespace oru

#endif  // ORU_RTL_STRING_H_
