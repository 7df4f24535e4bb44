#include "oru/rtl/allocator.h"

#include "oru/rtl/alignment.h"
#include "oru/rtl/check.h"
#include "oru/rtl/memory_resource.h"

namespace oru {

using memory::windows::default_heap_resource;

abi_v2_allocator::abi_v2_allocator(IAllocator* allocator) noexcept
    : m_allocator(ObjectPtr<IAllocator>::Share(allocator)) {}

void* abi_v2_allocator::allocate(std::size_t bytes, std::size_t alignment) noexcept {
  ORU_CHECK(alignment <= alignof(oru_std::max_align_t));
  void* const ptr =
      m_allocator ? m_allocator->Alloc(bytes) : default_heap_resource::allocate(bytes, alignment);
  // No memory is null, which is aligned to everything.
  ORU_CHECK(math::is_aligned(ptr, alignment));
  return ptr;
}

// An IAllocator isn't told the numbers; the heap checks them.
void abi_v2_allocator::deallocate(void* pointer, std::size_t bytes,
                                  std::size_t alignment) noexcept {
  if (m_allocator) {
    m_allocator->Free(pointer);
  } else {
    default_heap_resource::deallocate(pointer, bytes, alignment);
  }
}

AllocatorProvider::AllocatorProvider(IAllocator* allocator) noexcept : m_alloc(allocator) {
  ORU_CHECK_TEXT(m_alloc.get() != nullptr, "m_alloc");
}

}  // namespace oru
