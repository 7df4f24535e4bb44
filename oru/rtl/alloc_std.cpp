#include "oru/rtl/alloc_std.h"

#include <cstdlib>

namespace oru {

// No one asks for 0 bytes, which malloc may answer with null.
void* AllocStd::Alloc(std::size_t size) noexcept { return std::malloc(size); }

void* AllocStd::Realloc(void* pointer, std::size_t size) noexcept {
  return std::realloc(pointer, size == 0 ? 1 : size);
}

void AllocStd::Free(void* pointer) noexcept { std::free(pointer); }

}  // namespace oru
