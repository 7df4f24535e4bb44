#include "oru/rtl/trace_scope.h"

#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/trace_inserters.h"
#include "oru/rtl/trace_level.h"

namespace oru {

TraceScope::~TraceScope() { Finish(); }

void TraceScope::Start(ITracer* tracer, const String16& name) noexcept {
  // As for a statement: a scope may start between a failed call and whoever asks for its error.
  const LastErrorKeeper keeper;
  Finish();
  if (tracer == nullptr) return;
  try {
    m_name.emplace(name);
  } catch (...) {
    return;
  }
  // The process's tracer may be replaced while the scope lives; the reference keeps this one.
  m_tracer = ObjectPtr<ITracer>::Share(tracer);
  Write(" begin");
}

void TraceScope::Finish() noexcept {
  if (!m_name.has_value()) return;
  const LastErrorKeeper keeper;
  // Before the tracer goes: letting go of the last reference may close its file.
  Write(" end");
  m_tracer = {};
  m_name.reset();
}

// Names end in a blank and events begin with one, so two stand between them in every record.
void TraceScope::Write(const char* event) noexcept {
  detail::TraceStatement(m_tracer.Get(), kTraceLevelInfo,
                         [&](TraceStream& stream) { stream << *m_name << event; });
}

namespace detail {

void StartTraceScope(TraceScope& scope, TracerSource source, std::uint32_t level,
                     const char16_t* name) noexcept {
  const LastErrorKeeper keeper;
  try {
    // The probe goes first, since the name costs memory that a refused scope needn't spend.
    ITracer* const tracer = source();
    if (IsTraceLevelAllowed(tracer, level)) scope.Start(tracer, String16(name));
  } catch (...) {
    // A scope that can't be started is silent.
  }
}

}  // namespace detail
}  // namespace oru
