// Memory: the allocator interface, the handle that carries it between modules, and the base that
// holds one.
#ifndef ORU_RTL_ALLOCATOR_H_
#define ORU_RTL_ALLOCATOR_H_

#include <cstddef>

#include "oru/rtl/object.h"
#include "oru/rtl/object_ptr.h"

namespace oru {

// Blocks of memory. Sizes in bytes. Slot order is declaration order, behind the slots of IObject.
class IAllocator : public IObject {
 public:
  static constexpr InterfaceNumber kInterfaceNumber = 0x9CCA5603;

  // A block of `size` bytes, or null.
  [[nodiscard]] virtual void* Alloc(std::size_t size) noexcept = 0;
  // A block of `size` bytes with the old content, or null, which leaves the old block alone.
  [[nodiscard]] virtual void* Realloc(void* pointer, std::size_t size) noexcept = 0;
  virtual void Free(void* pointer) noexcept = 0;

 protected:
  ~IAllocator() = default;
};

// The allocator handle that crosses between modules: a counted IAllocator, or null, which means the
// process heap.
class abi_v2_allocator {
 public:
  abi_v2_allocator() noexcept = default;
  // Adds a reference; null is the process heap.
  explicit abi_v2_allocator(IAllocator* allocator) noexcept;

  // A block of `bytes` bytes, or null when memory runs out. Reports an alignment above 8
  // ("alignment <= alignof(oru_std::max_align_t)"), which isn't honoured, and a block that doesn't
  // have the alignment ("math::is_aligned(ptr, alignment)"), which is given all the same.
  [[nodiscard]] void* allocate(std::size_t bytes, std::size_t alignment) noexcept;
  // Takes back what allocate gave, with the same numbers.
  void deallocate(void* pointer, std::size_t bytes, std::size_t alignment) noexcept;

  // Without a reference added.
  [[nodiscard]] IAllocator* get() const noexcept { return m_allocator.Get(); }

 private:
  ObjectPtr<IAllocator> m_allocator;
};

// A base for classes that take their memory from one allocator. Reports "m_alloc" when given null.
class AllocatorProvider {
 public:
  // Adds a reference.
  explicit AllocatorProvider(IAllocator* allocator) noexcept;

 protected:
  ~AllocatorProvider() = default;
  abi_v2_allocator m_alloc;
};

}  // namespace oru

#endif  // ORU_RTL_ALLOCATOR_H_
