// Everything that a program needs to trace to a file.
#ifndef STANDALONE_TRACER_LIB_TRACERS_H_
#define STANDALONE_TRACER_LIB_TRACERS_H_

#include "standalone_tracer_lib/empty_tracer.h"
#include "standalone_tracer_lib/file_tracer.h"
#include "standalone_tracer_lib/trace_file_path.h"
#include "standalone_tracer_lib/tracer_holder.h"

#endif  // STANDALONE_TRACER_LIB_TRACERS_H_
