// The texts of the framework's result codes.
//
// The first three lookups allocate nothing and give views of constant texts; no lookup fails on any
// code. The tool's own facility isn't known here: zum_setup_util_lib/tool_result_codes.h has the
// lookup that knows it.
#ifndef ORU_RTL_RESULT_TEXT_H_
#define ORU_RTL_RESULT_TEXT_H_

#include <string_view>

#include "oru/rtl/result_code.h"
#include "oru/rtl/string.h"

namespace oru {

// By facility: the texts of facRtl and facSystem, "Unknown result code" for all else.
[[nodiscard]] std::string_view LookupResultText(ResultCode rc) noexcept;

// The texts of one facility; "Unknown result code" for a code that its table doesn't hold. A code
// of a foreign facility is reported as a failed check, and looked up all the same.
[[nodiscard]] std::string_view GetRtlResultText(ResultCode rc) noexcept;
[[nodiscard]] std::string_view GetSystemResultText(ResultCode rc) noexcept;

// LookupResultText as 16-bit text, never empty. Throws std::bad_alloc when memory runs out,
// std::bad_cast when the conversion fails otherwise.
[[nodiscard]] String16 GetFrameworkResultText(ResultCode rc);

}  // namespace oru

#endif  // ORU_RTL_RESULT_TEXT_H_
