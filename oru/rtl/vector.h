// The framework's vector: elements in one block of an allocator that is given at run time.
//
// Counts are 32-bit in both worlds, and so are the bytes of a block, which is what max_size() goes
// by. Running out of memory throws std::bad_alloc, a count beyond max_size() throws
// std::length_error; the vector is unchanged when an operation throws. Elements have to be movable
// without throwing.
#ifndef ORU_RTL_VECTOR_H_
#define ORU_RTL_VECTOR_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "oru/rtl/allocator.h"
#include "oru/rtl/check.h"
#include "oru/rtl/memory_resource.h"

namespace oru {

namespace detail {

// The capacity for `n` more elements at `size`: twice the size where that is enough, never below 4.
[[nodiscard]] constexpr std::uint32_t GrownVectorCapacity(std::uint32_t size, std::uint32_t n,
                                                          std::uint32_t max) noexcept {
  constexpr std::uint32_t kLeast = 4;
  if (size < n) return std::max(size + n, kLeast);
  return std::max(size > max / 2 ? max : size * 2, kLeast);
}

}  // namespace detail

// `Allocator` has allocate(bytes, alignment), null when memory runs out, and
// deallocate(pointer, bytes, alignment), as abi_v2_allocator and stateless_allocator do.
template <typename T, typename Allocator = abi_v2_allocator>
class vector {
 public:
  using value_type = T;
  using size_type = std::uint32_t;
  using iterator = T*;
  using const_iterator = const T*;

  static_assert(std::is_nothrow_move_constructible_v<T>);

  vector() noexcept = default;
  explicit vector(const Allocator& allocator) noexcept : m_allocator(allocator) {}
  // The copy uses the allocator of `other`.
  vector(const vector& other);
  // Takes block and allocator; `other` is empty then.
  vector(vector&& other) noexcept : vector(other.m_allocator) { TakeBlock(other); }
  // By value: serves copies and moves. Takes over the allocator too.
  vector& operator=(vector other) noexcept {
    swap(other);
    return *this;
  }
  ~vector() { ReleaseBlock(); }

  // The largest count whose bytes fit 32 bits.
  [[nodiscard]] static constexpr size_type max_size() noexcept {
    return static_cast<size_type>(0xFFFFFFFF / sizeof(T));
  }

  [[nodiscard]] size_type size() const noexcept { return static_cast<size_type>(m_end - m_begin); }
  [[nodiscard]] size_type capacity() const noexcept {
    return static_cast<size_type>(m_endOfCapacity - m_begin);
  }
  [[nodiscard]] bool empty() const noexcept { return m_begin == m_end; }
  [[nodiscard]] T* data() noexcept { return m_begin; }
  [[nodiscard]] const T* data() const noexcept { return m_begin; }
  [[nodiscard]] iterator begin() noexcept { return m_begin; }
  [[nodiscard]] iterator end() noexcept { return m_end; }
  [[nodiscard]] const_iterator begin() const noexcept { return m_begin; }
  [[nodiscard]] const_iterator end() const noexcept { return m_end; }
  [[nodiscard]] T& operator[](size_type index) noexcept { return m_begin[index]; }
  [[nodiscard]] const T& operator[](size_type index) const noexcept { return m_begin[index]; }
  [[nodiscard]] T& back() noexcept { return m_end[-1]; }
  [[nodiscard]] const T& back() const noexcept { return m_end[-1]; }
  [[nodiscard]] const Allocator& get_allocator() const noexcept { return m_allocator; }

  // `n` copies of `value`, which may be an element of the vector. std::length_error is
  // "vector::append".
  void append(size_type n, const T& value);
  // Capacity for `n` elements at least; it grows by the same rule. std::length_error is
  // "vector::reserve".
  void reserve(size_type n);
  // One element, made of `arguments`, which may refer to elements of the vector. As append.
  template <typename... Arguments>
  T& emplace_back(Arguments&&... arguments);
  void push_back(const T& value) { emplace_back(value); }
  void push_back(T&& value) { emplace_back(std::move(value)); }
  // Destroys the last one of a vector that isn't empty.
  void pop_back() noexcept { std::destroy_at(--m_end); }
  // Destroys the elements and keeps the capacity.
  void clear() noexcept;

  void swap(vector& other) noexcept;

