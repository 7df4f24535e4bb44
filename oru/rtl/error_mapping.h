// How a Windows error number, an HRESULT or an NTSTATUS becomes a result code.
#ifndef ORU_RTL_ERROR_MAPPING_H_
#define ORU_RTL_ERROR_MAPPING_H_

#include <cstdint>

#include "oru/rtl/result_code.h"

namespace oru {

// For a Windows error number: the table's code, else facility 7 with the number. An HRESULT of
// facility 7 is unwrapped first, any other negative value gives 0x80010100. A positive value from
// 0x10000 up that the table doesn't hold gives 0, a success.
[[nodiscard]] ResultCode Win32ErrorToResult(std::uint32_t error) noexcept;

// For a status that may be any of the three: the table of statuses first, then Win32ErrorToResult.
[[nodiscard]] ResultCode SystemErrorToResult(std::uint32_t status) noexcept;

// For the error of a call that is known to have failed: as Win32ErrorToResult, but never a success,
// for which there is errUnspecified. Some calls fail without setting the last error, and an old 0
// that stands there must not hide that.
[[nodiscard]] ResultCode FailureOf(std::uint32_t error) noexcept;

// The same for the last error; to be asked right behind the call.
[[nodiscard]] ResultCode LastFailure() noexcept;

}  // namespace oru

#endif  // ORU_RTL_ERROR_MAPPING_H_
