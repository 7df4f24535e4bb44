// The calling thread's last error as the operations set it: the public functions are calls of the
// product and stand in its log, these don't.
#ifndef WINAPI_HOST_LAST_ERROR_H_
#define WINAPI_HOST_LAST_ERROR_H_

#include "winapi/types.h"

namespace winapi::host {

void SetThreadError(Error error) noexcept;

// Sets the last error and gives `failure`, the value by which an operation tells that it failed.
template <class T>
T FailWith(Error error, T failure) noexcept {
  SetThreadError(error);
  return failure;
}

}  // namespace winapi::host

#endif  // WINAPI_HOST_LAST_ERROR_H_
