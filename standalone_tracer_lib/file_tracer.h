// The tracer that writes the trace file.
#ifndef STANDALONE_TRACER_LIB_FILE_TRACER_H_
#define STANDALONE_TRACER_LIB_FILE_TRACER_H_

#include <cstdint>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/string.h"
#include "oru/rtl/tracer.h"

namespace standalone::trace {

struct TraceSettings {
  bool enabled = false;
  std::uint32_t maxLevel = 0;  // records above it are refused
};

// A tracer that writes to a new file at `path`, or truncates the one that is there; never null.
// `commandLine` goes into the file's header as it stands, zero-terminated, UTF-8 by convention. The
// file is complete, with its footer, when the last reference to the tracer goes.
//
// Gives a tracer that writes nothing when `settings.enabled` is false, and when the file or an
// object can't be made: that is told nowhere. Throws std::bad_alloc when not even that tracer can
// be made.
[[nodiscard]] oru::ObjectPtr<oru::ITracer> CreateFileTracer(const oru::String16& path,
                                                            const char* commandLine,
                                                            const TraceSettings& settings);

}  // namespace standalone::trace

#endif  // STANDALONE_TRACER_LIB_FILE_TRACER_H_
