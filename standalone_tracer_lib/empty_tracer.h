// The tracer that writes nothing.
#ifndef STANDALONE_TRACER_LIB_EMPTY_TRACER_H_
#define STANDALONE_TRACER_LIB_EMPTY_TRACER_H_

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/tracer.h"

namespace standalone::trace {

// A new one; its two operations answer errNotImplemented, a probe included. Throws std::bad_alloc.
[[nodiscard]] oru::ObjectPtr<oru::ITracer> CreateEmptyTracer();

}  // namespace standalone::trace

#endif  // STANDALONE_TRACER_LIB_EMPTY_TRACER_H_
