#include "standalone_tracer_lib/tracer_holder.h"

#include <utility>

#include "standalone_tracer_lib/empty_tracer.h"

// Other modules of the process find the tracer by this name, so the program exports it undecorated.
#ifdef _WIN32
#define STANDALONE_TRACE_EXPORT __declspec(dllexport)
#else
#define STANDALONE_TRACE_EXPORT __attribute__((visibility("default")))
#endif

namespace standalone::trace {

TracerHolder::TracerHolder() : m_tracer(CreateEmptyTracer()) {}

TracerHolder& TracerHolder::Instance() {
  // A constructor that throws leaves it unmade; the next call tries again.
  static TracerHolder holder;
  return holder;
}

// Not guarded: the run installs before it does anything that traces.
void TracerHolder::Install(oru::ObjectPtr<oru::ITracer> tracer) noexcept {
  m_tracer = std::move(tracer);
}

}  // namespace standalone::trace

extern "C" STANDALONE_TRACE_EXPORT oru::ITracer* GetTracer() {
  return standalone::trace::TracerHolder::Instance().Get();
}
