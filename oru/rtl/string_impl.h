// The members of the string templates; included by string.cpp alone, which instantiates them for
// 8-bit and 16-bit characters.
#ifndef ORU_RTL_STRING_IMPL_H_
#define ORU_RTL_STRING_IMPL_H_

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

#include "oru/rtl/check.h"
#include "oru/rtl/string.h"

namespace oru {

namespace detail {

// Copies `bytes` bytes, from `piece` to twice as many, as the first `piece` of them and the last,
// which overlap where that is more. Both are read before either is written.
template <std::size_t piece>
void CopyTwoPieces(char* to, const char* from, std::size_t bytes) noexcept {
  char head[piece];
  char tail[piece];
  std::memcpy(head, from, piece);
  std::memcpy(tail, from + bytes - piece, piece);
  std::memcpy(to, head, piece);
  std::memcpy(to + bytes - piece, tail, piece);
}

// Copies what fits inline, 15 bytes at most: a call of the library's takes longer than so few.
template <typename CharT>
void CopyShort(CharT* to, const CharT* from, std::size_t count) noexcept {
  const std::size_t bytes = count * sizeof(CharT);
  char* const target = reinterpret_cast<char*>(to);
  const char* const source = reinterpret_cast<const char*>(from);
  if (bytes >= 8) {
    CopyTwoPieces<8>(target, source, bytes);
  } else if (bytes >= 4) {
    CopyTwoPieces<4>(target, source, bytes);
  } else if (bytes >= 2) {
    CopyTwoPieces<2>(target, source, bytes);
  } else if (bytes == 1) {
    *target = *source;
  }
}

}  // namespace detail

template <typename CharT>
block_keeper<CharT>::~block_keeper() {
  Release();
}

template <typename CharT>
void block_keeper<CharT>::Keep(const abi_v2_allocator& allocator, CharT* block,
                               std::uint32_t capacity) noexcept {
  Release();
  m_allocator = allocator;
  m_block = block;
  m_capacity = capacity;
}

template <typename CharT>
void block_keeper<CharT>::Release() noexcept {
  if (m_block == nullptr) return;
  m_allocator.deallocate(m_block, (std::size_t{m_capacity} + 1) * sizeof(CharT), alignof(CharT));
  m_block = nullptr;
}

template <typename CharT>
basic_string_t<CharT>::basic_string_t() noexcept {
  UseInline();
}

template <typename CharT>
basic_string_t<CharT>::basic_string_t(const abi_v2_allocator& allocator) noexcept
    : m_allocator(allocator) {
  UseInline();
}

template <typename CharT>
basic_string_t<CharT>::basic_string_t(const CharT* text) : basic_string_t(ViewOf(text)) {}

// A text that is made whole isn't expected to grow, so its block is exact; only growth doubles.
template <typename CharT>
basic_string_t<CharT>::basic_string_t(const CharT* first, size_type count,
                                      const abi_v2_allocator& allocator)
    : basic_string_t(allocator) {
  if (count <= inline_capacity && first != nullptr) {
    detail::CopyShort(m_inline, first, count);
    SetSize(count);
    return;
  }
  // With the terminator the characters couldn't be counted in 32 bits. Shorter texts that are too
  // long are found by the block's making.
  if (count == 0xFFFFFFFF) throw std::length_error("oru::basic_string_t constructor");
  if (count > inline_capacity) MoveToBlock(count, /*kept=*/0, /*keeper=*/nullptr);
  append(first, count);
}

template <typename CharT>
basic_string_t<CharT>::basic_string_t(view_type text)
    : basic_string_t(text.data(), CountOf(text)) {}

template <typename CharT>
basic_string_t<CharT>::basic_string_t(const basic_string_t& other)
    : basic_string_t(other.m_data, other.m_size, other.m_allocator) {}

template <typename CharT>
basic_string_t<CharT>::basic_string_t(basic_string_t&& other) noexcept
    : basic_string_t(other.m_allocator) {
  TakeText(other);
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::operator=(const basic_string_t& other) {
  // Copies keep to the own allocator; the constructor above takes the other's.
  if (this != &other) assign(other.m_data, other.m_size);
  return *this;
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::operator=(basic_string_t&& other) noexcept {
  if (this != &other) {
    FreeBlock();
    // Block and allocator belong together: what one has given only it takes back.
    m_allocator = other.m_allocator;
    TakeText(other);
  }
  return *this;
}

template <typename CharT>
basic_string_t<CharT>::~basic_string_t() {
  FreeBlock();
}

template <typename CharT>
void basic_string_t<CharT>::clear() noexcept {
  SetSize(0);
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::AppendGrowing(const CharT* first, size_type n) {
  ORU_CHECK((first != nullptr) || (n == 0));
  if (first == nullptr || n == 0) return *this;
  block_keeper<CharT> keeper;
  reserve_extra(n, &keeper);
  PutBehind(first, n);
  return *this;
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::append(const CharT* text) {
  return append(ViewOf(text));
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::append(view_type text) {
  return append(text.data(), CountOf(text));
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::append(size_type n, CharT character) {
  reserve_extra(n);
  traits::assign(m_data + m_size, n, character);
  SetSize(m_size + n);
  return *this;
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::assign(const CharT* first, size_type n) {
  ORU_CHECK((first != nullptr) || (n == 0));
  if (first == nullptr) n = 0;
  block_keeper<CharT> keeper;
  // Nothing of the old text is kept by a growth, so the source may have to come out of the keeper.
  ReserveBehind(/*kept=*/0, n, &keeper);
  if (n != 0) traits::move(m_data, first, n);
  SetSize(n);
  return *this;
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::assign(view_type text) {
  return assign(text.data(), CountOf(text));
}

template <typename CharT>
basic_string_t<CharT>& basic_string_t<CharT>::insert(size_type pos, const CharT* first,
                                                     size_type n) {
  if (pos > m_size) throw std::out_of_range("oru::basic_string_t::insert");
  if (n > max_size() - m_size) throw std::length_error("oru::basic_string_t::insert");
  ORU_CHECK((first != nullptr) || (n == 0));
  if (first == nullptr || n == 0) return *this;
  // A keeper doesn't serve here: within the capacity the gap moves the source where it stands.
  if (Overlaps(first, n)) {
    const basic_string_t source(first, n, m_allocator);
    resize_extra_at(n, pos, /*replaced=*/0);
    traits::copy(m_data + pos, source.m_data, n);
  } else {
    resize_extra_at(n, pos, /*replaced=*/0);
    traits::copy(m_data + pos, first, n);
  }
  return *this;
}

template <typename CharT>
void basic_string_t<CharT>::resize(size_type n, CharT character) {
  if (n > m_size) {
    append(n - m_size, character);
  } else {
    SetSize(n);
  }
}

template <typename CharT>
void basic_string_t<CharT>::reserve_extra(size_type n, block_keeper<CharT>* keeper) {
  ReserveBehind(m_size, n, keeper);
}

template <typename CharT>
void basic_string_t<CharT>::reserve(size_type n) {
  if (n <= m_capacity) return;
  if (n > max_size()) throw std::length_error("oru::basic_string_t::reserve");
  MoveToBlock(n, m_size, /*keeper=*/nullptr);
}

template <typename CharT>
void basic_string_t<CharT>::resize_extra_at(size_type n, size_type pos, size_type replaced) {
  const size_type kept = m_size - replaced;
  const size_type behind = kept - pos;
  const CharT* const tail = m_data + pos + replaced;
  if (n <= m_capacity - kept) {
    traits::move(m_data + pos + n, tail, behind);
  } else {
    // Unlike the growth at the end this one isn't reported.
    if (n >= max_size() - kept) throw std::length_error("oru::basic_string_t::resize_extra_at");
    // Head and tail go to their places at once; through reserve_extra the tail would move twice.
    const size_type capacity = GrownCapacity(kept, n);
    CharT* const block = AllocateBlock(capacity);
    traits::copy(block, m_data, pos);
    traits::copy(block + pos + n, tail, behind);
    ReplaceBlock(block, capacity, /*keeper=*/nullptr);
  }
  SetSize(kept + n);
}

template <typename CharT>
CharT* basic_string_t<CharT>::resize_for_overwrite(size_type n) {
  resize_extra_at(n, /*pos=*/0, m_size);
  return m_data;
}

// A text that is too long for a 32-bit count becomes a count that no string has place for.
template <typename CharT>
auto basic_string_t<CharT>::CountOf(view_type text) noexcept -> size_type {
  return static_cast<size_type>(std::min<std::uint64_t>(text.size(), 0xFFFFFFFF));
}

// The terminator is part of what moves when the text does, so it counts. By distance, since the end
// of a text that is too long has no address.
template <typename CharT>
bool basic_string_t<CharT>::Overlaps(const CharT* first, size_type n) const noexcept {
  const auto own = reinterpret_cast<std::uintptr_t>(m_data);
  const auto other = reinterpret_cast<std::uintptr_t>(first);
  return other >= own ? (other - own) / sizeof(CharT) <= m_size : (own - other) / sizeof(CharT) < n;
}

// Twice the capacity only where the bytes of such a block can be counted in 32 bits.
template <typename CharT>
auto basic_string_t<CharT>::GrownCapacity(size_type kept, size_type n) const noexcept -> size_type {
  const size_type doubled = m_capacity <= max_size() / 2 ? m_capacity * 2 : 0;
  return std::max(kept + n, doubled);
}

template <typename CharT>
CharT* basic_string_t<CharT>::AllocateBlock(size_type capacity) {
  const std::uint64_t bytes = (std::uint64_t{capacity} + 1) * sizeof(CharT);
  void* const block = bytes <= 0xFFFFFFFF
                          ? m_allocator.allocate(static_cast<std::size_t>(bytes), alignof(CharT))
                          : nullptr;
  if (block == nullptr) throw std::bad_alloc();
  return static_cast<CharT*>(block);
}

template <typename CharT>
void basic_string_t<CharT>::FreeBlock() noexcept {
  if (m_capacity == 0 || IsInline()) return;
  m_allocator.deallocate(m_data, (std::size_t{m_capacity} + 1) * sizeof(CharT), alignof(CharT));
}

template <typename CharT>
void basic_string_t<CharT>::ReplaceBlock(CharT* block, size_type capacity,
                                         block_keeper<CharT>* keeper) noexcept {
  // A text in line stays readable where it is, so it leaves nothing to keep.
  if (keeper != nullptr && !IsInline()) {
    keeper->Keep(m_allocator, m_data, m_capacity);
  } else {
    FreeBlock();
  }
  m_data = block;
  m_capacity = capacity;
}

// Moves the first `kept` characters, which are all that is left of the text then.
template <typename CharT>
void basic_string_t<CharT>::MoveToBlock(size_type capacity, size_type kept,
                                        block_keeper<CharT>* keeper) {
  CharT* const block = AllocateBlock(capacity);
  traits::copy(block, m_data, kept);
  ReplaceBlock(block, capacity, keeper);
  SetSize(kept);
}

// Makes place for `n` characters behind the first `kept` ones; the rest goes if the block is
// replaced.
template <typename CharT>
void basic_string_t<CharT>::ReserveBehind(size_type kept, size_type n,
                                          block_keeper<CharT>* keeper) {
  if (n <= m_capacity - kept) return;
  // The two names are part of the check's text.
  const size_type to_add = n;
  const size_type size_now = kept;
  ORU_CHECK(to_add < max_size() - size_now);
  if (to_add >= max_size() - size_now) {
    throw std::length_error("oru::basic_string_t::reserve_extra()");
  }
  MoveToBlock(GrownCapacity(kept, n), kept, keeper);
}

template <typename CharT>
void basic_string_t<CharT>::UseInline() noexcept {
  m_data = m_inline;
  m_capacity = inline_capacity;
  SetSize(0);
}

// Leaves `other` empty. What this string had is given back or was never there.
template <typename CharT>
void basic_string_t<CharT>::TakeText(basic_string_t& other) noexcept {
  if (other.IsInline()) {
    UseInline();
    traits::copy(m_inline, other.m_inline, other.m_size);
    SetSize(other.m_size);
    other.clear();
  } else {
    m_data = other.m_data;
    m_size = other.m_size;
    m_capacity = other.m_capacity;
    // Emptied without a release: the block has a new owner.
    other.UseInline();
  }
}

}  // namespace oru

#endif  // ORU_RTL_STRING_IMPL_H_
