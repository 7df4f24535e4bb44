// The holder of the process's tracer: what GetTracer gives.
#ifndef STANDALONE_TRACER_LIB_TRACER_HOLDER_H_
#define STANDALONE_TRACER_LIB_TRACER_HOLDER_H_

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/tracer.h"

namespace standalone::trace {

// Owns one tracer from first use to process exit, when it lets go of it: the footer of a trace file
// is written by that. Starts out with a tracer that writes nothing. Only the creation is guarded
// against other threads.
class TracerHolder {
 public:
  // Throws std::bad_alloc when the first tracer can't be made; the next call tries again.
  [[nodiscard]] static TracerHolder& Instance();

  TracerHolder(const TracerHolder&) = delete;
  TracerHolder& operator=(const TracerHolder&) = delete;

  // Takes over the tracer and lets go of the one before.
  void Install(oru::ObjectPtr<oru::ITracer> tracer) noexcept;

  // Without a reference added.
  [[nodiscard]] oru::ITracer* Get() const noexcept { return m_tracer.Get(); }

 private:
  TracerHolder();
  ~TracerHolder() = default;

  oru::ObjectPtr<oru::ITracer> m_tracer;
};

}  // namespace standalone::trace

#endif  // STANDALONE_TRACER_LIB_TRACER_HOLDER_H_
