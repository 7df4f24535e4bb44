// The memory of the framework's strings where a benchmark compares them with those of the standard
// library. On Windows both have the process heap. Natively that heap is the host layer's, which
// logs its calls and keeps account of its blocks: there the strings have an allocator that is the C
// library alone, so that the strings are compared and not the heaps.
#ifndef BENCH_PLAIN_HEAP_H_
#define BENCH_PLAIN_HEAP_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "oru/rtl/allocator.h"

namespace bench {

class PlainHeap final : public oru::IAllocator {
 public:
  std::uint32_t AddRef() noexcept override { return 1; }
  std::uint32_t Release() noexcept override { return 1; }
  oru::ResultCode QueryInterface(oru::InterfaceNumber, void**) noexcept override {
    return oru::errNotSupportedInterface;
  }
  void* Alloc(std::size_t size) noexcept override { return std::malloc(size); }
  void* Realloc(void* block, std::size_t size) noexcept override {
    return std::realloc(block, size);
  }
  void Free(void* block) noexcept override { std::free(block); }
};

inline oru::abi_v2_allocator Memory() {
#ifdef _WIN32
  return {};
#else
  static PlainHeap heap;
  return oru::abi_v2_allocator(&heap);
#endif
}

// A heap gives the pages of its last block back to the system when that block goes, which takes
// longer than to fill it. Behind this the heap has a hole of 400,000 bytes that keeps its pages,
// since the block behind it stays, which is too large for a hole that was there before. Volatile,
// since the compiler may leave out a block that nobody looks at.
template <typename Allocate, typename Free>
void LeaveHole(Allocate allocate, Free free) {
  constexpr std::size_t kHole = 400'000;
  constexpr std::size_t kLast = 300'000;
  void* volatile hole = allocate(kHole);
  void* volatile last = allocate(kLast);
  (void)last;
  free(hole, kHole);
}

// For both heaps, whichever block was the last one by chance.
inline void KeepPages() {
  oru::abi_v2_allocator memory = Memory();
  LeaveHole([&](std::size_t size) { return memory.allocate(size, /*alignment=*/1); },
            [&](void* hole, std::size_t size) { memory.deallocate(hole, size, /*alignment=*/1); });
  LeaveHole([](std::size_t size) { return std::malloc(size); },
            [](void* hole, std::size_t) { std::free(hole); });
}

}  // namespace bench

#endif  // BENCH_PLAIN_HEAP_H_
