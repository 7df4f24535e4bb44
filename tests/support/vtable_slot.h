// The slot of a virtual function in its class's table, without a call through it.
#ifndef TESTS_SUPPORT_VTABLE_SLOT_H_
#define TESTS_SUPPORT_VTABLE_SLOT_H_

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tests {

// For the ABI of all compilers in use here (x86, Itanium C++ ABI): a pointer to a virtual member
// function is 1 plus the slot's offset in bytes, and the adjustment of `this`. Gives the slot
// counted from 0, or -1 for a function that isn't virtual or needs an adjustment.
template <typename MemberFunction>
int VtableSlot(MemberFunction function) {
  std::uintptr_t words[2];
  static_assert(sizeof(words) == sizeof(function));
  std::memcpy(words, &function, sizeof(words));
  if (words[0] % 2 == 0 || words[1] != 0) return -1;
  return static_cast<int>((words[0] - 1) / sizeof(void*));
}

}  // namespace tests

#endif  // TESTS_SUPPORT_VTABLE_SLOT_H_
