// Where Wine answers otherwise than Windows, which the host layer follows, and where the host layer
// answers otherwise than both: a named row with its reason.
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

// The value to be expected here where the host layer differs from `real`, what the real systems
// answer: Windows' and Wine's one answer, or Expected(...) where those two differ as well.
template <class T>
T ExpectedUnlessHost([[maybe_unused]] T real, [[maybe_unused]] T host, const char* reason) {
#ifdef _WIN32
  (void)reason;
  return real;
#else
  std::printf("The host differs: %s\n", reason);
  return host;
#endif
}

}  // namespace tests

#endif  // TESTS_CONTRACT_DIFFERENCE_H_
