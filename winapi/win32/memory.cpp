#include "winapi/memory.h"

#include <windows.h>

namespace winapi {

static_assert(sizeof(std::size_t) == sizeof(SIZE_T));

Heap GetProcessHeap() noexcept { return ::GetProcessHeap(); }

void* HeapAlloc(Heap heap, Dword flags, std::size_t bytes) noexcept {
  return ::HeapAlloc(heap, flags, bytes);
}

Bool HeapFree(Heap heap, Dword flags, void* memory) noexcept {
  return ::HeapFree(heap, flags, memory);
}

}  // namespace winapi
