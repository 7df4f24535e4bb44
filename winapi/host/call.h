// What every operation of the host layer starts with: the log, the faults, and the mark that the
// seam's own allocations bear.
#ifndef WINAPI_HOST_CALL_H_
#define WINAPI_HOST_CALL_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "winapi/types.h"

namespace winapi::host {

// While one lives, allocations on this thread are the seam's own: neither counted nor made to fail.
// Each Call has one; a function of the test face that allocates makes one itself. They nest.
class SeamMark {
 public:
  SeamMark() noexcept;
  SeamMark(const SeamMark&) = delete;
  SeamMark& operator=(const SeamMark&) = delete;
  ~SeamMark();
};

// One running operation. Made first in each operation, on the stack:
//
//   Error RegDeleteValueW(Key key, const char16_t* name) noexcept {
//     host::Call call("RegDeleteValueW");
//     call.Argument("key", key).Argument("name", name);
//     if (const auto fault = call.Fault()) return *fault;
//
// While one lives, allocations on this thread are the seam's own. An operation doesn't call another
// one under its public name, so that one call of the product is one call in the log and in the
// counts.
class Call {
 public:
  // `operation` must outlive the object: a literal.
  explicit Call(std::string_view operation) noexcept;
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // Arguments for the log; without effect while it is off. Null text stands as "(null)".
  Call& Argument(std::string_view name, const char16_t* value);
  Call& Argument(std::string_view name, const char* value);
  Call& Argument(std::string_view name, const void* handle);
  Call& Argument(std::string_view name, std::uint64_t number);
  Call& Mask(std::string_view name, std::uint64_t mask);
  // Null data stands as "(null)", whatever `bytes` is.
  Call& Data(std::string_view name, const void* data, std::size_t bytes);

  // The injected error for this call, if it is to fail. To be asked once, after the arguments; an
  // operation that can't fail never asks. Writes the call to the log as failed.
  [[nodiscard]] std::optional<Error> Fault();

 private:
  Call& Add(std::string_view name, std::string value);

  SeamMark m_mark;  // first: what follows may allocate
  std::string_view m_operation;
  std::size_t m_logIndex;  // kNotLogged while the log is off
};

}  // namespace winapi::host

#endif  // WINAPI_HOST_CALL_H_
