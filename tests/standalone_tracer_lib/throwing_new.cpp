#include "tests/standalone_tracer_lib/throwing_new.h"

#include <cstddef>
#include <cstdlib>
#include <new>

#include "winapi/host/control.h"

namespace tests {
bool throwForeignException = false;
}

void* operator new(std::size_t size) {
  if (tests::throwForeignException && !winapi::host::InsideSeam()) {
    tests::throwForeignException = false;
    throw tests::ForeignException();
  }
  void* const memory = std::malloc(size == 0 ? 1 : size);
  if (memory == nullptr) throw std::bad_alloc();
  return memory;
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
