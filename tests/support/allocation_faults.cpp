#include "tests/support/allocation_faults.h"

#include <atomic>
#include <cstdlib>
#include <new>

// The linker sends the program's malloc, realloc and free to the __wrap_ functions (--wrap), and
// __real_ to the C library's, or to the sanitizer's in its place.
extern "C" {
void* __real_malloc(std::size_t size) noexcept;
void* __real_realloc(void* pointer, std::size_t size) noexcept;
void __real_free(void* pointer) noexcept;
void* __wrap_malloc(std::size_t size) noexcept;
void* __wrap_realloc(void* pointer, std::size_t size) noexcept;
void __wrap_free(void* pointer) noexcept;
}

namespace {

constinit std::atomic<std::ptrdiff_t> liveBlocks{0};

void* Counted(void* block) noexcept {
  if (block != nullptr) ++liveBlocks;
  return block;
}

}  // namespace

void* __wrap_malloc(std::size_t size) noexcept {
  return winapi::host::ShouldFailAllocation() ? nullptr : Counted(__real_malloc(size));
}

void* __wrap_realloc(void* pointer, std::size_t size) noexcept {
  if (pointer == nullptr) return __wrap_malloc(size);
  return winapi::host::ShouldFailAllocation() ? nullptr : __real_realloc(pointer, size);
}

void __wrap_free(void* pointer) noexcept {
  if (pointer != nullptr) --liveBlocks;
  __real_free(pointer);
}

namespace {

void* Allocate(std::size_t size) noexcept { return __wrap_malloc(size == 0 ? 1 : size); }

void* AllocateAligned(std::size_t size, std::align_val_t alignment) noexcept {
  if (winapi::host::ShouldFailAllocation()) return nullptr;
  const auto unit = static_cast<std::size_t>(alignment);
  return Counted(std::aligned_alloc(unit, (size + unit - 1) / unit * unit));
}

void* OrThrow(void* memory) {
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}

}  // namespace

// Each form is replaced, since a sanitizer's own forms don't come back to the plain one.
void* operator new(std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new[](std::size_t size) { return OrThrow(Allocate(size)); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Allocate(size); }
void* operator new(std::size_t size, std::align_val_t alignment) {
  return OrThrow(AllocateAligned(size, alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
  return OrThrow(AllocateAligned(size, alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateAligned(size, alignment);
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
  return AllocateAligned(size, alignment);
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::align_val_t, const std::nothrow_t&) noexcept {
  std::free(memory);
}

namespace tests {

std::ptrdiff_t LiveBlocks() noexcept { return liveBlocks; }

std::size_t SweepAllocations(const std::function<void(std::size_t nth)>& run,
                             winapi::host::Repeat repeat) {
  for (std::size_t nth = 1;; ++nth) {
    const ScopedAllocationFault fault(nth, repeat);
    run(nth);
    if (winapi::host::AllocationCount() < nth) return nth - 1;
  }
}

}  // namespace tests
