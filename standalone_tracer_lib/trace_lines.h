// The texts of a trace file: header, record and footer, each without the line end that the file
// puts behind it.
//
// Lines end in CR LF, numbers are filled with zeros. Each throws oru::datetime::TimeSystemError
// when a time can't be converted, and std::bad_alloc.
#ifndef STANDALONE_TRACER_LIB_TRACE_LINES_H_
#define STANDALONE_TRACER_LIB_TRACE_LINES_H_

#include <string>

#include "oru/rtl/tracer.h"
#include "oru/system/datetime/datetime.h"
#include "winapi/types.h"

namespace standalone::trace::detail {

// Three lines and an empty one: `now` in local time and the process's number, "Command line: " with
// `commandLine` as it stands (zero-terminated, not null), and `now` in UTC.
[[nodiscard]] std::string ComposeHeader(oru::datetime::DateTime now, winapi::Dword processId,
                                        const char* commandLine);

// Local time of day with milliseconds, thread, level and text, with tabs between. The text goes in
// as it stands, its own tabs and line ends too.
[[nodiscard]] std::string ComposeRecord(const oru::tracer::TraceRecord& record);

// "End of trace file, time: " and `now` in local time, with seconds.
[[nodiscard]] std::string ComposeFooter(oru::datetime::DateTime now);

}  // namespace standalone::trace::detail

#endif  // STANDALONE_TRACER_LIB_TRACE_LINES_H_
