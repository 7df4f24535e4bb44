// Allocations that fail, and blocks that are live, in native test programs that link
// zum_test_allocation_faults: the program's operator new, malloc and realloc then ask
// winapi::host::ShouldFailAllocation before each allocation. Those made inside the seam are left
// alone; those of the C++ library count, since it calls the program's operator new.
#ifndef TESTS_SUPPORT_ALLOCATION_FAULTS_H_
#define TESTS_SUPPORT_ALLOCATION_FAULTS_H_

#include <cstddef>
#include <functional>

#include "winapi/host/control.h"

namespace tests {

// While it lives, the `nth` allocation fails, counted from 1 from its making; for kForever each
// later one too. Its end clears all faults of the host layer.
class ScopedAllocationFault {
 public:
  explicit ScopedAllocationFault(std::size_t nth,
                                 winapi::host::Repeat repeat = winapi::host::Repeat::kOnce) {
    winapi::host::FailAllocation(nth, repeat);
  }
  ScopedAllocationFault(const ScopedAllocationFault&) = delete;
  ScopedAllocationFault& operator=(const ScopedAllocationFault&) = delete;
  ~ScopedAllocationFault() { winapi::host::ClearFaults(); }
};

// Runs `run` with its first allocation failing, then with its second, and so on, until a run makes
// fewer allocations than that. Gives the number of runs that had a fault. `run` gets the number of
// the failing allocation; what it throws passes.
std::size_t SweepAllocations(const std::function<void(std::size_t nth)>& run,
                             winapi::host::Repeat repeat = winapi::host::Repeat::kOnce);

// Blocks that the program's operator new, malloc and realloc gave and that weren't given back,
// those of the seam included. To be compared with an earlier number: a block that the C library
// itself made, and the program frees, is taken off all the same.
[[nodiscard]] std::ptrdiff_t LiveBlocks() noexcept;

}  // namespace tests

#endif  // TESTS_SUPPORT_ALLOCATION_FAULTS_H_
