// Reported checks: assertion-like checks whose failure is reported once per site and stops nothing.
//
// A failed check raises the structured exception kAssertionExceptionCode with one parameter, the
// address of the check's text (8-bit, zero-terminated). The program arms AssertionHandler, which
// swallows it, so execution goes on right behind the check. Only the first failure of a site
// raises; its counter is never reset.
#ifndef ORU_RTL_CHECK_H_
#define ORU_RTL_CHECK_H_

#include <atomic>
#include <cstdint>

#include "winapi/exceptions.h"

namespace oru {

inline constexpr std::uint32_t kAssertionExceptionCode = 0x42849FD0;

using CheckCounter = std::atomic<std::uint32_t>;

// Counts a failure of the site, which is what the macros below do at theirs, and raises the report
// for the first one. The counter wraps at 2^32.
void FailCheck(CheckCounter& counter, const char* text) noexcept;

// Raises the report. `text` must live as long as the process.
void FailedAssertion(const char* text) noexcept;

// The counter that all "expressionResult" checks of the process share.
CheckCounter& ExpressionResultCounter() noexcept;

// First-chance handler: kExceptionContinueExecution for a report, kExceptionContinueSearch for all
// else and for a null record pointer. Touches nothing but the record, so it may run on any thread.
std::int32_t WINAPI_STDCALL AssertionHandler(winapi::ExceptionPointers* pointers) noexcept;

}  // namespace oru

// Reports `text` once per site when `condition` is false. Execution goes on in any case.
#define ORU_CHECK_TEXT(condition, text)              \
  do {                                               \
    if (!(condition)) {                              \
      static ::oru::CheckCounter oruCheckCounter{0}; \
      ::oru::FailCheck(oruCheckCounter, text);       \
    }                                                \
  } while (false)

// The same with the expression's own source text.
#define ORU_CHECK(condition) ORU_CHECK_TEXT(condition, #condition)

// The generic check "expressionResult", with the one counter for the whole process.
#define ORU_CHECK_RESULT(condition)                                           \
  do {                                                                        \
    if (!(condition)) {                                                       \
      ::oru::FailCheck(::oru::ExpressionResultCounter(), "expressionResult"); \
    }                                                                         \
  } while (false)

#endif  // ORU_RTL_CHECK_H_
