// The process heap.
#ifndef WINAPI_MEMORY_H_
#define WINAPI_MEMORY_H_

#include <cstddef>

#include "winapi/types.h"

namespace winapi {

[[nodiscard]] Heap GetProcessHeap() noexcept;

// A block of `bytes` bytes, aligned to 8 on the 32-bit target, or null; the last error then tells
// nothing. The host has no block of 2 GiB or more, as a 32-bit process has none.
[[nodiscard]] void* HeapAlloc(Heap heap, Dword flags, std::size_t bytes) noexcept;

// Null is accepted. 0 with the last error set on failure.
Bool HeapFree(Heap heap, Dword flags, void* memory) noexcept;

}  // namespace winapi

#endif  // WINAPI_MEMORY_H_
