// The owner of an armed first-chance handler.
#ifndef ZUM_SETUP_UTIL_VECTORED_HANDLER_GUARD_H_
#define ZUM_SETUP_UTIL_VECTORED_HANDLER_GUARD_H_

#include "winapi/exceptions.h"

namespace zum_setup_util {

// Takes what AddVectoredExceptionHandler gave, untested, and removes the handler when it dies.
class VectoredHandlerGuard {
 public:
  explicit VectoredHandlerGuard(void* handle) noexcept : m_handle(handle) {}
  VectoredHandlerGuard(const VectoredHandlerGuard&) = delete;
  VectoredHandlerGuard& operator=(const VectoredHandlerGuard&) = delete;
  ~VectoredHandlerGuard() {
    // Nothing could be done about a handler that isn't there.
    (void)winapi::RemoveVectoredExceptionHandler(m_handle);
  }

 private:
  void* m_handle;
};

}  // namespace zum_setup_util

#endif  // ZUM_SETUP_UTIL_VECTORED_HANDLER_GUARD_H_
