#include "oru/rtl/memory_resource.h"

#include "oru/rtl/alignment.h"
#include "winapi/memory.h"

namespace oru::memory {
namespace windows {
namespace {

// Asked for at each use: the handle is the system's to keep, and a missing one is to be seen.
winapi::Heap ProcessHeap() noexcept {
  const winapi::Heap heap = winapi::GetProcessHeap();
  ORU_CHECK_RESULT(heap != nullptr);
  return heap;
}

}  // namespace

void* default_heap_resource::allocate(std::size_t bytes, std::size_t alignment) noexcept {
  ORU_CHECK(bytes != 0);
  ORU_CHECK(alignment != 0);
  ORU_CHECK_RESULT(alignment <= alignof(oru_std::max_align_t));
  // None of the checks keeps the call from being made; what comes of it is the heap's to say.
  void* const ptr = winapi::HeapAlloc(ProcessHeap(), /*flags=*/0, bytes);
  ORU_CHECK(math::is_aligned(ptr, alignment));
  return ptr;
}

void default_heap_resource::deallocate(void* ptr, [[maybe_unused]] std::size_t bytes,
                                       [[maybe_unused]] std::size_t alignment) noexcept {
  ORU_CHECK(ptr != nullptr);
  ORU_CHECK(bytes != 0);
  ORU_CHECK(alignment != 0);
  // A block that the heap doesn't take back is lost; there is nobody to tell.
  (void)winapi::HeapFree(ProcessHeap(), /*flags=*/0, ptr);
}

}  // namespace windows

// Stands ready for other modules, which know memory by this interface; nothing here calls it.
using ProcessHeapResource = type_erased_memory_resource<abi_v2_allocator, 0x91D3C6E2>;

constinit const ProcessHeapResource ProcessHeapResource::instance;

void* ProcessHeapResource::allocate(std::size_t bytes, std::size_t alignment) const noexcept {
  return windows::default_heap_resource::allocate(bytes, alignment);
}

void ProcessHeapResource::deallocate(void* ptr, std::size_t bytes,
                                     std::size_t alignment) const noexcept {
  windows::default_heap_resource::deallocate(ptr, bytes, alignment);
}

// There is one heap, so any two are the same.
bool ProcessHeapResource::is_equal(const polymorphic_memory_resource&) const noexcept {
  return true;
}

}  // namespace oru::memory
