// Where a trace file lies and what it is called.
#ifndef STANDALONE_TRACER_LIB_TRACE_FILE_PATH_H_
#define STANDALONE_TRACER_LIB_TRACE_FILE_PATH_H_

#include <string>
#include <string_view>

#include "oru/rtl/string.h"
#include "oru/system/datetime/datetime.h"

namespace standalone::trace {

// The path of a trace file in `directory`: "zum-setup-util-", the local time of this moment, "-",
// `component`, ".log". Two calls within one second give the same path. `directory` is used as it
// stands and not created; an empty one gives the name alone. Throws oru::datetime::TimeSystemError
// when the time can't be converted.
[[nodiscard]] oru::String16 MakeTraceFilePath(const oru::String16& directory,
                                              const oru::String16& component);

// The local time as it stands in a file's name: "2026-11-15-05-27-41".
[[nodiscard]] std::string MakeFileTimeStamp(oru::datetime::DateTime time);

namespace detail {

// `directory` with `name` behind it, and a backslash between them unless `directory` is empty or
// ends in a backslash or a slash. An empty name changes nothing.
[[nodiscard]] oru::String16 JoinName(const oru::String16& directory, std::u16string_view name);

}  // namespace detail

}  // namespace standalone::trace

#endif  // STANDALONE_TRACER_LIB_TRACE_FILE_PATH_H_