 private:
  [[nodiscard]] size_type GrownCapacity(size_type n) const noexcept;
  // `construct(place)` makes `made` elements and undoes what it did when it throws. There is to be
  // place for `n` more elements then.
  template <typename Construct>
  void Grow(size_type n, size_type made, Construct construct);
  template <typename Construct>
  void AppendConstructed(size_type n, Construct construct);
  void TakeBlock(vector& other) noexcept;
  void ReleaseBlock() noexcept;

  T* m_begin = nullptr;
  T* m_end = nullptr;
  T* m_endOfCapacity = nullptr;
  [[no_unique_address]] Allocator m_allocator;
};

template <typename T, typename Allocator>
vector<T, Allocator>::vector(const vector& other) : vector(other.m_allocator) {
  reserve(other.size());
  m_end = std::uninitialized_copy(other.m_begin, other.m_end, m_begin);
}

template <typename T, typename Allocator>
void vector<T, Allocator>::append(size_type n, const T& value) {
  if (n == 0) return;
  AppendConstructed(n, [&](T* place) { std::uninitialized_fill_n(place, n, value); });
}

template <typename T, typename Allocator>
void vector<T, Allocator>::reserve(size_type n) {
  if (n > max_size()) throw std::length_error("vector::reserve");
  // By the growth of an append, so the capacity may come out above what was asked for.
  if (n > capacity()) Grow(n - size(), 0, [](T*) {});
}

template <typename T, typename Allocator>
template <typename... Arguments>
T& vector<T, Allocator>::emplace_back(Arguments&&... arguments) {
  AppendConstructed(
      1, [&](T* place) { std::construct_at(place, std::forward<Arguments>(arguments)...); });
  return back();
}

template <typename T, typename Allocator>
void vector<T, Allocator>::clear() noexcept {
  std::destroy(m_begin, m_end);
  m_end = m_begin;
}

template <typename T, typename Allocator>
void vector<T, Allocator>::swap(vector& other) noexcept {
  std::swap(m_begin, other.m_begin);
  std::swap(m_end, other.m_end);
  std::swap(m_endOfCapacity, other.m_endOfCapacity);
  std::swap(m_allocator, other.m_allocator);
}

template <typename T, typename Allocator>
auto vector<T, Allocator>::GrownCapacity(size_type n) const noexcept -> size_type {
  // The name is part of a check's text.
  const size_type size_now = size();
  ORU_CHECK(size() + n > capacity());
  ORU_CHECK(max_size() >= size_now);
  ORU_CHECK(n <= max_size());
  ORU_CHECK(size() <= max_size() - n);
  return detail::GrownVectorCapacity(size_now, n, max_size());
}

template <typename T, typename Allocator>
template <typename Construct>
void vector<T, Allocator>::Grow(size_type n, size_type made, Construct construct) {
  const size_type size_now = size();
  const size_type capacity = GrownCapacity(n);
  T* const block = memory::allocate_elements<T>(m_allocator, capacity);
  if (block == nullptr) throw std::bad_alloc();
  try {
    construct(block + size_now);  // first, since it may read old elements
  } catch (...) {
    memory::deallocate_elements(m_allocator, block, capacity);
    throw;
  }
  // Can't throw, and neither can anything below: from here on the new block is the vector's.
  std::uninitialized_move(m_begin, m_end, block);
  ReleaseBlock();
  m_begin = block;
  m_end = block + size_now + made;
  m_endOfCapacity = block + capacity;
}

template <typename T, typename Allocator>
template <typename Construct>
void vector<T, Allocator>::AppendConstructed(size_type n, Construct construct) {
  if (n > max_size() - size()) throw std::length_error("vector::append");
  if (n > capacity() - size()) {
    Grow(n, n, construct);
  } else {
    construct(m_end);
    m_end += n;
  }
}

template <typename T, typename Allocator>
void vector<T, Allocator>::TakeBlock(vector& other) noexcept {
  m_begin = std::exchange(other.m_begin, nullptr);
  m_end = std::exchange(other.m_end, nullptr);
  m_endOfCapacity = std::exchange(other.m_endOfCapacity, nullptr);
}

template <typename T, typename Allocator>
void vector<T, Allocator>::ReleaseBlock() noexcept {
  if (m_begin == nullptr) return;
  std::destroy(m_begin, m_end);
  memory::deallocate_elements(m_allocator, m_begin, capacity());
}

}  // namespace oru

#endif  // ORU_RTL_VECTOR_H_
