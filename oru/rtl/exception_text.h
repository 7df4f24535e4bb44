// The texts by which an exception is shown.
#ifndef ORU_RTL_EXCEPTION_TEXT_H_
#define ORU_RTL_EXCEPTION_TEXT_H_

#include "oru/rtl/exception.h"
#include "oru/rtl/string.h"
#include "oru/rtl/trace_stream.h"

namespace oru {

// The display text of one exception: what(), " - ", the description, ". At ", file, "(", line,
// ") ". A null file adds nothing. The causes aren't in it.
[[nodiscard]] String16 GetDisplayText(const Exception& exception);

// The display chain: the exception and its causes, joined by ";". A link whose text can't be made
// is "<Exception display text conversion error>".
TraceStream& operator<<(TraceStream& stream, const Exception& exception) noexcept;

}  // namespace oru

#endif  // ORU_RTL_EXCEPTION_TEXT_H_
