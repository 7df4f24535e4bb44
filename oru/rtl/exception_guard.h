// The one place where a caught exception turns back into a result code.
//
// Nothing here throws, ends the process or changes the thread's last error, whatever the exception,
// the tracer or the locator does.
#ifndef ORU_RTL_EXCEPTION_GUARD_H_
#define ORU_RTL_EXCEPTION_GUARD_H_

#include <cstdint>
#include <exception>

#include "oru/rtl/result_code.h"
#include "oru/rtl/service_locator.h"
#include "oru/rtl/tracer.h"

namespace oru {

// Writes `prefix` (or nothing when null) and the exception, as a record at `level`: the display
// chain for a member of the family, what() for any other; "bad allocation" for std::bad_alloc with
// the library's own what(), which differs between libraries. Drops whatever that throws.
void TraceException(ITracer* tracer, std::uint32_t level, const char* prefix,
                    const std::exception& exception) noexcept;

// To be called inside a handler: rethrows what is being handled, traces it, and gives its result
// code.
//
//   ResultCodeException    its own; for 0 the check "result != oru::sOk" and errUnexpected
//   other members          errUnknownException
//   std::bad_alloc         errOutOfMemory
//   std::length_error      errOutOfMemory
//   other std::exception   errUnknownException
//   anything else          errUnknownException, without a trace; the check "IgnoreC4127(false)"
//
// Outside of a handler there is nothing to rethrow: that counts as "anything else".
ResultCode ExceptionGuard(ITracer* tracer, std::uint32_t level, const char* prefix) noexcept;
// At kTraceLevelError.
ResultCode ExceptionGuard(ITracer* tracer, const char* prefix) noexcept;
// Without a trace.
ResultCode ExceptionGuard() noexcept;
// With the tracer that `locator` gives; without a trace where it is null or gives none.
ResultCode ExceptionGuard(IServiceLocator* locator, std::uint32_t level,
                          const char* prefix) noexcept;

}  // namespace oru

#endif  // ORU_RTL_EXCEPTION_GUARD_H_
