// Where Wine answers otherwise than Windows, which the host layer follows: a named row with its
// reason.
#ifndef TESTS_CONTRACT_DIFFERENCE_H_
#define TESTS_CONTRACT_DIFFERENCE_H_

#include <cstdio>

#include "winapi/modules.h"

namespace tests {

inline bool UnderWine() {
  return winapi::GetProcAddress(winapi::GetModuleHandleW(u"ntdll.dll"), "wine_get_version") !=
         nullptr;
}

// The value to be expected here; says so where it is Wine's.
template <class T>
T Expected(T windows, T wine, const char* reason) {
  if (!UnderWine()) return windows;
  std::printf("Wine differs: %s\n", reason);
  return wine;
}

}  // namespace tests

#endif  // TESTS_CONTRACT_DIFFERENCE_H_
