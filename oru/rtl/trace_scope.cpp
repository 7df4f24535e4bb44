#include "oru/rtl/trace_scope.h"

#include "oru/rtl/last_error_keeper.h"
#include "oru/rtl/trace_inserters.h"
#include "oru/rtl/trace_level.h"

namespace oru {

TraceScope::~TraceScope() { Finish(); }

void TraceScope::Start(ITracer* tracer, const String16& name) noexcept {
  const LastErrorKeeper keeper;
  Finish();
  if (tracer == nullptr) return;
  try {
    m_name.emplace(name);
  } catch (...) {
    return;
  }
  m_tracer = ObjectPtr<ITracer>::Share(tracer);
  Write(" begin");
}

void TraceScope::Finish() noexcept {
  if (!m_name.has_value()) return;
  const LastErrorKeeper keeper;
  Write(" end");
  m_tracer = {};
  m_name.reset();
}

void TraceScope::Write(const char* event) noexcept {
  detail::TraceStatement(m_tracer.Get(), kTraceLevelInfo,
                         [&](TraceStream& stream) { stream << *m_name << event; });
}

namespace detail {

void StartTraceScope(TraceScope& scope, TracerSource source, std::uint32_t level,
                     const char16_t* name) noexcept {
  const LastErrorKeeper keeper;
  try {
    ITracer* const tracer = source();
    if (IsTraceLevelAllowed(tracer, level)) scope.Start(tracer, String16(name));
  } catch (...) {
    // A scope that can't be started is silent.
  }
}

}  // namespace detail
}  // namespace oru
