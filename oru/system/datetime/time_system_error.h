// How a time that can't be had fails.
#ifndef ORU_SYSTEM_DATETIME_TIME_SYSTEM_ERROR_H_
#define ORU_SYSTEM_DATETIME_TIME_SYSTEM_ERROR_H_

#include <cstdint>

#include "oru/rtl/exception.h"
#include "oru/rtl/string.h"
#include "winapi/types.h"

namespace oru::datetime {

// A time that the system can't convert, or a time zone that it can't give. Copied and rethrown by
// the operations of its base, it becomes a SystemException. Its code is never a success, even where
// the system left no error.
class TimeSystemError : public SystemException {
 public:
  TimeSystemError() noexcept = default;
  [[nodiscard]] const char* what() const noexcept override;
};

namespace detail {

// Throws for a call of Windows that failed with `error`. All failures of this folder name one
// source file, "oru/system/datetime/windows/datetime", whichever file they stand in, and a line in
// it that is a fixed number: the position is part of what is shown, so it doesn't move with the
// code.
[[noreturn]] void ThrowTimeSystemError(String16 message, winapi::Error error, std::uint32_t line);

}  // namespace detail

}  // namespace oru::datetime

#endif  // ORU_SYSTEM_DATETIME_TIME_SYSTEM_ERROR_H_
