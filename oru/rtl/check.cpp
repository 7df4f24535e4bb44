#include "oru/rtl/check.h"

namespace oru {

void FailCheck(CheckCounter& counter, const char* text) noexcept {
  if (counter.fetch_add(1) == 0) FailedAssertion(text);
}

void FailedAssertion(const char* text) noexcept {
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
