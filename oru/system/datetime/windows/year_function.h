// GetTimeZoneInformationForYear, which systems before version 6.0, service pack 1, lack.
#ifndef ORU_SYSTEM_DATETIME_WINDOWS_YEAR_FUNCTION_H_
#define ORU_SYSTEM_DATETIME_WINDOWS_YEAR_FUNCTION_H_

#include "winapi/time.h"

namespace oru::datetime::detail {

// The system's function, or null where there is none. Looked for at the first use; the answer holds
// for as long as the process lives.
[[nodiscard]] winapi::GetTimeZoneInformationForYearFunction YearFunction() noexcept;

}  // namespace oru::datetime::detail

#endif  // ORU_SYSTEM_DATETIME_WINDOWS_YEAR_FUNCTION_H_
