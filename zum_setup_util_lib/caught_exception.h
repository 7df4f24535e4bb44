// What the tool does with an exception that it has caught.
#ifndef ZUM_SETUP_UTIL_LIB_CAUGHT_EXCEPTION_H_
#define ZUM_SETUP_UTIL_LIB_CAUGHT_EXCEPTION_H_

#include "oru/rtl/result_code.h"

namespace correct_setup::helpers {

// For use inside a handler: traces the exception that is being handled at level 300 under `prefix`,
// with the process's tracer, and gives its result code. Without a tracer there is no trace.
[[nodiscard]] oru::ResultCode TraceCaughtException(const char* prefix) noexcept;

}  // namespace correct_setup::helpers

#endif  // ZUM_SETUP_UTIL_LIB_CAUGHT_EXCEPTION_H_
