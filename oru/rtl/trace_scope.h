// The scope that writes its begin and its end: TraceScope and ORU_TRACE_SCOPE. trace.h tells how it
// is used and what it promises.
#ifndef ORU_RTL_TRACE_SCOPE_H_
#define ORU_RTL_TRACE_SCOPE_H_

#include <cstdint>
#include <optional>

#include "oru/rtl/object_ptr.h"
#include "oru/rtl/string.h"
#include "oru/rtl/trace_statement.h"
#include "oru/rtl/tracer.h"

namespace oru {

// Writes its name with " begin" when started and with " end" when it dies, at level 700; silent
// when it was never started. Keeps a reference of its own to its tracer, so that the end goes where
// the begin went.
class TraceScope {
 public:
  TraceScope() noexcept = default;
  TraceScope(const TraceScope&) = delete;
  TraceScope& operator=(const TraceScope&) = delete;
  ~TraceScope();

  // Nothing happens when memory for the name runs out, or for a null tracer. A scope that is
  // started already ends first.
  void Start(ITracer* tracer, const String16& name) noexcept;

 private:
  void Finish() noexcept;
  void Write(const char* event) noexcept;

  std::optional<String16> m_name;
  ObjectPtr<ITracer> m_tracer;
};

namespace detail {
// Probes at `level` and starts the scope when the probe allows it; the name is composed only then.
void StartTraceScope(TraceScope& scope, TracerSource source, std::uint32_t level,
                     const char16_t* name) noexcept;
}  // namespace detail

}  // namespace oru

#define ORU_TRACE_SCOPE(scope, level, name) \
  ::oru::detail::StartTraceScope((scope), &::GetTracer, (level), (name))

#endif  // ORU_RTL_TRACE_SCOPE_H_
