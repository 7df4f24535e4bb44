// Where memory comes from: the process heap, and the forms in which it is passed around.
//
// Sizes and alignments in bytes. All forms give null when memory runs out and throw nothing. Checks
// on the arguments are reported and change nothing of what follows.
#ifndef ORU_RTL_MEMORY_RESOURCE_H_
#define ORU_RTL_MEMORY_RESOURCE_H_

#include <cstddef>
#include <cstdint>
#include <limits>

#include "oru/rtl/check.h"

namespace oru {

class abi_v2_allocator;

namespace memory {
namespace windows {

// The heap of the process. Blocks are aligned to 8: a higher alignment is reported
// ("expressionResult") and not honoured. So is a process without a heap handle.
struct default_heap_resource {
  // Reports "bytes != 0" and "alignment != 0" before, "math::is_aligned(ptr, alignment)" behind.
  [[nodiscard]] static void* allocate(std::size_t bytes, std::size_t alignment) noexcept;
  // Takes back what allocate gave. Reports "ptr != nullptr", "bytes != 0" and "alignment != 0";
  // null is left alone by the heap.
  static void deallocate(void* ptr, std::size_t bytes, std::size_t alignment) noexcept;
};

}  // namespace windows

// An allocator without data: each call goes to `Resource`.
template <typename Resource>
struct stateless_allocator {
  [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) const noexcept {
    return Resource::allocate(bytes, alignment);
  }
  void deallocate(void* ptr, std::size_t bytes, std::size_t alignment) const noexcept {
    Resource::deallocate(ptr, bytes, alignment);
  }
};

// The place for `n` elements, of any allocator of this folder; nothing is constructed. Null when
// memory runs out, also when the bytes of `n` elements can't be counted. Reports "n != 0".
template <typename T, typename Allocator>
[[nodiscard]] T* allocate_elements(Allocator& allocator, std::size_t n) noexcept {
  ORU_CHECK(n != 0);
  if (n > std::numeric_limits<std::size_t>::max() / sizeof(T)) return nullptr;
  return static_cast<T*>(allocator.allocate(n * sizeof(T), alignof(T)));
}

// Takes back the place of `n` elements, which are destroyed by then. Reports "n != 0".
template <typename T, typename Allocator>
void deallocate_elements(Allocator& allocator, T* first, std::size_t n) noexcept {
  ORU_CHECK(n != 0);
  allocator.deallocate(first, n * sizeof(T), alignof(T));
}

// A resource as an object that crosses between modules. Slot order is declaration order.
class polymorphic_memory_resource {
 public:
  [[nodiscard]] virtual void* allocate(std::size_t bytes, std::size_t alignment) const noexcept = 0;
  virtual void deallocate(void* ptr, std::size_t bytes, std::size_t alignment) const noexcept = 0;
  // Whether memory of one can be given back to the other.
  [[nodiscard]] virtual bool is_equal(const polymorphic_memory_resource& other) const noexcept = 0;

 protected:
  ~polymorphic_memory_resource() = default;
};

template <typename Allocator, std::uint32_t TypeMark>
class type_erased_memory_resource;

// The one implementation: the process heap, as default_heap_resource has it. A constant static
// object.
template <>
class type_erased_memory_resource<abi_v2_allocator, 0x91D3C6E2> final
    : public polymorphic_memory_resource {
 public:
  static const type_erased_memory_resource instance;

  [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) const noexcept override;
  void deallocate(void* ptr, std::size_t bytes, std::size_t alignment) const noexcept override;
  [[nodiscard]] bool is_equal(const polymorphic_memory_resource& other) const noexcept override;

  [[nodiscard]] std::uint32_t type_mark() const noexcept { return m_typeMark; }

 private:
  constexpr type_erased_memory_resource() noexcept = default;

  std::uint32_t m_typeMark = 0x91D3C6E2;
};

}  // namespace memory
}  // namespace oru

#endif  // ORU_RTL_MEMORY_RESOURCE_H_
