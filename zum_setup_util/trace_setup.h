// How a run that was asked for a trace file gets its tracer.
#ifndef ZUM_SETUP_UTIL_TRACE_SETUP_H_
#define ZUM_SETUP_UTIL_TRACE_SETUP_H_

#include "oru/rtl/string.h"
#include "zum_setup_util/command_line.h"

namespace zum_setup_util {

// Installs a file tracer for the directory that stands behind "--trace-output="; without a value it
// does nothing. A file that can't be made is no failure. Throws oru::CheckResultFailedException
// when the command line can't be converted, and what the allocation throws.
void SetUpTracing(const ArgumentList& args);

// "Command line: " and the process's whole command line as UTF-8, its passwords hidden. Throws
// oru::CheckResultFailedException when the text can't be converted.
[[nodiscard]] oru::String8 GetMaskedCommandLine();

}  // namespace zum_setup_util

#endif  // ZUM_SETUP_UTIL_TRACE_SETUP_H_
