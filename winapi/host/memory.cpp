#include "winapi/memory.h"

#include <algorithm>
#include <cstring>

#include "winapi/errors.h"
#include "winapi/host/blocks.h"
#include "winapi/host/call.h"
#include "winapi/host/last_error.h"
#include "winapi/host/live.h"

namespace winapi {
namespace {

host::Blocks& TheHeap() {
  static host::Blocks& heap = *new host::Blocks(host::liveCounters.heapBlocks);
  return heap;
}

// Without the flag for zeros a block holds what was there before: never zeros, on which code could
// come to rely. Of a large block the head is enough, and doesn't take real memory for the rest.
void Soil(void* memory, std::size_t bytes) {
  std::memset(memory, 0xCD, std::min<std::size_t>(bytes, 4096));
}

}  // namespace

Heap GetProcessHeap() noexcept {
  host::Call call("GetProcessHeap");
  if (const auto fault = call.Fault()) return host::FailWith(*fault, Heap{nullptr});
  return &TheHeap();
}

void* HeapAlloc(Heap heap, Dword flags, std::size_t bytes) noexcept {
  constexpr Dword kHeapZeroMemory = 8;
  host::Call call("HeapAlloc");
  call.Argument("heap", heap).Mask("flags", flags).Argument("bytes", bytes);
  // As on Windows the last error doesn't tell of a failure.
  if (call.Fault() || heap != &TheHeap()) return nullptr;
  void* memory = TheHeap().Allocate(bytes);
  if (memory != nullptr && (flags & kHeapZeroMemory) == 0) Soil(memory, bytes);
  return memory;
}

Bool HeapFree(Heap heap, Dword flags, void* memory) noexcept {
  host::Call call("HeapFree");
  call.Argument("heap", heap).Mask("flags", flags).Argument("memory", memory);
  const auto fault = call.Fault();
  if (heap != &TheHeap()) return host::FailWith(fault.value_or(kErrorInvalidHandle), Bool{0});
  const bool released = memory == nullptr || TheHeap().Release(memory);
  if (fault) return host::FailWith(*fault, Bool{0});
  return released ? 1 : host::FailWith(kErrorInvalidParameter, Bool{0});
}

}  // namespace winapi
