#include "oru/rtl/check.h"

namespace oru {

void FailCheck(CheckCounter& counter, const char* text) noexcept {
  // Counted on even when nothing is raised. At 2^32 failures the counter is back at 0, and the next
  // one raises once more.
  if (counter.fetch_add(1) == 0) FailedAssertion(text);
}

void FailedAssertion(const char* text) noexcept {
  // Only the address crosses: whoever handles the report reads the text in this process.
  const std::uintptr_t parameters[] = {reinterpret_cast<std::uintptr_t>(text)};
  winapi::RaiseException(kAssertionExceptionCode, /*flags=*/0, /*count=*/1, parameters);
}

CheckCounter& ExpressionResultCounter() noexcept {
  // Constant-initialised, so that checks in static initialisers find it ready.
  static constinit CheckCounter counter{0};
  return counter;
}

std::int32_t WINAPI_STDCALL AssertionHandler(winapi::ExceptionPointers* pointers) noexcept {
  if (pointers == nullptr || pointers->Record == nullptr) return winapi::kExceptionContinueSearch;
  return pointers->Record->ExceptionCode == kAssertionExceptionCode
             ? winapi::kExceptionContinueExecution
             : winapi::kExceptionContinueSearch;
}

}  // namespace oru
