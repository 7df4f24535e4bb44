#include "zum_setup_util_lib/caught_exception.h"

#include "oru/rtl/exception_guard.h"
#include "oru/rtl/trace_level.h"
#include "oru/rtl/tracer.h"

namespace correct_setup::helpers {
namespace {

// The process's tracer, or null where even that can't be made: tracing never changes an outcome.
oru::ITracer* ProcessTracer() noexcept {
  try {
    return GetTracer();
  } catch (...) {
    return nullptr;
  }
}

}  // namespace

oru::ResultCode TraceCaughtException(const char* prefix) noexcept {
  return oru::ExceptionGuard(ProcessTracer(), oru::kTraceLevelError, prefix);
}

}  // namespace correct_setup::helpers
